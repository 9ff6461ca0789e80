#pragma once
#include <memory>
#include <string>
#include <vector>

#include "db/Connection.h"

struct sqlite3;
struct sqlite3_stmt;

namespace kmd::db::sqlite {

// Reads a column of the current row into `v`; a text goes into the room `v` has.
void ReadColumn(sqlite3_stmt* st, int i, Value& v);
// Reads every column of the current row.
void ReadRow(sqlite3_stmt* st, Row& row);
std::vector<std::string> ColumnNames(sqlite3_stmt* st);
// The last error's text; another connection's lock is the driver-independent busy text.
std::string ErrorOf(sqlite3* db);

// The cursor over a statement whose first step gave `firstStep`. It takes the statement over (and
// finalizes it) and stands in `open`, the connection's open cursors, while it lives.
std::unique_ptr<Cursor> MakeCursor(sqlite3_stmt* st, int firstStep, std::shared_ptr<std::vector<Cursor*>> open);

}  // namespace kmd::db::sqlite
