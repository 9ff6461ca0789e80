#include "currency/Currency.h"

#include "base/RuntimeError.h"

namespace kmd {

std::string ExecuteInTransaction(db::IDatabase& db, const std::string& sql) {
  try {
    db.BeginTrans();
    db.CreateCommand(sql, 1)->Execute();
    std::string err = db.LastError().Description();
    if (!err.empty()) {
      db.RollbackTrans();
      return err;
    }
    db.CommitTrans();
    return "";
  } catch (const std::exception&) {
    db::RollbackQuietly(db);
    throw;
  }
}

void RaiseSaveDataError(const std::exception& cause) {
  throw RuntimeError(0, kCurrencySource, std::string("-->SaveData::") + cause.what());
}

}  // namespace kmd
