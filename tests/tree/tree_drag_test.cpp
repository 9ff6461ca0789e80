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
};

}  // namespace

namespace {

class DragTest : public RowsTest {
 protected:
  void SetUp() override {
    RowsTest::SetUp();
    tv.DragEnabled = true;
    tv.StartDrag = [this](const NodePtr& n) { log.push_back("start " + n->Key()); };
    tv.Dragging = [this](const NodePtr& s, const NodePtr& t) { log.push_back("over " + s->Key() + ">" + t->Key()); };
    tv.Dropped = [this](const NodePtr& s, const NodePtr& t) { log.push_back("drop " + s->Key() + ">" + t->Key()); };
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

TEST_F(DragTest, AClickEndsADrag) {
  Press(2);
  ctrl.UserClick(ctrl.Item("n05"));
  EXPECT_FALSE(tv.IsDragging);
  EXPECT_EQ(selected.back(), "n05");
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
