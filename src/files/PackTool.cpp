#include "files/PackTool.h"

#include <filesystem>
#include <map>
#include <ostream>

#include "base/RuntimeError.h"
#include "files/FilePaths.h"

namespace fs = std::filesystem;

namespace kmd::PackTool {

namespace {

std::string StatusText(int status) {
  switch (status) {
    case -7: return "no files, or not a container";
    case -8: return "the target exists (use --overwrite)";
    case -9: return "the file is missing or is a directory";
    default: return "compression error " + std::to_string(status);
  }
}

// Runs one command: its status, or 1 with the message of a run-time error.
template <class F>
int Guarded(std::ostream& err, F command) {
  try {
    const int status = command();
    if (status >= 0) return status;
    err << "kmd: " << StatusText(status) << "\n";
  } catch (const RuntimeError& e) {
    err << "kmd: " << e.what() << "\n";
  }
  return 1;
}

bool SameFile(const std::string& a, const fs::path& b) {
  std::error_code ec;
  return fs::equivalent(zpath::ToNative(a), b, ec);
}

}  // namespace

int Pack(zLibControl& z, const std::string& archive, const std::vector<std::string>& inputs, int level,
         bool overwrite, std::ostream& err) {
  return Guarded(err, [&] {
    const fs::path container = zpath::ToNative(archive);
    bool missing = false;
    for (const auto& input : inputs) {
      const int32_t before = z.FileCount();
      z.AddFile(input);
      for (int32_t i = z.FileCount() - 1; i >= before; --i)
        if (SameFile(z.Path(i), container)) z.RemoveFile(i);
      if (z.FileCount() == before) {
        err << "kmd: nothing to add for " << input << "\n";
        missing = true;
      }
    }

    bool clash = false;
    std::map<std::string, int32_t> stored;
    for (int32_t i = 0; i < z.FileCount(); ++i) {
      const std::string name = z.StoredName(i);
      if (name != z.filename(i))
        err << "kmd: " << z.filename(i) << " is stored as " << name << " (not in code page 936)\n";
      const auto [first, fresh] = stored.emplace(name, i);
      if (!fresh) {
        err << "kmd: " << z.Path(first->second) << " and " << z.Path(i) << " would both be stored as " << name << "\n";
        clash = true;
      }
    }
    if (clash) return 1;
    const int status = z.Compress(archive, overwrite, level);
    return status != 0 ? status : missing ? 1 : 0;
  });
}

int Unpack(zLibControl& z, const std::string& archive, const std::string& folder, bool checkCrc, bool paths,
           bool overwrite, std::ostream& err) {
  bool skipped = false;
  z.Skipped = [&](int32_t i, const std::string& reason) {
    err << "skipped " << z.filename(i) << " (" << reason << ")\n";
    skipped = true;
  };
  return Guarded(err, [&] {
    std::string out = folder.empty() ? "." : folder;
    if (out.front() != '/') out = (fs::current_path() / out).string();
    const int status = z.Decompress(archive, out, false, checkCrc, false, false, paths, overwrite);
    return status != 0 ? status : skipped ? 1 : 0;
  });
}

int List(zLibControl& z, const std::string& archive, std::ostream& out, std::ostream& err) {
  z.EntryRead = [&](int32_t i) {
    out << z.FileSize(i) << "\t" << z.Compressed_Size(i) << "\t" << z.Original_Crc32(i) << "\t" << z.filename(i)
        << "\n";
  };
  return Guarded(err, [&] { return z.Decompress(archive, "/", true, false, false, false, true, false); });
}

}  // namespace kmd::PackTool
