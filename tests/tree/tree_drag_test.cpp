// A drag as the hosts make one (UserDrag): both rows brought into view, then press, move, release.
#include <gtest/gtest.h>

#include "tree_fixture.h"

using namespace kmd;

namespace {

// A root with 30 children n00..n29 in a view ten rows high.
class DragTest : public TreeTest {
 protected:
  void SetUp() override {
    TreeTest::SetUp();
    Add({}, "R", "root");
    for (int i = 0; i < 30; ++i) {
      std::string k = (i < 10 ? "n0" : "n") + std::to_string(i);
      Add("R", k, k);
    }
    ctrl.SetHeight(10 * 240);
    tv.ScrollView(0);
    tv.DragEnabled = true;
    tv.StartDrag = [this](const NodePtr& n) { log.push_back("start " + n->Key()); };
    tv.Dragging = [this](const NodePtr& s, const NodePtr& t) { log.push_back("over " + s->Key() + ">" + t->Key()); };
    tv.Dropped = [this](const NodePtr& s, const NodePtr& t) { log.push_back("drop " + s->Key() + ">" + t->Key()); };
  }
  std::vector<std::string> log;
};

}  // namespace

TEST_F(DragTest, HostDragBringsBothNodesIntoViewDropsAndResets) {
  auto deep = Add("n25", "deep", "deep");
  ctrl.Item("n25")->SetExpanded(false);
  EXPECT_FALSE(ctrl.UserDrag(ctrl.Item("n01"), deep));  // hidden under a collapsed parent
  EXPECT_TRUE(log.empty());
  ASSERT_TRUE(ctrl.UserDrag(ctrl.Item("n01"), ctrl.Item("n27")));
  EXPECT_EQ(log, (std::vector<std::string>{"start n01", "over n01>n27", "drop n01>n27"}));
  EXPECT_FALSE(tv.IsDragging || tv.DragArmed || tv.DragNode || ctrl.DropHighlight() || ctrl.InDrag());
}

TEST_F(DragTest, NoDropOnTheSameText) {
  auto twin = Add("n02", "twin", "n01");  // same text as n01, in another branch
  log.clear();
  ASSERT_TRUE(ctrl.UserDrag(twin, ctrl.Item("n01")));
  EXPECT_EQ(log, (std::vector<std::string>{"start twin", "over twin>n01"}));
}
