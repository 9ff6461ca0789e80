// Runs every transcript under tests/scenarios: the lines "> command" are the script, every other
// line (but "#" comments) is the expected transcript. Each runs on a fresh demo database.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <regex>
#include <sstream>

#include "base/RuntimeError.h"
#include "db/Connection.h"
#include "db/Scratch.h"
#include "host/Context.h"
#include "host/ScriptHost.h"
#include "host/Setup.h"
#include "support/FileText.h"

namespace fs = std::filesystem;

namespace {

std::vector<std::string> Lines(std::istream& in) {
  std::vector<std::string> out;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    out.push_back(line);
  }
  return out;
}

// On a server, a script's SQLite triggers become the server's: each raises its message through one
// function made for the run, and DROP TRIGGER names its table. The transcript shows them as written.
class ServerScript {
 public:
  static constexpr const char* kRaise =
      "CREATE FUNCTION kmd_raise() RETURNS trigger LANGUAGE plpgsql AS $$BEGIN RAISE EXCEPTION '%', TG_ARGV[0]; END$$";

  std::string Adapt(const std::string& line) {
    static const std::regex create(
        R"(sql CREATE TRIGGER (\S+) BEFORE (\S+) ON (\S+) (WHEN (.*) )?BEGIN SELECT RAISE\(ABORT, ('[^']*')\); END)");
    static const std::regex drop(R"(sql DROP TRIGGER (\S+))");
    std::smatch m;
    std::string adapted = line;
    if (std::regex_match(line, m, create)) {
      m_Tables[m[1]] = m[3];
      adapted = "sql CREATE TRIGGER " + m[1].str() + " BEFORE " + m[2].str() + " ON " + m[3].str() + " FOR EACH ROW " +
                (m[5].matched ? "WHEN (" + m[5].str() + ") " : "") + "EXECUTE FUNCTION kmd_raise(" + m[6].str() + ")";
    } else if (std::regex_match(line, m, drop)) {
      adapted = line + " ON " + m_Tables[m[1]];
    }
    if (adapted != line) m_Originals["> " + adapted] = "> " + line;
    return adapted;
  }
  std::string Original(const std::string& line) const {
    auto it = m_Originals.find(line);
    return it == m_Originals.end() ? line : it->second;
  }

 private:
  std::map<std::string, std::string> m_Tables, m_Originals;
};

// Where a line shows the engine's own error text, the server's words differ: the lines match up to
// where the engine's words begin.
bool SameLine(const std::string& actual, const std::string& expected, bool server) {
  if (actual == expected) return true;
  if (!server) return false;
  for (const char* engine : {"no such table: ", "no such column: ", "UNIQUE constraint failed: "}) {
    size_t p = expected.find(engine);
    if (p != std::string::npos) return actual.size() > p && actual.compare(0, p, expected, 0, p) == 0;
  }
  return false;
}

class Scenario : public testing::TestWithParam<std::string> {};

TEST_P(Scenario, TranscriptMatches) {
  const fs::path file = GetParam();
  std::ifstream in(file);
  auto expectedAll = Lines(in);
  const bool server = !kmd::test::ServerAddress().empty();
  ServerScript adapter;
  std::string script;
  std::vector<std::pair<int, std::string>> expected;  // line number, text
  for (size_t i = 0; i < expectedAll.size(); ++i) {
    const auto& l = expectedAll[i];
    if (l.empty() || l[0] == '#') continue;
    if (l.rfind("> ", 0) == 0) script += (server ? adapter.Adapt(l.substr(2)) : l.substr(2)) + "\n";
    expected.emplace_back(static_cast<int>(i + 1), l);
  }
  fs::path dir = fs::temp_directory_path() / ("kmd_scn_" + file.stem().string() + "_" + std::to_string(::getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir);
  std::string dbPath = kmd::test::ScratchAddress(dir, "scn_" + file.stem().string());
  kmd::host::InitDatabase(dbPath, true);
  if (server) {
    ASSERT_EQ(kmd::db::Open(dbPath)->RunScript(ServerScript::kRaise), "");
  }
  std::ostringstream out, err;
  // Each scenario has a temporary folder of its own ("$TMPDIR/" in its transcript).
  const char* oldTmp = std::getenv("TMPDIR");
  const std::string keptTmp = oldTmp ? oldTmp : "";
  fs::create_directories(dir / "tmp");
  ::setenv("TMPDIR", (dir / "tmp").c_str(), 1);
  {
    auto database = std::make_shared<kmd::db::Database>(kmd::db::Open(dbPath));
    auto context = std::make_shared<kmd::host::Context>(
        database, kmd::IUserInfo{"tester", (dir / "home").string(), kmd::host::kSettingsApp});
    kmd::host::ScriptHost host(context, out, err);
    std::istringstream s(script);
    EXPECT_EQ(host.Run(s, file.string()), 0) << err.str();
  }
  if (oldTmp) ::setenv("TMPDIR", keptTmp.c_str(), 1);
  else ::unsetenv("TMPDIR");
  fs::remove_all(dir);
  kmd::test::DropScratch(dbPath);
  std::istringstream got(out.str());
  auto actual = Lines(got);
  for (auto& line : actual) line = adapter.Original(line);
  for (size_t i = 0; i < expected.size(); ++i) {
    ASSERT_LT(i, actual.size()) << file.string() << ":" << expected[i].first << ": transcript ended; expected\n  "
                                << expected[i].second;
    ASSERT_TRUE(SameLine(actual[i], expected[i].second, server))
        << file.string() << ":" << expected[i].first << ": transcript differs\n  expected " << expected[i].second
        << "\n  actual   " << actual[i] << "\n"
        << out.str();
  }
  EXPECT_EQ(actual.size(), expected.size()) << file.string() << ": extra lines in the transcript\n" << out.str();
}

std::vector<std::string> ScenarioFiles() {
  std::vector<std::string> files;
  for (const auto& e : fs::directory_iterator(KMD_SCENARIO_DIR))
    if (e.path().extension() == ".scn") files.push_back(e.path().string());
  std::sort(files.begin(), files.end());
  return files;
}

INSTANTIATE_TEST_SUITE_P(All, Scenario, testing::ValuesIn(ScenarioFiles()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           std::string n = fs::path(info.param).stem().string();
                           for (auto& c : n)
                             if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                           return n;
                         });

// What a script meets when something around the forms fails: a released form, a form that cannot
// be made, a status file that cannot be written, a database that cannot be made, a killed run.
class HostFailures : public testing::Test {
 protected:
  void SetUp() override {
    dir = kmd::test::ScratchDir("kmd_failures");
    db = (dir / "test.db").string();
    kmd::host::InitDatabase(db, false);
  }
  void TearDown() override { fs::remove_all(dir); }

  // Runs the script on the database; gives the exit status, the transcript in `out`, errors in `err`.
  int Run(const std::string& script, const std::string& home, const kmd::FormRegistry* forms = nullptr) {
    out.str("");
    err.str("");
    auto database = std::make_shared<kmd::db::Database>(kmd::db::Open(db));
    auto context = std::make_shared<kmd::host::Context>(database, kmd::IUserInfo{"tester", home, ""});
    kmd::host::ScriptHost host(context, out, err, forms);
    std::istringstream in(script);
    return host.Run(in, "s");
  }

  fs::path dir;
  std::string db;
  std::ostringstream out, err;
};

TEST_F(HostFailures, ACommandOnAClearedFormIsAScriptError) {
  for (std::string command : {"pick k2", "show tree", "show fields", "type qnT(0) X", "click Opt(0)", "lookup qnT(0) X",
                              "browse qnT(0)", "FileNew", "Refresh", "GetID", "DoSaveFormStatus", "Clear"}) {
    EXPECT_EQ(Run("open JLDW\nInit\nRefresh\nClear\n" + command + "\n", ""), 2) << command;
    EXPECT_EQ(err.str(), "s:5: the form was cleared\n") << command;
  }
  // A new form may be opened after it.
  EXPECT_EQ(Run("open JLDW\nInit\nClear\nopen JLDW\nInit\nRefresh\npick k2\n", ""), 0) << err.str();
}

TEST_F(HostFailures, AFormThatCannotBeMadeIsNamedWithItsReason) {
  kmd::FormRegistry forms;
  forms.Add({"Broken", "坏窗体", "test", [](kmd::view::Platform&) -> std::unique_ptr<kmd::Form> {
               throw kmd::RuntimeError("no such table: kmdjldw");
             }});
  EXPECT_EQ(Run("open broken\n", "", &forms), 2);
  EXPECT_EQ(err.str(), "s:1: cannot create form Broken: no such table: kmdjldw\n");
  EXPECT_EQ(Run("open Nothing\n", "", &forms), 2);
  EXPECT_EQ(err.str(), "s:1: unknown form class Nothing\n");
}

TEST_F(HostFailures, AStatusThatCannotBeWrittenIsReportedAndNoHomeKeepsNone) {
  std::string home = (dir / "home").string();
  std::ofstream(home) << "a file, not a folder";
  ASSERT_EQ(Run("open JLDW\nInit\nDoSaveFormStatus\n", home), 0) << err.str();
  // The transcript writes the temporary folder "$TMPDIR/".
  std::string shownHome = "$TMPDIR/" + fs::relative(home, fs::temp_directory_path()).string();
  EXPECT_NE(out.str().find("event ErrMessage 8 计量单位 | 保存窗体状态失败：cannot write " + shownHome +
                           "/selfbb/JLDW.txt: Not a directory\n"),
            std::string::npos)
      << out.str();
  ASSERT_EQ(Run("open JLDW\nInit\nRefresh\npick k2\nDoSaveFormStatus\nopen JLDW\nInit\nRefresh\nDoGetFormStatus\nshow tree\n", ""), 0);
  EXPECT_EQ(out.str().find("event ErrMessage"), std::string::npos) << out.str();
  EXPECT_EQ(out.str().find("k2 \"KG  千克\" 2 *"), std::string::npos) << out.str();  // nothing came back
}

// kmd init: every failure is one RuntimeError, and a replacement that fails leaves the old file.
TEST_F(HostFailures, InitReportsFailuresAndForceKeepsTheOldDatabaseUntilTheNewIsWhole) {
  auto message = [](const std::string& path, bool force) {
    try {
      kmd::host::InitDatabase(path, force);
    } catch (const kmd::RuntimeError& e) {
      return std::string(e.what());
    }
    return std::string("made");
  };
  std::string missing = (dir / "no" / "x.db").string();
  EXPECT_EQ(message(missing, false), "cannot make " + missing + ": there is no folder " + (dir / "no").string());
  fs::create_directories(dir / "f.db");
  EXPECT_EQ(message((dir / "f.db").string(), true), "cannot make " + (dir / "f.db").string() + ": that is a folder");
  EXPECT_EQ(message(db, false), db + " already exists; use --force to replace it");

  auto before = fs::file_size(db);
  struct rlimit saved {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit small = saved;
  small.rlim_cur = 16384;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  std::string failed = message(db, true);
  setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, oldHandler);
  EXPECT_EQ(failed.rfind("cannot make " + db + ": ", 0), 0u) << failed;
  EXPECT_EQ(fs::file_size(db), before);
  EXPECT_EQ(kmd::db::Open(db)->Run("select 1 from kmdjldw where 单位ID=2", {}, nullptr), "");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);  // test.db, f.db
  EXPECT_EQ(message(db, true), "made");
}

// A killed run leaves every line of what it did: the script's reader kills the process when the
// script runs dry, before the run's end could flush anything.
TEST_F(HostFailures, AKilledRunHasWrittenItsLines) {
  int pipeEnds[2];
  ASSERT_EQ(::pipe(pipeEnds), 0);
  std::fflush(nullptr);
  pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::close(pipeEnds[0]);
    ::dup2(pipeEnds[1], STDOUT_FILENO);
    struct KillAtEnd : std::stringbuf {
      using std::stringbuf::stringbuf;
      int_type underflow() override {
        int_type c = std::stringbuf::underflow();
        if (traits_type::eq_int_type(c, traits_type::eof())) ::raise(SIGKILL);
        return c;
      }
    } script("open JLDW\nInit\n");
    std::istream in(&script);
    auto database = std::make_shared<kmd::db::Database>(kmd::db::Open(db));
    auto context = std::make_shared<kmd::host::Context>(database, kmd::IUserInfo{"tester", "", ""});
    kmd::host::ScriptHost host(context, std::cout, std::cerr);
    host.Run(in, "killed");
    ::_exit(0);
  }
  ::close(pipeEnds[1]);
  std::string got;
  char buffer[512];
  for (ssize_t n; (n = ::read(pipeEnds[0], buffer, sizeof buffer)) > 0;) got.append(buffer, static_cast<size_t>(n));
  ::close(pipeEnds[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  EXPECT_EQ(got, "> open JLDW\n> Init\n= True\n");
}

}  // namespace
