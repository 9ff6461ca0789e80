#include "db/SqliteConnection.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <unistd.h>

#include "base/RuntimeError.h"
#include "db/Dialect.h"

namespace kmd::db {

SqliteConnection::SqliteConnection(const std::string& path, bool create) {
  // A connection serves one thread at a time (a script run, a window's thread), so SQLite's own
  // per-call locking of the connection is left out.
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

// Reads a column into `v`; a text goes into the room `v` has.
void ReadColumn(sqlite3_stmt* st, int i, Value& v) {
  switch (sqlite3_column_type(st, i)) {
    case SQLITE_INTEGER:
      v = Value(static_cast<long long>(sqlite3_column_int64(st, i)));
      break;
    case SQLITE_FLOAT:
      v = Value(sqlite3_column_double(st, i));
      break;
    case SQLITE_TEXT: {
      const char* p = reinterpret_cast<const char*>(sqlite3_column_text(st, i));
      v.AssignText(p, static_cast<size_t>(sqlite3_column_bytes(st, i)));
      break;
    }
    case SQLITE_BLOB: {
      const auto* p = static_cast<const unsigned char*>(sqlite3_column_blob(st, i));
      v = Value(Value::Bytes(p, p + sqlite3_column_bytes(st, i)));
      break;
    }
    default:
      v = Value::Null();
  }
}

void ReadRow(sqlite3_stmt* st, Row& row) {
  auto n = static_cast<size_t>(sqlite3_column_count(st));
  row.resize(n);
  for (size_t i = 0; i < n; ++i) ReadColumn(st, static_cast<int>(i), row[i]);
}

std::vector<std::string> ColumnNames(sqlite3_stmt* st) {
  std::vector<std::string> names;
  int n = sqlite3_column_count(st);
  for (int i = 0; i < n; ++i) names.emplace_back(sqlite3_column_name(st, i));
  return names;
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

namespace {

std::string ErrorOf(sqlite3* db) {
  int code = sqlite3_errcode(db) & 0xFF;
  if (code == SQLITE_BUSY || code == SQLITE_LOCKED) return kBusyText;
  // A write past the file-size limit or onto a full disk is the engine's "full" error.
  int sys = sqlite3_system_errno(db);
  if (code == SQLITE_IOERR && (sys == EFBIG || sys == ENOSPC)) return sqlite3_errstr(SQLITE_FULL);
  return sqlite3_errmsg(db);
}

}  // namespace

std::string SqliteConnection::Error() const { return ErrorOf(m_Db); }

void SqliteConnection::ReadCursorRows() {
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

namespace {

// The live statement of a query. Its first step ran when it was opened, so that the failures of a
// statement that runs at all show there, as with Run. A row's values are read when asked for: a
// load that reads three columns of a wide table does not pay for the others. Before any other
// statement of the connection runs, the connection has the current row read in full, so a value
// read late is the value the row had when it was stepped to.
class SqliteCursor : public Cursor {
 public:
  // The statement keeps its connection's handle open (a closed connection waits for its
  // statements), so a cursor may outlive the connection object.
  SqliteCursor(sqlite3_stmt* st, int firstStep, std::shared_ptr<std::vector<Cursor*>> open)
      : m_St(st), m_Columns(ColumnNames(st)), m_Step(firstStep), m_Open(std::move(open)) {
    m_Open->push_back(this);
  }
  ~SqliteCursor() override {
    std::erase(*m_Open, this);
    sqlite3_finalize(m_St);
  }
  SqliteCursor(const SqliteCursor&) = delete;
  SqliteCursor& operator=(const SqliteCursor&) = delete;

  const std::vector<std::string>& Columns() const override { return m_Columns; }
  bool Next(Row& row) override {
    if (m_Started) m_Step = m_Step == SQLITE_ROW ? sqlite3_step(m_St) : m_Step;
    m_Started = true;
    if (m_Step == SQLITE_ROW) {
      row.resize(m_Columns.size());
      m_Row = &row;
      m_Read.assign(m_Columns.size(), false);
      return true;
    }
    m_Row = nullptr;
    if (m_Step != SQLITE_DONE && m_Error.empty()) m_Error = ErrorOf(sqlite3_db_handle(m_St));
    return false;
  }
  void Read(size_t column) override {
    if (!m_Row || column >= m_Read.size() || m_Read[column]) return;
    ReadColumn(m_St, static_cast<int>(column), (*m_Row)[column]);
    m_Read[column] = true;
  }
  void ReadAll() override {
    for (size_t i = 0; i < m_Read.size(); ++i) Read(i);
  }
  std::string Error() const override { return m_Error; }

 private:
  sqlite3_stmt* m_St;
  std::vector<std::string> m_Columns;
  int m_Step;
  bool m_Started = false;
  std::string m_Error;
  std::shared_ptr<std::vector<Cursor*>> m_Open;
  Row* m_Row = nullptr;       // the row last given to Next, while it is current
  std::vector<bool> m_Read;   // its values read so far
};

}  // namespace

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
  return std::make_unique<SqliteCursor>(st, rc, m_Cursors);
}

std::string SqliteConnection::Begin() { return Execute("BEGIN", {}, nullptr, true); }
std::string SqliteConnection::BeginImmediate() { return Execute("BEGIN IMMEDIATE", {}, nullptr, true); }
int64_t SqliteConnection::Changes() const { return sqlite3_total_changes64(m_Db); }
std::string SqliteConnection::Commit() { return Execute("COMMIT", {}, nullptr, true); }
std::string SqliteConnection::Rollback() { return Execute("ROLLBACK", {}, nullptr, true); }
bool SqliteConnection::InTransaction() const { return sqlite3_get_autocommit(m_Db) == 0; }

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
