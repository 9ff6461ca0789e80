// The list control: sub-items, the search in texts and sub-items, removal and the selection.
#include <gtest/gtest.h>

#include "view/ListView.h"

using namespace kmd;

namespace {

void Fill(view::ListView& lv) {
  const char* rows[][3] = {{"2026-11-02", "美元", "USD"}, {"2026-11-02", "欧元", "EUR"}, {"2026-11-03", "美元", "usd"}};
  for (const auto& r : rows) {
    auto item = lv.Add("", r[0]);
    item->SetSubItem(3, r[1]);
    item->SetSubItem(5, r[2]);
  }
}

}  // namespace

TEST(ListView, FindItemMatchesAPrefixOfTheTextOrASubItemFromItsStartWithoutWrapping) {
  view::ListView lv("lvdata");
  Fill(lv);
  EXPECT_EQ(lv.Item(1)->SubItem(4), "");  // a gap before a sub-item set later reads empty
  EXPECT_EQ(lv.FindItem("Us", true)->Index, 1);
  EXPECT_EQ(lv.FindItem("US", true, 2)->Index, 3);  // Latin case ignored
  EXPECT_EQ(lv.FindItem("USD", true, 4), nullptr);  // no wrap to the top
  EXPECT_EQ(lv.FindItem("USD", false), nullptr);    // the texts alone
  EXPECT_EQ(lv.FindItem("2026-11-03", false)->Index, 3);
  EXPECT_EQ(lv.FindItem("欧", true)->Index, 2);
  EXPECT_EQ(lv.FindItem("欧", true, 1, false), nullptr);  // a whole match asked for
  EXPECT_THROW(lv.Item(1)->SetSubItem(0, "x"), RuntimeError);
}

TEST(ListView, RemovalClosesUpTheIndexesAndDropsTheSelectionOfTheRemovedRow) {
  view::ListView lv("lvdata");
  Fill(lv);
  lv.SetSelectedItem(lv.Item(2));
  lv.Remove(1);
  EXPECT_EQ(lv.SelectedItem()->Index, 1);
  lv.Remove(1);
  EXPECT_EQ(lv.SelectedItem(), nullptr);
  EXPECT_EQ(lv.Item(1)->SubItem(5), "usd");
  EXPECT_THROW(lv.Remove(2), RuntimeError);
}
