#include "apps/ServeCommands.h"

#include <pthread.h>
#include <signal.h>

#include <filesystem>
#include <iostream>
#include <thread>

#include "db/Connection.h"
#include "host/Journal.h"
#include "host/ServerProcess.h"
#include "host/WebHost.h"

namespace kmd::apps {

namespace {

struct Options {
  CLI::App* serve = nullptr;
  CLI::App* journal = nullptr;
  std::string db;
  int port = 8080;
  std::string home;
  std::string user;
  std::string bind = "127.0.0.1";
  std::string since;
  char** argv = nullptr;
} g;

int Serve() {
  host::UseServerMemorySettings(g.argv);
  if (std::string err = host::CheckDatabase(g.db); !err.empty()) {
    std::cerr << "kmd: " << err << "\n";
    return 1;
  }
  // SIGINT and SIGTERM are taken by a thread of their own, which stops the server; the open
  // windows are then closed as the page would close them.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);

  host::WebHost web({g.db, {g.user, g.home, host::kSettingsApp}});
  int port = web.Bind(g.bind, g.port);
  if (port < 0) {
    std::cerr << "kmd: cannot listen on " << g.bind << ":" << g.port << "\n";
    return 1;
  }
  if (g.bind != "127.0.0.1" && g.bind != "localhost" && g.bind != "::1")
    std::cerr << "kmd: warning: listening on " << g.bind
              << " lets anyone who reaches this machine use the forms: there is no login. Open the page by"
                 " an address of this machine, http://ADDRESS:"
              << port << "/; requests that name the server by another name are refused\n";
  // The page answers only to the address it is opened by: the address listened on, or loopback.
  std::string shown = g.bind == "0.0.0.0" ? "127.0.0.1" : g.bind == "::" ? "::1" : g.bind;
  if (shown.find(':') != std::string::npos) shown = "[" + shown + "]";
  std::cout << "kmd serve: open http://" << shown << ":" << port << "/ (database " << db::ShownAddress(g.db) << ", user " << g.user
            << "; Ctrl+C stops)" << std::endl;
  std::thread waiter([&] {
    int sig = 0;
    sigwait(&signals, &sig);
    web.Stop();
  });
  web.Serve();
  // The server may also have ended by itself: wake the waiter.
  pthread_kill(waiter.native_handle(), SIGTERM);
  waiter.join();
  web.CloseAll();
  std::cout << "kmd serve: stopped" << std::endl;
  return 0;
}

int Journal() {
  try {
    for (const auto& line : host::ReadJournal(*db::Open(g.db), g.since)) std::cout << host::FormatJournalLine(line) << "\n";
  } catch (const std::exception& e) {
    std::cerr << "kmd: " << e.what() << "\n";
    return 1;
  }
  return 0;
}

}  // namespace

void AddServeCommands(CLI::App& app, const std::string& home, const std::string& user) {
  g.home = home;
  g.user = user;
  g.serve = app.add_subcommand("serve", "Serve the forms to a browser");
  g.serve->add_option("--db", g.db, "Database file or postgresql:// address")->required();
  g.serve->add_option("--port", g.port, "TCP port (0: any free port)")->capture_default_str();
  g.serve->add_option("--home", g.home, "The user's home folder (form status files)");
  g.serve->add_option("--user", g.user, "The user's name");
  g.serve->add_option("--bind", g.bind, "Address to listen on; anything but 127.0.0.1 needs care: there is no login")
      ->capture_default_str();
  g.journal = app.add_subcommand("journal", "Print the operation journal");
  g.journal->add_option("--db", g.db, "Database file or postgresql:// address")->required();
  g.journal->add_option("--since", g.since, "Only lines from this time on, e.g. 2026-11-23 or \"2026-11-23 14:00\"");
}

int RunServeCommands(char** argv) {
  g.argv = argv;
  if (g.serve && g.serve->parsed()) return Serve();
  if (g.journal && g.journal->parsed()) return Journal();
  return -1;
}

}  // namespace kmd::apps
