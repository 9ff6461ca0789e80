#include "host/Setup.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "base/RuntimeError.h"
#include "db/SqliteConnection.h"
#include "schema/Schema.h"

namespace kmd::host {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(const std::string& path, const std::string& why) {
  throw RuntimeError("cannot make " + path + ": " + why);
}

// The empty file beside `path` that the new database is made in; refuses what cannot be written.
std::string MakeTemporary(const std::string& path) {
  fs::path target(path);
  fs::path folder = target.parent_path().empty() ? fs::path(".") : target.parent_path();
  std::error_code ec;
  if (!fs::is_directory(folder, ec)) {
    bool missing = !ec || ec == std::errc::no_such_file_or_directory || ec == std::errc::not_a_directory;
    Fail(path, missing ? "there is no folder " + folder.string() : ec.message());
  }
  if (target.filename().empty()) Fail(path, "that is a folder");
  std::string tmp = path + ".init-" + std::to_string(::getpid());
  fs::remove(tmp, ec);
  int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) Fail(path, std::generic_category().message(errno));
  ::close(fd);
  return tmp;
}

void RemoveTemporary(const std::string& tmp) {
  std::error_code ec;
  for (const char* suffix : {"", "-journal", "-wal", "-shm"}) fs::remove(tmp + suffix, ec);
}

}  // namespace

void InitDatabase(const std::string& path, bool force) {
  std::error_code ec;
  auto status = fs::symlink_status(path, ec);
  if (fs::is_directory(status)) Fail(path, "that is a folder");
  if (fs::exists(status) && !force) throw RuntimeError(path + " already exists; use --force to replace it");
  std::string tmp = MakeTemporary(path);
  std::string err;
  try {
    db::SqliteConnection connection(tmp, true);
    err = connection.RunScript("BEGIN");
    for (const auto& script : schema::Scripts()) {
      if (!err.empty()) break;
      err = connection.RunScript(script.sql);
      if (!err.empty()) err = std::string(script.name) + ": " + err;
    }
    if (err.empty()) err = connection.RunScript("COMMIT");
    if (!err.empty()) connection.RunScript("ROLLBACK");
  } catch (const std::exception& e) {
    err = e.what();
  }
  // The old database is replaced only by a whole new one.
  if (err.empty()) {
    fs::rename(tmp, path, ec);
    if (ec) err = ec.message();
  }
  if (!err.empty()) {
    RemoveTemporary(tmp);
    Fail(path, err);
  }
}

}  // namespace kmd::host
