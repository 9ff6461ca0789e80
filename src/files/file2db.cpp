#include "files/file2db.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "base/RuntimeError.h"
#include "files/FilePaths.h"

namespace kmd::file2db {

bool FileExists(const std::string& path, int32_t attribute) {
  if (path.empty()) return false;
  try {
    return !zpath::Dir(path, attribute == 16 ? 16 : 0).empty();
  } catch (const std::exception&) {
    return false;
  }
}

void FileToField(const std::string& path, Value& field) {
  if (!FileExists(path, 0)) throw RuntimeError(50001, "dbfile", "文件不存在!");
  const std::string native = zpath::ToNative(path);
  std::ifstream in(native, std::ios::binary);
  if (!in) throw RuntimeError("File could not be opened: " + path);
  Value::Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) throw RuntimeError("Read from file failed: " + path);
  field = Value(std::move(bytes));
}

bool FieldToFile(const std::string& path, const Value& field, bool overwrite) {
  if (field.GetType() != Value::Type::Bytes) return false;  // a stream takes only bytes
  const Value::Bytes& bytes = field.ToBytes();
  const std::string native = zpath::ToNative(path);
  // Without overwrite the file is created exclusively, so an existing one is never touched.
  const int flags = O_WRONLY | O_CREAT | (overwrite ? O_TRUNC : O_EXCL);
  const int fd = ::open(native.c_str(), flags, 0644);
  if (fd < 0) return false;
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  const bool ok = ::close(fd) == 0 && done == bytes.size();
  return ok;
}

std::string GetFileName(const std::string& path) {
  const size_t at = path.find_last_of("\\/");
  return at == std::string::npos ? path : path.substr(at + 1);
}

}  // namespace kmd::file2db
