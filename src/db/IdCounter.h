#pragma once
#include <cstdint>
#include <string>

#include "db/Connection.h"

namespace kmd::db {

// Gives a new id for a table's key column, unique in that table. The counter lives in the table
// xt_idcounter, one row per table under its trimmed lower-case name, so "KMDSKFS " and "kmdskfs"
// share one counter. Each new id is above both the counter and the table's highest key, so rows
// written by other means never collide. Throws RuntimeError when the counter cannot be read or
// written.
int32_t NextId(Connection& connection, const std::string& table, const std::string& keyColumn);

}  // namespace kmd::db
