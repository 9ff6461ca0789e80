#pragma once
#include <cstdint>
#include <string>

namespace kmd {

// A segmented code rule: a string of decimal digits, one per level, each the length of that
// level's segment ("22222": five levels of two characters). Lengths count UTF-16 code units. A
// character of the rule that is no digit stands for a segment of length 0.
//
// A code "fits" level n when its length is the summed length of the segments 1 to n. A code that
// fits no level (too short, between two levels or longer than the whole rule) has level 0, is not
// valid, and its parent is its longest prefix that fits a level.
class ICodeRule {
 public:
  // The code less its last segment; "" for a first-level code and for the empty code.
  std::string ParentCode(const std::string& code, const std::string& rule) const;
  // The length of the parent code of a code of `length` (as ParentCode gives it).
  size_t ParentLength(size_t length, const std::string& rule) const;
  // The lowest level the code fits; 0 for the empty code and for a code that fits no level.
  int16_t CodeLevel(const std::string& code, const std::string& rule) const;
  // Summed length of the segments 1 to level; 0 for level 0 or below, the whole rule's length
  // past its last level.
  int16_t LevelLength(int level, const std::string& rule) const;
  // True when the code is not empty and fits a level of the rule.
  bool IsValidCode(const std::string& code, const std::string& rule) const;
  // Length of a child's segment under the parent code (a first-level segment under "").
  int16_t ChildSegmentLength(const std::string& parentCode, const std::string& rule) const;
};

}  // namespace kmd
