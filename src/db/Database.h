#pragma once
#include <functional>
#include <map>
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
  // The rows as they come, for a loop that only moves forward (see Recordset); the same failures.
  virtual RecordsetPtr OpenForwardOnly() { return OpenRecordset(); }
};

// How a host's unit of work ended.
struct UnitResult {
  bool committed = true;   // false: everything of the unit was rolled back
  std::string error;       // the first failure of the unit, "" when none
  bool busy = false;       // the failure was another connection's lock or newer commit
};

// What a host keeps of a shown row to tell later whether another connection changed it.
struct RowPrint {
  bool ok = false;     // the row could be read (found or not)
  bool found = false;
  std::string print;   // every column of the row, as one text
};

class IDatabase {
 public:
  virtual ~IDatabase() = default;
  // The host's unit of work around one command: every statement until EndUnit belongs to one
  // transaction, committed when none of them failed and rolled back as a whole when one did.
  // Inside a unit, BeginTrans, CommitTrans and RollbackTrans work on savepoints.
  // A unit that `writes` takes the write lock at its start, so that its checks and its writes
  // cannot interleave with another connection's.
  virtual void BeginUnit(bool /*writes*/ = false) {}
  virtual UnitResult EndUnit() { return {}; }
  // A box is about to wait for the user: a unit that has written nothing lets go of its locks
  // until AfterWait takes them again.
  virtual void BeforeWait() {}
  virtual void AfterWait() {}
  // The row of `table` whose `keyColumn` is `id`, read outside the statement trace; or, when
  // `shown` stands on that row read whole from the table (as "SELECT *" reads it) by the same unit
  // of work, that row, which the statement would only read again.
  virtual RowPrint Fingerprint(const std::string& /*table*/, const std::string& /*keyColumn*/, int32_t /*id*/,
                               const Recordset* /*shown*/ = nullptr) {
    return {};
  }
  // Counts a failure that did not come through a command (the id counter, for instance).
  virtual void NoteFailure(const std::string& /*error*/) {}
  virtual std::shared_ptr<IDbCommand> CreateCommand(const std::string& sql, int32_t kind = 1) = 0;
  virtual bool ResetState() = 0;
  virtual void BeginTrans() = 0;
  virtual void CommitTrans() = 0;
  virtual void RollbackTrans() = 0;
  virtual bool InTrans() = 0;
  virtual const IDbError& LastError() = 0;
  virtual const IDbInfo& Info() = 0;
};

// Rolls back a transaction a form left open after a failure; a failing rollback is left to the
// command's unit of work, which undoes everything anyway.
void RollbackQuietly(IDatabase& db);

// IDatabase over a driver connection, with a statement trace that a host can switch on.
// The trace sees each statement exactly as the form built it, before dialect adaptation.
class Database : public IDatabase, public IDbError, public IDbInfo,
                 public std::enable_shared_from_this<Database> {
 public:
  using Trace = std::function<void(const std::string& sql)>;
  explicit Database(std::shared_ptr<Connection> connection);

  std::shared_ptr<IDbCommand> CreateCommand(const std::string& sql, int32_t kind = 1) override;
  bool ResetState() override { return true; }
  // Transaction failures (a nested BEGIN, a COMMIT without BEGIN) are run-time errors; a rollback
  // without a transaction does nothing.
  void BeginTrans() override;
  void CommitTrans() override;
  void RollbackTrans() override;
  bool InTrans() override;
  void BeginUnit(bool writes = false) override;
  UnitResult EndUnit() override;
  void BeforeWait() override;
  void AfterWait() override;
  RowPrint Fingerprint(const std::string& table, const std::string& keyColumn, int32_t id,
                       const Recordset* shown = nullptr) override;
  void NoteFailure(const std::string& error) override;
  bool InUnit() const { return m_UnitDepth > 0; }
  const IDbError& LastError() override { return *this; }
  const IDbInfo& Info() override { return *this; }

  std::string Description() const override { return m_LastError; }
  Value Item(const Value& key) const override;

  void SetTrace(Trace trace) { m_Trace = std::move(trace); }
  Connection& GetConnection() { return *m_Connection; }

  // Used by commands: runs one statement, records the error, traces it.
  std::string Run(const std::string& sql, QueryResult* out);
  // The same with "?" parameters (the writes of an updatable recordset).
  std::string Run(const std::string& sql, const std::vector<Value>& params, QueryResult* out);

  // The same for a query read as it runs; null on failure.
  std::unique_ptr<Cursor> OpenCursor(const std::string& sql);

  // Test seam: the n-th statement (1-based) of the next unit fails without running; 0: none.
  void FailNthStatement(int n) { m_FailAt = n; }
  // Statements the last unit ran or tried.
  int UnitStatements() const { return m_UnitStatements; }

 private:
  std::string Savepoint() const { return "kmd_sp" + std::to_string(m_Savepoints); }

  std::shared_ptr<Connection> m_Connection;
  std::string m_LastError;
  Trace m_Trace;
  int m_UnitDepth = 0;
  int m_Savepoints = 0;        // form transactions open inside the unit
  std::string m_UnitError;     // the first failure inside the unit
  bool m_UnitBusy = false;
  int m_FailAt = 0;
  int m_UnitStatements = 0;
  bool m_UnitWrites = false;
  int64_t m_ChangesAtBegin = 0;
  bool m_Released = false;  // the unit let go of its transaction while a box waits
  // Why the next statement may not run ("" when it may): the unit's failure seam or its ended
  // transaction.
  std::string Gate();
  // Begins the unit's transaction; a failure is the unit's failure.
  void BeginUnitTransaction();
  // The columns of tables as their fingerprints read them, to know a shown row for a whole one.
  std::map<std::string, std::vector<std::string>> m_TableColumns;
};

}  // namespace kmd::db
