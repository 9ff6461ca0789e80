// The host's context over a demo database: options and parameters, the resolution of typed text in
// reference fields, and browse windows.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "db/Connection.h"
#include "frame/FormGuard.h"
#include "frame/Settings.h"
#include "host/Context.h"
#include "host/Setup.h"
#include "view/Widgets.h"

namespace fs = std::filesystem;
using namespace kmd;

namespace {

// A form with one reference field over the units of measure, set up as every form sets one up.
class UnitRefForm : public Form {
 public:
  explicit UnitRefForm(view::Platform& p) : Form("UnitRefForm", p) {
    unit = m_Controls.Add<view::TextField>("qnT", 0, "单位");
    SetReference(*unit, "单位输入有误，请重新输入！", "单位ID", "名称",
                 "Select 单位ID,代码,名称 From KMDjldw  where 代码 = '@' or 名称 = '@'", "gy_jldw");
  }
  bool IsDirty() override { return m_IsDirty; }
  view::TextField* unit;
};

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
    dir = fs::temp_directory_path() / ("kmd_host_settings_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
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

// Text typed into the field is resolved by its statement, by code or by name; text set by the
// program is not. Text that names no row shows the field's box, empties the value and keeps the
// focus; a quote stays inside its literal.
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
  EXPECT_EQ(context->SetOptionName(12, "4", "本位币"), "");
  EXPECT_EQ(context->Option(12, Value(4)).Name, "本位币");
  EXPECT_EQ(context->Option(12, Value(5)).Name, "");
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

TEST_F(HostTest, TypedTextResolvesOrShowsTheFieldsBox) {
  Boxes boxes;
  context->SetWindows(&boxes, nullptr);
  FormGuard form([](view::Platform& p) { return std::make_unique<UnitRefForm>(p); }, boxes);
  ASSERT_TRUE(form.Init(context.get(), 0, 0));
  auto& unit = *static_cast<UnitRefForm&>(form.Inner()).unit;
  auto type = [&](const std::string& text) {
    return form.Run([&] {
      unit.UserType(text);
      unit.UserLeave();
    });
  };
  auto shown = [&] { return unit.Text() + " " + unit.GetValue().ToText(); };
  unit.SetText("KG");
  EXPECT_TRUE(statements.empty());
  EXPECT_FALSE(form.IsDirty());

  type("KG");
  ASSERT_EQ(statements.size(), 1u);
  EXPECT_EQ(statements[0], "Select 单位ID,代码,名称 From KMDjldw  where 代码 = 'KG' or 名称 = 'KG'");
  EXPECT_EQ(shown(), "千克 2");
  EXPECT_TRUE(form.IsDirty());
  type("米");
  EXPECT_EQ(shown(), "米 3");
  EXPECT_TRUE(boxes.shown.empty());

  EXPECT_TRUE(type("吨"));
  EXPECT_EQ(boxes.shown, (std::vector<std::string>{"提示：|单位输入有误，请重新输入！"}));
  EXPECT_EQ(shown(), "吨 ");
  EXPECT_TRUE(unit.HasFocus());

  unit.SetValue(Value(2));
  EXPECT_TRUE(type("A'B"));
  EXPECT_EQ(statements.back(), "Select 单位ID,代码,名称 From KMDjldw  where 代码 = 'A''B' or 名称 = 'A''B'");
  EXPECT_EQ(boxes.shown.size(), 2u);
  EXPECT_EQ(unit.GetValue().ToText(), "");
}

TEST_F(HostTest, BrowseFillsTheFieldFromThePickedRowAndCancelLeavesIt) {
  Boxes boxes;
  int pick = 2;
  std::string shownColumn;
  context->SetWindows(&boxes, [&](const host::LookupWindow& w, const db::Recordset& rows, const std::string& column) {
    EXPECT_EQ(w.Key, "gy_jldw");
    EXPECT_EQ(rows.RecordCount(), 4);
    shownColumn = column;
    return pick;
  });
  FormGuard form([](view::Platform& p) { return std::make_unique<UnitRefForm>(p); }, boxes);
  ASSERT_TRUE(form.Init(context.get(), 0, 0));
  auto& unit = *static_cast<UnitRefForm&>(form.Inner()).unit;
  EXPECT_TRUE(form.Run([&] { unit.UserBrowse(); }));
  EXPECT_EQ(shownColumn, "名称");
  EXPECT_EQ(unit.Text() + " " + unit.GetValue().ToText(), "米 3");  // rows by code: BOX, KG, M, PCS
  EXPECT_TRUE(form.IsDirty());
  pick = -1;
  EXPECT_TRUE(form.Run([&] { unit.UserBrowse(); }));
  EXPECT_EQ(unit.Text() + " " + unit.GetValue().ToText(), "米 3");

  // A key without a window is a run-time error that the form's guard reports.
  unit.GetReference().LookupKey = "no_such_key";
  EXPECT_FALSE(form.Run([&] { unit.UserBrowse(); }));
  EXPECT_TRUE(boxes.shown.empty());
}

}  // namespace

// The product picker: typed text matched by code or name, the window's choice, Cancel, and the box
// of a text that names nothing.
TEST_F(HostTest, PickerLookupMatchesCodeOrNameAndGivesTheNamedFields) {
  Boxes boxes;
  context->SetWindows(&boxes, nullptr);
  auto picker = context->Picker("KMDCPML");
  ASSERT_TRUE(picker);
  EXPECT_EQ(picker->Columns(), (std::vector<std::string>{"l产品ID", "s物品编码", "s物品名称", "s规格", "n_s库存单位"}));
  picker->Lookup("钢管", "msg");
  ASSERT_EQ(picker->Selection().Count(), 1);
  const PickedRow& row = picker->Selection().item(1);
  EXPECT_EQ(row.Field("l产品ID").ToLong(), 2);
  EXPECT_EQ(row.Field("s物品编码").ToText(), "A002");
  EXPECT_EQ(row.Field("s规格").ToText(), "DN50");
  EXPECT_EQ(row.Field("n_s库存单位").ToText(), "米");
  EXPECT_TRUE(row.Field("no such field").IsEmpty());
  picker->Lookup("A001", "msg");
  EXPECT_EQ(picker->Selection().item(1).Field("s物品名称").ToText(), "钢板");
  EXPECT_TRUE(boxes.shown.empty());
  // Nothing found: the selection is empty and the field's message is shown; a quote is data.
  picker->Lookup("x' or '1'='1", "输入有误");
  EXPECT_EQ(picker->Selection().Count(), 0);
  EXPECT_EQ(boxes.shown, std::vector<std::string>{"提示：|输入有误"});
  EXPECT_FALSE(context->Picker("kmdxsy"));
}

TEST_F(HostTest, PickerTheWindowsChoiceBecomesTheSelectionAndCancelEmptiesIt) {
  std::vector<int> answer{5, 0};
  std::string modeSeen;
  context->SetPickerWindow([&](const host::PickerTable& table, const std::string& mode, const db::Recordset& rows) {
    modeSeen = mode;
    EXPECT_EQ(table.Table, "kmdcpml");
    EXPECT_EQ(rows.Rows().size(), 10u);  // by code: A001 A002 A101 A102 B001 C001 ...
    return answer;
  });
  auto picker = context->Picker("kmdcpml");
  EXPECT_TRUE(picker->Prepare(0));
  picker->Show("multi", "");
  ASSERT_EQ(picker->Selection().Count(), 2);
  EXPECT_EQ(picker->Selection().item(1).Field("s物品编码").ToText(), "C001");
  EXPECT_EQ(picker->Selection().item(2).Field("s物品编码").ToText(), "A001");
  picker->Show("single", "");
  EXPECT_EQ(modeSeen, "single");
  EXPECT_EQ(picker->Selection().Count(), 1);
  answer.clear();
  picker->Show("single", "");
  EXPECT_EQ(picker->Selection().Count(), 0);
}
