#include "files/bGetTempFile.h"

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "base/Text.h"

namespace fs = std::filesystem;

namespace kmd::bGetTempFile {

std::string GetTempDir() {
  std::error_code ec;
  const fs::path dir = fs::temp_directory_path(ec);
  if (ec || dir.empty()) return "";
  std::string s = dir.string();
  if (s.back() != '/') s += '/';
  return s;
}

std::string GetTempFile(const std::string& prefix) {
  const std::string dir = GetTempDir();
  if (dir.empty()) return "";
  // Like the system call it stands for: at most three characters of the prefix, a unique part,
  // the file made at once so that the name stays taken.
  std::string tmpl = dir + text::Left(prefix, 3) + "XXXXXX.tmp";
  std::vector<char> buf(tmpl.begin(), tmpl.end());
  buf.push_back('\0');
  const int fd = ::mkstemps(buf.data(), 4);
  if (fd < 0) return "";
  ::close(fd);
  return buf.data();
}

}  // namespace kmd::bGetTempFile
