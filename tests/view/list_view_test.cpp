// The list control beyond what the exchange-rate scenario shows: a whole match, gaps among the
// sub-items, and the bounds.
#include <gtest/gtest.h>

#include "view/ListView.h"

using namespace kmd;

TEST(ListView, FindItemWholeMatchesAndGapsAndBounds) {
  view::ListView lv("lvdata");
  for (const char* name : {"美元", "欧元"}) lv.Add("", "2026-11-02")->SetSubItem(3, name);
  EXPECT_EQ(lv.Item(1)->SubItem(2), "");  // a gap before a sub-item set later reads empty
  EXPECT_EQ(lv.FindItem("欧", true)->Index, 2);
  EXPECT_EQ(lv.FindItem("欧", true, 1, false), nullptr);  // a whole match asked for
  EXPECT_EQ(lv.FindItem("欧元", true, 1, false)->Index, 2);
  EXPECT_EQ(lv.FindItem("欧元", false), nullptr);  // the texts alone
  EXPECT_THROW(lv.Item(1)->SetSubItem(0, "x"), RuntimeError);
  lv.SetSelectedItem(lv.Item(1));
  lv.Remove(1);
  EXPECT_EQ(lv.SelectedItem(), nullptr);
  EXPECT_THROW(lv.Remove(2), RuntimeError);
}
