#pragma once
#include <nlohmann/json.hpp>
#include <string>

namespace kmd::host {

// A folder as the page's file dialog shows it: {"dir": absolute path, "parent": its parent or
// null, "entries": [{"name", "dir": bool, "size"}]}, folders first, then the files that match
// one of `patterns` ("*.bmp;*.jpg", case-insensitive; "" or "*.*" for all), each sorted by name.
// Hidden entries are left out. An unreadable folder gives its entries as far as they could be read.
nlohmann::json ListFolder(const std::string& dir, const std::string& patterns);

// Whether `name` matches the wildcard `pattern` (* and ?), without Latin case.
bool MatchesPattern(const std::string& name, const std::string& pattern);

}  // namespace kmd::host
