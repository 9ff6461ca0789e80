#pragma once
#include <map>
#include <string>
#include <utility>

#include "db/Connection.h"

struct pg_conn;
struct pg_result;

namespace kmd::db {

// A database on a PostgreSQL server, by its address ("postgresql://user@host:port/name").
// Statements are adapted by the dialect adapter. Inside a transaction each statement runs under a
// savepoint of its own, so that a failed statement leaves the transaction as it was before it (as
// on SQLite) instead of ending it. Transactions are serializable: a write over another
// transaction's, and a lock not given within 5 seconds, are the busy error. A transaction that
// will write takes the database's write lock (a lock on xt_idcounter that only writers take, as
// SQLite's) before it reads anything, so that its reads see every write committed before it.
// The server folds the Latin case of names; result columns get back their spelling: a table
// column's as the schema wrote it (kept as the column's comment), else the statement's.
class PgConnection : public Connection {
 public:
  // Connects, with UTF-8 as the client encoding. Throws RuntimeError when it cannot, naming the
  // address without its password.
  explicit PgConnection(const std::string& address);
  ~PgConnection() override;
  PgConnection(const PgConnection&) = delete;
  PgConnection& operator=(const PgConnection&) = delete;

  std::string Run(const std::string& sql, const std::vector<Value>& params, QueryResult* out) override;
  std::string Begin() override;
  std::string BeginImmediate() override;
  int64_t Changes() const override { return m_Changes; }
  std::string Commit() override;
  std::string Rollback() override;
  bool InTransaction() const override;
  std::string DriverName() const override { return "postgres"; }
  std::string RunScript(const std::string& script) override;
  std::vector<std::string> KeyColumns(const std::string& table) override;

 private:
  // Runs a statement of the engine's own dialect without parameters; gives "" or the error.
  std::string Exec(const char* sql);
  // Reads the schema's spellings of column names.
  void LoadSpellings();
  // The name of result column `col` as the schema or the statement spells it.
  std::string ColumnName(const pg_result* res, int col, const std::string& sql) const;
  pg_conn* m_Conn = nullptr;
  std::map<std::pair<unsigned, int>, std::string> m_Spelling;  // by table oid and column number
  std::map<std::string, std::string> m_SpellingByName;        // by the folded name
  int64_t m_Changes = 0;
};

namespace pg {

bool IsAddress(const std::string& address);
// The address with its password left out, for messages.
std::string Shown(const std::string& address);
// The same server and user, another database.
std::string WithDatabase(const std::string& address, const std::string& database);
// Makes the database that the address names when the server has none of that name, in UTF-8
// with the C collation (text sorts by code point), through the server's database "postgres".
// Gives true when it made one. Throws RuntimeError.
bool CreateDatabase(const std::string& address);
// Drops the database that the address names, if there is one. Throws RuntimeError.
void DropDatabase(const std::string& address);

}  // namespace pg

}  // namespace kmd::db
