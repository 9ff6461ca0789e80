#include <gtest/gtest.h>

#include "base/RuntimeError.h"
#include "tree_fixture.h"

using namespace kmd;

namespace {

// The tree's shape as text: "root(a(a1),b)".
std::string Shape(const NodePtr& node) {
  std::string s = node->Text;
  if (node->Children() == 0) return s;
  s += "(";
  for (auto c = node->Child(); c; c = c->Next()) s += (c == node->Child() ? "" : ",") + Shape(c);
  return s + ")";
}

class MovesTest : public TreeTest {
 protected:
  void SetUp() override {
    TreeTest::SetUp();
    root = Add({}, "ROOT", "root");
    a = Add("ROOT", "a", "A");
    a1 = Add(a, "a1", "A1");
    a11 = Add(a1, "a11", "A11");
    a2 = Add(a, "a2", "A2");
    b = Add("ROOT", "b", "B");
  }
  NodePtr root, a, a1, a11, a2, b;
};

}  // namespace

TEST_F(MovesTest, MoveGoesUnderTheDestinationAndRefusesEqualTexts) {
  b->SetExpanded(false);
  ASSERT_TRUE(tv.NodeMove(b, a2, true));
  EXPECT_EQ(Shape(root), "root(A(A1(A11)),B(A2))");
  EXPECT_TRUE(b->Expanded());
  EXPECT_EQ(ctrl.SelectedItem(), a2);
  // Equal texts count as the same node, even in different branches.
  a11->Text = "B";
  EXPECT_FALSE(tv.NodeMove(b, a11, true));
  EXPECT_EQ(Shape(root), "root(A(A1(B)),B(A2))");
  // Without bSelect the selection stays where it was.
  ctrl.SetSelectedItem(b);
  ASSERT_TRUE(tv.NodeMove(root, a2, false));
  EXPECT_EQ(ctrl.SelectedItem(), b);
}

TEST_F(MovesTest, ParentDroppedOnItsDescendantTakesItsPlaceAlone) {
  ASSERT_TRUE(tv.NodeMove(a11, a, true));
  // A's children go up to A's parent, then A goes under A11 by itself.
  EXPECT_EQ(Shape(root), "root(B,A1(A11(A)),A2)");
  EXPECT_EQ(a->Children(), 0);
  // A root dropped on its descendant is refused and nothing moves.
  EXPECT_FALSE(tv.NodeMove(b, root, true));
  EXPECT_EQ(Shape(root), "root(B,A1(A11(A)),A2)");
}

TEST_F(MovesTest, CopyRaisesOneEventPerNodeAndStopsWhenCancelled) {
  int made = 0;
  std::string cancelAt;
  tv.CopyNode = [&](const NodePtr& dest, const NodePtr& src) {
    if (src->Text == cancelAt) {
      tv.CancelCopy(true);
      return;
    }
    tv.NodeAdd(dest, view::tvwChild, "c" + std::to_string(++made), src->Text + "'");
  };
  ASSERT_TRUE(tv.NodeCopy(b, a, true));
  EXPECT_EQ(Shape(b), "B(A'(A1'(A11'),A2'))");
  ASSERT_TRUE(tv.NodeCopy(b, a2, false));
  EXPECT_EQ(Shape(b), "B(A'(A1'(A11'),A2'),A2')");

  // A cancel in the handler stops the walk: later siblings are not copied, and the flag stays.
  cancelAt = "A11";
  auto target = Add("ROOT", "t", "T");
  EXPECT_FALSE(tv.NodeCopy(target, a, true));
  EXPECT_EQ(Shape(target), "T(A'(A1'))");
  EXPECT_TRUE(tv.IsCancelled);
  cancelAt.clear();
  EXPECT_FALSE(tv.NodeCopy(target, a2, false));  // still cancelled until cleared
  tv.CancelCopy(false);
  EXPECT_TRUE(tv.NodeCopy(target, a2, false));

  // A copy onto a node of the same text cancels by itself.
  EXPECT_FALSE(tv.NodeCopy(a, a, true));
  EXPECT_TRUE(tv.IsCancelled);
}

TEST_F(MovesTest, KinshipByIndexAndByText) {
  EXPECT_TRUE(tv.IsParentNode(a11, a));
  EXPECT_TRUE(tv.IsParentNode(a2, root));
  EXPECT_FALSE(tv.IsParentNode(a, a));
  EXPECT_FALSE(tv.IsParentNode(a, a11));

  EXPECT_TRUE(tv.IsChildNode(a1, a, false));
  EXPECT_FALSE(tv.IsChildNode(a11, a, false));
  EXPECT_TRUE(tv.IsChildNode(a11, a, true));
  EXPECT_FALSE(tv.IsChildNode(root, a, false));
  // Without depth the parent is matched by text: a node under another "A" counts.
  auto other = Add(b, "x", "A");
  auto leaf = Add(other, "y", "leaf");
  EXPECT_TRUE(tv.IsChildNode(leaf, a, false));
  EXPECT_FALSE(tv.IsChildNode(leaf, a, true));

  EXPECT_EQ(tv.ParentNodeText(a11), "A1");
  EXPECT_EQ(tv.ParentNodeText(root), "");
}

TEST_F(MovesTest, FindTagIgnoresCaseAndRenameSelectsOnlyNonRoots) {
  a1->Tag = Value("Abc");
  a2->Tag = Value("abc");
  b->Tag = Value(12);
  std::string key;
  ASSERT_TRUE(tv.NodeFindTag(nullptr, Value("ABC"), key));
  EXPECT_EQ(key, "a1");
  ASSERT_TRUE(tv.NodeFindTag(nullptr, Value(12), key));
  EXPECT_EQ(key, "b");
  EXPECT_FALSE(tv.NodeFindTag(nullptr, Value("ab"), key));  // whole values only

  EXPECT_FALSE(tv.NodeRename(a11, "", true));
  a->SetExpanded(false);
  ASSERT_TRUE(tv.NodeRename(a11, "new", true));
  EXPECT_EQ(a11->Text, "new");
  EXPECT_TRUE(a->Expanded());
  EXPECT_EQ(ctrl.SelectedItem(), a11);
  ASSERT_TRUE(tv.NodeRename(root, "top", true));
  EXPECT_EQ(ctrl.SelectedItem(), a11);
}

TEST_F(MovesTest, ExpandAllReachesChildrenLoadedOnDemand) {
  tv.CollapseAll();
  for (const auto& n : ctrl.AllNodes()) EXPECT_FALSE(n->Expanded()) << n->Text;
  // B loads more children when it is expanded, as an on-demand tree does.
  tv.NodeAdd(b, view::tvwChild, "b0", "B0");
  tv.CollapseAll();
  int loads = 0;
  ctrl.Expand = [&](const NodePtr& n) {
    if (n != b) return;
    ++loads;
    auto c = tv.NodeAdd(b, view::tvwChild, "b" + std::to_string(loads), "B1");
    tv.NodeAdd(c, view::tvwChild, "b1" + std::to_string(loads), "B11");
  };
  tv.ExpandAll();
  EXPECT_EQ(loads, 1);
  EXPECT_EQ(Shape(b), "B(B0,B1(B11))");
  for (const auto& n : ctrl.AllNodes()) {
    if (n->Children() > 0) {
      EXPECT_TRUE(n->Expanded()) << n->Text;
    }
  }

  tv.CollapseChildNodes(a);
  EXPECT_FALSE(a1->Expanded());
  EXPECT_TRUE(root->Expanded());
}
