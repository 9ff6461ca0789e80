#pragma once
#include <memory>
#include <string>
#include <vector>

#include "db/Connection.h"

struct sqlite3;
struct sqlite3_stmt;

namespace kmd::db {

// The embedded default database. Statements are adapted by the dialect adapter before they are
// prepared; Latin case of identifiers does not matter, as on the suite's server.
class SqliteConnection : public Connection {
 public:
  // Opens the file; only `create` makes a new one. Throws RuntimeError when it cannot, and
  // "no database at PATH; make one with kmd init" when the file is missing and not to be made.
  explicit SqliteConnection(const std::string& path, bool create = false);
  ~SqliteConnection() override;
  SqliteConnection(const SqliteConnection&) = delete;
  SqliteConnection& operator=(const SqliteConnection&) = delete;

  std::string Run(const std::string& sql, const std::vector<Value>& params, QueryResult* out) override;
  std::unique_ptr<Cursor> OpenCursor(const std::string& sql, std::string& err) override;
  std::string Begin() override;
  std::string BeginImmediate() override;
  int64_t Changes() const override;
  std::string Commit() override;
  std::string Rollback() override;
  bool InTransaction() const override;
  std::string DriverName() const override { return "sqlite"; }
  std::string RunScript(const std::string& script) override;
  std::vector<std::string> KeyColumns(const std::string& table) override;

 private:
  // The last error's text; another connection's lock is the driver-independent busy text.
  std::string Error() const;
  // Prepares one statement and binds its parameters; gives "" or why it cannot run.
  std::string Prepare(const std::string& sql, const std::vector<Value>& params, sqlite3_stmt*& st);
  // Runs a statement as Run does; `keep` keeps it prepared for the next run of the same text.
  std::string Execute(const std::string& sql, const std::vector<Value>& params, QueryResult* out, bool keep);
  // Takes the statement kept for this text out of the kept ones; null when none is kept.
  sqlite3_stmt* TakeKept(const std::string& sql);
  // Reads the current rows of the open cursors in full and stops their readers, before anything
  // else uses the connection: another statement could change what they would read, and the
  // connection serves one thread at a time.
  void ReadCursorRows() const;
  sqlite3* m_Db = nullptr;
  // Statements kept prepared, the last used last: those with parameters (written to run again with
  // other values) and the transaction statements. Texts with their values written in are not kept.
  struct Kept {
    std::string sql;
    sqlite3_stmt* st;
  };
  std::vector<Kept> m_Kept;
  static constexpr size_t kKeptMax = 16;
  // The open cursors of this connection (shared with them: a cursor may outlive its connection).
  std::shared_ptr<std::vector<Cursor*>> m_Cursors = std::make_shared<std::vector<Cursor*>>();
};

}  // namespace kmd::db
