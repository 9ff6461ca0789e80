// Scratch databases of the tests, on the engine that KMD_TEST_DB chooses: unset, a SQLite file;
// a PostgreSQL address ("postgresql://kmd@127.0.0.1:PORT/postgres"), a database of its own on that
// server for each scratch database.
#pragma once
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "db/PgConnection.h"

namespace kmd::test {

// The test server's address, "" when the tests run on SQLite.
inline std::string ServerAddress() {
  const char* a = std::getenv("KMD_TEST_DB");
  return a ? a : "";
}

// Where the scratch database `name` lives: the file `dir`/`name`, or the server's database of that
// name and this process's id (so that test programs running at once never share one).
inline std::string ScratchAddress(const std::filesystem::path& dir, const std::string& name) {
  std::string server = ServerAddress();
  if (server.empty()) return (dir / name).string();
  std::string db = "kmd_";
  for (char c : name) db += std::isalnum(static_cast<unsigned char>(c)) ? static_cast<char>(std::tolower(c)) : '_';
  db = db.substr(0, 48) + "_" + std::to_string(::getpid());
  return db::pg::WithDatabase(server, db);
}

// Drops a server's scratch database; a file goes with its folder.
inline void DropScratch(const std::string& address) {
  if (db::pg::IsAddress(address)) db::pg::DropDatabase(address);
}

}  // namespace kmd::test
