// The segmented code rule: levels, parents and lengths over equal and unequal segments, codes that
// fit no level, characters rather than bytes, and odd rules.
#include <gtest/gtest.h>

#include "hierarchies/CodeRule.h"

using kmd::ICodeRule;

TEST(CodeRule, LevelsParentsAndValidity) {
  ICodeRule r;
  struct Case {
    const char *code, *rule;
    int level;
    const char* parent;
  };
  for (const Case& c : std::initializer_list<Case>{
           {"01", "22222", 1, ""}, {"0101", "22222", 2, "01"}, {"0101010101", "22222", 5, "01010101"},
           {"A", "132", 1, ""}, {"A001", "132", 2, "A"}, {"A00101", "132", 3, "A001"},
           // Between levels or past the last: no level; the parent is the longest prefix that fits one.
           {"", "22222", 0, ""}, {"0", "22222", 0, ""}, {"010", "22222", 0, "01"}, {"01010", "22222", 0, "0101"},
           {"010101010101", "22222", 0, "0101010101"}, {"A00", "132", 0, "A"}, {"A0", "132", 0, "A"},
           // Lengths count characters, not bytes.
           {"华东", "22222", 1, ""}, {"华东江苏", "22222", 2, "华东"}, {"华", "22222", 0, ""},
           // No rule; a segment of length 0 adds a level of the same length, and a code takes the lowest.
           {"01", "", 0, ""}, {"01", "202", 1, ""}, {"0102", "202", 3, "01"}}) {
    SCOPED_TRACE(std::string(c.code) + " " + c.rule);
    EXPECT_EQ(r.CodeLevel(c.code, c.rule), c.level);
    EXPECT_EQ(r.IsValidCode(c.code, c.rule), c.level > 0);
    EXPECT_EQ(r.ParentCode(c.code, c.rule), c.parent);
  }
}

TEST(CodeRule, LevelAndChildSegmentLengths) {
  ICodeRule r;
  EXPECT_EQ(r.LevelLength(0, "22222"), 0);
  EXPECT_EQ(r.LevelLength(3, "22222"), 6);
  EXPECT_EQ(r.LevelLength(2, "132"), 4);
  EXPECT_EQ(r.LevelLength(9, "132"), 6);  // past the last level nothing more is added
  EXPECT_EQ(r.LevelLength(1, ""), 0);
  EXPECT_EQ(r.LevelLength(3, "2x2"), 4);  // a character that is no digit stands for length 0
  // The segment below a parent is the next level's length less the parent's.
  EXPECT_EQ(r.ChildSegmentLength("", "22222"), 2);
  EXPECT_EQ(r.ChildSegmentLength("0101", "22222"), 2);
  EXPECT_EQ(r.ChildSegmentLength("", "132"), 1);
  EXPECT_EQ(r.ChildSegmentLength("A", "132"), 3);
  EXPECT_EQ(r.ChildSegmentLength("A001", "132"), 2);
  EXPECT_EQ(r.ChildSegmentLength("A00101", "132"), 0);
}
