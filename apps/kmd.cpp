// The kmd command: makes databases and runs the master-data forms on them.
#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "db/Connection.h"
#include "db/Database.h"
#include "host/Context.h"
#include "host/ScriptHost.h"
#include "host/Setup.h"
#include "apps/DemoCommands.h"
#include "apps/HostStoreCommands.h"
#include "apps/PackCommands.h"
#include "apps/SettingCommands.h"
#include "apps/ServeCommands.h"

namespace {

std::string DefaultHome() {
  const char* xdg = std::getenv("XDG_DATA_HOME");
  const char* home = std::getenv("HOME");
  std::filesystem::path base = xdg && *xdg ? xdg : (home ? std::filesystem::path(home) / ".local/share" : "/tmp");
  return (base / "kmd" / "home").string();
}

std::string DefaultUser() {
  const char* user = std::getenv("USER");
  return user && *user ? user : "kmd";
}

}  // namespace

int main(int argc, char** argv) {
  // A write past the file-size limit fails with EFBIG and is reported like a full disk, instead of
  // ending the program.
  std::signal(SIGXFSZ, SIG_IGN);
  CLI::App app{"kmd: master-data maintenance forms of the ERP suite"};
  app.require_subcommand(1);

  std::string db;
  bool force = false;
  auto* init = app.add_subcommand("init", "Make a database with the full schema and demo data");
  init->add_option("--db", db, "Database file or postgresql:// address")->required();
  init->add_flag("--force", force, "Replace an existing file");

  std::string script;
  std::string home = DefaultHome();
  std::string user = DefaultUser();
  auto* run = app.add_subcommand("run", "Run a form script (one command a line) and print its transcript");
  run->add_option("--db", db, "Database file or postgresql:// address")->required();
  run->add_option("SCRIPT", script, "Script file, or - for standard input")->required();
  run->add_option("--home", home, "The user's home folder (form status files in <home>/selfbb)")
      ->capture_default_str();
  run->add_option("--user", user, "The user's name");

  kmd::apps::AddPackCommands(app);
  kmd::apps::AddSettingCommands(app);
  kmd::apps::AddHostStoreCommands(app);
  kmd::apps::AddDemoCommands(app);
  kmd::apps::AddServeCommands(app, home, user);
  CLI11_PARSE(app, argc, argv);
  if (int packed = kmd::apps::RunPackCommands(); packed >= 0) return packed;
  if (int set = kmd::apps::RunSettingCommands(); set >= 0) return set;
  if (int stored = kmd::apps::RunHostStoreCommands(); stored >= 0) return stored;
  if (int demo = kmd::apps::RunDemoCommands(); demo >= 0) return demo;
  if (int served = kmd::apps::RunServeCommands(argv); served >= 0) return served;

  try {
    if (init->parsed()) {
      kmd::host::InitDatabase(db, force);
      std::cout << "made " << kmd::db::ShownAddress(db) << "\n";
      return 0;
    }
    if (run->parsed()) {
      auto database = std::make_shared<kmd::db::Database>(kmd::db::Open(db));
      auto context = std::make_shared<kmd::host::Context>(database, kmd::IUserInfo{user, home, kmd::host::kSettingsApp});
      kmd::host::ScriptHost host(context, std::cout, std::cerr);
      if (script == "-") return host.Run(std::cin, "<stdin>");
      std::ifstream in(script);
      if (!in) {
        std::cerr << "kmd: cannot read " << script << "\n";
        return 1;
      }
      return host.Run(in, script);
    }
  } catch (const std::exception& e) {
    std::cerr << "kmd: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
