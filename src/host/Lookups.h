#pragma once
#include <string>
#include <vector>

namespace kmd::host {

// A browse window of the host: the rows a user picks from for a reference field's lookup key.
// The statement gives at least the columns the fields of that key show and hold.
struct LookupWindow {
  std::string Key;
  std::string Title;
  std::string Sql;
  std::string CodeColumn;            // what a user may also name a row by
  std::vector<std::string> Columns;  // the columns shown, in order
};

// The window of a lookup key (compared without Latin case); nullptr for an unknown key.
const LookupWindow* FindLookupWindow(const std::string& key);

}  // namespace kmd::host
