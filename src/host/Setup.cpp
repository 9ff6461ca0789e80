#include "host/Setup.h"

#include <filesystem>

#include "base/RuntimeError.h"
#include "db/SqliteConnection.h"
#include "schema/Schema.h"

namespace kmd::host {

void InitDatabase(const std::string& path, bool force) {
  namespace fs = std::filesystem;
  if (fs::exists(path)) {
    if (!force) throw RuntimeError(path + " already exists; use --force to replace it");
    fs::remove(path);
  }
  std::string tmp = path + ".init";
  fs::remove(tmp);
  {
    db::SqliteConnection connection(tmp, true);
    std::string err = connection.RunScript("BEGIN");
    for (const auto& script : schema::Scripts()) {
      if (!err.empty()) break;
      err = connection.RunScript(script.sql);
      if (!err.empty()) err = std::string(script.name) + ": " + err;
    }
    if (err.empty()) err = connection.RunScript("COMMIT");
    if (!err.empty()) {
      connection.RunScript("ROLLBACK");
      fs::remove(tmp);
      throw RuntimeError("cannot make the database: " + err);
    }
  }
  fs::rename(tmp, path);
}

}  // namespace kmd::host
