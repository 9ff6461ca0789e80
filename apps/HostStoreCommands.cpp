#include "apps/HostStoreCommands.h"

#include <climits>
#include <cstdint>
#include <functional>
#include <iostream>

#include "db/Connection.h"
#include "db/Database.h"
#include "host/Context.h"

namespace kmd::apps {

namespace {

struct Command {
  CLI::App* app = nullptr;
  std::string db;
  std::string action;
  std::vector<std::string> args;
  size_t getArgs = 0;  // the number of arguments of `get`; `set` takes the rest too
  size_t setArgs = 0;
  // Runs the command on the context; gives "" or the error.
  std::function<std::string(host::Context&, bool set, const std::vector<std::string>&)> run;
};

Command g_Rights, g_Period, g_UserSetting;

// A 0 or 1 argument.
bool Flag(const std::string& s) {
  if (s != "0" && s != "1") throw CLI::ValidationError(s + " is not 0 or 1");
  return s == "1";
}

void Add(CLI::App& app, Command& c, const char* name, const char* what, const char* args) {
  c.app = app.add_subcommand(name, what);
  c.app->add_option("--db", c.db, "Database file or postgresql:// address")->required();
  c.app->add_option("ACTION", c.action, "get or set")->required()->check(CLI::IsMember({"get", "set"}));
  c.app->add_option("ARGS", c.args, args);
}

int Run(const Command& c) {
  bool set = c.action == "set";
  if (c.args.size() != (set ? c.setArgs : c.getArgs)) {
    std::cerr << "kmd: " << c.app->get_name() << " " << c.action << " takes " << (set ? c.setArgs : c.getArgs)
              << " arguments\n";
    return 1;
  }
  try {
    auto database = std::make_shared<db::Database>(db::Open(c.db));
    std::string user = c.args.empty() ? "" : c.args[0];
    host::Context context(database, IUserInfo{user, "", host::kSettingsApp});
    std::string err = c.run(context, set, c.args);
    if (err.empty()) return 0;
    std::cerr << "kmd: " << err << "\n";
  } catch (const std::exception& e) {
    std::cerr << "kmd: " << e.what() << "\n";
  }
  return 1;
}

int32_t Number(const std::string& s) {
  size_t used = 0;
  long n = 0;
  try {
    n = std::stol(s, &used);
  } catch (const std::exception&) {
    used = 0;
  }
  if (used == 0 || used != s.size() || n < INT32_MIN || n > INT32_MAX)
    throw CLI::ValidationError(s + " is not a number");
  return static_cast<int32_t>(n);
}

}  // namespace

void AddHostStoreCommands(CLI::App& app) {
  Add(app, g_Rights, "rights", "Read or write a user's rights on a program", "USER PROGID [DETAIL ACTION]");
  g_Rights.getArgs = 2;
  g_Rights.setArgs = 4;
  g_Rights.run = [](host::Context& context, bool set, const std::vector<std::string>& a) -> std::string {
    int32_t program = Number(a[1]);
    if (set) return context.SetRights(a[0], program, Flag(a[2]), Flag(a[3]));
    auto rights = context.ProgramRights(program);
    std::cout << (rights.DetailRight ? 1 : 0) << " " << (rights.ActionRight ? 1 : 0) << "\n";
    return "";
  };
  Add(app, g_Period, "period", "Read or write the current accounting period", "[N]");
  g_Period.setArgs = 1;
  g_Period.run = [](host::Context& context, bool set, const std::vector<std::string>& a) -> std::string {
    if (set) return context.SetPeriod("system", 0, Number(a[0]));
    std::cout << context.Subsystem("system", 0).Period << "\n";
    return "";
  };
  Add(app, g_UserSetting, "usersetting", "Read or write a user's personal setting", "USER SECTION KEY [VALUE]");
  g_UserSetting.getArgs = 3;
  g_UserSetting.setArgs = 4;
  g_UserSetting.run = [](host::Context& context, bool set, const std::vector<std::string>& a) -> std::string {
    if (set) return context.SetUserSetting(a[0], host::kSettingsApp, a[1], a[2], a[3]);
    std::cout << context.UserSetting(host::kSettingsApp, a[1], a[2], "") << "\n";
    return "";
  };
}

int RunHostStoreCommands() {
  for (const Command* c : {&g_Rights, &g_Period, &g_UserSetting})
    if (c->app->parsed()) return Run(*c);
  return -1;
}

}  // namespace kmd::apps
