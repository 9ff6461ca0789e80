#include "db/Connection.h"

#include "db/PgConnection.h"
#include "db/SqliteConnection.h"

namespace kmd::db {

std::string RefusedStatement(const std::string& sql) {
  if (sql.find('\0') != std::string::npos) return "statement refused: it holds a NUL byte";
  char quote = 0;  // the quote of the literal or quoted name the scan is in
  for (size_t i = 0; i < sql.size(); ++i) {
    char c = sql[i];
    if (quote) {
      if (c == quote) {
        if (i + 1 < sql.size() && sql[i + 1] == quote) ++i;  // a doubled quote stays inside
        else quote = 0;
      }
      continue;
    }
    if (c == '\'' || c == '"') {
      quote = c;
    } else if ((c == '-' && i + 1 < sql.size() && sql[i + 1] == '-') ||
               (c == '/' && i + 1 < sql.size() && sql[i + 1] == '*')) {
      return "statement refused: a comment outside its literals";
    } else if (c == ';') {
      if (sql.find_first_not_of(" \t\r\n;", i) != std::string::npos)
        return "statement refused: only one statement may be run at a time";
      break;
    }
  }
  return "";
}

namespace {

// A cursor over rows read in full beforehand.
class ReadCursor : public Cursor {
 public:
  explicit ReadCursor(QueryResult result) : m_Result(std::move(result)) {}
  const std::vector<std::string>& Columns() const override { return m_Result.columns; }
  bool Next(Row& row) override {
    if (m_Next >= m_Result.rows.size()) return false;
    row = std::move(m_Result.rows[m_Next++]);
    return true;
  }
  std::string Error() const override { return ""; }

 private:
  QueryResult m_Result;
  size_t m_Next = 0;
};

}  // namespace

std::unique_ptr<Cursor> Connection::OpenCursor(const std::string& sql, std::string& err) {
  QueryResult result;
  err = Run(sql, {}, &result);
  if (!err.empty()) return nullptr;
  return std::make_unique<ReadCursor>(std::move(result));
}

std::shared_ptr<Connection> Open(const std::string& address, bool create) {
  if (pg::IsAddress(address)) return std::make_shared<PgConnection>(address);
  return std::make_shared<SqliteConnection>(address, create);
}

std::string ShownAddress(const std::string& address) {
  return pg::IsAddress(address) ? pg::Shown(address) : address;
}

}  // namespace kmd::db
