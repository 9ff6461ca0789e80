// The key table of the tree: lookups stay right through inserts, growth and removals in any order
// (a small table is crowded, so probe lines run long and wrap around its end).
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "view/NodeKeys.h"

namespace {

struct Item {
  std::string key;
};
struct KeyOf {
  const std::string& operator()(const Item* item) const { return item->key; }
};
using Keys = kmd::view::NodeKeys<Item, KeyOf>;

TEST(NodeKeys, FindsEveryKeyLeftAfterEachRemovalAndNoneRemoved) {
  std::mt19937 random(11);
  for (int round = 0; round < 20; ++round) {
    std::vector<Item> items(40 + round * 7);
    for (size_t i = 0; i < items.size(); ++i) items[i].key = "k" + std::to_string(random());
    Keys keys;
    for (auto& item : items) {
      ASSERT_EQ(keys.Find(item.key), nullptr);
      keys.Insert(&item, Keys::Hash(item.key));
    }
    std::vector<Item*> left;
    for (auto& item : items) left.push_back(&item);
    std::shuffle(left.begin(), left.end(), random);
    while (!left.empty()) {
      Item* gone = left.back();
      left.pop_back();
      keys.Erase(gone);
      ASSERT_EQ(keys.Find(gone->key), nullptr);
      for (Item* item : left) ASSERT_EQ(keys.Find(item->key), item) << "round " << round;
    }
    // A cleared table takes keys again.
    keys.Insert(&items[0], Keys::Hash(items[0].key));
    keys.Clear();
    EXPECT_EQ(keys.Find(items[0].key), nullptr);
  }
}

// A large table answers from its filter and places new keys later: a key just added is found at
// once, also before it was placed, and removals and growth in between lose nothing.
TEST(NodeKeys, LargeTableFindsKeysStillWaitingToBePlaced) {
  std::mt19937 random(5);
  std::vector<Item> items(60000);
  for (size_t i = 0; i < items.size(); ++i) items[i].key = "k" + std::to_string(i);
  Keys keys;
  for (size_t i = 0; i < items.size(); ++i) {
    ASSERT_EQ(keys.Find(items[i].key), nullptr);
    keys.Insert(&items[i], Keys::Hash(items[i].key));
    if (i % 50 == 0) {
      ASSERT_EQ(keys.Find(items[i].key), &items[i]);
    }
    if (i % 7 == 3) keys.Erase(&items[random() % (i + 1)]);
  }
  size_t found = 0;
  for (auto& item : items) {
    Item* f = keys.Find(item.key);
    ASSERT_TRUE(f == nullptr || f == &item);
    if (f) ++found;
  }
  EXPECT_GT(found, items.size() * 3 / 4);
  for (auto& item : items) keys.Erase(&item);
  for (auto& item : items) ASSERT_EQ(keys.Find(item.key), nullptr);
}

}  // namespace
