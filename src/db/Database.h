#pragma once
#include <functional>
#include <memory>
#include <string>

#include "base/Value.h"
#include "db/Connection.h"
#include "db/Recordset.h"

namespace kmd::db {

// Error of the last statement: an empty description means it succeeded.
class IDbError {
 public:
  virtual ~IDbError() = default;
  virtual std::string Description() const = 0;
};

// Connection facts; Item("driver") gives the driver's name.
class IDbInfo {
 public:
  virtual ~IDbInfo() = default;
  virtual Value Item(const Value& key) const = 0;
};

// One statement. A failure never throws: it shows in the database's LastError, and then
// ExecuteScalar gives Null and OpenRecordset an empty recordset.
class IDbCommand {
 public:
  virtual ~IDbCommand() = default;
  virtual int32_t Execute() = 0;
  virtual Value ExecuteScalar() = 0;
  virtual RecordsetPtr OpenRecordset() = 0;
};

class IDatabase {
 public:
  virtual ~IDatabase() = default;
  virtual std::shared_ptr<IDbCommand> CreateCommand(const std::string& sql, int32_t kind = 1) = 0;
  virtual bool ResetState() = 0;
  virtual void BeginTrans() = 0;
  virtual void CommitTrans() = 0;
  virtual void RollbackTrans() = 0;
  virtual bool InTrans() = 0;
  virtual const IDbError& LastError() = 0;
  virtual const IDbInfo& Info() = 0;
};

// IDatabase over a driver connection, with a statement trace that a host can switch on.
// The trace sees each statement exactly as the form built it, before dialect adaptation.
class Database : public IDatabase, public IDbError, public IDbInfo,
                 public std::enable_shared_from_this<Database> {
 public:
  using Trace = std::function<void(const std::string& sql)>;
  explicit Database(std::shared_ptr<Connection> connection);

  std::shared_ptr<IDbCommand> CreateCommand(const std::string& sql, int32_t kind = 1) override;
  bool ResetState() override { return true; }
  // Transaction failures (a nested BEGIN, a COMMIT without BEGIN) are run-time errors.
  void BeginTrans() override;
  void CommitTrans() override;
  void RollbackTrans() override;
  bool InTrans() override;
  const IDbError& LastError() override { return *this; }
  const IDbInfo& Info() override { return *this; }

  std::string Description() const override { return m_LastError; }
  Value Item(const Value& key) const override;

  void SetTrace(Trace trace) { m_Trace = std::move(trace); }
  Connection& GetConnection() { return *m_Connection; }

  // Used by commands: runs one statement, records the error, traces it.
  std::string Run(const std::string& sql, QueryResult* out);

 private:
  std::shared_ptr<Connection> m_Connection;
  std::string m_LastError;
  Trace m_Trace;
};

}  // namespace kmd::db
