#include <gtest/gtest.h>

#include "tree_fixture.h"

using namespace kmd;

namespace {

constexpr float kRow = 240;  // twips per row of the view
float RowY(int row) { return static_cast<float>(row) * kRow + 10; }

// A root with 30 children n00..n29 in a view ten rows high.
class RowsTest : public TreeTest {
 protected:
  void SetUp() override {
    TreeTest::SetUp();
    Add({}, "R", "root");
    for (int i = 0; i < 30; ++i) {
      std::string k = (i < 10 ? "n0" : "n") + std::to_string(i);
      Add("R", k, k);
    }
    ctrl.SetHeight(10 * static_cast<int>(kRow));
    tv.ScrollView(0);
  }
  std::string First() { return tv.NodeFirstViewable()->Key(); }
  std::string Last() { return tv.NodeLastViewable()->Key(); }
};

}  // namespace

TEST_F(RowsTest, ScrollingByLinesPagesAndEnds) {
  // 3 and 2 a line down and up, 4 and 1 a page (one row less than the view), 6 and 5 the ends.
  EXPECT_EQ(First() + " " + Last(), "R n08");
  std::string seen;
  for (int how : {3, 4, 1, 2, 2, 5, 3, 6}) {
    tv.ScrollView(how);
    seen += First() + "-" + Last() + " ";
  }
  EXPECT_EQ(seen, "n00-n09 n09-n18 n00-n09 R-n08 R-n08 n20-n29 n20-n29 n20-n29 ");
}

TEST_F(RowsTest, WalksCountOnlyRowsOfExpandedBranches) {
  auto n03 = ctrl.Item("n03");
  Add(n03, "x1", "x1");
  Add(n03, "x2", "x2");
  auto n05 = ctrl.Item("n05");
  Add(n05, "y1", "y1");
  Add(n05, "y2", "y2");
  n05->SetExpanded(false);
  tv.ScrollView(0);
  // Rows: R n00 n01 n02 n03 x1 x2 n04 n05 n06 ...; y1 and y2 are hidden.
  EXPECT_EQ(Last(), "n06");
  tv.ScrollView(3);
  EXPECT_EQ(Last(), "n07");
  ctrl.SetFirstVisibleRow(7);  // n04 on top
  EXPECT_EQ(First(), "n04");
  tv.ScrollView(2);  // one row up lands on the last child of the expanded sibling
  EXPECT_EQ(First(), "x2");
  ctrl.SetFirstVisibleRow(5);  // x1 on top: up goes to its parent
  tv.ScrollView(2);
  EXPECT_EQ(First(), "n03");
  n05->SetExpanded(true);
  ctrl.Item("n29")->SetExpanded(true);
  Add("n29", "z", "z");
  ctrl.Item("n29")->SetExpanded(true);
  tv.ScrollView(5);  // the bottom is the last row of the last expanded branch
  EXPECT_EQ(Last(), "z");
}

namespace {

class DragTest : public RowsTest {
 protected:
  void SetUp() override {
    RowsTest::SetUp();
    tv.DragEnabled = true;
    tv.StartDrag = [this](const NodePtr& n) { log.push_back("start " + n->Key()); };
    tv.Dragging = [this](const NodePtr& s, const NodePtr& t) { log.push_back("over " + s->Key() + ">" + t->Key()); };
    tv.Dropped = [this](const NodePtr& s, const NodePtr& t) { log.push_back("drop " + s->Key() + ">" + t->Key()); };
    tv.ContextMenu = [this](const NodePtr& n, float, float) { log.push_back("menu " + (n ? n->Key() : "none")); };
  }
  void Press(int row) {
    ctrl.UserMouseDown(view::vbLeftButton, 0, 20, RowY(row));
    ctrl.UserMouseMove(view::vbLeftButton, 0, 20, RowY(row));
  }
  std::vector<std::string> log;
};

}  // namespace

TEST_F(DragTest, DragRaisesStartOverAndDropThenResets) {
  Press(2);
  EXPECT_EQ(log, (std::vector<std::string>{"start n01"}));
  EXPECT_TRUE(tv.IsDragging);
  EXPECT_TRUE(ctrl.InDrag());
  ctrl.UserMouseMove(view::vbLeftButton, 0, 20, RowY(5));
  EXPECT_EQ(log.back(), "over n01>n04");
  EXPECT_EQ(ctrl.DropHighlight()->Key(), "n04");
  ctrl.UserMouseUp(view::vbLeftButton, 0, 20, RowY(6));
  EXPECT_EQ(log.back(), "drop n01>n04");  // the target is the highlighted row
  EXPECT_FALSE(tv.IsDragging || tv.DragArmed || tv.DragNode || ctrl.DropHighlight() || ctrl.InDrag());
}

TEST_F(DragTest, EdgeBandsScrollInsteadOfOfferingATarget) {
  ctrl.SetFirstVisibleRow(10);
  Press(3);
  log.clear();
  // The two top rows scroll up, the rows past the eighth scroll down.
  ctrl.UserMouseMove(view::vbLeftButton, 0, 20, 2 * kRow - 1);
  EXPECT_EQ(ctrl.FirstVisibleRow(), 9);
  ctrl.UserMouseMove(view::vbLeftButton, 0, 20, 8 * kRow + 1);
  EXPECT_EQ(ctrl.FirstVisibleRow(), 10);
  EXPECT_TRUE(log.empty());
  // The band limits themselves still offer a target.
  ctrl.UserMouseMove(view::vbLeftButton, 0, 20, 2 * kRow);
  ctrl.UserMouseMove(view::vbLeftButton, 0, 20, 8 * kRow);
  EXPECT_EQ(log, (std::vector<std::string>{"over n12>n11", "over n12>n17"}));
  EXPECT_EQ(ctrl.FirstVisibleRow(), 10);
}

TEST_F(DragTest, NoDropOnTheSameTextAndNoDragWithoutANodeUnderThePress) {
  Add("n02", "twin", "n01");  // same text as n01, in another branch: row 4
  tv.ScrollView(0);
  log.clear();
  Press(4);
  ctrl.UserMouseMove(view::vbLeftButton, 0, 20, RowY(2));
  ctrl.UserMouseUp(view::vbLeftButton, 0, 20, RowY(2));
  EXPECT_EQ(log, (std::vector<std::string>{"start twin", "over twin>n01"}));

  // A press below the last row arms nothing to drag.
  tv.ScrollView(5);
  log.clear();
  ctrl.UserMouseDown(view::vbLeftButton, 0, 20, 9999);
  ctrl.UserMouseMove(view::vbLeftButton, 0, 20, RowY(1));
  EXPECT_TRUE(log.empty());
  EXPECT_TRUE(tv.DragArmed);
  EXPECT_FALSE(tv.IsDragging);
  EXPECT_FALSE(ctrl.InDrag());
}

TEST_F(DragTest, ClickEndsADragAndTheContextMenuComesByMode) {
  Press(2);
  ctrl.UserClick(ctrl.Item("n05"));
  EXPECT_FALSE(tv.IsDragging);
  EXPECT_EQ(selected.back(), "n05");
  ctrl.Drag(view::vbCancelDrag);
  log.clear();
  ctrl.UserMouseDown(view::vbRightButton, 0, 20, RowY(3));
  ctrl.UserMouseUp(view::vbRightButton, 0, 20, RowY(4));
  EXPECT_EQ(log, (std::vector<std::string>{"menu n03"}));
  EXPECT_EQ(ctrl.SelectedItem()->Key(), "n03");
  log.clear();
  tv.ContextMenuMode = 0;
  ctrl.UserMouseDown(view::vbRightButton, 0, 20, RowY(1));
  ctrl.UserMouseUp(view::vbRightButton, 0, 20, RowY(1));
  EXPECT_EQ(log, (std::vector<std::string>{"menu n00"}));
  log.clear();
  tv.ContextMenuMode = 2;
  ctrl.UserMouseDown(view::vbRightButton, 0, 20, RowY(1));
  ctrl.UserMouseUp(view::vbRightButton, 0, 20, RowY(1));
  EXPECT_TRUE(log.empty());
}

TEST_F(DragTest, HostDragBringsBothNodesIntoViewAndDrops) {
  auto deep = Add("n25", "deep", "deep");
  ctrl.Item("n25")->SetExpanded(false);
  EXPECT_FALSE(ctrl.UserDrag(ctrl.Item("n01"), deep));  // hidden under a collapsed parent
  EXPECT_TRUE(log.empty());
  ASSERT_TRUE(ctrl.UserDrag(ctrl.Item("n01"), ctrl.Item("n27")));
  EXPECT_EQ(log, (std::vector<std::string>{"start n01", "over n01>n27", "drop n01>n27"}));
  EXPECT_FALSE(tv.IsDragging);
}
