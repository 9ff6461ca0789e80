#pragma once
#include <string>

namespace kmd::db::dialect {

// Adapts a statement of the suite's server dialect to SQLite, leaving string literals and
// quoted identifiers untouched:
//   SELECT TOP n ...              -> SELECT ... LIMIT n (at the end of the enclosing query)
//   dbo.table                     -> table
//   IsNull(a, b)                  -> ifnull(a, b)
//   #1900-01-01#                  -> '1900-01-01'
//   DELETE t WHERE ...            -> DELETE FROM t WHERE ...
//   UPDATE t SET s FROM t A JOIN ... WHERE w
//                                 -> UPDATE t SET s WHERE rowid IN (SELECT A.rowid FROM t A JOIN ... WHERE w)
std::string ToSqlite(const std::string& sql);

// Adapts a statement of the suite's server dialect to PostgreSQL, so that it gives what the
// suite's server gives:
//   the constructs above, with IsNull as coalesce and the rows of UPDATE ... FROM found by ctid
//   'a' + b (a string literal on either side) -> 'a' || b
//   LIKE                          -> ILIKE (Latin case does not matter)
//   ORDER BY a, b DESC            -> ORDER BY a NULLS FIRST, b DESC NULLS LAST
//   ? ?                           -> $1 $2
std::string ToPostgres(const std::string& sql);

}  // namespace kmd::db::dialect
