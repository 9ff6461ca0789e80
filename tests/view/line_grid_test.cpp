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

TEST_F(LineGridTest, FormatStringGivesTitlesAndWidthsAndTheGridNumbersItsRows) {
  EXPECT_EQ(grid.TextMatrix(0, 1), "代码");
  EXPECT_EQ(grid.ColWidth(1), 6 * LineGrid::kTwipsPerColumn);  // two wide characters and two blanks
  EXPECT_EQ(grid.ColWidth(3), 2 * LineGrid::kTwipsPerColumn);
  EXPECT_EQ(grid.GetCell(3, 0), "3");
  EXPECT_EQ(grid.LastDataRow(), 0);  // column 0 holds no data
}

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

TEST_F(LineGridTest, RowsGoOnlyWhenRowDeletingAllowsAndTheRowsBelowMoveUp) {
  grid.SetCell(1, 1, "a");
  grid.SetCell(2, 2, "b", Value(5));
  bool answer = false;
  grid.RowDeleting = [&](int, bool& allow) { allow = answer; };
  grid.UserDeleteRow(1);
  EXPECT_EQ(grid.Rows(), 4);
  answer = true;
  grid.UserDeleteRow(1);
  EXPECT_EQ(grid.Rows(), 3);
  EXPECT_EQ(grid.GetCell(1, 1), "");
  EXPECT_EQ(grid.GetCell(1, 2), "b");
  EXPECT_EQ(grid.GetCell(1, 2, false), "5");
  EXPECT_EQ(grid.LastDataRow(), 1);
  grid.Editable = false;
  grid.UserDeleteRow(1);
  EXPECT_EQ(grid.Rows(), 3);
}

TEST_F(LineGridTest, AddedRowsAskFirstAndRowAddedMayGrowTheGrid) {
  bool allowed = false;
  grid.CanAddRow = [&](int, bool& allow) { allow = allowed; };
  grid.RowAdded = [&] {
    if (grid.Rows() < grid.FixedRows + 10) grid.SetRows(grid.FixedRows + 10);
  };
  grid.UserAddRow();
  EXPECT_EQ(grid.Rows(), 4);
  allowed = true;
  grid.UserAddRow();
  EXPECT_EQ(grid.Rows(), 11);
  EXPECT_EQ(grid.GetCell(10, 0), "10");
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

TEST_F(LineGridTest, BrowseTakesTheRowChosenAndCancelKeepsTheCell) {
  grid.SetCell(1, 2, "old", Value(1));
  grid.CellKey = [](TextField& probe, const std::string&, int, int) { EXPECT_EQ(probe.Text(), "old"); };
  grid.UserBrowse(1, 2);
  EXPECT_EQ(grid.GetCell(1, 2, false), "1");
  grid.CellKey = [](TextField& probe, const std::string&, int, int) {
    probe.SetText("乙");
    probe.SetValue(Value(8));
  };
  grid.UserBrowse(1, 2);
  EXPECT_EQ(grid.GetCell(1, 2), "乙");
  EXPECT_EQ(grid.GetCell(1, 2, false), "8");
  EXPECT_EQ(events.back(), "changed 1,2");
}

}  // namespace
}  // namespace kmd::view
