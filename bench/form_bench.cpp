// Units (JLDW) and regions (DQ) at 10,000 and 100,000 rows: Refresh, the Find of the last node,
// selecting a record, saving an edited record and deleting a leaf, each timed beside the
// statements the command sent, run straight through SQLite's API (see FormBench.h).
#include <map>

#include "FormBench.h"
#include "view/TreeView.h"
#include "view/Widgets.h"

namespace {

using namespace kmd::bench;

// N units after the demo rows: ids from 1001, codes U0000001.., names 单位0000001.. .
std::string Units(int64_t n) {
  return MadeDatabase("kmd_units_" + std::to_string(n) + ".db", [n](kmd::db::Connection& c) {
    Exec(c, "WITH RECURSIVE s(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM s WHERE i<" + std::to_string(n) +
                ") INSERT INTO kmdjldw (单位ID,代码,名称,是否系统) "
                "SELECT 1000+i, printf('U%07d',i), printf('单位%07d',i), 0 FROM s");
  });
}

// About N regions after the demo rows: ten first-level codes 10..19, each with k second-level
// codes, each with up to 100 leaves (two digits a level).
std::string Regions(int64_t n) {
  return MadeDatabase("kmd_regions_" + std::to_string(n) + ".db", [n](kmd::db::Connection& c) {
    int64_t second = std::max<int64_t>(1, std::min<int64_t>(100, n / 1000));
    int64_t leaves = std::min<int64_t>(100, n / (10 * second));
    std::string lv = std::to_string(leaves), sc = std::to_string(second);
    Exec(c, "BEGIN");
    Exec(c, "WITH RECURSIVE a(i) AS (SELECT 10 UNION ALL SELECT i+1 FROM a WHERE i<19) "
            "INSERT INTO kmddq (地区ID,地区,编码,是否明细,级次,是否系统) SELECT 100+i, '区'||i, ''||i, 0, 1, 0 FROM a");
    Exec(c, "WITH RECURSIVE a(i) AS (SELECT 10 UNION ALL SELECT i+1 FROM a WHERE i<19), "
            "b(j) AS (SELECT 0 UNION ALL SELECT j+1 FROM b WHERE j<" + sc + "-1) "
            "INSERT INTO kmddq (地区ID,地区,编码,是否明细,级次,是否系统) "
            "SELECT 1000+i*100+j, printf('区%d%02d',i,j), printf('%d%02d',i,j), 0, 2, 0 FROM a, b");
    Exec(c, "WITH RECURSIVE a(i) AS (SELECT 10 UNION ALL SELECT i+1 FROM a WHERE i<19), "
            "b(j) AS (SELECT 0 UNION ALL SELECT j+1 FROM b WHERE j<" + sc + "-1), "
            "l(k) AS (SELECT 0 UNION ALL SELECT k+1 FROM l WHERE k<" + lv + "-1) "
            "INSERT INTO kmddq (地区ID,地区,编码,是否明细,级次,是否系统) "
            "SELECT 1000000+(i*100+j)*100+k, printf('区%d%02d%02d',i,j,k), printf('%d%02d%02d',i,j,k), 1, 3, 0 "
            "FROM a, b, l");
    Exec(c, "COMMIT");
  });
}

std::string Path(const std::string& form, int64_t n) { return form == "JLDW" ? Units(n) : Regions(n); }

void Refresh(benchmark::State& state, const std::string& cls) {
  std::string path = Path(cls, state.range(0));
  Window w(path, cls);
  Floor floor(path);
  Timing t;
  for (auto _ : state) TimeCommand(state, w, floor, t, false, [&] { return w.form->Refresh(); });
  t.Report(state);
}

// The Find of the last unit: its text is typed into the find box.
void FindLast(benchmark::State& state) {
  int64_t n = state.range(0);
  std::string path = Units(n);
  Window w(path, "JLDW");
  Floor floor(path);
  w.form->Refresh();
  char last[16];
  std::snprintf(last, sizeof last, "U%07lld", static_cast<long long>(n));
  w.platform.findText = last;
  Timing t;
  for (auto _ : state) {
    TimeCommand(state, w, floor, t, false, [&] { return w.form->Find(kmd::Value()); });
    auto selected = w.form->Inner().Tree()->SelectedItem();
    if (!selected || selected->Text.find(last) == std::string::npos) state.SkipWithError("the last unit was not found");
  }
  t.Report(state);
}

// Picks the node of `key` as the user does.
kmd::view::NodePtr Pick(Window& w, const std::string& key) {
  auto* tree = w.form->Inner().Tree();
  auto node = tree->FindKey(key);
  if (node) w.form->Run([&] { tree->UserClick(node); });
  return node;
}

kmd::view::TextField& Field(Window& w, int index) {
  return *static_cast<kmd::view::TextField*>(w.form->Controls().Find("qnT", index));
}

// Selects a record as the user does (a click on its node reads it into the fields): rounds
// alternate between two neighbouring records in the middle of the tree.
void Select(benchmark::State& state, const std::string& cls) {
  int64_t n = state.range(0);
  std::string path = Path(cls, n);
  Window w(path, cls);
  Floor floor(path);
  w.form->Refresh();
  std::vector<std::string> keys{"k150150", "k150151"};
  if (cls == "JLDW") keys = {"k" + std::to_string(1000 + n / 2), "k" + std::to_string(1001 + n / 2)};
  int round = 0;
  Timing t;
  for (auto _ : state)
    TimeCommand(state, w, floor, t, false, [&] { return Pick(w, keys[++round % 2]) != nullptr; });
  t.Report(state);
}
void UnitsSelect(benchmark::State& state) { Select(state, "JLDW"); }
void RegionsSelect(benchmark::State& state) { Select(state, "DQ"); }

// Saves a record whose name the user changed: rounds alternate between two names.
void Save(benchmark::State& state, const std::string& cls) {
  int64_t n = state.range(0);
  std::string path = Path(cls, n);
  Window w(path, cls);
  Floor floor(path);
  w.form->Refresh();
  // The middle record: a unit by id, a region leaf by code.
  std::string key = cls == "JLDW" ? "k" + std::to_string(1000 + n / 2) : "k150150";
  if (!Pick(w, key)) {
    state.SkipWithError("no record to edit");
    return;
  }
  std::string name = Field(w, 1).Text();
  Timing t;
  int round = 0;
  for (auto _ : state) {
    w.form->FileEdit();
    Field(w, 1).SetText(name + (++round % 2 ? "改" : ""));
    TimeCommand(state, w, floor, t, true, [&] { return w.form->FileSave(); });
  }
  t.Report(state);
}

// Deletes a region leaf each round; each floor deletes another leaf of the same parent by the
// same statements. The rows are put back afterwards, outside the timing.
void RegionsDelete(benchmark::State& state) {
  int64_t n = state.range(0);
  std::string path = Regions(n);
  Window w(path, "DQ");
  Floor floor(path);
  w.form->Refresh();
  auto conn = kmd::db::Open(path);
  std::vector<std::string> restore;
  Timing t;
  int round = 0;
  for (auto _ : state) {
    // Leaves 1101xx: xx from 00 up for the form, from 25 up for the strict floor, from 50 up for
    // the plain one.
    char leaves[3][16];
    for (int i = 0; i < 3; ++i) std::snprintf(leaves[i], sizeof leaves[i], "1101%02d", 25 * i + round);
    ++round;
    kmd::db::QueryResult r;
    conn->Run(std::string("SELECT 地区ID,地区,编码,是否明细,级次,是否系统 FROM kmddq WHERE 编码 IN ('") + leaves[0] +
                  "','" + leaves[1] + "','" + leaves[2] + "') ORDER BY 编码",
              {}, &r);
    if (r.rows.size() != 3 || !Pick(w, std::string("k") + leaves[0])) {
      state.SkipWithError("no leaf to delete");
      break;
    }
    for (const auto& row : r.rows) {
      std::string values;
      for (const auto& v : row) values += (values.empty() ? "" : ",") + std::string("'") + v.ToText() + "'";
      restore.push_back("INSERT INTO kmddq (地区ID,地区,编码,是否明细,级次,是否系统) VALUES (" + values + ")");
    }
    w.statements.clear();
    auto t0 = Clock::now();
    if (!w.form->FileDelete()) state.SkipWithError("the delete failed");
    double form = Seconds(t0, Clock::now());
    // The form's statements with another leaf's id and code.
    auto about = [&](int leaf) {
      std::string id = r.rows[static_cast<size_t>(leaf)][0].ToText(), myId = r.rows[0][0].ToText();
      std::vector<std::string> statements = w.statements;
      for (auto& s : statements) {
        for (size_t p; (p = s.find(myId)) != std::string::npos;) s.replace(p, myId.size(), id);
        for (size_t p; (p = s.find(leaves[0])) != std::string::npos;) s.replace(p, 6, leaves[leaf]);
      }
      return statements;
    };
    auto strict = about(1);
    t.Add(state, form, floor.Run(about(2), true, &strict));
  }
  for (const auto& s : restore) conn->Run(s, {}, nullptr);
  t.Report(state);
}

void UnitsRefresh(benchmark::State& s) { Refresh(s, "JLDW"); }
void UnitsSave(benchmark::State& s) { Save(s, "JLDW"); }
void RegionsRefresh(benchmark::State& s) { Refresh(s, "DQ"); }
void RegionsSave(benchmark::State& s) { Save(s, "DQ"); }

#define KMD_FORM_BENCH(f, rounds) \
  BENCHMARK(f)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(rounds)

KMD_FORM_BENCH(UnitsRefresh, 9);
KMD_FORM_BENCH(FindLast, 21);
KMD_FORM_BENCH(UnitsSelect, 21);
KMD_FORM_BENCH(UnitsSave, 21);
KMD_FORM_BENCH(RegionsRefresh, 9);
KMD_FORM_BENCH(RegionsSelect, 21);
KMD_FORM_BENCH(RegionsSave, 21);
KMD_FORM_BENCH(RegionsDelete, 21);

}  // namespace

BENCHMARK_MAIN();
