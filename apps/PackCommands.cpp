#include "apps/PackCommands.h"

#include <unistd.h>

#include <filesystem>
#include <iostream>

#include "base/RuntimeError.h"
#include "files/zLibControl.h"

namespace kmd::apps {

namespace {

struct Options {
  CLI::App* pack = nullptr;
  CLI::App* unpack = nullptr;
  CLI::App* list = nullptr;
  std::string archive;
  std::vector<std::string> files;
  int level = 6;
  std::string to = ".";
  bool checkCrc = false;
  bool paths = false;
  bool overwrite = false;
} g;

// A progress bar on standard error while the control reports its Value, when that is a terminal.
void ShowProgress(zLibControl& z) {
  if (!isatty(STDERR_FILENO)) return;
  z.Repaint = [&z] {
    if (z.Max() <= 0) return;
    int width = 40;
    int filled = static_cast<int>(static_cast<double>(z.Value()) / z.Max() * width);
    std::cerr << "\r[" << std::string(static_cast<size_t>(std::max(0, filled)), '#')
              << std::string(static_cast<size_t>(std::max(0, width - filled)), ' ') << "] " << std::flush;
  };
}

std::string StatusText(int status) {
  switch (status) {
    case 0: return "done";
    case -7: return "no files, or not a container";
    case -8: return "the target exists (use --overwrite)";
    case -9: return "the file is missing or is a directory";
    default: return "compression error " + std::to_string(status);
  }
}

int Finish(int status) {
  if (isatty(STDERR_FILENO)) std::cerr << "\r" << std::string(46, ' ') << "\r";
  if (status != 0) {
    std::cerr << "kmd: " << StatusText(status) << "\n";
    return 1;
  }
  return 0;
}

}  // namespace

void AddPackCommands(CLI::App& app) {
  g.pack = app.add_subcommand("pack", "Pack files into a container");
  g.pack->add_option("ARCHIVE", g.archive, "Container to write")->required();
  g.pack->add_option("FILE", g.files, "Files or patterns with * and ?")->required();
  g.pack->add_option("--level", g.level, "Compression level 1 to 9 (others fall back to 6)");
  g.pack->add_flag("--overwrite", g.overwrite, "Replace an existing container");

  g.unpack = app.add_subcommand("unpack", "Unpack a container");
  g.unpack->add_option("ARCHIVE", g.archive, "Container to read")->required();
  g.unpack->add_option("--to", g.to, "Output folder");
  g.unpack->add_flag("--check-crc", g.checkCrc, "Check each file's CRC and skip corrupted ones");
  g.unpack->add_flag("--paths", g.paths, "Keep the stored folders");
  g.unpack->add_flag("--overwrite", g.overwrite, "Replace existing files");

  g.list = app.add_subcommand("list", "List the entries of a container");
  g.list->add_option("ARCHIVE", g.archive, "Container to read")->required();
}

int RunPackCommands() {
  try {
    zLibControl z;
    ShowProgress(z);
    if (g.pack->parsed()) {
      for (const auto& f : g.files)
        if (!z.AddFile(f)) std::cerr << "kmd: nothing to add for " << f << "\n";
      return Finish(z.Compress(g.archive, g.overwrite, g.level));
    }
    if (g.unpack->parsed()) {
      std::string out = g.to.empty() ? "." : g.to;
      if (out.front() != '/') out = (std::filesystem::current_path() / out).string();
      return Finish(z.Decompress(g.archive, out, false, g.checkCrc, false, false, g.paths, g.overwrite));
    }
    if (g.list->parsed()) {
      int status = z.Decompress(g.archive, "/", true, false, false, false, true, false);
      if (status == 0)
        for (int32_t i = 0; i < z.FileCount(); ++i)
          std::cout << z.FileSize(i) << "\t" << z.Compressed_Size(i) << "\t" << z.Original_Crc32(i) << "\t"
                    << z.filename(i) << "\n";
      return Finish(status);
    }
  } catch (const RuntimeError& e) {
    std::cerr << "\nkmd: " << e.what() << "\n";
    return 1;
  }
  return -1;
}

}  // namespace kmd::apps
