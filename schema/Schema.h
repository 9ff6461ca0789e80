#pragma once
#include <string>
#include <vector>

namespace kmd::schema {

struct Script {
  const char* name;
  const char* sql;
};

// The schema files in the order they run: tables, views and demo rows.
const std::vector<Script>& Scripts();

}  // namespace kmd::schema
