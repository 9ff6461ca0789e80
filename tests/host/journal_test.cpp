// The operation journal: what the hosts write for level-1 and level-9 reports, and how it reads back.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "db/Connection.h"
#include "host/Journal.h"
#include "host/ScriptHost.h"
#include "host/Setup.h"

namespace fs = std::filesystem;

TEST(Journal, ScriptHostJournalsFinishedChangesWithUserAndForm) {
  fs::path dir = fs::temp_directory_path() / ("kmd_journal_" + std::to_string(::getpid()));
  fs::create_directories(dir);
  std::string db = (dir / "test.db").string();
  kmd::host::InitDatabase(db, true);
  std::ostringstream out, err;
  {
    auto database = std::make_shared<kmd::db::Database>(kmd::db::Open(db));
    auto context = std::make_shared<kmd::host::Context>(database, kmd::IUserInfo{"王五", (dir / "home").string(), ""});
    kmd::host::ScriptHost host(context, out, err);
    // A refusal (level 4) is not journalled; the delete (level 1) is.
    std::istringstream script("open JLDW\nInit\nRefresh\nFileDelete\npick k4\nanswer Yes\nFileDelete\n");
    ASSERT_EQ(host.Run(script, "journal"), 0) << err.str();
  }
  auto connection = kmd::db::Open(db);
  auto lines = kmd::host::ReadJournal(*connection, "");
  ASSERT_EQ(lines.size(), 1u) << out.str();
  EXPECT_EQ(kmd::host::FormatJournalLine(lines[0]), lines[0].time + "  王五  JLDW  1  计量单位  删除计量单位BOX  箱");

  // --since compares by the time's prefix; the limit keeps the newest lines in their order.
  kmd::host::WriteJournal(*connection, {"a", "XSY", 9, "销售员", "old", "2020-01-01 08:00:00"});
  kmd::host::WriteJournal(*connection, {"b", "XSY", 1, "销售员", "later", "2020-01-02 08:00:00"});
  EXPECT_EQ(kmd::host::ReadJournal(*connection, "2020-01-02").size(), 2u);
  EXPECT_EQ(kmd::host::ReadJournal(*connection, "2021").size(), 1u);
  auto last = kmd::host::ReadJournal(*connection, "", 2);
  ASSERT_EQ(last.size(), 2u);
  EXPECT_EQ(last[0].message + " " + last[1].message, "old later");
  fs::remove_all(dir);
}
