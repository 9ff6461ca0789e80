#include "apps/SettingCommands.h"

#include <iostream>

#include "db/Connection.h"
#include "db/Database.h"
#include "host/Context.h"

namespace kmd::apps {

namespace {

struct Command {
  CLI::App* app = nullptr;
  bool isOption = true;
  std::string db;
  std::string action;
  int32_t module = 0;
  std::string key;
  std::string value;
  std::string name;
};

Command g_Option;
Command g_Parameter;

void Add(CLI::App& app, Command& c, const char* name, const char* what) {
  c.isOption = std::string(name) == "option";
  c.app = app.add_subcommand(name, what);
  c.app->add_option("--db", c.db, "Database file or postgresql:// address")->required();
  c.app->add_option("ACTION", c.action, "get or set")->required()->check(CLI::IsMember({"get", "set"}));
  c.app->add_option("MODULE", c.module, "Module number (12 for the master-data forms)")->required();
  c.app->add_option("KEY", c.key, "Key, a number or a name")->required();
  c.app->add_option("VALUE", c.value, "Value to set");
  if (c.isOption) {
    c.app->add_option("NAME", c.name, "The option's name, set with its value");
    c.app->add_option("--name", c.name, "The option's name, set with its value (as NAME)");
  }
}

int Run(const Command& c) {
  try {
    auto database = std::make_shared<db::Database>(db::Open(c.db));
    host::Context context(database, IUserInfo{});
    if (c.action == "get") {
      Value key(c.key);
      std::cout << (c.isOption ? context.Option(c.module, key) : context.Parameter(c.module, key)).Value << "\n";
      return 0;
    }
    std::string err = c.isOption ? context.SetOption(c.module, c.key, c.value)
                                 : context.SetParameter(c.module, c.key, c.value);
    if (err.empty() && !c.name.empty()) err = context.SetOptionName(c.module, c.key, c.name);
    if (err.empty()) return 0;
    std::cerr << "kmd: " << err << "\n";
  } catch (const std::exception& e) {
    std::cerr << "kmd: " << e.what() << "\n";
  }
  return 1;
}

}  // namespace

void AddSettingCommands(CLI::App& app) {
  Add(app, g_Option, "option", "Read or write a system option of a database");
  Add(app, g_Parameter, "parameter", "Read or write a module parameter of a database");
}

int RunSettingCommands() {
  if (g_Option.app->parsed()) return Run(g_Option);
  if (g_Parameter.app->parsed()) return Run(g_Parameter);
  return -1;
}

}  // namespace kmd::apps
