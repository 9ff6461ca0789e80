// The tree model's adds and key lookups against the plain map work they stand on: the same keys
// into an unordered_map beside a vector of nodes. A catalogue load adds one product node a row
// under its category (found by key), so both sides do a lookup and an insert per row. The closing
// table gives model / plain.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "view/TreeView.h"

namespace {

constexpr int kCategories = 200;
constexpr int kProducts = 100000;

std::string CategoryKey(int c) { return "k" + std::to_string(1000 + c); }
std::string ProductKey(int p) { return "w" + std::to_string(100000 + p); }

void TreeAdds(benchmark::State& state) {
  for (auto _ : state) {
    kmd::view::TreeView tree;
    tree.Add({}, 0, "ROOT", "产品目录");
    for (int c = 0; c < kCategories; ++c) tree.Add("ROOT", kmd::view::tvwChild, CategoryKey(c), "类别");
    for (int p = 0; p < kProducts; ++p)
      tree.Add(CategoryKey(p % kCategories), kmd::view::tvwChild, ProductKey(p), "产品");
    benchmark::DoNotOptimize(tree.Count());
  }
  state.SetItemsProcessed(state.iterations() * kProducts);
}

struct PlainNode {
  std::string key, text;
  PlainNode* parent = nullptr;
};

void PlainAdds(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<std::shared_ptr<PlainNode>> all;
    std::unordered_map<std::string, PlainNode*> byKey;
    auto add = [&](PlainNode* parent, std::string key, std::string text) {
      auto [slot, added] = byKey.try_emplace(key, nullptr);
      if (!added) return;
      all.push_back(std::make_shared<PlainNode>(PlainNode{std::move(key), std::move(text), parent}));
      slot->second = all.back().get();
    };
    add(nullptr, "ROOT", "产品目录");
    for (int c = 0; c < kCategories; ++c) add(byKey.find("ROOT")->second, CategoryKey(c), "类别");
    for (int p = 0; p < kProducts; ++p) add(byKey.find(CategoryKey(p % kCategories))->second, ProductKey(p), "产品");
    benchmark::DoNotOptimize(all.size());
  }
  state.SetItemsProcessed(state.iterations() * kProducts);
}

BENCHMARK(TreeAdds)->Unit(benchmark::kMillisecond)->Repetitions(3)->ReportAggregatesOnly(true);
BENCHMARK(PlainAdds)->Unit(benchmark::kMillisecond)->Repetitions(3)->ReportAggregatesOnly(true);

// The console report, and each benchmark's median rate kept for the ratio.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, double> rates;
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const auto& r : runs) {
      auto it = r.counters.find("items_per_second");
      if (it != r.counters.end() && r.aggregate_name == "median") rates[r.run_name.function_name] = it->second;
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  double tree = reporter.rates["TreeAdds"], plain = reporter.rates["PlainAdds"];
  if (tree > 0 && plain > 0)
    std::printf("\nadds of %d products: model %.2f M/s, plain map %.2f M/s, model / plain %.2f\n", kProducts,
                tree / 1e6, plain / 1e6, tree / plain);
  benchmark::Shutdown();
  return 0;
}
