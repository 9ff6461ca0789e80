#include <gtest/gtest.h>

#include "base/RuntimeError.h"
#include "tree_fixture.h"

using namespace kmd;

TEST_F(TreeTest, AddSelectsEveryNewNodeAndRefusesDuplicateKeysSilently) {
  auto root = Add({}, "ROOT", "单位");
  auto a = Add("ROOT", "k1", "A  one");
  EXPECT_EQ(ctrl.SelectedItem(), a);
  EXPECT_EQ(a->Image().ToLong(), 1);
  EXPECT_EQ(a->SelectedImage().ToLong(), 2);
  EXPECT_TRUE(root->Expanded());  // made visible
  EXPECT_EQ(Add("ROOT", "k1", "again"), nullptr);
  EXPECT_EQ(ctrl.SelectedItem(), a);
  EXPECT_EQ(Add("nokey", "k9", "x"), nullptr);
  EXPECT_TRUE(platform.boxes.empty());
  ctrl.SetSelectedItem(root);
  EXPECT_FALSE(tv.IsSelected());
  ctrl.SetSelectedItem(a);
  EXPECT_TRUE(tv.IsSelected());
}

TEST_F(TreeTest, HookWithoutDragIconReportsInABoxAndStaysHooked) {
  view::TreeView other;
  cTreeView w(platform);
  w.HookCtrl(&other, std::make_shared<view::ImageList>(std::vector<std::string>{"a"}));
  ASSERT_EQ(platform.boxes.size(), 1u);
  EXPECT_EQ(platform.boxes[0], "cTreeView-->Element not found");
  EXPECT_EQ(w.ctrl(), &other);
}

TEST_F(TreeTest, FindMatchesSubstringsWithoutLatinCaseAndFindNextNeverWraps) {
  Add({}, "ROOT", "root");
  auto x1 = Add("ROOT", "k1", "xABCy");
  Add("ROOT", "k2", "other");
  auto x3 = Add("ROOT", "k3", "abc again");
  NodePtr r;
  std::string text = "abc";
  ASSERT_TRUE(tv.NodeFind(r, text));
  EXPECT_EQ(r, x1);
  EXPECT_EQ(selected.back(), "xABCy");
  ASSERT_TRUE(tv.NodeFindNext(r, "abc", x1->Index()));
  EXPECT_EQ(r, x3);
  EXPECT_FALSE(tv.NodeFindNext(r, "abc", x3->Index()));
  EXPECT_FALSE(tv.NodeFindNext(r, "abc", x3->Index()));
  EXPECT_EQ(r, x3);  // left as it was
  // An empty text is asked for, and written back for a later find-next.
  std::string empty;
  platform.answers.push_back("other");
  ASSERT_TRUE(tv.NodeFind(r, empty));
  EXPECT_EQ(empty, "other");
  EXPECT_EQ(platform.prompts.back(), "输入要查找的节点名称:");
  EXPECT_FALSE(tv.NodeFindNext(r, "", 1));
  // By key.
  std::string ignored = "zzz";
  ASSERT_TRUE(tv.NodeFind(r, ignored, "k2"));
  EXPECT_EQ(r->Key(), "k2");
}

TEST_F(TreeTest, DeletePassesSelectionForwardAndIndexesCloseUp) {
  Add({}, "ROOT", "root");
  auto a = Add("ROOT", "k1", "a");
  auto b = Add("ROOT", "k2", "b");
  auto c = Add("ROOT", "k3", "c");
  ctrl.SetSelectedItem(b);
  tv.NodeDelete(b);
  EXPECT_EQ(ctrl.SelectedItem(), c);
  EXPECT_EQ(selected.back(), "c");
  EXPECT_EQ(c->Index(), 3);
  EXPECT_THROW(b->Index(), RuntimeError);
  EXPECT_EQ(b->Text, "b");  // a kept reference still reads
  // The last sibling: the control picks the previous sibling after the removal.
  selected.clear();
  tv.NodeDelete(c);
  EXPECT_TRUE(selected.empty());
  EXPECT_EQ(ctrl.SelectedItem(), a);
  EXPECT_EQ(ctrl.Count(), 2);
}

TEST_F(TreeTest, DeleteOfSelectedLastChildRaisesItsChildFirst) {
  Add({}, "ROOT", "root");
  auto p = Add("ROOT", "k1", "p");
  Add(p, "k2", "child");
  ctrl.SetSelectedItem(p);
  tv.NodeDelete(p);
  ASSERT_EQ(selected.size(), 1u);
  EXPECT_EQ(selected[0], "child");
  EXPECT_EQ(ctrl.Count(), 1);
  EXPECT_EQ(ctrl.SelectedItem()->Key(), "ROOT");
}

TEST_F(TreeTest, NavigationWalksSiblingsThenChildren) {
  auto root = Add({}, "ROOT", "root");
  auto a = Add("ROOT", "k1", "a");
  auto a1 = Add(a, "k11", "a1");
  auto b = Add("ROOT", "k2", "b");
  ctrl.SetSelectedItem(a);
  tv.MoveNodeNext();
  EXPECT_EQ(ctrl.SelectedItem(), b);
  tv.MoveNodeNext();  // last sibling without children stays
  EXPECT_EQ(ctrl.SelectedItem(), b);
  tv.MoveNodePrevious();
  EXPECT_EQ(ctrl.SelectedItem(), a);
  tv.MoveNodePrevious();
  EXPECT_EQ(ctrl.SelectedItem(), root);
  ctrl.SetSelectedItem(a1);
  tv.MoveNodeNext();
  EXPECT_EQ(ctrl.SelectedItem(), a1);
  selected.clear();
  tv.ReSelectItem();
  EXPECT_EQ(selected, (std::vector<std::string>{"a1"}));
}

TEST_F(TreeTest, NodeModelReparentsAndWalks) {
  auto root = Add({}, "R", "root");
  auto a = Add("R", "a", "A");
  auto b = Add("R", "b", "B");
  auto b1 = Add(b, "b1", "B1");
  b->SetParent(a);
  EXPECT_EQ(a->Child(), b);
  EXPECT_EQ(root->Children(), 1);
  EXPECT_THROW(a->SetParent(b1), RuntimeError);
  ctrl.Remove(a);
  EXPECT_EQ(ctrl.Count(), 1);
  EXPECT_EQ(ctrl.FindKey("b1"), nullptr);
  ctrl.SetHeight(480);  // two rows
  for (int i = 0; i < 5; ++i) Add("R", "n" + std::to_string(i), "n");
  EXPECT_EQ(ctrl.FirstVisibleRow(), 4);  // the last add is in view
  tv.ClearTreeView();
  EXPECT_EQ(ctrl.Count(), 0);
  EXPECT_FALSE(root->InTree());
}

TEST_F(TreeTest, RawAddsReportDuplicateKeysAndMissingRelativesByNumber) {
  auto root = ctrl.Add({}, 0, "ROOT", "root");
  auto a = ctrl.Add(root, view::tvwChild, "k1", "A");
  auto number = [&](const std::function<void()>& add) {
    try {
      add();
    } catch (const RuntimeError& e) {
      return e.Number();
    }
    return 0;
  };
  EXPECT_EQ(number([&] { ctrl.Add("ROOT", view::tvwChild, "k1", "again"); }), view::kErrKeyNotUnique);
  EXPECT_EQ(number([&] { ctrl.Add("nokey", view::tvwChild, "k2", "B"); }), view::kErrElementNotFound);
  view::TreeView other;
  auto stranger = other.Add({}, 0, "x", "x");
  EXPECT_EQ(number([&] { ctrl.Add(stranger, view::tvwChild, "k2", "B"); }), view::kErrElementNotFound);
  EXPECT_EQ(number([&] { ctrl.Item("k2"); }), view::kErrElementNotFound);
  // Failed adds add nothing and take no key.
  EXPECT_EQ(ctrl.Count(), 2);
  EXPECT_EQ(ctrl.FindKey("k1"), a);
  EXPECT_NE(ctrl.Add("ROOT", view::tvwChild, "k2", "B"), nullptr);
  // A removed node gives its key back; the wrapper's add still swallows the errors.
  ctrl.Remove(a);
  EXPECT_EQ(ctrl.FindKey("k1"), nullptr);
  EXPECT_NE(Add("ROOT", "k1", "A again"), nullptr);
  EXPECT_EQ(Add("ROOT", "k1", "twice"), nullptr);
  EXPECT_EQ(Add("nokey", "k3", "x"), nullptr);
}

TEST_F(TreeTest, OnlyTheUsersExpansionAndTheBulkOnesRaiseExpand) {
  std::vector<std::string> expanded;
  ctrl.Expand = [&](const NodePtr& n) { expanded.push_back(n->Key()); };
  auto root = Add({}, "ROOT", "root");
  auto a = Add("ROOT", "a", "A");
  auto b = Add("ROOT", "b", "B");
  auto a1 = Add("a", "a1", "A1");  // made visible: its parent expands quietly
  EXPECT_TRUE(a->Expanded());
  ASSERT_FALSE(b->Expanded());
  ASSERT_TRUE(tv.NodeMove(b, a1, true));  // the target's expansion is the program's too
  EXPECT_TRUE(b->Expanded());
  root->SetExpanded(false);
  root->SetExpanded(true);
  EXPECT_TRUE(expanded.empty());

  ctrl.UserExpand(b);
  ctrl.UserExpand(b);  // already expanded, and a leaf: raised all the same
  ctrl.UserExpand(a);
  ctrl.SetEnabled(false);
  ctrl.UserExpand(root);
  EXPECT_EQ(expanded, (std::vector<std::string>{"b", "b", "a"}));
  ctrl.SetEnabled(true);
  tv.CollapseAll();
  expanded.clear();
  tv.ExpandAll();
  EXPECT_EQ(expanded, (std::vector<std::string>{"ROOT", "b"}));
}

// The visible rows are kept between requests: every change of nodes or expansion must show.
TEST_F(TreeTest, VisibleRowsFollowAddsExpansionsMovesAndRemovals) {
  auto root = Add({}, "ROOT", "root");
  auto a = Add("ROOT", "a", "A");
  auto a1 = Add("a", "a1", "A1");
  auto b = Add("ROOT", "b", "B");
  auto rowsNow = [&] {
    std::string keys;
    for (const auto* n : ctrl.VisibleRows()) keys += n->Key() + " ";
    return keys;
  };
  EXPECT_EQ(rowsNow(), "ROOT a a1 b ");
  EXPECT_EQ(ctrl.RowOf(b.get()), 3);
  a->SetExpanded(false);
  EXPECT_EQ(rowsNow(), "ROOT a b ");
  EXPECT_EQ(ctrl.RowOf(a1.get()), -1);
  ctrl.UserExpand(a);
  EXPECT_EQ(ctrl.RowOf(a1.get()), 2);
  a1->SetParent(b);
  b->SetExpanded(true);
  EXPECT_EQ(rowsNow(), "ROOT a b a1 ");
  ctrl.Remove(b);
  EXPECT_EQ(rowsNow(), "ROOT a ");
  EXPECT_EQ(ctrl.RowOf(a1.get()), -1);
  // The parent last added to by key is gone with its subtree: adding under it again fails.
  EXPECT_EQ(Add("b", "b2", "B2"), nullptr);
  EXPECT_NE(Add("a", "a2", "A2"), nullptr);
  EXPECT_EQ(rowsNow(), "ROOT a a2 ");
  EXPECT_EQ(ctrl.RowOf(root.get()), 0);
}

// Find runs down the array of nodes while it is in display order, and walks the links once a move
// has broken that order: both walks find the same nodes, with two roots and a find-next from every
// node.
TEST_F(TreeTest, FindGivesTheSameNodesInAddOrderAndAfterAMove) {
  view::TreeView other;
  cTreeView moved(platform);
  moved.HookCtrl(&other, std::make_shared<view::ImageList>(std::vector<std::string>{"a", "b", "DRAGICON"}));
  for (auto* t : {&tv, &moved}) {
    t->NodeAdd({}, -1, "R1", "first root");
    for (int i = 1; i <= 6; ++i) {
      std::string parent = i % 3 == 1 ? "R1" : "k" + std::to_string(i - 1);
      t->NodeAdd(NodeRef(parent), view::tvwChild, "k" + std::to_string(i), "item " + std::string(i % 2 ? "Ab" : "x"));
    }
    t->NodeAdd({}, -1, "R2", "second AB root");
    t->NodeAdd(NodeRef("R2"), view::tvwChild, "k7", "last ab");
  }
  ASSERT_TRUE(ctrl.InAddOrder());
  // Moving the last child of R2 under R2 again changes nothing but the order flag.
  other.FindKey("k7")->SetParent(other.FindKey("R2"));
  ASSERT_FALSE(other.InAddOrder());
  for (int from = 0; from <= ctrl.Count(); ++from) {
    NodePtr a, b;
    bool foundA = tv.NodeFindNext(a, "ab", from), foundB = moved.NodeFindNext(b, "ab", from);
    ASSERT_EQ(foundA, foundB) << "from " << from;
    if (foundA) {
      EXPECT_EQ(a->Key(), b->Key()) << "from " << from;
    }
  }
}

TEST_F(TreeTest, IndexesStayRightAfterRemovingAMovedSubtree) {
  Add({}, "ROOT", "root");
  auto a = Add("ROOT", "k1", "a");
  auto b = Add("ROOT", "k2", "b");
  auto c = Add("ROOT", "k3", "c");
  auto d = Add("ROOT", "k4", "d");
  // a now hangs under d, so the subtree of d holds a node added before it.
  a->SetParent(d);
  ctrl.Remove(d);
  EXPECT_EQ(ctrl.Count(), 3);
  EXPECT_EQ(b->Index(), 2);
  EXPECT_EQ(c->Index(), 3);
  EXPECT_EQ(ctrl.Item(2), b);
  EXPECT_FALSE(a->InTree());
  EXPECT_EQ(ctrl.FindKey("k1"), nullptr);
  // Two removals before any number is read.
  auto e = Add("ROOT", "k5", "e");
  ctrl.Remove(b);
  ctrl.Remove(c);
  EXPECT_EQ(e->Index(), 2);
  EXPECT_EQ(ctrl.Item(2), e);
}

// Removals in any order, with numbers read now and then (so that some removals find their nodes by
// current numbers and some among stale ones), against a plain list of the remaining keys.
TEST(TreeRemoval, OrderAndNumbersFollowAListModelThroughManyRemovals) {
  view::TreeView tree;
  std::vector<std::string> model;
  auto add = [&](const std::string& parent, const std::string& key) {
    tree.Add(parent.empty() ? NodeRef() : NodeRef(parent), view::tvwChild, key, key);
    model.push_back(key);
  };
  for (int r = 0; r < 4; ++r) {
    std::string root = "r" + std::to_string(r);
    add("", root);
    for (int c = 0; c < 6 + r * 5; ++c) add(root, root + "c" + std::to_string(c));
  }
  // A kept reference outlives the removals and the clear.
  NodePtr kept = tree.Item(3);
  std::string keptKey = kept->Key();
  unsigned seed = 7;
  while (!model.empty()) {
    seed = seed * 1103515245 + 12345;
    const std::string key = model[(seed >> 8) % model.size()];
    tree.Remove(tree.Item(key));
    // A root takes its children along.
    std::erase_if(model, [&](const std::string& k) { return k == key || k.rfind(key + "c", 0) == 0; });
    ASSERT_EQ(tree.Count(), static_cast<int>(model.size()));
    if ((seed >> 4) % 3 == 0) {
      for (size_t i = 0; i < model.size(); ++i) {
        ASSERT_EQ(tree.AllNodes()[i]->Key(), model[i]);
        ASSERT_EQ(tree.Item(model[i])->Index(), static_cast<int>(i + 1));
      }
    }
    EXPECT_EQ(tree.FindKey(key), nullptr);
  }
  tree.Clear();
  EXPECT_FALSE(kept->InTree());
  EXPECT_EQ(kept->Key(), keptKey);
  EXPECT_EQ(kept->Text, keptKey);
}

TEST(TreeImages, EachNodeKeepsTheImagesItWasGivenByIndexOrKeyAlsoOutOfItsTree) {
  view::TreeView tree;
  auto a = tree.Add({}, view::tvwLast, "a", "a", Value(1), Value("1"));
  auto b = tree.Add({}, view::tvwLast, "b", "b", Value("folder"));
  a->SetExpandedImage(Value(3));
  EXPECT_EQ(a->SelectedImage().Display(), "\"1\"");
  EXPECT_EQ(b->Image().Display(), "\"folder\"");
  EXPECT_TRUE(b->SelectedImage().IsEmpty());
  EXPECT_EQ(a->ExpandedImage().ToLong(), 3);
  tree.Clear();
  EXPECT_EQ(a->Image().Display(), "1");
}

// Loads one after the other in the same tree: each starts in the memory of the one before, whose
// nodes go as their places are taken again. A load of fewer nodes, a refused duplicate, a node held
// across a load and texts too long to sit inside a node all leave every node as it was added.
TEST(TreeReload, EachLoadHoldsExactlyItsOwnNodes) {
  view::TreeView tree;
  auto load = [&](int count, const std::string& tag) {
    tree.Clear();
    for (int i = 0; i < count; ++i) {
      std::string key = "k" + std::to_string(i);
      auto node = tree.Add({}, view::tvwLast, key, tag + " 的一个相当长的节点文字 " + key);
      node->Tag = Value(tag + key + " also long enough to be allocated");
      if (i == count / 2) {
        EXPECT_THROW(tree.Add({}, view::tvwLast, key, "duplicate"), RuntimeError);
      }
    }
  };
  load(9000, "first");
  NodePtr held = tree.Item("k7000");
  load(3000, "second");
  // The held node kept its arena: the second load took a new one.
  EXPECT_FALSE(held->InTree());
  EXPECT_EQ(held->Text, "first 的一个相当长的节点文字 k7000");
  held.reset();
  load(6000, "third");
  load(2500, "fourth");
  ASSERT_EQ(tree.Count(), 2500);
  for (int i = 0; i < 2500; i += 499) {
    std::string key = "k" + std::to_string(i);
    auto node = tree.Item(key);
    EXPECT_EQ(node->Text, "fourth 的一个相当长的节点文字 " + key);
    EXPECT_EQ(node->Tag.ToText(), "fourth" + key + " also long enough to be allocated");
    EXPECT_EQ(node->Index(), i + 1);
  }
  EXPECT_EQ(tree.FindKey("k2500"), nullptr);
}
