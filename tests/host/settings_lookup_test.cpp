// The host's context over a demo database: options and parameters, rights, periods and personal
// settings per user, and the product picker's lookup.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "db/Connection.h"
#include "frame/Settings.h"
#include "host/Context.h"
#include "host/Setup.h"
#include "support/FileText.h"
#include "view/Widgets.h"

namespace fs = std::filesystem;
using namespace kmd;

namespace {

class Boxes : public view::Platform {
 public:
  int MsgBox(const std::string& text, int, const std::string& title) override {
    shown.push_back(title + "|" + text);
    return view::vbOK;
  }
  std::string InputBox(const std::string&, const std::string&, const std::string&) override { return ""; }
  std::vector<std::string> shown;
};

class HostTest : public testing::Test {
 protected:
  void SetUp() override {
    dir = kmd::test::ScratchDir("kmd_host_settings");
    host::InitDatabase((dir / "t.db").string(), true);
    database = std::make_shared<db::Database>(db::Open((dir / "t.db").string()));
    context = std::make_shared<host::Context>(database, IUserInfo{"tester", (dir / "home").string(), ""});
    database->SetTrace([this](const std::string& sql) { statements.push_back(sql); });
  }
  void TearDown() override {
    database->SetTrace(nullptr);
    fs::remove_all(dir);
  }

  fs::path dir;
  std::shared_ptr<db::Database> database;
  std::shared_ptr<host::Context> context;
  std::vector<std::string> statements;
};

TEST_F(HostTest, OptionsAndParametersWithAndWithoutRows) {
  EXPECT_EQ(context->Option(12, Value(16)).Value, "");
  EXPECT_EQ(ReadCodeRule(*context, Value(16)), "22222");  // kmd init leaves code rules unset
  EXPECT_EQ(context->SetOption(12, "16", "2233"), "");
  EXPECT_EQ(context->Option(12, Value(16)).Value, "2233");
  EXPECT_EQ(context->Option(12, Value("16")).Value, "2233");  // a number key and its text are one key
  EXPECT_EQ(ReadCodeRule(*context, Value(16)), "2233");
  EXPECT_EQ(context->Option(11, Value(16)).Value, "");  // keys belong to their module
  EXPECT_EQ(context->Parameter(12, Value(16)).Value, "");  // parameters are a store of their own

  EXPECT_EQ(context->SetParameter(17, "Kmhs", "1"), "");
  EXPECT_TRUE(IsSwitchOn(context->Parameter(17, Value("KMHS")).Value));  // keys without case
  EXPECT_EQ(context->SetParameter(17, "kmhs", "0"), "");  // a second write replaces the first
  EXPECT_FALSE(IsSwitchOn(context->Parameter(17, Value("Kmhs")).Value));
  EXPECT_EQ(context->SetOption(12, "16", ""), "");
  EXPECT_EQ(ReadCodeRule(*context, Value(16)), "22222");
  EXPECT_TRUE(statements.empty());  // the host's settings are no statements of a form
}

TEST_F(HostTest, RightsPeriodAndPersonalSettingsPerUser) {
  // Nothing stored: every right, period 0, the caller's default.
  EXPECT_TRUE(context->ProgramRights(200008).DetailRight && context->ProgramRights(200008).ActionRight);
  EXPECT_EQ(context->Subsystem("system", 0).Period, 0);
  EXPECT_EQ(context->UserSetting(host::kSettingsApp, "settings", "cpml", "1000"), "1000");

  EXPECT_EQ(context->SetRights("tester", 200008, false, true), "");
  EXPECT_EQ(context->SetRights("other", 200009, false, false), "");
  EXPECT_EQ(context->SetRights("tester", 200008, true, false), "");  // a second write replaces the first
  auto rights = context->ProgramRights(200008);
  EXPECT_TRUE(rights.DetailRight);
  EXPECT_FALSE(rights.ActionRight);
  EXPECT_TRUE(context->ProgramRights(200009).ActionRight);  // another user's row is not ours

  EXPECT_EQ(context->SetPeriod("system", 0, 202611), "");
  EXPECT_EQ(context->Subsystem("SYSTEM", 0).Period, 202611);
  EXPECT_EQ(context->Subsystem("system", 1).Period, 0);

  EXPECT_EQ(context->SetUserSetting("tester", host::kSettingsApp, "settings", "cpml", "50"), "");
  EXPECT_EQ(context->SetUserSetting("other", host::kSettingsApp, "settings", "cpml", "7"), "");
  EXPECT_EQ(context->UserSetting(host::kSettingsApp, "Settings", "CPML", "1000"), "50");
  EXPECT_EQ(context->UserSetting("", "settings", "cpml", "1000"), "1000");  // no store named
  EXPECT_EQ(context->UserSetting("other app", "settings", "cpml", "1000"), "1000");

  EXPECT_EQ(context->SetOption(12, "4", "1"), "");
  EXPECT_TRUE(statements.empty());  // the host's own reads stay out of the trace

  // A database made before these stores: the defaults, no failure.
  auto& connection = database->GetConnection();
  for (const char* t : {"xt_rights", "xt_subsystems", "xt_usersettings", "xt_option_names"})
    ASSERT_EQ(connection.Run(std::string("DROP TABLE ") + t, {}, nullptr), "");
  EXPECT_TRUE(context->ProgramRights(200008).DetailRight);
  EXPECT_EQ(context->Subsystem("system", 0).Period, 0);
  EXPECT_EQ(context->UserSetting(host::kSettingsApp, "settings", "cpml", "1000"), "1000");
  EXPECT_EQ(context->Option(12, Value(4)).Value, "1");
}

}  // namespace

// The product picker (its fields shown by the routes' scenarios): typed text matched by name too,
// and the box of a text that names nothing.
TEST_F(HostTest, PickerLookupMatchesCodeOrNameAndGivesTheNamedFields) {
  Boxes boxes;
  context->SetWindows(&boxes, nullptr);
  auto picker = context->Picker("KMDCPML");
  ASSERT_TRUE(picker);
  picker->Lookup("钢管", "msg");
  ASSERT_EQ(picker->Selection().Count(), 1);
  EXPECT_EQ(picker->Selection().item(1).Field("s物品编码").ToText(), "A002");
  EXPECT_TRUE(picker->Selection().item(1).Field("no such field").IsEmpty());
  EXPECT_TRUE(boxes.shown.empty());
  // Nothing found: the selection is empty and the field's message is shown; a quote is data.
  picker->Lookup("x' or '1'='1", "输入有误");
  EXPECT_EQ(picker->Selection().Count(), 0);
  EXPECT_EQ(boxes.shown, std::vector<std::string>{"提示：|输入有误"});
  EXPECT_FALSE(context->Picker("kmdxsy"));
}
