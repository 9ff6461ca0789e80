// The host's context over a demo database: options and parameters, the resolution of typed text in
// reference fields, browse windows, and the script commands that drive them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "db/Connection.h"
#include "frame/FormGuard.h"
#include "frame/FormRegistry.h"
#include "frame/Settings.h"
#include "host/Context.h"
#include "host/ScriptHost.h"
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

TEST_F(HostTest, TypedTextResolvesByCodeOrByName) {
  Boxes boxes;
  context->SetWindows(&boxes, nullptr);
  FormGuard form([](view::Platform& p) { return std::make_unique<UnitRefForm>(p); }, boxes);
  ASSERT_TRUE(form.Init(context.get(), 0, 0));
  auto& unit = *static_cast<UnitRefForm&>(form.Inner()).unit;
  const auto& ref = unit.GetReference();
  EXPECT_TRUE(ref.IsReference);
  EXPECT_EQ(ref.MatchMode, 1);
  EXPECT_EQ(ref.Source, 1);
  EXPECT_FALSE(ref.MultiSelect);

  unit.SetText("KG");  // set by the program: no resolution
  EXPECT_TRUE(statements.empty());
  EXPECT_FALSE(form.IsDirty());

  form.Run([&] {
    unit.UserType("KG");
    unit.UserLeave();
  });
  ASSERT_EQ(statements.size(), 1u);
  EXPECT_EQ(statements[0], "Select 单位ID,代码,名称 From KMDjldw  where 代码 = 'KG' or 名称 = 'KG'");
  EXPECT_EQ(unit.Text(), "千克");
  EXPECT_EQ(unit.GetValue().ToLong(), 2);
  EXPECT_TRUE(form.IsDirty());

  form.Run([&] {
    unit.UserType("米");
    unit.UserLeave();
  });
  EXPECT_EQ(unit.Text(), "米");
  EXPECT_EQ(unit.GetValue().ToLong(), 3);
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(HostTest, UnresolvedTextShowsTheErrorTextEmptiesTheValueAndKeepsTheFocus) {
  Boxes boxes;
  context->SetWindows(&boxes, nullptr);
  FormGuard form([](view::Platform& p) { return std::make_unique<UnitRefForm>(p); }, boxes);
  ASSERT_TRUE(form.Init(context.get(), 0, 0));
  auto& unit = *static_cast<UnitRefForm&>(form.Inner()).unit;
  unit.SetValue(Value(2));
  EXPECT_TRUE(form.Run([&] {
    unit.UserType("吨");
    unit.UserLeave();
  }));
  ASSERT_EQ(boxes.shown.size(), 1u);
  EXPECT_EQ(boxes.shown[0], "提示：|单位输入有误，请重新输入！");
  EXPECT_EQ(unit.GetValue().ToText(), "");
  EXPECT_EQ(unit.Text(), "吨");
  EXPECT_TRUE(unit.HasFocus());

  // A quote stays inside its literal: no unit is named A'B, so the field's own box is shown.
  unit.SetValue(Value(2));
  EXPECT_TRUE(form.Run([&] {
    unit.UserType("A'B");
    unit.UserLeave();
  }));
  EXPECT_EQ(statements.back(), "Select 单位ID,代码,名称 From KMDjldw  where 代码 = 'A''B' or 名称 = 'A''B'");
  ASSERT_EQ(boxes.shown.size(), 2u);
  EXPECT_EQ(boxes.shown[1], "提示：|单位输入有误，请重新输入！");
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
  EXPECT_EQ(unit.Text(), "米");  // rows by code: BOX, KG, M, PCS
  EXPECT_EQ(unit.GetValue().ToLong(), 3);
  EXPECT_TRUE(form.IsDirty());
  pick = -1;
  EXPECT_TRUE(form.Run([&] { unit.UserBrowse(); }));
  EXPECT_EQ(unit.Text(), "米");
  EXPECT_EQ(unit.GetValue().ToLong(), 3);

  // A key without a window is a run-time error that the form's guard reports.
  unit.GetReference().LookupKey = "no_such_key";
  EXPECT_FALSE(form.Run([&] { unit.UserBrowse(); }));
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(HostTest, ScriptLookupAndBrowseCommands) {
  FormRegistry forms;
  forms.Add<UnitRefForm>("UnitRefForm", "单位", "test");
  std::ostringstream out, err;
  {
    host::ScriptHost host(context, out, err, &forms);
    std::istringstream script(
        "open UnitRefForm\nInit\nlookup qnT(0) KG\nshow fields\n"
        "browse qnT(0)\nanswer M\nshow fields\n"
        "answer 个\nbrowse qnT(0)\nbrowse qnT(0)\nshow fields\n"
        "lookup qnT(0) 吨\nshow fields\nbrowse qnT(0)\n");
    EXPECT_EQ(host.Run(script, "s"), 0) << err.str();
  }
  EXPECT_EQ(out.str(),
            "> open UnitRefForm\n> Init\n= True\n> lookup qnT(0) KG\n> show fields\n"
            "qnT(0) qnTxt_S \"千克\" value=2 enabled\n"
            "> browse qnT(0)\n> answer M\nbrowse gy_jldw -> 米\n> show fields\n"
            "qnT(0) qnTxt_S \"米\" value=3 enabled\n"
            "> answer 个\n> browse qnT(0)\nbrowse gy_jldw -> 个\n"
            "> browse qnT(0)\nbrowse gy_jldw -> Cancel\n> show fields\n"
            "qnT(0) qnTxt_S \"个\" value=1 enabled\n"
            "> lookup qnT(0) 吨\nbox 提示： [exclamation] 单位输入有误，请重新输入！ -> OK\n> show fields\n"
            "qnT(0) qnTxt_S \"吨\" value= enabled focus\n"
            "> browse qnT(0)\nbrowse gy_jldw -> Cancel\n");

  std::ostringstream out2, err2;
  host::ScriptHost host(context, out2, err2, &forms);
  std::istringstream bad("open UnitRefForm\nlookup Nothing x\n");
  EXPECT_EQ(host.Run(bad, "bad"), 2);
  EXPECT_EQ(err2.str(), "bad:2: unknown control Nothing\n");
}

}  // namespace
