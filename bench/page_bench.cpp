// The browser host's side of the page with 100,000 regions, through its API without HTTP: opening
// the window (beside its load statement run straight through SQLite's API), on a server that still
// holds the memory of the window closed before it and on one that has given it all back; then the
// answers to a scroll, a pick, a collapse and an expand; last, the server's memory after ten
// window cycles, before and after it gives back what they left.
#include <fstream>
#include <thread>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "FormBench.h"
#include "host/ServerProcess.h"
#include "host/WebHost.h"

namespace {

using namespace kmd::bench;
using nlohmann::json;

// Regions as form_bench makes them (kmd_regions_100000.db must exist or be made by form_bench).
std::string Regions() {
  std::string path = (std::filesystem::temp_directory_path() / "kmd_regions_100000.db").string();
  if (!std::filesystem::exists(path)) {
    std::cerr << "run form_bench first: it makes " << path << "\n";
    std::exit(1);
  }
  return path;
}

kmd::host::WebReply Post(kmd::host::WebHost& host, const std::string& path, const json& body) {
  return host.Handle({"POST", path, {}, body.dump()});
}

std::string OpenWindow(kmd::host::WebHost& host) {
  auto reply = Post(host, "/api/windows", {{"class", "DQ"}, {"rows", {0, 100}}});
  if (reply.status != 200) return "";
  return reply.body.value("window", "");
}

void CloseWindow(kmd::host::WebHost& host, const std::string& id) { Post(host, "/api/windows/" + id + "/close", json::object()); }

kmd::host::WebHost::Options HostOptions(const std::string& path) {
  return {path, {"bench", "", ""}, std::chrono::seconds(60)};
}

// Windows opened one after the other, as a page that reloads or a user who opens the form again
// does; with `released`, each opens after the server gave back the memory of the one before.
void OpenWindows(benchmark::State& state, bool released) {
  std::string path = Regions();
  kmd::host::WebHost host(HostOptions(path));
  Floor floor(path);
  Timing t;
  for (auto _ : state) {
    auto t0 = Clock::now();
    std::string id = OpenWindow(host);
    double form = Seconds(t0, Clock::now());
    if (id.empty()) {
      state.SkipWithError("the window did not open");
      break;
    }
    t.Add(state, form, floor.Run({"select * from kmddq order by 级次,编码"}));
    CloseWindow(host, id);
    if (released) kmd::host::WebHost::ReleaseMemory();
  }
  t.Report(state);
}
void PageOpen(benchmark::State& state) { OpenWindows(state, false); }
void PageOpenReleased(benchmark::State& state) { OpenWindows(state, true); }

// The answers to the page's requests in an open window, each timed on its own.
void PageRequests(benchmark::State& state) {
  std::string path = Regions();
  kmd::host::WebHost host(HostOptions(path));
  std::string id = OpenWindow(host);
  if (id.empty()) {
    state.SkipWithError("the window did not open");
    return;
  }
  std::string base = "/api/windows/" + id;
  double scroll = 0, pick = 0, collapse = 0, expand = 0;
  int first = 0;
  for (auto _ : state) {
    first = (first + 37813) % 99000;
    auto t0 = Clock::now();
    auto r1 = host.Handle({"GET", base, {{"first", std::to_string(first)}, {"count", "100"}}, ""});
    auto t1 = Clock::now();
    auto r2 = Post(host, base + "/action", {{"kind", "pick"}, {"control", "TV"}, {"key", "k150150"}, {"rows", {first, 100}}});
    auto t2 = Clock::now();
    auto r3 = Post(host, base + "/action", {{"kind", "collapse"}, {"control", "TV"}, {"key", "k15"}, {"rows", {first, 100}}});
    auto t3 = Clock::now();
    auto r4 = Post(host, base + "/action", {{"kind", "expand"}, {"control", "TV"}, {"key", "k15"}, {"rows", {first, 100}}});
    auto t4 = Clock::now();
    if (r1.status != 200 || r2.status != 200 || r3.status != 200 || r4.status != 200) state.SkipWithError("a request failed");
    scroll += Seconds(t0, t1);
    pick += Seconds(t1, t2);
    collapse += Seconds(t2, t3);
    expand += Seconds(t3, t4);
    state.SetIterationTime(Seconds(t0, t4));
  }
  double n = static_cast<double>(state.iterations());
  state.counters["scroll_ms"] = scroll * 1e3 / n;
  state.counters["pick_ms"] = pick * 1e3 / n;
  state.counters["collapse_ms"] = collapse * 1e3 / n;
  state.counters["expand_ms"] = expand * 1e3 / n;
  CloseWindow(host, id);
}

// Resident memory in MB: "RssAnon" (what the server allocated) or "RssFile" (code and libraries
// mapped from files, which grows as code runs for the first time and is shared with the system).
double ResidentMb(const std::string& kind) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind(kind + ":", 0) == 0) return std::stod(line.substr(kind.size() + 1)) / 1024.0;
  return 0;
}

// The server's resident memory before its first window and after ten windows opened and closed:
// at once (what it holds for the next window) and once it has given that back.
void PageMemory(benchmark::State& state) {
  std::string path = Regions();
  double start = 0, peak = 0, held = 0, after = 0, startFile = 0, afterFile = 0, first = 0;
  for (auto _ : state) {
    // As `kmd serve` starts: the database is checked, then the host made.
    if (!kmd::host::CheckDatabase(path).empty()) state.SkipWithError("the database does not open");
    kmd::host::WebHost host(HostOptions(path));
    start = ResidentMb("RssAnon");
    startFile = ResidentMb("RssFile");
    for (int i = 0; i < 10; ++i) {
      std::string id = OpenWindow(host);
      peak = std::max(peak, ResidentMb("RssAnon"));
      CloseWindow(host, id);
      if (i == 0) first = ResidentMb("RssAnon");
    }
    held = ResidentMb("RssAnon");
    // The server gives the memory back Options::release after the last close.
    std::this_thread::sleep_for(HostOptions(path).release + std::chrono::milliseconds(500));
    after = ResidentMb("RssAnon");
    afterFile = ResidentMb("RssFile");
    state.SetIterationTime(1);
  }
  state.counters["start_mb"] = start;
  state.counters["after_first_held_mb"] = first;
  state.counters["held_mb"] = held;
  state.counters["peak_mb"] = peak;
  state.counters["after_mb"] = after;
  state.counters["growth"] = start > 0 ? after / start : 0;
  state.counters["code_start_mb"] = startFile;
  state.counters["code_after_mb"] = afterFile;
}

// First in the run, so that no other benchmark's memory is counted in its start.
BENCHMARK(PageMemory)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
BENCHMARK(PageOpen)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(15);
BENCHMARK(PageOpenReleased)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(9);
BENCHMARK(PageRequests)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(21);

}  // namespace

// The server's process runs with the server's memory settings; so does this one.
int main(int argc, char** argv) {
  kmd::host::UseServerMemorySettings(argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
