#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "view/LargeMemory.h"

namespace kmd::view {

// The keyed nodes of a tree in one open-addressing table of (hash, node) slots, probed in a line.
//
// A large table lies mostly outside the processor's caches, and a load that adds a node a row
// would wait for memory at every row twice: once to learn that the key is new, once to place it.
// So a large table keeps beside it a bit per few slots (a filter that fits the cache): a key
// whose bit is clear is certainly new, and new keys wait in a short list that is placed in one
// go, each slot fetched some places ahead. Anything that reads the slots places the waiting keys
// first. `KeyOf` gives a node's key.
template <class Node, class KeyOf>
class NodeKeys {
 public:
  static size_t Hash(std::string_view key) { return std::hash<std::string_view>()(key); }
  // Has what a lookup of `hash` reads first fetched from memory.
  void Prefetch(size_t hash) const {
    if (!m_Filter.empty()) __builtin_prefetch(&m_Filter[FilterBit(hash) / 64]);
    else if (!m_Slots.empty()) __builtin_prefetch(&m_Slots[hash & m_Mask]);
  }
  Node* Find(std::string_view key, size_t hash) const {
    if (m_Slots.empty()) return nullptr;
    if (!m_Filter.empty()) {
      size_t bit = FilterBit(hash);
      if (!(m_Filter[bit / 64] >> (bit % 64) & 1)) return nullptr;
      PlaceWaiting();
    }
    for (size_t i = hash & m_Mask;; i = (i + 1) & m_Mask) {
      const Slot& s = m_Slots[i];
      if (!s.node) return nullptr;
      if (s.hash == hash && KeyOf()(s.node) == key) return s.node;
    }
  }
  Node* Find(std::string_view key) const { return Find(key, Hash(key)); }
  // Adds a node whose key is not in the table yet.
  void Insert(Node* node, size_t hash) {
    if ((m_Count + 1) * 3 > m_Slots.size() * 2) Rehash(std::max<size_t>(64, m_Slots.size() * Growth()));
    ++m_Count;
    if (m_Filter.empty()) {
      Place({hash, node});
      return;
    }
    size_t bit = FilterBit(hash);
    m_Filter[bit / 64] |= uint64_t{1} << (bit % 64);
    m_Waiting.push_back({hash, node});
    if (m_Waiting.size() == kWaitingMax) PlaceWaiting();
  }
  // Removes the node; the slots after it move back so that no probe line is broken. Its filter
  // bit stays, as other keys may share it.
  void Erase(const Node* node) {
    if (m_Slots.empty()) return;
    PlaceWaiting();
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
    if (m_Count) {
      std::fill(m_Slots.begin(), m_Slots.end(), Slot{});
      std::fill(m_Filter.begin(), m_Filter.end(), 0);
    }
    m_Waiting.clear();
    m_Count = 0;
  }

 private:
  struct Slot {
    size_t hash = 0;
    Node* node = nullptr;
  };
  // Tables from this many slots (64 KB: more than stays in the nearest cache while a load writes
  // its nodes) keep a filter of kFilterBitsPerSlot bits a slot, a sixteenth of their size.
  static constexpr size_t kFilterFrom = 4096;
  static constexpr size_t kFilterBitsPerSlot = 8;
  static constexpr size_t kWaitingMax = 256;
  // A large table grows four times over: a load of many rows then moves its keys and fills fresh
  // memory half as often, for a table at most twice the size it needs.
  size_t Growth() const { return m_Slots.size() >= kGrowFourFrom ? 4 : 2; }
  static constexpr size_t kGrowFourFrom = 16384;
  // The filter takes the hash's high bits; the slots take its low ones.
  size_t FilterBit(size_t hash) const { return hash >> m_FilterShift; }

  void Place(Slot s) const {
    size_t i = s.hash & m_Mask;
    while (m_Slots[i].node) i = (i + 1) & m_Mask;
    m_Slots[i] = s;
  }
  void PlaceWaiting() const {
    constexpr size_t ahead = 16;
    const size_t n = m_Waiting.size();
    for (size_t i = 0; i < n; ++i) {
      if (i + ahead < n) __builtin_prefetch(&m_Slots[m_Waiting[i + ahead].hash & m_Mask]);
      Place(m_Waiting[i]);
    }
    m_Waiting.clear();
  }
  void Rehash(size_t size) {
    PlaceWaiting();
    Slots old(size);
    old.swap(m_Slots);
    m_Mask = size - 1;
    m_Filter.clear();
    if (size >= kFilterFrom) {
      size_t bits = size * kFilterBitsPerSlot;
      m_Filter.assign(bits / 64, 0);
      m_FilterShift = 64 - static_cast<unsigned>(__builtin_ctzll(bits));
    }
    for (const Slot& s : old) {
      if (!s.node) continue;
      Place(s);
      if (!m_Filter.empty()) {
        size_t bit = FilterBit(s.hash);
        m_Filter[bit / 64] |= uint64_t{1} << (bit % 64);
      }
    }
  }
  using Slots = std::vector<Slot, LargeAllocator<Slot>>;
  mutable Slots m_Slots;
  mutable std::vector<Slot> m_Waiting;
  std::vector<uint64_t> m_Filter;
  unsigned m_FilterShift = 0;
  size_t m_Mask = 0;
  size_t m_Count = 0;
};

}  // namespace kmd::view
