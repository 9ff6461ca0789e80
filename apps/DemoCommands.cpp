#include "apps/DemoCommands.h"

#include <algorithm>
#include <chrono>
#include <iostream>

#include "db/Connection.h"
#include "host/DemoCatalogue.h"

namespace kmd::apps {

namespace {
CLI::App* g_Command = nullptr;
std::string g_Db;
int64_t g_Products = 0;
int g_Leaves = 0;
int64_t g_FirstLeaf = 0;
}  // namespace

void AddDemoCommands(CLI::App& app) {
  g_Command = app.add_subcommand("demo-catalogue", "Add many demo products over a three-level category tree");
  g_Command->add_option("--db", g_Db, "Database file or postgresql:// address")->required();
  g_Command->add_option("--products", g_Products, "Number of products")->required()->check(CLI::Range(int64_t{0}, int64_t{100000000}));
  g_Command->add_option("--categories", g_Leaves, "Number of leaf categories (default: one per 500 products)")
      ->check(CLI::Range(1, 98010));
  g_Command->add_option("--first-leaf", g_FirstLeaf, "Products of the first leaf category")->check(CLI::NonNegativeNumber);
}

int RunDemoCommands() {
  if (!g_Command || !g_Command->parsed()) return -1;
  try {
    int leaves = g_Leaves > 0 ? g_Leaves : static_cast<int>(std::clamp<int64_t>(g_Products / 500, 1, 2000));
    auto start = std::chrono::steady_clock::now();
    auto connection = db::Open(g_Db);
    int64_t first = host::FillCatalogue(*connection, {g_Products, leaves, g_FirstLeaf});
    auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::cout << "added " << g_Products << " products over " << leaves << " leaf categories (the first has id "
              << first << ") in " << seconds << " s\n";
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "kmd: " << e.what() << "\n";
    return 1;
  }
}

}  // namespace kmd::apps
