#include <gtest/gtest.h>

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
    ASSERT_EQ(conn->RunScript("CREATE TABLE xt_billattribute (ProgID TEXT, attribute TEXT, code TEXT, "
                              "caption TEXT, text TEXT);"
                              "INSERT INTO xt_billattribute VALUES ('200008', 'limitdrawing', NULL, NULL, '2048'),"
                              " ('200008', 'limitpicture', NULL, NULL, 'big');"),
              "");
    database = std::make_shared<db::Database>(conn);
  }
  std::shared_ptr<db::Database> database;
};

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
