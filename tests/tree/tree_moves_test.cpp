#include <gtest/gtest.h>

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

TEST_F(MovesTest, AncestorsByIndex) {
  EXPECT_TRUE(tv.IsParentNode(a11, a));
  EXPECT_TRUE(tv.IsParentNode(a2, root));
  EXPECT_FALSE(tv.IsParentNode(a, a));
  EXPECT_FALSE(tv.IsParentNode(a, a11));
}

