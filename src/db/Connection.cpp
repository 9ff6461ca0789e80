#include "db/Connection.h"

#include "base/RuntimeError.h"
#include "db/SqliteConnection.h"

namespace kmd::db {

std::shared_ptr<Connection> Open(const std::string& address, bool create) {
  if (address.rfind("postgres://", 0) == 0 || address.rfind("postgresql://", 0) == 0)
    throw RuntimeError("PostgreSQL is not built into this program yet");
  return std::make_shared<SqliteConnection>(address, create);
}

}  // namespace kmd::db
