#include <gtest/gtest.h>

#include "base/Text.h"
#include "db/Database.h"
#include "db/SqliteConnection.h"
#include "frame/Settings.h"

using namespace kmd;

TEST(CommandLine, PairsBySemicolonWithCommasInValuesAndKeysWithoutCase) {
  ICommandLine line;
  line.Parse("k=1001,1002; Mode =a=b;;x");
  EXPECT_TRUE(line.Item("K").Found);
  EXPECT_EQ(line.Item("k").Value, "1001,1002");
  EXPECT_EQ(line.Item("mode").Value, "a=b");  // the value starts after the first "="
  EXPECT_TRUE(line.Item("x").Found);
  EXPECT_EQ(line.Item("x").Value, "");
  EXPECT_FALSE(line.Item("y").Found);
  line.Parse("");  // a new line forgets the old one
  EXPECT_FALSE(line.Item("k").Found);
  EXPECT_EQ(line.Item("k").Value, "");
}

TEST(Settings, SwitchesAreOnlyOne) {
  for (const char* on : {"1", " 1"}) EXPECT_TRUE(IsSwitchOn(on)) << on;
  for (const char* off : {"2", "", "yes"}) EXPECT_FALSE(IsSwitchOn(off)) << off;
}

class ProgramTable : public testing::Test {
 protected:
  void SetUp() override {
    auto conn = std::make_shared<db::SqliteConnection>(":memory:");
    ASSERT_EQ(conn->RunScript("CREATE TABLE xt_objects (ProgID INTEGER PRIMARY KEY, progName TEXT, "
                              "progCommandLine TEXT);"
                              "CREATE TABLE xt_billattribute (ProgID TEXT, attribute TEXT, code TEXT, "
                              "caption TEXT, text TEXT);"
                              "INSERT INTO xt_objects VALUES (200003, '部门', 'k=2;title=组织'),"
                              " (200008, '产品', NULL), (200009, NULL, 'x=1');"
                              "INSERT INTO xt_billattribute VALUES ('200008', 'limitdrawing', NULL, NULL, '2048'),"
                              " ('200008', 'limitpicture', NULL, NULL, 'big');"),
              "");
    database = std::make_shared<db::Database>(conn);
    database->SetTrace([this](const std::string& sql) { statements.push_back(sql); });
  }
  std::shared_ptr<db::Database> database;
  std::vector<std::string> statements;
};

TEST_F(ProgramTable, ParameterLineWithAndWithoutK) {
  auto dept = ReadProgram(*database, 200003);
  ASSERT_EQ(statements.size(), 1u);
  EXPECT_EQ(statements[0], "SELECT progName,progCommandLine From xt_objects Where ProgID =200003");
  EXPECT_TRUE(dept.Found);
  EXPECT_EQ(dept.Name, "部门");
  EXPECT_TRUE(dept.CommandLine.Item("k").Found);
  EXPECT_EQ(text::Val(dept.CommandLine.Item("k").Value), 2);

  // A row whose line is Null, a row without "k" and no row at all: "k" is never found.
  for (int32_t id : {200008, 200009, 4711}) {
    auto row = ReadProgram(*database, id);
    EXPECT_EQ(row.Found, id != 4711) << id;
    EXPECT_FALSE(row.CommandLine.Item("k").Found) << id;
  }
  EXPECT_TRUE(ReadProgram(*database, 200009).CommandLine.Item("X").Found);
}

TEST_F(ProgramTable, AttributesReadAsNumbersAndAbsentRowsAsZero) {
  EXPECT_EQ(ReadAttributeNumber(*database, "select text from xt_billattribute where attribute='limitdrawing'"), 2048);
  EXPECT_EQ(ReadAttributeText(*database, "select text from xt_billattribute where attribute='limitdrawing'"), "2048");
  // No number, no row, a Null value and a failing statement all read 0, without a report.
  EXPECT_EQ(ReadAttributeNumber(*database, "select text from xt_billattribute where attribute='limitpicture'"), 0);
  EXPECT_EQ(ReadAttributeNumber(*database, "select text from xt_billattribute where attribute='nothing'"), 0);
  EXPECT_EQ(ReadAttributeText(*database, "select code from xt_billattribute where attribute='limitdrawing'"), "");
  EXPECT_EQ(ReadAttributeNumber(*database, "select text from xt_nosuchtable"), 0);
  EXPECT_NE(database->LastError().Description(), "");
}
