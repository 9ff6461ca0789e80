#include "db/SqliteConnection.h"

#include <sqlite3.h>

#include <algorithm>
#include <unistd.h>

#include "base/RuntimeError.h"
#include "db/Dialect.h"
#include "db/SqliteCursor.h"

namespace kmd::db {

using sqlite::ColumnNames;
using sqlite::ErrorOf;
using sqlite::ReadRow;

SqliteConnection::SqliteConnection(const std::string& path, bool create) {
  // A connection serves one thread at a time (a script run, a window's thread; a cursor's reader
  // only while nothing else uses the connection, which stops it first), so SQLite's own per-call
  // locking of the connection is left out.
  int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
  int rc = sqlite3_open_v2(path.c_str(), &m_Db, flags, nullptr);
  if (rc == SQLITE_CANTOPEN && !create && access(path.c_str(), F_OK) != 0) {
    sqlite3_close(m_Db);
    m_Db = nullptr;
    throw RuntimeError("no database at " + path + "; make one with kmd init");
  }
  if (rc != SQLITE_OK) {
    std::string msg = m_Db ? sqlite3_errmsg(m_Db) : "out of memory";
    sqlite3_close(m_Db);
    m_Db = nullptr;
    throw RuntimeError("cannot open database " + path + ": " + msg);
  }
  sqlite3_busy_timeout(m_Db, 5000);
  sqlite3_exec(m_Db, "PRAGMA foreign_keys=OFF", nullptr, nullptr, nullptr);
  // Write-ahead logging: readers never wait for a writer, and a writer whose transaction has read
  // cannot write over a newer commit (it gets the busy error instead).
  sqlite3_exec(m_Db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
}

SqliteConnection::~SqliteConnection() {
  ReadCursorRows();
  for (const Kept& k : m_Kept) sqlite3_finalize(k.st);
  if (m_Db) {
    if (!sqlite3_get_autocommit(m_Db)) sqlite3_exec(m_Db, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close_v2(m_Db);
  }
}

namespace {

bool OnlyBlanksOrSemicolons(const char* p) {
  for (; *p; ++p)
    if (*p != ' ' && *p != '\t' && *p != '\r' && *p != '\n' && *p != ';') return false;
  return true;
}

void Bind(sqlite3_stmt* st, int i, const Value& v) {
  switch (v.GetType()) {
    case Value::Type::Empty:
    case Value::Type::Null:
      sqlite3_bind_null(st, i);
      break;
    case Value::Type::Boolean:
      sqlite3_bind_int(st, i, v.ToBool() ? 1 : 0);
      break;
    case Value::Type::Long:
      sqlite3_bind_int(st, i, v.ToLong());
      break;
    case Value::Type::Double:
      sqlite3_bind_double(st, i, v.ToDouble());
      break;
    case Value::Type::Bytes: {
      const auto& b = v.ToBytes();
      sqlite3_bind_blob(st, i, b.data(), static_cast<int>(b.size()), SQLITE_TRANSIENT);
      break;
    }
    default: {
      std::string s = v.ToText();
      sqlite3_bind_text(st, i, s.c_str(), static_cast<int>(s.size()), SQLITE_TRANSIENT);
    }
  }
}

void BindAll(sqlite3_stmt* st, const std::vector<Value>& params) {
  for (size_t i = 0; i < params.size(); ++i) Bind(st, static_cast<int>(i + 1), params[i]);
}

}  // namespace

std::string SqliteConnection::Error() const { return ErrorOf(m_Db); }

void SqliteConnection::ReadCursorRows() const {
  for (Cursor* c : *m_Cursors) c->ReadAll();
}

std::string SqliteConnection::Prepare(const std::string& sql, const std::vector<Value>& params, sqlite3_stmt*& st) {
  st = nullptr;
  ReadCursorRows();
  if (std::string why = RefusedStatement(sql); !why.empty()) return why;
  std::string adapted = dialect::ToSqlite(sql);
  const char* tail = nullptr;
  int rc = sqlite3_prepare_v2(m_Db, adapted.c_str(), static_cast<int>(adapted.size()), &st, &tail);
  if (rc != SQLITE_OK) return Error();
  if (!st) return "empty statement";
  if (tail && !OnlyBlanksOrSemicolons(tail)) {
    sqlite3_finalize(st);
    st = nullptr;
    return "only one statement may be run at a time";
  }
  BindAll(st, params);
  return "";
}

sqlite3_stmt* SqliteConnection::TakeKept(const std::string& sql) {
  auto kept = std::find_if(m_Kept.begin(), m_Kept.end(), [&](const Kept& k) { return k.sql == sql; });
  if (kept == m_Kept.end()) return nullptr;
  sqlite3_stmt* st = kept->st;
  m_Kept.erase(kept);
  return st;
}

std::string SqliteConnection::Run(const std::string& sql, const std::vector<Value>& params, QueryResult* out) {
  return Execute(sql, params, out, !params.empty());
}

std::string SqliteConnection::Execute(const std::string& sql, const std::vector<Value>& params, QueryResult* out,
                                      bool keep) {
  sqlite3_stmt* st = keep ? TakeKept(sql) : nullptr;
  if (st) {
    // Prepared and checked before: only the open cursors' rows and the values are new.
    ReadCursorRows();
    sqlite3_clear_bindings(st);
    BindAll(st, params);
  } else if (std::string err = Prepare(sql, params, st); !err.empty()) {
    return err;
  }
  if (out) out->rows.clear();
  int rc;
  while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
    if (!out) continue;
    ReadRow(st, out->rows.emplace_back());
  }
  // The names after the steps: a kept statement is prepared again by its first step when the
  // schema has changed, and "*" may then stand for other columns.
  if (out) out->columns = ColumnNames(st);
  std::string err;
  if (rc != SQLITE_DONE) err = Error();
  if (keep && err.empty()) {
    sqlite3_reset(st);
    if (m_Kept.size() == kKeptMax) {
      sqlite3_finalize(m_Kept.front().st);
      m_Kept.erase(m_Kept.begin());
    }
    m_Kept.push_back({sql, st});
  } else {
    sqlite3_finalize(st);
  }
  return err;
}

std::unique_ptr<Cursor> SqliteConnection::OpenCursor(const std::string& sql, std::string& err) {
  sqlite3_stmt* st = nullptr;
  err = Prepare(sql, {}, st);
  if (!err.empty()) return nullptr;
  int rc = sqlite3_step(st);
  if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
    err = Error();
    sqlite3_finalize(st);
    return nullptr;
  }
  return sqlite::MakeCursor(st, rc, m_Cursors);
}

std::string SqliteConnection::Begin() { return Execute("BEGIN", {}, nullptr, true); }
std::string SqliteConnection::BeginImmediate() { return Execute("BEGIN IMMEDIATE", {}, nullptr, true); }
int64_t SqliteConnection::Changes() const {
  ReadCursorRows();
  return sqlite3_total_changes64(m_Db);
}
std::string SqliteConnection::Commit() { return Execute("COMMIT", {}, nullptr, true); }
std::string SqliteConnection::Rollback() { return Execute("ROLLBACK", {}, nullptr, true); }
bool SqliteConnection::InTransaction() const {
  ReadCursorRows();
  return sqlite3_get_autocommit(m_Db) == 0;
}

std::vector<std::string> SqliteConnection::KeyColumns(const std::string& table) {
  QueryResult r;
  std::vector<std::string> keys;
  if (!Run("SELECT name FROM pragma_table_info(?) WHERE pk > 0 ORDER BY pk", {Value(table)}, &r).empty()) return keys;
  for (const auto& row : r.rows) keys.push_back(row[0].ToText());
  return keys;
}

std::string SqliteConnection::RunScript(const std::string& script) {
  ReadCursorRows();
  char* msg = nullptr;
  int rc = sqlite3_exec(m_Db, script.c_str(), nullptr, nullptr, &msg);
  std::string err;
  if (rc != SQLITE_OK) err = msg ? msg : "error";
  sqlite3_free(msg);
  return err;
}

}  // namespace kmd::db
