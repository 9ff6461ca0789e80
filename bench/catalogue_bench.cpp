// The product catalogue at 1,000 to 1,000,000 products over a three-level category tree: the
// form's deferred Refresh, the expansion of a large category and the Find of the last product,
// each timed beside the statements the command sent, run straight through SQLite's API (see
// FormBench.h). The first leaf category (500101) holds a tenth of the products, at most 10,000;
// at 1,000,000 the second leaf (500102) holds 100,000 more.
#include "FormBench.h"
#include "host/DemoCatalogue.h"
#include "view/TreeView.h"

namespace {

using namespace kmd::bench;

constexpr int32_t kProgram = 200008;

std::string Catalogue(int64_t n) {
  return MadeDatabase("kmd_catalogue_" + std::to_string(n) + ".db", [n](kmd::db::Connection& c) {
    int leaves = static_cast<int>(std::min<int64_t>(2000, std::max<int64_t>(2, n / 100)));
    kmd::host::FillCatalogue(c, {n, leaves, std::min<int64_t>(10000, n / 10)});
    if (n >= 1000000) {
      Exec(c, "UPDATE KMDCPML SET 产品类别ID = (SELECT 类别ID FROM kmdcplb WHERE 类别编码='500102') WHERE 产品ID IN "
              "(SELECT 产品ID FROM KMDCPML WHERE 产品类别ID <> (SELECT 类别ID FROM kmdcplb WHERE 类别编码='500101') "
              "ORDER BY 产品ID LIMIT 100000)");
    }
  });
}

void DeferredRefresh(benchmark::State& state) {
  std::string path = Catalogue(state.range(0));
  Window w(path, "CPML", kProgram);
  Floor floor(path);
  Timing t;
  for (auto _ : state) TimeCommand(state, w, floor, t, false, [&] { return w.form->Refresh(); });
  t.Report(state);
}

// Args: products, the category's products (10,000 or 100,000 at most).
void ExpandCategory(benchmark::State& state) {
  int64_t n = state.range(0), size = state.range(1);
  std::string path = Catalogue(n);
  std::string key = size > 10000 ? "k500102" : "k500101";
  Window w(path, "CPML", kProgram);
  Floor floor(path);
  Timing t;
  for (auto _ : state) {
    w.form->Refresh();
    auto* tree = w.form->Inner().Tree();
    auto node = tree->FindKey(key);
    if (!node) {
      state.SkipWithError("no such category");
      break;
    }
    TimeCommand(state, w, floor, t, false, [&] { return w.form->Run([&] { tree->UserExpand(node); }); });
    if (node->Children() != size) state.SkipWithError("the category did not load all its products");
  }
  t.Report(state);
}

// The Find of the product with the highest code, in a category not loaded yet.
void FindLastProduct(benchmark::State& state) {
  std::string path = Catalogue(state.range(0));
  Window w(path, "CPML", kProgram);
  Floor floor(path);
  kmd::db::QueryResult r;
  kmd::db::Open(path)->Run("SELECT MAX(物品编码) FROM KMDCPML", {}, &r);
  w.platform.findText = r.rows.at(0).at(0).ToText();
  Timing t;
  for (auto _ : state) {
    w.form->Refresh();
    TimeCommand(state, w, floor, t, false, [&] { return w.form->Find(kmd::Value()); });
    auto selected = w.form->Inner().Tree()->SelectedItem();
    if (!selected || selected->Text.find(w.platform.findText) == std::string::npos)
      state.SkipWithError("the product was not found");
  }
  t.Report(state);
}

BENCHMARK(DeferredRefresh)->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000)
    ->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(9);
BENCHMARK(ExpandCategory)->Args({1000, 100})->Args({10000, 1000})->Args({100000, 10000})->Args({1000000, 10000})
    ->Args({1000000, 100000})->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(9);
BENCHMARK(FindLastProduct)->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000)
    ->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(9);

}  // namespace

BENCHMARK_MAIN();
