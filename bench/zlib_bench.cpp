// Packing and unpacking through the container against zlib alone on the same bytes, in the same
// 64 KiB blocks and at the same level. The control adds the files around the work: packing reads
// the source twice (its CRC when it is added, then the blocks) and writes the container; unpacking
// reads the container, checks the CRC and writes the file (a temporary one, moved into place).
// Every run is timed by the wall clock, so that the file work counts. Throughput is bytes of the
// original per second; the closing table gives control / zlib, and libdeflate's inflate alone
// on the same blocks / zlib's, the bound of what unpacking can gain.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <stdlib.h>
#include <zlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "files/zLibControl.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kSize = 8 << 20;
constexpr size_t kBlock = 65536;

// Half text-like runs that shrink well, half noise that does not, in 4 KiB stripes.
const std::vector<unsigned char>& Data() {
  static const std::vector<unsigned char> data = [] {
    std::vector<unsigned char> d(kSize);
    std::mt19937 rng(7);
    const char* words[] = {"单位 ", "colour ", "container ", "block ", "1234 ", "\n"};
    size_t i = 0;
    while (i < kSize) {
      const bool noise = (i / 4096) % 2;
      const size_t end = std::min(kSize, i + 4096);
      while (i < end) {
        if (noise) {
          d[i++] = static_cast<unsigned char>(rng());
        } else {
          for (const char* w = words[rng() % 6]; *w && i < end; ++w) d[i++] = static_cast<unsigned char>(*w);
        }
      }
    }
    return d;
  }();
  return data;
}

struct Folder {
  fs::path root;
  Folder() {
    std::string tmpl = (fs::temp_directory_path() / "kmdbenchXXXXXX").string();
    root = ::mkdtemp(tmpl.data());
    std::ofstream(root / "src.bin", std::ios::binary)
        .write(reinterpret_cast<const char*>(Data().data()), static_cast<std::streamsize>(kSize));
  }
  ~Folder() { fs::remove_all(root); }
};

Folder& Work() {
  static Folder folder;
  return folder;
}

// zlib alone: every 64 KiB block through compress2, kept in memory.
std::vector<std::vector<unsigned char>> ZlibPack(int level) {
  std::vector<std::vector<unsigned char>> blocks;
  const auto& d = Data();
  for (size_t at = 0; at < d.size(); at += kBlock) {
    const uLong n = static_cast<uLong>(std::min(kBlock, d.size() - at));
    uLongf len = compressBound(n);
    std::vector<unsigned char> out(len);
    if (compress2(out.data(), &len, d.data() + at, n, level) != Z_OK) std::abort();
    out.resize(len);
    blocks.push_back(std::move(out));
  }
  return blocks;
}

void BM_PackZlib(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(ZlibPack(static_cast<int>(state.range(0))));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

void BM_PackControl(benchmark::State& state) {
  const std::string src = (Work().root / "src.bin").string();
  const std::string target = (Work().root / "packed.zlb").string();
  for (auto _ : state) {
    kmd::zLibControl z;
    z.AddFile(src);
    if (z.Compress(target, true, static_cast<int32_t>(state.range(0))) != 0) std::abort();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

void BM_UnpackZlib(benchmark::State& state) {
  const auto blocks = ZlibPack(static_cast<int>(state.range(0)));
  std::vector<unsigned char> out(kBlock);
  for (auto _ : state) {
    for (const auto& b : blocks) {
      uLongf len = kBlock;
      if (uncompress(out.data(), &len, b.data(), static_cast<uLong>(b.size())) != Z_OK) std::abort();
      benchmark::DoNotOptimize(out.data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

void BM_UnpackLibdeflate(benchmark::State& state) {
  const auto blocks = ZlibPack(static_cast<int>(state.range(0)));
  std::vector<unsigned char> out(kBlock);
  libdeflate_decompressor* d = libdeflate_alloc_decompressor();
  for (auto _ : state) {
    for (const auto& b : blocks) {
      size_t len = 0;
      if (libdeflate_zlib_decompress(d, b.data(), b.size(), out.data(), kBlock, &len) != LIBDEFLATE_SUCCESS)
        std::abort();
      benchmark::DoNotOptimize(out.data());
    }
  }
  libdeflate_free_decompressor(d);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

void BM_UnpackControl(benchmark::State& state) {
  const fs::path root = Work().root;
  const std::string packed = (root / ("unpack" + std::to_string(state.range(0)) + ".zlb")).string();
  {
    kmd::zLibControl z;
    z.AddFile((root / "src.bin").string());
    z.SetFilename(0, "\\src.bin");
    if (z.Compress(packed, true, static_cast<int32_t>(state.range(0))) != 0) std::abort();
  }
  const std::string out = (root / "out").string();
  for (auto _ : state) {
    kmd::zLibControl z;
    if (z.Decompress(packed, out, false, true, false, false, false, true) != 0) std::abort();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

BENCHMARK(BM_PackZlib)->Arg(1)->Arg(6)->Arg(9)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PackControl)->Arg(1)->Arg(6)->Arg(9)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_UnpackZlib)->Arg(1)->Arg(6)->Arg(9)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_UnpackLibdeflate)->Arg(1)->Arg(6)->Arg(9)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_UnpackControl)->Arg(1)->Arg(6)->Arg(9)->Unit(benchmark::kMillisecond)->UseRealTime();

// The console report, and each benchmark's throughput kept for the ratios: the median of its
// repetitions when there are several, else its one run.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, double> rates;  // name -> bytes per second
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const auto& r : runs) {
      auto it = r.counters.find("bytes_per_second");
      const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
      if (it != r.counters.end() && (median || r.run_type == Run::RT_Iteration)) rates[r.run_name.str()] = it->second;
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  // Without arguments: five repetitions in random order, so that the load of a shared machine
  // falls alike on the control and on zlib, compared by their medians.
  std::vector<char*> args(argv, argv + argc);
  char repetitions[] = "--benchmark_repetitions=5", interleave[] = "--benchmark_enable_random_interleaving=true",
       aggregates[] = "--benchmark_report_aggregates_only=true";
  if (argc == 1) args.insert(args.end(), {repetitions, interleave, aggregates});
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n%-8s %-6s %-10s %12s %12s %8s\n", "work", "level", "by", "MB/s", "zlib MB/s", "ratio");
  const struct {
    const char *work, *by, *bench;
  } rows[] = {{"Pack", "control", "PackControl"},
              {"Unpack", "control", "UnpackControl"},
              {"Inflate", "libdeflate", "UnpackLibdeflate"}};
  for (const auto& row : rows)
    for (int level : {1, 6, 9}) {
      const std::string suffix = "/" + std::to_string(level) + "/real_time";
      const double rate = reporter.rates[std::string("BM_") + row.bench + suffix];
      const double zlib =
          reporter.rates[std::string("BM_") + (row.work[0] == 'P' ? "PackZlib" : "UnpackZlib") + suffix];
      if (rate <= 0 || zlib <= 0) continue;
      std::printf("%-8s %-6d %-10s %12.1f %12.1f %8.2f\n", row.work, level, row.by, rate / 1e6, zlib / 1e6,
                  rate / zlib);
    }
  benchmark::Shutdown();
  return 0;
}
