// The line grid beyond what the route scenarios show: a lookup cell keeps the id of the row found,
// typing reaches only open cells, and ids follow the rows through a clear and a resize.
#include <gtest/gtest.h>

#include <vector>

#include "view/LineGrid.h"

namespace kmd::view {
namespace {

// A grid of four columns, the second a lookup whose host finds "A" (id 7) and nothing else.
struct LineGridTest : ::testing::Test {
  LineGrid grid{"qnGrid"};
  std::vector<std::string> events;

  void SetUp() override {
    grid.SetCols(4);
    grid.SetRows(grid.FixedRows + 3);
    grid.SetFormatString("行号|代码  |名称|id");
    grid.Col(2).HasLookup = true;
    grid.Col(3).Visible = false;
    grid.CellChanged = [this](int row, int col) {
      events.push_back("changed " + std::to_string(row) + "," + std::to_string(col));
    };
    grid.CellLookup = [this](TextField& probe, int, int) {
      events.push_back("lookup " + probe.Text());
      if (probe.Text() == "A") {
        probe.SetText("甲");
        probe.SetValue(Value(7));
      }
    };
  }
};

TEST_F(LineGridTest, LookupCellHoldsTheIdOfTheRowFoundAndARefusedTextChangesNothing) {
  grid.UserLookup(1, 2, "A");
  EXPECT_EQ(grid.GetCell(1, 2), "甲");
  EXPECT_EQ(grid.GetCell(1, 2, false), "7");
  grid.UserLookup(1, 2, "B");
  EXPECT_EQ(grid.GetCell(1, 2), "甲");
  EXPECT_EQ(grid.GetCell(1, 2, false), "7");
  grid.UserLookup(1, 2, "  ");
  EXPECT_EQ(grid.GetCell(1, 2), "");
  EXPECT_EQ(grid.GetCell(1, 2, false), "");
  EXPECT_EQ(events, (std::vector<std::string>{"lookup A", "changed 1,2", "lookup B", "lookup   ", "changed 1,2"}));
}

TEST_F(LineGridTest, TypingReachesOnlyOpenCells) {
  grid.UserType(2, 1, "x");
  grid.UserType(2, 0, "no");  // the numbering column is fixed
  grid.UserType(2, 3, "no");  // hidden
  grid.Editable = false;
  grid.UserType(1, 1, "no");
  EXPECT_EQ(events, std::vector<std::string>{"changed 2,1"});
  EXPECT_EQ(grid.LastDataRow(), 2);
  EXPECT_EQ(grid.GetCell(2, 0), "2");
  EXPECT_EQ(grid.GetCell(1, 1), "");
}

TEST_F(LineGridTest, ClearGridEmptiesTextsAndIdsAndKeepsTheRows) {
  grid.SetCell(2, 2, "b", Value(5));
  grid.ClearGrid();
  EXPECT_EQ(grid.Rows(), 4);
  EXPECT_EQ(grid.GetCell(2, 2), "");
  EXPECT_EQ(grid.GetCell(2, 2, false), "");
  EXPECT_EQ(grid.TextMatrix(0, 2), "名称");
  // Ids follow the rows through a shrink and a growth.
  grid.SetCell(3, 2, "c", Value(9));
  grid.SetRows(2);
  grid.SetRows(4);
  EXPECT_EQ(grid.GetCell(3, 2, false), "");
}

}  // namespace
}  // namespace kmd::view
