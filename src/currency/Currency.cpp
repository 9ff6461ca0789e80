#include "currency/Currency.h"

#include "base/RuntimeError.h"

namespace kmd {

void RollbackOpen(db::IDatabase& db) {
  try {
    if (db.InTrans()) db.RollbackTrans();
  } catch (const std::exception&) {
  }
}

void RaiseSaveDataError(const std::exception& cause) {
  throw RuntimeError(0, kCurrencySource, std::string("-->SaveData::") + cause.what());
}

}  // namespace kmd
