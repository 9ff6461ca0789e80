#include "db/Database.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd::db {

namespace {

class Command : public IDbCommand {
 public:
  Command(std::shared_ptr<Database> db, std::string sql) : m_Db(std::move(db)), m_Sql(std::move(sql)) {}

  // Gives the rows the statement wrote.
  int32_t Execute() override {
    int64_t before = m_Db->GetConnection().Changes();
    if (!m_Db->Run(m_Sql, nullptr).empty()) return 0;
    return static_cast<int32_t>(m_Db->GetConnection().Changes() - before);
  }

  Value ExecuteScalar() override {
    QueryResult r;
    if (!m_Db->Run(m_Sql, &r).empty()) return Value::Null();
    if (r.rows.empty() || r.rows[0].empty()) return Value::Null();
    return r.rows[0][0];
  }

  RecordsetPtr OpenForwardOnly() override {
    auto cursor = m_Db->OpenCursor(m_Sql);
    if (!cursor) return std::make_shared<Recordset>();
    std::weak_ptr<Database> weak = m_Db;
    return std::make_shared<Recordset>(std::move(cursor), [weak](const std::string& err) {
      if (auto db = weak.lock()) db->NoteFailure(err);
    });
  }

  RecordsetPtr OpenRecordset() override {
    QueryResult r;
    if (!m_Db->Run(m_Sql, &r).empty()) return std::make_shared<Recordset>();
    auto rs = std::make_shared<Recordset>(std::move(r.columns), std::move(r.rows));
    std::string table = TableOf(m_Sql);
    if (!table.empty()) {
      std::weak_ptr<Database> weak = m_Db;
      rs->SetWriter(
          table,
          [weak](const std::string& sql, const std::vector<Value>& params) -> std::string {
            auto db = weak.lock();
            return db ? db->Run(sql, params, nullptr) : "the database is closed";
          },
          [weak, table]() -> std::vector<std::string> {
            auto db = weak.lock();
            return db ? db->GetConnection().KeyColumns(table) : std::vector<std::string>{};
          });
    }
    return rs;
  }

 private:
  // The single table of a "SELECT ... FROM table" statement, for rows added through AddNew.
  static std::string TableOf(const std::string& sql) {
    std::string upper = text::UCase(sql);
    size_t p = upper.find(" FROM ");
    if (p == std::string::npos) return "";
    size_t b = p + 6;
    while (b < sql.size() && sql[b] == ' ') ++b;
    size_t e = b;
    while (e < sql.size() && sql[e] != ' ' && sql[e] != ';' && sql[e] != ',') ++e;
    std::string rest = text::Trim(upper.substr(e));
    if (rest.find(" JOIN ") != std::string::npos || rest.find(',') == 0) return "";
    std::string t = sql.substr(b, e - b);
    if (text::StartsWithNoCase(t, "dbo.")) t = t.substr(4);
    return t;
  }

  std::shared_ptr<Database> m_Db;
  std::string m_Sql;
};

}  // namespace

void RollbackQuietly(IDatabase& db) {
  try {
    if (db.InTrans()) db.RollbackTrans();
  } catch (const std::exception&) {
  }
}

Database::Database(std::shared_ptr<Connection> connection) : m_Connection(std::move(connection)) {}

std::shared_ptr<IDbCommand> Database::CreateCommand(const std::string& sql, int32_t) {
  return std::make_shared<Command>(shared_from_this(), sql);
}

std::string Database::Run(const std::string& sql, QueryResult* out) { return Run(sql, {}, out); }

std::string Database::Run(const std::string& sql, const std::vector<Value>& params, QueryResult* out) {
  if (m_Trace) m_Trace(sql);
  m_LastError = Gate();
  if (!m_LastError.empty()) {
    if (out) *out = {};
  } else {
    m_LastError = m_Connection->Run(sql, params, out);
  }
  if (!m_LastError.empty()) NoteFailure(m_LastError);
  return m_LastError;
}

std::unique_ptr<Cursor> Database::OpenCursor(const std::string& sql) {
  if (m_Trace) m_Trace(sql);
  m_LastError = Gate();
  std::unique_ptr<Cursor> cursor;
  if (m_LastError.empty()) cursor = m_Connection->OpenCursor(sql, m_LastError);
  if (!m_LastError.empty()) NoteFailure(m_LastError);
  return cursor;
}

std::string Database::Gate() {
  if (m_UnitDepth > 0 && ++m_UnitStatements == m_FailAt) return "statement " + std::to_string(m_FailAt) + " failed on purpose";
  // The unit's transaction could not be begun, or the engine ended it after a failure: nothing
  // more may run, since it would be written outside the unit.
  if (m_UnitDepth > 0 && !m_Connection->InTransaction())
    return m_UnitError.empty() ? "the transaction of the command has ended" : m_UnitError;
  return "";
}

void Database::NoteFailure(const std::string& error) {
  if (m_UnitDepth == 0 || !m_UnitError.empty()) return;
  m_UnitError = error.empty() ? "unknown error" : error;
  m_UnitBusy = error == kBusyText;
}

// Inside a unit the form's transactions are savepoints of the unit's transaction; outside one
// (a form driven without a host) they are transactions of their own.
void Database::BeginTrans() {
  std::string err;
  if (m_UnitDepth > 0) {
    if (m_Savepoints > 0) throw RuntimeError("cannot start a transaction within a transaction");
    ++m_Savepoints;
    err = m_Connection->Run("SAVEPOINT " + Savepoint(), {}, nullptr);
    if (!err.empty()) --m_Savepoints;
  } else {
    err = m_Connection->Begin();
  }
  if (!err.empty()) {
    NoteFailure(err);
    throw RuntimeError(err);
  }
}

void Database::CommitTrans() {
  std::string err;
  if (m_UnitDepth > 0) {
    if (m_Savepoints == 0) throw RuntimeError("cannot commit - no transaction is active");
    err = m_Connection->Run("RELEASE " + Savepoint(), {}, nullptr);
    --m_Savepoints;
  } else {
    err = m_Connection->Commit();
  }
  if (!err.empty()) {
    NoteFailure(err);
    throw RuntimeError(err);
  }
}

void Database::RollbackTrans() {
  std::string err;
  if (m_UnitDepth > 0) {
    if (m_Savepoints == 0) return;
    err = m_Connection->Run("ROLLBACK TO " + Savepoint(), {}, nullptr);
    if (err.empty()) err = m_Connection->Run("RELEASE " + Savepoint(), {}, nullptr);
    --m_Savepoints;
  } else if (m_Connection->InTransaction()) {
    err = m_Connection->Rollback();
  }
  if (!err.empty()) {
    NoteFailure(err);
    throw RuntimeError(err);
  }
}

bool Database::InTrans() { return m_UnitDepth > 0 ? m_Savepoints > 0 : m_Connection->InTransaction(); }

void Database::BeginUnit(bool writes) {
  if (m_UnitDepth++ > 0) return;
  m_UnitError.clear();
  m_UnitBusy = false;
  m_Savepoints = 0;
  m_UnitStatements = 0;
  m_UnitWrites = writes;
  m_Released = false;
  // A transaction left open outside any unit ends here, so that the unit's own starts clean.
  if (m_Connection->InTransaction()) m_Connection->Rollback();
  m_ChangesAtBegin = m_Connection->Changes();
  BeginUnitTransaction();
}

void Database::BeginUnitTransaction() {
  std::string err = m_UnitWrites ? m_Connection->BeginImmediate() : m_Connection->Begin();
  if (!err.empty()) NoteFailure(err);
}

void Database::BeforeWait() {
  if (m_UnitDepth == 0 || m_Released || m_Savepoints > 0 || !m_UnitError.empty()) return;
  if (!m_Connection->InTransaction() || m_Connection->Changes() != m_ChangesAtBegin) return;
  // Nothing written yet: ending the transaction gives up its locks and loses nothing.
  m_Connection->Commit();
  m_Released = true;
}

void Database::AfterWait() {
  if (!m_Released) return;
  m_Released = false;
  if (m_UnitDepth > 0) BeginUnitTransaction();
}

UnitResult Database::EndUnit() {
  if (m_UnitDepth == 0 || --m_UnitDepth > 0) return {};
  UnitResult result{m_UnitError.empty(), m_UnitError, m_UnitBusy};
  m_FailAt = 0;
  m_Savepoints = 0;
  m_Released = false;
  if (!m_Connection->InTransaction()) return result;
  if (result.committed) {
    std::string err = m_Connection->Commit();
    if (err.empty()) return result;
    result = {false, err, err == kBusyText};
  }
  m_Connection->Rollback();
  return result;
}

namespace {

void AddToPrint(std::string& print, const Value& v) {
  std::string cell = v.IsNull() ? "" : v.GetType() == Value::Type::Bytes
                                           ? std::string(v.ToBytes().begin(), v.ToBytes().end())
                                           : v.ToText();
  print += std::to_string(static_cast<int>(v.GetType())) + ":" + std::to_string(cell.size()) + ":" + cell;
}

}  // namespace

RowPrint Database::Fingerprint(const std::string& table, const std::string& keyColumn, int32_t id,
                               const Recordset* shown) {
  if (shown && m_UnitDepth > 0 && !shown->IsClosed() && !shown->Eof()) {
    auto known = m_TableColumns.find(table);
    int key = shown->ColumnIndex(keyColumn);
    if (known != m_TableColumns.end() && shown->Columns() == known->second && key >= 0 &&
        shown->Fields(key) == Value(id)) {
      RowPrint print{true, true, ""};
      for (size_t i = 0; i < known->second.size(); ++i) AddToPrint(print.print, shown->Fields(static_cast<int>(i)));
      return print;
    }
  }
  QueryResult r;
  std::string err = m_Connection->Run("SELECT * FROM " + table + " WHERE " + keyColumn + " = ?", {Value(id)}, &r);
  if (!err.empty()) return {};
  m_TableColumns[table] = r.columns;
  RowPrint print{true, !r.rows.empty(), ""};
  if (r.rows.empty()) return print;
  for (const auto& v : r.rows[0]) AddToPrint(print.print, v);
  return print;
}

Value Database::Item(const Value& key) const {
  if (text::EqualsNoCase(key.ToText(), "driver")) return Value(m_Connection->DriverName());
  return Value("");
}

}  // namespace kmd::db
