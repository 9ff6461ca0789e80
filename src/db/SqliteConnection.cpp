#include "db/SqliteConnection.h"

#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
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

// Reads a column into `v`; a text goes into the room `v` has.
void ReadColumn(sqlite3_stmt* st, int i, Value& v) {
  switch (sqlite3_column_type(st, i)) {
    case SQLITE_INTEGER:
      v.AssignWide(static_cast<long long>(sqlite3_column_int64(st, i)));
      break;
    case SQLITE_FLOAT:
      v.AssignDouble(sqlite3_column_double(st, i));
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

namespace {

// The live statement of a query. Its first step ran when it was opened, so that the failures of a
// statement that runs at all show there, as with Run. A row's values are read when asked for: a
// load that reads three columns of a wide table does not pay for the others. Before any other
// statement of the connection runs, the connection has the current row read in full, so a value
// read late is the value the row had when it was stepped to.
//
// A long read goes on in a thread of its own: once the loop has taken kAheadAfter rows, and while
// this is the connection's only open cursor, a reader steps the statement and reads whole rows
// into batches that the loop takes in turn, so that stepping the statement and the loop's own work
// on each row (building a tree) share the machine's cores. The connection is used by one thread at
// a time: before it runs anything else (another statement, a transaction's end, its close) it
// stops the reader, which finishes the row it is on; the loop then takes the rows read so far and
// steps the rest itself. A failure met by the reader is raised where the loop reaches it.
class SqliteCursor : public Cursor {
 public:
  // The statement keeps its connection's handle open (a closed connection waits for its
  // statements), so a cursor may outlive the connection object.
  SqliteCursor(sqlite3_stmt* st, int firstStep, std::shared_ptr<std::vector<Cursor*>> open)
      : m_St(st), m_Columns(ColumnNames(st)), m_Step(firstStep), m_Open(std::move(open)) {
    m_Open->push_back(this);
  }
  ~SqliteCursor() override {
    StopReader();
    std::erase(*m_Open, this);
    sqlite3_finalize(m_St);
  }
  SqliteCursor(const SqliteCursor&) = delete;
  SqliteCursor& operator=(const SqliteCursor&) = delete;

  const std::vector<std::string>& Columns() const override { return m_Columns; }
  bool Next(Row& row) override {
    if (m_Ahead && TakeAhead(row)) return true;
    // A reader is started once, at the row that makes kAheadAfter; after it has ended the
    // statement stands where it left it: at its end, or after the last row it read.
    if (m_Started && m_Step == SQLITE_ROW && ++m_Taken == kAheadAfter && m_Open->size() == 1 &&
        std::thread::hardware_concurrency() > 1) {
      StartReader();
      if (m_Ahead && TakeAhead(row)) return true;
    }
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
    StopReader();
    for (size_t i = 0; i < m_Read.size(); ++i) Read(i);
  }
  std::string Error() const override { return m_Error; }

 private:
  static constexpr size_t kAheadAfter = 256;  // rows the loop steps itself before a reader starts
  static constexpr size_t kBatchRows = 64;
  static constexpr size_t kBatches = 16;      // at most this many batches read and not yet taken
  static constexpr int kSpins = 2000;          // about 20-50 microseconds

  static void Pause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#else
    std::this_thread::yield();
#endif
  }

  struct Batch {
    std::vector<Row> rows;
    size_t count = 0;
  };

  void StartReader() {
    m_Row = nullptr;  // the row given last is no longer current: nothing reads it any more
    try {
      m_Reader = std::thread([this] { ReadAhead(); });
      m_Ahead = true;
    } catch (const std::system_error&) {
      // No thread to be had: the loop steps on by itself.
    }
  }

  // The reader's loop: fills free batches with whole rows until the statement ends or fails, or
  // until it is asked to stop.
  void ReadAhead() {
    for (bool end = false; !end;) {
      std::unique_ptr<Batch> batch;
      {
        std::unique_lock<std::mutex> lock(m_Mutex);
        m_Cv.wait(lock, [this] { return m_Stop || !m_Free.empty() || m_Made < kBatches; });
        if (m_Stop) break;
        if (m_Free.empty()) {
          batch = std::make_unique<Batch>();
          ++m_Made;
        } else {
          batch = std::move(m_Free.back());
          m_Free.pop_back();
        }
      }
      batch->count = 0;
      try {
        while (batch->count < kBatchRows && !m_StopSoon.load(std::memory_order_relaxed)) {
          m_Step = sqlite3_step(m_St);
          if (m_Step != SQLITE_ROW) {
            if (m_Step != SQLITE_DONE) m_Error = ErrorOf(sqlite3_db_handle(m_St));
            end = true;
            break;
          }
          if (batch->rows.size() == batch->count) batch->rows.emplace_back();
          ReadRow(m_St, batch->rows[batch->count++]);
        }
      } catch (const std::exception& e) {
        // Out of memory while reading a row: the read ends there with that failure.
        m_Step = SQLITE_NOMEM;
        m_Error = e.what();
        end = true;
      }
      std::lock_guard<std::mutex> lock(m_Mutex);
      if (batch->count) m_Full.push_back(std::move(batch));
      else m_Free.push_back(std::move(batch));
      m_Events.fetch_add(1, std::memory_order_release);
      if (m_StopSoon.load(std::memory_order_relaxed)) end = true;
      m_Cv.notify_all();
    }
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_ReaderDone = true;
    m_Events.fetch_add(1, std::memory_order_release);
    m_Cv.notify_all();
  }

  // Gives the next row read ahead; false when the reader has ended and every row it read was
  // taken (the statement then stands where the reader left it, and m_Step says how it ended).
  bool TakeAhead(Row& row) {
    for (;;) {
      if (m_Current && m_Pos < m_Current->count) {
        std::swap(row, m_Current->rows[m_Pos++]);  // the row's room goes back to the reader
        return true;
      }
      std::unique_lock<std::mutex> lock(m_Mutex);
      if (m_Current) {
        m_Free.push_back(std::move(m_Current));
        m_Cv.notify_all();
      }
      if (m_Full.empty() && !m_ReaderDone) {
        // The next batch is usually a few microseconds away: waiting for it on this core costs
        // less than sleeping and being woken.
        uint64_t seen = m_Events.load(std::memory_order_relaxed);
        lock.unlock();
        for (int i = 0; i < kSpins && m_Events.load(std::memory_order_acquire) == seen; ++i) Pause();
        lock.lock();
      }
      m_Cv.wait(lock, [this] { return !m_Full.empty() || m_ReaderDone; });
      if (m_Full.empty()) break;
      m_Current = std::move(m_Full.front());
      m_Full.pop_front();
      m_Pos = 0;
    }
    if (m_Reader.joinable()) m_Reader.join();
    m_Ahead = false;
    m_Free.clear();
    return false;
  }

  // Has the reader stop after the row it is on; the rows it read stay to be taken.
  void StopReader() {
    if (!m_Reader.joinable()) return;
    m_StopSoon.store(true, std::memory_order_relaxed);
    {
      std::lock_guard<std::mutex> lock(m_Mutex);
      m_Stop = true;
    }
    m_Cv.notify_all();
    m_Reader.join();
  }

  sqlite3_stmt* m_St;
  std::vector<std::string> m_Columns;
  int m_Step;  // written by the reader while it runs
  bool m_Started = false;
  std::string m_Error;  // written by the reader while it runs
  std::shared_ptr<std::vector<Cursor*>> m_Open;
  Row* m_Row = nullptr;       // the row last given to Next, while it is current and read lazily
  std::vector<bool> m_Read;   // its values read so far
  size_t m_Taken = 0;         // rows the loop stepped itself

  // Reading ahead: the batches pass between the loop and the reader under m_Mutex.
  bool m_Ahead = false;  // rows are taken from the reader's batches
  std::thread m_Reader;
  std::mutex m_Mutex;
  std::condition_variable m_Cv;
  std::deque<std::unique_ptr<Batch>> m_Full;
  std::vector<std::unique_ptr<Batch>> m_Free;
  size_t m_Made = 0;
  bool m_Stop = false;
  bool m_ReaderDone = false;
  std::atomic<bool> m_StopSoon{false};
  std::atomic<uint64_t> m_Events{0};  // batches given and the reader's end, for a wait that spins
  std::unique_ptr<Batch> m_Current;  // the batch the loop takes rows from
  size_t m_Pos = 0;
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
