#pragma once
#include <memory>
#include <string>
#include <vector>

#include "base/Value.h"
#include "db/Recordset.h"

namespace kmd::db {

// The error every driver gives for another connection's lock, or for a write over a commit newer
// than what the transaction has read.
inline constexpr const char* kBusyText = "数据库正忙，请稍后再试";

// Why a statement must not run, "" when it may: a NUL byte, a comment outside its literals, or a
// second statement after the first. No form builds such a statement, so it can only come from a
// value that escaped its literal.
std::string RefusedStatement(const std::string& sql);

struct QueryResult {
  std::vector<std::string> columns;
  std::vector<Row> rows;
};

// The rows of a running statement, read one at a time.
class Cursor {
 public:
  virtual ~Cursor() = default;
  virtual const std::vector<std::string>& Columns() const = 0;
  // Makes the next row current in `row`, reusing the room of its values; false after the last row
  // or on a failure, which Error() then describes. A cursor may leave a value unread until Read
  // asks for it.
  virtual bool Next(Row& row) = 0;
  // Makes sure that `row[column]` of the row last given to Next holds its value.
  virtual void Read(size_t /*column*/) {}
  // Reads every value of that row that is not read yet.
  virtual void ReadAll() {}
  virtual std::string Error() const = 0;
};

// A driver's connection: runs exactly one statement of the suite's dialect (adapting it to its
// engine), with optional "?" parameters. Failures are returned, never thrown.
class Connection {
 public:
  virtual ~Connection() = default;
  // Runs one statement. Gives "" on success, else the error's description. `out` may be null.
  // Text after the first statement is refused as an error and not executed.
  virtual std::string Run(const std::string& sql, const std::vector<Value>& params, QueryResult* out) = 0;
  // Runs a query whose rows are read as they come. On failure gives null and the error in `err`.
  // The default reads all rows first, as Run does.
  virtual std::unique_ptr<Cursor> OpenCursor(const std::string& sql, std::string& err);
  virtual std::string Begin() = 0;
  // Begins a transaction that holds the write lock from the start, waiting for it as long as the
  // driver waits for a lock.
  virtual std::string BeginImmediate() { return Begin(); }
  // Rows written by this connection so far.
  virtual int64_t Changes() const { return 0; }
  virtual std::string Commit() = 0;
  virtual std::string Rollback() = 0;
  virtual bool InTransaction() const = 0;
  // "sqlite" or "postgres".
  virtual std::string DriverName() const = 0;
  // The primary key columns of a table, in key order; empty when it has none or is unknown.
  virtual std::vector<std::string> KeyColumns(const std::string& table) = 0;
  // Runs a script of several statements of the engine's own dialect (schema set-up only).
  virtual std::string RunScript(const std::string& script) = 0;
};

// Opens a database by its address: a file path (SQLite) or "postgres://..." / "postgresql://...".
// Throws RuntimeError when it cannot be opened.
// Only `create` makes a new SQLite file; `kmd init` and tests' scratch databases ask for it. A
// server's database is made by `kmd init` (host::InitDatabase), never by opening it.
std::shared_ptr<Connection> Open(const std::string& address, bool create = false);
// The address as messages show it: a server's without its password, a file's path as it is.
std::string ShownAddress(const std::string& address);

}  // namespace kmd::db
