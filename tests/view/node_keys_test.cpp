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

}  // namespace
