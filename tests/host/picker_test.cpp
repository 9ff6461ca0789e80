// The host's product picker over a demo database: typed text matched by code or name, the window's
// choice, Cancel, and the box of a text that names nothing.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "db/Connection.h"
#include "host/Context.h"
#include "host/Setup.h"

namespace fs = std::filesystem;
using namespace kmd;

namespace {

class PickerBoxes : public view::Platform {
 public:
  int MsgBox(const std::string& text, int, const std::string& title) override {
    shown.push_back(title + "|" + text);
    return view::vbOK;
  }
  std::string InputBox(const std::string&, const std::string&, const std::string&) override { return ""; }
  std::vector<std::string> shown;
};

class PickerTest : public testing::Test {
 protected:
  void SetUp() override {
    dir = fs::temp_directory_path() / ("kmd_picker_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    host::InitDatabase((dir / "t.db").string(), true);
    database = std::make_shared<db::Database>(db::Open((dir / "t.db").string()));
    context = std::make_shared<host::Context>(database, IUserInfo{"tester", (dir / "home").string(), ""});
    context->SetWindows(&boxes, nullptr);
  }
  void TearDown() override {
    context.reset();
    database.reset();
    fs::remove_all(dir);
  }
  fs::path dir;
  std::shared_ptr<db::Database> database;
  std::shared_ptr<host::Context> context;
  PickerBoxes boxes;
};

TEST_F(PickerTest, LookupMatchesCodeOrNameAndGivesTheNamedFields) {
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

TEST_F(PickerTest, TheWindowsChoiceBecomesTheSelectionAndCancelEmptiesIt) {
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

}  // namespace
