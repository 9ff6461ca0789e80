#include "host/ServerProcess.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <string>

#include "db/Connection.h"

namespace kmd::host {

void UseServerMemorySettings(char** argv) {
  const char* now = std::getenv("GLIBC_TUNABLES");
  std::string tunables = now ? now : "";
  bool added = false;
  for (std::string setting : kServerTunables) {
    if (tunables.find(setting.substr(0, setting.find('=') + 1)) != std::string::npos) continue;
    tunables += (tunables.empty() ? "" : ":") + setting;
    added = true;
  }
  if (!added || setenv("GLIBC_TUNABLES", tunables.c_str(), 1) != 0) return;
  execv("/proc/self/exe", argv);
  // Not started again: go on as we are, without the setting in the environment of children.
  if (now) setenv("GLIBC_TUNABLES", now, 1);
  else unsetenv("GLIBC_TUNABLES");
}

std::string CheckDatabase(const std::string& database) {
  try {
    auto connection = db::Open(database);
    db::QueryResult rows;
    std::string err = connection->Run("SELECT COUNT(*) FROM xt_objects", {}, &rows);
    if (!err.empty()) {
      return db::ShownAddress(database) + " is not a kmd database (" + err + "); kmd init --db FILE makes one";
    }
    return "";
  } catch (const std::exception& e) {
    return e.what();
  }
}

}  // namespace kmd::host
