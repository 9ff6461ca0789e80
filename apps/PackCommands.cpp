#include "apps/PackCommands.h"

#include <unistd.h>

#include <iostream>

#include "files/PackTool.h"

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

// Clears the progress bar's line once the command is done.
int Finish(int status) {
  if (isatty(STDERR_FILENO)) std::cerr << "\r" << std::string(46, ' ') << "\r";
  return status;
}

}  // namespace

void AddPackCommands(CLI::App& app) {
  g.pack = app.add_subcommand("pack", "Pack files into a container");
  g.pack->add_option("ARCHIVE", g.archive, "Container to write")->required();
  g.pack->add_option("FILE", g.files, "Files or patterns with * and ? (patterns leave out hidden names)")
      ->required();
  g.pack->add_option("--level", g.level,
                     "Compression level: 1 fastest to 9 smallest, 0 stores the bytes uncompressed (still in zlib "
                     "streams), other values mean 6");
  g.pack->add_flag("--overwrite", g.overwrite, "Replace an existing container");

  g.unpack = app.add_subcommand("unpack", "Unpack a container");
  g.unpack->add_option("ARCHIVE", g.archive, "Container to read")->required();
  g.unpack->add_option("--to", g.to, "Output folder");
  g.unpack->add_flag("--check-crc", g.checkCrc, "Check each file's CRC and skip corrupted ones");
  g.unpack->footer("Entries left out are reported as \"skipped NAME (reason)\" and make the exit status 1.");
  g.unpack->add_flag("--paths", g.paths, "Keep the stored folders");
  g.unpack->add_flag("--overwrite", g.overwrite, "Replace existing files");

  g.list = app.add_subcommand("list", "List the entries of a container");
  g.list->add_option("ARCHIVE", g.archive, "Container to read")->required();
}

int RunPackCommands() {
  zLibControl z;
  ShowProgress(z);
  if (g.pack->parsed()) return Finish(PackTool::Pack(z, g.archive, g.files, g.level, g.overwrite, std::cerr));
  if (g.unpack->parsed())
    return Finish(PackTool::Unpack(z, g.archive, g.to, g.checkCrc, g.paths, g.overwrite, std::cerr));
  if (g.list->parsed()) return Finish(PackTool::List(z, g.archive, std::cout, std::cerr));
  return -1;
}

}  // namespace kmd::apps
