#pragma once
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace kmd::test {

// A whole file as bytes, and a file written whole (its folders made first).
inline std::string ReadAll(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void WriteAll(const std::filesystem::path& p, const std::string& data) {
  if (p.has_parent_path()) std::filesystem::create_directories(p.parent_path());
  std::ofstream(p, std::ios::binary).write(data.data(), static_cast<std::streamsize>(data.size()));
}

// An empty folder of this process's own under the temporary folder: `name`_<pid>.
inline std::filesystem::path ScratchDir(const std::string& name) {
  auto dir = std::filesystem::temp_directory_path() / (name + "_" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir;
}

}  // namespace kmd::test
