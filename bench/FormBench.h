// What the form benchmarks share: a database file made once under /tmp, a form window over it
// whose statements are traced, and the floor: the same statements (as the driver adapts them) run
// straight through SQLite's C API in the same transaction shape, reading every column of every
// row by its type, on two connections: one opened as SQLite opens one by default (a mutex taken at
// every call), one opened as the driver opens its own (no such mutex), the strict floor. Each
// benchmark reports the medians form_ms, floor_ms, strict_floor_ms and their ratios over the same
// rounds, and the form's slowest round.
#pragma once
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "db/Connection.h"
#include "db/Database.h"
#include "db/Dialect.h"
#include "frame/FormGuard.h"
#include "host/AllForms.h"
#include "host/Context.h"
#include "host/Setup.h"
#include "view/Platform.h"

namespace kmd::bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::time_point a, Clock::time_point b) { return std::chrono::duration<double>(b - a).count(); }

// Boxes are answered Yes (the delete question) and input boxes with the text to find.
class AnsweringPlatform : public view::Platform {
 public:
  std::string findText;
  int MsgBox(const std::string&, int, const std::string&) override { return view::vbYes; }
  std::string InputBox(const std::string&, const std::string&, const std::string&) override { return findText; }
};

// The file under /tmp named `name`, made by `fill` over a fresh `kmd init` database when missing.
inline std::string MadeDatabase(const std::string& name, const std::function<void(db::Connection&)>& fill) {
  std::string path = (std::filesystem::temp_directory_path() / name).string();
  if (!std::filesystem::exists(path)) {
    std::cerr << "making " << path << "...\n";
    host::InitDatabase(path, true);
    auto c = db::Open(path);
    fill(*c);
  }
  return path;
}

// Runs one statement of SQLite's own dialect on a connection; aborts on failure (set-up only).
inline void Exec(db::Connection& c, const std::string& sql) {
  std::string err = c.Run(sql, {}, nullptr);
  if (!err.empty()) {
    std::cerr << sql << ": " << err << "\n";
    std::abort();
  }
}

// A form window as a host holds it, with its statements traced into `statements` while `tracing`.
struct Window {
  AnsweringPlatform platform;
  std::shared_ptr<db::Database> database;
  std::shared_ptr<host::Context> context;
  std::unique_ptr<FormGuard> form;
  std::vector<std::string> statements;

  Window(const std::string& path, const std::string& cls, int32_t programId = 0) {
    database = std::make_shared<db::Database>(db::Open(path));
    database->SetTrace([this](const std::string& sql) { statements.push_back(sql); });
    context = std::make_shared<host::Context>(database, IUserInfo{"bench", "", ""});
    form = host::AllForms().Create(cls, platform);
    form->Init(context.get(), programId, 0);
  }
};

// The same statements straight through SQLite's API.
class Floor {
 public:
  // The plain program's connection opens the file as SQLite opens it by default (a mutex taken at
  // every call); the strict one as the driver opens it, without that mutex.
  explicit Floor(const std::string& path) {
    if (sqlite3_open_v2(path.c_str(), &m_Db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK ||
        sqlite3_open_v2(path.c_str(), &m_Strict, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
      std::abort();
    sqlite3_busy_timeout(m_Db, 5000);
    sqlite3_busy_timeout(m_Strict, 5000);
  }
  ~Floor() {
    sqlite3_close(m_Db);
    sqlite3_close(m_Strict);
  }
  Floor(const Floor&) = delete;
  Floor& operator=(const Floor&) = delete;

  struct Times {
    double plain = 0, strict = 0;
  };
  // Runs the statements in one transaction, as the host's unit of work does, on each connection
  // (the strict one runs `strict` when given: writes that must not find their work done); gives
  // the seconds of each.
  Times Run(const std::vector<std::string>& statements, bool writes = false,
            const std::vector<std::string>* strict = nullptr) {
    Times t;
    t.plain = RunOn(m_Db, Adapted(statements), writes);
    t.strict = RunOn(m_Strict, Adapted(strict ? *strict : statements), writes);
    return t;
  }

  size_t bytes = 0;  // what the reads saw, so that no read is optimised away

 private:
  static std::vector<std::string> Adapted(const std::vector<std::string>& statements) {
    std::vector<std::string> adapted;
    adapted.reserve(statements.size());
    for (const auto& s : statements) adapted.push_back(db::dialect::ToSqlite(s));
    return adapted;
  }
  double RunOn(sqlite3* db, const std::vector<std::string>& adapted, bool writes) {
    auto t0 = Clock::now();
    Step(db, writes ? "BEGIN IMMEDIATE" : "BEGIN");
    for (const auto& s : adapted) Step(db, s);
    Step(db, "COMMIT");
    return Seconds(t0, Clock::now());
  }
  void Step(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &st, nullptr) != SQLITE_OK) {
      std::cerr << sql << ": " << sqlite3_errmsg(db) << "\n";
      std::abort();
    }
    int n = sqlite3_column_count(st);
    while (sqlite3_step(st) == SQLITE_ROW)
      for (int i = 0; i < n; ++i) switch (sqlite3_column_type(st, i)) {
          case SQLITE_INTEGER: bytes += static_cast<size_t>(sqlite3_column_int64(st, i) & 1); break;
          case SQLITE_FLOAT: bytes += sqlite3_column_double(st, i) > 0; break;
          case SQLITE_NULL: break;
          default:
            bytes += reinterpret_cast<uintptr_t>(sqlite3_column_blob(st, i)) & 1;
            bytes += static_cast<size_t>(sqlite3_column_bytes(st, i));
        }
    sqlite3_finalize(st);
  }
  sqlite3* m_Db = nullptr;
  sqlite3* m_Strict = nullptr;
};

// The timed rounds, reported as medians (a round that a busy machine slowed does not move them)
// and the form's slowest round.
struct Timing {
  std::vector<double> form, floor, strict;
  void Add(benchmark::State& state, double f, Floor::Times fl) {
    form.push_back(f);
    floor.push_back(fl.plain);
    strict.push_back(fl.strict);
    state.SetIterationTime(f);
  }
  static double Median(std::vector<double> v) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
  }
  void Report(benchmark::State& state) const {
    double f = Median(form), fl = Median(floor), st = Median(strict);
    state.counters["form_ms"] = benchmark::Counter(f * 1e3);
    state.counters["form_worst_ms"] = benchmark::Counter(form.empty() ? 0 : *std::max_element(form.begin(), form.end()) * 1e3);
    state.counters["form_best_ms"] = benchmark::Counter(form.empty() ? 0 : *std::min_element(form.begin(), form.end()) * 1e3);
    state.counters["floor_ms"] = benchmark::Counter(fl * 1e3);
    state.counters["ratio"] = benchmark::Counter(fl > 0 ? f / fl : 0);
    state.counters["strict_floor_ms"] = benchmark::Counter(st * 1e3);
    state.counters["strict_ratio"] = benchmark::Counter(st > 0 ? f / st : 0);
  }
};

// Times one form command and then its traced statements straight: gives nothing, adds to `t`.
// `command` runs the command through the guard (one unit of work).
inline void TimeCommand(benchmark::State& state, Window& w, Floor& floor, Timing& t, bool writes,
                        const std::function<bool()>& command) {
  w.statements.clear();
  auto t0 = Clock::now();
  if (!command()) state.SkipWithError("the command failed");
  double form = Seconds(t0, Clock::now());
  t.Add(state, form, floor.Run(w.statements, writes));
}

}  // namespace kmd::bench
