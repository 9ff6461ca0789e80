// Two properties of the container, chosen by the top bit of the first byte.
//
// Reading (bit clear, as in every real container): arbitrary bytes go to the reader as a file,
// the list path and the unpacking path with switches from the first byte. Whatever the bytes, the
// reader must not crash, leak, write outside its output folder, or leave temporary files behind.
//
// Packing (bit set): the bytes describe files, with names drawn from Latin-1 bytes, non-BMP
// characters, "€", Chinese and plain letters, and sizes from empty to past a block. They are
// packed, listed and unpacked, and every file must come back as it went in, under the name that
// the control says it stores.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/RuntimeError.h"
#include "files/FilePaths.h"
#include "files/zLibControl.h"

namespace fs = std::filesystem;

namespace {

// One folder per process: the container, the output folder, the temporary folder and the
// packing mode's sources.
struct Sandbox {
  fs::path root, input, out, tmp, src;
  Sandbox() {
    std::string tmpl = (fs::temp_directory_path() / "kmdfuzzXXXXXX").string();
    if (!::mkdtemp(tmpl.data())) std::abort();
    root = tmpl;
    input = root / "in.zlb";
    out = root / "out";
    tmp = root / "tmp";
    src = root / "src";
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

std::string ReadAll(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void Read(Sandbox& box, const uint8_t* data, size_t size) {
  const uint8_t switches = size ? data[0] : 0;
  std::ofstream(box.input, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  kmd::zLibControl z;
  try {
    z.Decompress(box.input.string(), box.out.string(), true, false, false, false, true, false);
    for (int32_t i = 0; i < z.FileCount(); ++i) (void)z.filename(i);
  } catch (const kmd::RuntimeError&) {
  }
  try {
    z.Decompress(box.input.string(), box.out.string(), false, switches & 1, switches & 2, switches & 4, switches & 8,
                 switches & 16);
  } catch (const kmd::RuntimeError&) {
  }
}

void PackAndUnpack(Sandbox& box, const uint8_t* data, size_t size) {
  static const char* const pieces[] = {"a", "Z", "7", " ", "\xe9", "\xff", "é", "€", "中", "한", "😀", "."};
  constexpr int32_t kBlock = 512;
  size_t at = 1;
  auto next = [&]() -> uint8_t { return at < size ? data[at++] : 0; };
  kmd::zLibControl z;
  z.SetReadBuf(kBlock);
  std::vector<std::string> contents;
  for (int i = 0, n = 1 + data[0] % 4; i < n && at < size; ++i) {
    std::string name = "n";
    for (int k = 0, len = next() % 6; k < len; ++k) name += pieces[next() % std::size(pieces)];
    const size_t sizes[] = {0, next() % 64u, size_t(kBlock), size_t(kBlock) + 1, 2 * size_t(kBlock) + next()};
    std::string content(sizes[next() % 5], '\0');
    for (auto& c : content) c = static_cast<char>(next());
    // Each file in a folder of its own, so that names that collapse never meet.
    const fs::path file = box.src / std::to_string(i) / name;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!z.AddFile(file.string())) std::abort();
    contents.push_back(content);
  }
  if (contents.empty()) return;
  if (z.Compress(box.input.string(), true, data[0] % 10) != 0) std::abort();

  kmd::zLibControl list, unpack;
  if (list.Decompress(box.input.string(), "/", true, false, false, false, true, false) != 0) std::abort();
  if (unpack.Decompress(box.input.string(), box.out.string(), false, true, false, false, true, true) != 0) std::abort();
  for (size_t i = 0; i < contents.size(); ++i) {
    const auto index = static_cast<int32_t>(i);
    const std::string stored = z.StoredName(index);
    if (list.filename(index) != stored || unpack.filename(index) != stored) std::abort();
    if (list.FileSize(index) != static_cast<int32_t>(contents[i].size())) std::abort();
    const fs::path target = box.out / kmd::zpath::ToNative(stored.substr(1));
    // An empty file has no blocks and is not written.
    if (contents[i].empty() ? fs::exists(target) : ReadAll(target) != contents[i]) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Sandbox& box = Box();
  if (size && (data[0] & 0x80))
    PackAndUnpack(box, data, size);
  else
    Read(box, data, size);
  // Only the container, the output folder, the temporary folder and the sources may exist, and
  // the temporary folder must be empty again once the controls are gone.
  if (Count(box.tmp) != 0) std::abort();
  if (Count(box.root) > 4) std::abort();
  std::error_code ec;
  fs::remove_all(box.out, ec);
  fs::remove_all(box.src, ec);
  return 0;
}
