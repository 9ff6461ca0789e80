#include "db/IdCounter.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd::db {

int32_t NextId(Connection& connection, const std::string& table, const std::string& keyColumn) {
  std::string name = text::LCase(text::Trim(table));
  std::string key = text::Trim(keyColumn);
  QueryResult r;
  std::string err = connection.Run("SELECT max(\"" + key + "\") FROM " + name, {}, &r);
  if (!err.empty()) throw RuntimeError(err);
  double highest = r.rows.empty() ? 0 : r.rows[0][0].ToDouble();
  err = connection.Run("SELECT lastid FROM xt_idcounter WHERE tablename = ?", {Value(name)}, &r);
  if (!err.empty()) throw RuntimeError(err);
  double counter = r.rows.empty() ? 0 : r.rows[0][0].ToDouble();
  double next = std::max(highest, counter) + 1;
  if (next > 2147483647.0) throw RuntimeError("Overflow");
  auto id = static_cast<int32_t>(next);
  err = connection.Run(
      "INSERT INTO xt_idcounter (tablename, lastid) VALUES (?, ?) "
      "ON CONFLICT(tablename) DO UPDATE SET lastid = excluded.lastid",
      {Value(name), Value(id)}, nullptr);
  if (!err.empty()) throw RuntimeError(err);
  return id;
}

}  // namespace kmd::db
