// Feeds arbitrary bytes to the container reader as a file: the list path and the unpacking path
// with switches taken from the first byte. Whatever the bytes, the reader must not crash, leak,
// write outside its output folder, or leave temporary files behind.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/RuntimeError.h"
#include "files/zLibControl.h"

namespace fs = std::filesystem;

namespace {

// One folder per process: the container, the output folder and the temporary folder.
struct Sandbox {
  fs::path root, input, out, tmp;
  Sandbox() {
    std::string tmpl = (fs::temp_directory_path() / "kmdfuzzXXXXXX").string();
    if (!::mkdtemp(tmpl.data())) std::abort();
    root = tmpl;
    input = root / "in.zlb";
    out = root / "out";
    tmp = root / "tmp";
    fs::create_directories(tmp);
    ::setenv("TMPDIR", tmp.c_str(), 1);
  }
  ~Sandbox() {
    std::error_code ec;
    fs::remove_all(root, ec);
  }
};

Sandbox& Box() {
  static Sandbox box;
  return box;
}

size_t Count(const fs::path& dir) {
  std::error_code ec;
  return static_cast<size_t>(std::distance(fs::directory_iterator(dir, ec), fs::directory_iterator()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Sandbox& box = Box();
  const uint8_t switches = size ? data[0] : 0;
  {
    std::ofstream f(box.input, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  {
    kmd::zLibControl z;
    try {
      z.Decompress(box.input.string(), box.out.string(), true, false, false, false, true, false);
      for (int32_t i = 0; i < z.FileCount(); ++i) (void)z.filename(i);
    } catch (const kmd::RuntimeError&) {
    }
    try {
      z.Decompress(box.input.string(), box.out.string(), false, switches & 1, switches & 2, switches & 4,
                   switches & 8, switches & 16);
    } catch (const kmd::RuntimeError&) {
    }
  }
  // Only the container, the output folder and the temporary folder may exist, and the
  // temporary folder must be empty again once the control is gone.
  if (Count(box.tmp) != 0) std::abort();
  if (Count(box.root) > 3) std::abort();
  std::error_code ec;
  fs::remove_all(box.out, ec);
  return 0;
}
