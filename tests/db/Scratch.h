// Scratch databases of the tests, on the engine that KMD_TEST_DB chooses: unset, a SQLite file;
// a PostgreSQL address ("postgresql://kmd@127.0.0.1:PORT/postgres"), a database of its own on that
// server for each scratch database.
#pragma once
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "base/RuntimeError.h"
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

// Makes `to` a copy of the scratch database `from`, replacing what was there. On a server the
// first copy is a database made from `from`, its rows kept aside in the schema kmd_pristine; later
// copies to the same name put those rows back, which is much faster than making a database.
inline void CopyScratch(const std::string& from, const std::string& to) {
  if (!db::pg::IsAddress(from)) {
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
    return;
  }
  static std::set<std::string> made;
  auto check = [&](const std::string& err) {
    if (!err.empty()) throw RuntimeError("cannot copy " + from + ": " + err);
  };
  if (!made.count(to)) {
    db::pg::DropDatabase(to);
    auto server = db::Open(db::pg::WithDatabase(from, "postgres"));
    auto name = [](const std::string& address) { return address.substr(address.rfind('/') + 1); };
    check(server->RunScript("CREATE DATABASE " + name(to) + " TEMPLATE " + name(from)));
  }
  auto copy = db::Open(to);
  db::QueryResult tables;
  check(copy->Run("SELECT tablename FROM pg_tables WHERE schemaname = 'public'", {}, &tables));
  std::string script;
  for (const auto& row : tables.rows) {
    std::string t = row[0].ToText();
    script += made.count(to) ? "INSERT INTO " + t + " SELECT * FROM kmd_pristine." + t + ";\n"
                             : "CREATE TABLE kmd_pristine." + t + " AS TABLE " + t + ";\n";
  }
  if (made.count(to)) {
    db::QueryResult identities;
    check(copy->Run("SELECT table_name, column_name FROM information_schema.columns WHERE table_schema = 'public' "
                    "AND is_identity = 'YES'",
                    {}, &identities));
    std::string restart;
    for (const auto& row : identities.rows)
      restart += "ALTER TABLE " + row[0].ToText() + " ALTER COLUMN " + row[1].ToText() + " RESTART;\n";
    // Deleting the few rows is faster than truncating the tables.
    std::string deletes;
    for (const auto& row : tables.rows) deletes += "DELETE FROM " + row[0].ToText() + ";\n";
    script = deletes + restart + script;
  } else {
    script = "CREATE SCHEMA kmd_pristine;\n" + script;
  }
  check(copy->RunScript(script));
  made.insert(to);
}

// Drops a server's scratch database; a file goes with its folder.
inline void DropScratch(const std::string& address) {
  if (db::pg::IsAddress(address)) db::pg::DropDatabase(address);
}

}  // namespace kmd::test
