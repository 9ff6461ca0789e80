#include "db/IdCounter.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd::db {

int32_t NextId(Connection& connection, const std::string& table, const std::string& keyColumn) {
  std::string name = text::LCase(text::Trim(table));
  // Names go bare, so that the server folds their Latin case as it folded the schema's.
  std::string highest = "(SELECT coalesce(max(" + text::Trim(keyColumn) + "), 0) FROM " + name + ")";
  // One statement reads the table's highest key, steps the counter and gives it back, so that two
  // connections saving into the same table at once never receive the same id.
  QueryResult r;
  std::string err = connection.Run(
      "INSERT INTO xt_idcounter (tablename, lastid) VALUES (?, " + highest + " + 1) "
      "ON CONFLICT(tablename) DO UPDATE SET lastid = CASE WHEN xt_idcounter.lastid > " + highest +
      " THEN xt_idcounter.lastid ELSE " + highest + " END + 1 RETURNING lastid",
      {Value(name)}, &r);
  if (!err.empty()) throw RuntimeError(err);
  if (r.rows.empty()) throw RuntimeError("no id was given for " + name);
  double next = r.rows[0][0].ToDouble();
  if (next > 2147483647.0) throw RuntimeError("Overflow");
  return static_cast<int32_t>(next);
}

}  // namespace kmd::db
