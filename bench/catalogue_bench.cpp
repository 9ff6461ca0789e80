// The product catalogue with 1,000,000 products over 2,000 leaf categories (one of 10,000): the
// form's deferred Refresh and the expansion of the large category, each timed beside the same
// statements run straight through SQLite's API, reading the same columns. The counter "ratio" is
// form / floor over the same iterations.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "db/Connection.h"
#include "db/Database.h"
#include "host/AllForms.h"
#include "host/Context.h"
#include "host/DemoCatalogue.h"
#include "host/Setup.h"
#include "view/Platform.h"

namespace {

using Clock = std::chrono::steady_clock;

// Boxes are answered at once; the form asks for none on these paths.
class SilentPlatform : public kmd::view::Platform {
 public:
  int MsgBox(const std::string&, int, const std::string&) override { return kmd::view::vbOK; }
  std::string InputBox(const std::string&, const std::string&, const std::string&) override { return ""; }
};

std::string g_Path;
int64_t g_BigLeaf = 0;

// The catalogue file, made once and kept under /tmp for later runs.
void MakeCatalogue() {
  const char* given = std::getenv("KMD_BENCH_CATALOGUE");
  g_Path = given ? given : (std::filesystem::temp_directory_path() / "kmd_catalogue_1M.db").string();
  if (!std::filesystem::exists(g_Path)) {
    std::cerr << "making " << g_Path << " (1,000,000 products)...\n";
    kmd::host::InitDatabase(g_Path, true);
    auto c = kmd::db::Open(g_Path);
    kmd::host::FillCatalogue(*c, {1000000, 2000, 10000});
  }
  auto c = kmd::db::Open(g_Path);
  kmd::db::QueryResult r;
  c->Run("SELECT 类别ID FROM kmdcplb WHERE 类别编码='500101'", {}, &r);
  g_BigLeaf = r.rows.at(0).at(0).ToLong();
}

// Runs a statement to its end, reading every column of every row as text.
size_t Straight(sqlite3* db, const std::string& sql) {
  sqlite3_stmt* st = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) != SQLITE_OK) std::abort();
  size_t bytes = 0;
  while (sqlite3_step(st) == SQLITE_ROW)
    for (int i = 0, n = sqlite3_column_count(st); i < n; ++i)
      if (const unsigned char* t = sqlite3_column_text(st, i)) bytes += std::char_traits<char>::length(reinterpret_cast<const char*>(t));
  sqlite3_finalize(st);
  return bytes;
}

const std::string kBase =
    "SELECT KMDCPML.产品ID, KMDCPML.物品编码,KMDCPML.物品名称,KMDCPML.产品类别ID , 'k'||KMDCPLB.类别编码 as 类别编码 "
    "FROM KMDCPML  INNER JOIN KMDCPLB ON KMDCPML.产品类别ID = KMDCPLB.类别ID";

struct Window {
  SilentPlatform platform;
  std::shared_ptr<kmd::host::Context> context;
  std::unique_ptr<kmd::FormGuard> form;
  Window() {
    auto database = std::make_shared<kmd::db::Database>(kmd::db::Open(g_Path));
    context = std::make_shared<kmd::host::Context>(database, kmd::IUserInfo{"bench", "", ""});
    form = kmd::host::AllForms().Create("CPML", platform);
    form->Init(context.get(), 200008, 0);
  }
};

void Report(benchmark::State& state, double form, double floor) {
  state.counters["form_ms"] = benchmark::Counter(form * 1e3 / static_cast<double>(state.iterations()));
  state.counters["floor_ms"] = benchmark::Counter(floor * 1e3 / static_cast<double>(state.iterations()));
  state.counters["ratio"] = benchmark::Counter(form / floor);
}

void DeferredRefresh(benchmark::State& state) {
  Window w;
  sqlite3* db = nullptr;
  sqlite3_open_v2(g_Path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  double form = 0, floor = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    if (!w.form->Refresh()) state.SkipWithError("Refresh failed");
    auto t1 = Clock::now();
    Straight(db, "select * from kmdcplb  order by 级次,类别编码");
    Straight(db, "SELECT Count(产品ID) From (" + kBase + ") a ");
    Straight(db, " select distinct 类别编码 FROM (" + kBase + ") a ORDER BY 类别编码 ");
    auto t2 = Clock::now();
    form += std::chrono::duration<double>(t1 - t0).count();
    floor += std::chrono::duration<double>(t2 - t1).count();
    state.SetIterationTime(std::chrono::duration<double>(t1 - t0).count());
  }
  sqlite3_close(db);
  Report(state, form, floor);
}

void ExpandLargeCategory(benchmark::State& state) {
  Window w;
  sqlite3* db = nullptr;
  sqlite3_open_v2(g_Path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  double form = 0, floor = 0;
  for (auto _ : state) {
    state.PauseTiming();
    w.form->Refresh();
    auto* tree = w.form->Inner().Tree();
    auto node = tree->FindKey("k500101");
    state.ResumeTiming();
    auto t0 = Clock::now();
    w.form->Run([&] { tree->UserExpand(node); });
    auto t1 = Clock::now();
    Straight(db, "SELECT 'k'||类别编码 as 类别编码,物品编码,物品名称,产品ID FROM vtKMDCPMLX  WHERE 产品类别ID =" +
                     std::to_string(g_BigLeaf) + "  ORDER BY 物品编码 ");
    auto t2 = Clock::now();
    if (node->Children() != 10000) state.SkipWithError("the category did not load its 10,000 products");
    form += std::chrono::duration<double>(t1 - t0).count();
    floor += std::chrono::duration<double>(t2 - t1).count();
    state.SetIterationTime(std::chrono::duration<double>(t1 - t0).count());
  }
  sqlite3_close(db);
  Report(state, form, floor);
}

BENCHMARK(DeferredRefresh)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(9);
BENCHMARK(ExpandLargeCategory)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(9);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  MakeCatalogue();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
