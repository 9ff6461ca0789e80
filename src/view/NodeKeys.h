#pragma once
#include <algorithm>
#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace kmd::view {

// The keyed nodes of a tree in one open-addressing table of (hash, node) slots, probed in a line.
// A caller that knows a key some work before it looks it up computes the hash first and has the
// slot fetched meanwhile (Prefetch), so that a load of many rows does not wait for memory at every
// lookup. `KeyOf` gives a node's key.
template <class Node, class KeyOf>
class NodeKeys {
 public:
  static size_t Hash(std::string_view key) { return std::hash<std::string_view>()(key); }
  void Prefetch(size_t hash) const {
    if (!m_Slots.empty()) __builtin_prefetch(&m_Slots[hash & m_Mask]);
  }
  Node* Find(std::string_view key, size_t hash) const {
    if (m_Slots.empty()) return nullptr;
    for (size_t i = hash & m_Mask;; i = (i + 1) & m_Mask) {
      const Slot& s = m_Slots[i];
      if (!s.node) return nullptr;
      if (s.hash == hash && KeyOf()(s.node) == key) return s.node;
    }
  }
  Node* Find(std::string_view key) const { return Find(key, Hash(key)); }
  // Adds a node whose key is not in the table yet.
  void Insert(Node* node, size_t hash) {
    if ((m_Count + 1) * 3 > m_Slots.size() * 2) Rehash(std::max<size_t>(64, m_Slots.size() * 2));
    size_t i = hash & m_Mask;
    while (m_Slots[i].node) i = (i + 1) & m_Mask;
    m_Slots[i] = {hash, node};
    ++m_Count;
  }
  // Removes the node; the slots after it move back so that no probe line is broken.
  void Erase(const Node* node) {
    if (m_Slots.empty()) return;
    size_t hash = Hash(KeyOf()(node));
    size_t hole = hash & m_Mask;
    while (m_Slots[hole].node != node) {
      if (!m_Slots[hole].node) return;
      hole = (hole + 1) & m_Mask;
    }
    for (size_t k = (hole + 1) & m_Mask; m_Slots[k].node; k = (k + 1) & m_Mask) {
      size_t home = m_Slots[k].hash & m_Mask;
      // The slot may fill the hole when its home is not cyclically within (hole, k].
      bool between = hole < k ? (home > hole && home <= k) : (home > hole || home <= k);
      if (!between) {
        m_Slots[hole] = m_Slots[k];
        hole = k;
      }
    }
    m_Slots[hole] = Slot{};
    --m_Count;
  }
  void Clear() {
    if (m_Count) std::fill(m_Slots.begin(), m_Slots.end(), Slot{});
    m_Count = 0;
  }
  void Reserve(size_t count) {
    size_t size = 64;
    while (count * 3 > size * 2) size *= 2;
    if (size > m_Slots.size()) Rehash(size);
  }

 private:
  struct Slot {
    size_t hash = 0;
    Node* node = nullptr;
  };
  void Rehash(size_t size) {
    std::vector<Slot> old(size);
    old.swap(m_Slots);
    m_Mask = size - 1;
    for (const Slot& s : old) {
      if (!s.node) continue;
      size_t i = s.hash & m_Mask;
      while (m_Slots[i].node) i = (i + 1) & m_Mask;
      m_Slots[i] = s;
    }
  }
  std::vector<Slot> m_Slots;
  size_t m_Mask = 0;
  size_t m_Count = 0;
};

}  // namespace kmd::view
