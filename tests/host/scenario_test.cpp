// Runs every transcript under tests/scenarios: the lines "> command" are the script, every other
// line (but "#" comments) is the expected transcript. Each runs on a fresh demo database.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "db/Connection.h"
#include "host/Context.h"
#include "host/ScriptHost.h"
#include "host/Setup.h"

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

class Scenario : public testing::TestWithParam<std::string> {};

TEST_P(Scenario, TranscriptMatches) {
  const fs::path file = GetParam();
  std::ifstream in(file);
  auto expectedAll = Lines(in);
  std::string script;
  std::vector<std::pair<int, std::string>> expected;  // line number, text
  for (size_t i = 0; i < expectedAll.size(); ++i) {
    const auto& l = expectedAll[i];
    if (l.empty() || l[0] == '#') continue;
    if (l.rfind("> ", 0) == 0) script += l.substr(2) + "\n";
    expected.emplace_back(static_cast<int>(i + 1), l);
  }
  fs::path dir = fs::temp_directory_path() / ("kmd_scn_" + file.stem().string() + "_" + std::to_string(::getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir);
  std::string dbPath = (dir / "test.db").string();
  kmd::host::InitDatabase(dbPath, true);
  std::ostringstream out, err;
  {
    auto database = std::make_shared<kmd::db::Database>(kmd::db::Open(dbPath));
    auto context = std::make_shared<kmd::host::Context>(database, kmd::IUserInfo{"tester", (dir / "home").string(), ""});
    kmd::host::ScriptHost host(context, out, err);
    std::istringstream s(script);
    EXPECT_EQ(host.Run(s, file.string()), 0) << err.str();
  }
  fs::remove_all(dir);
  std::istringstream got(out.str());
  auto actual = Lines(got);
  for (size_t i = 0; i < expected.size(); ++i) {
    ASSERT_LT(i, actual.size()) << file.string() << ":" << expected[i].first << ": transcript ended; expected\n  "
                                << expected[i].second;
    ASSERT_EQ(actual[i], expected[i].second) << file.string() << ":" << expected[i].first << ": transcript differs\n"
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

}  // namespace
