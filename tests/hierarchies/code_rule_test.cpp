// The segmented code rule over equal and unequal segment lengths, and codes that fit no level.
#include <gtest/gtest.h>

#include "hierarchies/CodeRule.h"

using kmd::ICodeRule;

TEST(CodeRule, EqualSegmentsGiveLevelsParentsAndLengths) {
  ICodeRule r;
  EXPECT_EQ(r.CodeLevel("01", "22222"), 1);
  EXPECT_EQ(r.CodeLevel("0101", "22222"), 2);
  EXPECT_EQ(r.CodeLevel("0101010101", "22222"), 5);
  EXPECT_EQ(r.ParentCode("01", "22222"), "");
  EXPECT_EQ(r.ParentCode("010203", "22222"), "0102");
  EXPECT_EQ(r.LevelLength(0, "22222"), 0);
  EXPECT_EQ(r.LevelLength(3, "22222"), 6);
  EXPECT_TRUE(r.IsValidCode("0102", "22222"));
  EXPECT_EQ(r.ChildSegmentLength("", "22222"), 2);
  EXPECT_EQ(r.ChildSegmentLength("0101", "22222"), 2);
}

TEST(CodeRule, UnequalSegmentsSumTheirLengths) {
  ICodeRule r;
  // Rule 132: segments of 1, 3 and 2 characters.
  EXPECT_EQ(r.LevelLength(1, "132"), 1);
  EXPECT_EQ(r.LevelLength(2, "132"), 4);
  EXPECT_EQ(r.LevelLength(3, "132"), 6);
  EXPECT_EQ(r.CodeLevel("A", "132"), 1);
  EXPECT_EQ(r.CodeLevel("A001", "132"), 2);
  EXPECT_EQ(r.CodeLevel("A00101", "132"), 3);
  EXPECT_EQ(r.ParentCode("A00101", "132"), "A001");
  EXPECT_EQ(r.ParentCode("A001", "132"), "A");
  // The segment below a parent is the next level's length less the parent's.
  EXPECT_EQ(r.ChildSegmentLength("", "132"), 1);
  EXPECT_EQ(r.ChildSegmentLength("A", "132"), 3);
  EXPECT_EQ(r.ChildSegmentLength("A001", "132"), 2);
  // Past the last level nothing more is added.
  EXPECT_EQ(r.LevelLength(9, "132"), 6);
  EXPECT_EQ(r.ChildSegmentLength("A00101", "132"), 0);
}

TEST(CodeRule, CodesThatFitNoLevel) {
  ICodeRule r;
  for (const char* code : {"", "0", "010", "01010", "010101010101"}) {
    EXPECT_FALSE(r.IsValidCode(code, "22222")) << code;
    EXPECT_EQ(r.CodeLevel(code, "22222"), 0) << code;
  }
  // The parent of a code between levels is its longest prefix that fits one.
  EXPECT_EQ(r.ParentCode("010", "22222"), "01");
  EXPECT_EQ(r.ParentCode("0", "22222"), "");
  EXPECT_EQ(r.ParentCode("010101010101", "22222"), "0101010101");
  EXPECT_EQ(r.ParentCode("A00", "132"), "A");
  EXPECT_FALSE(r.IsValidCode("A0", "132"));
}

TEST(CodeRule, LengthsCountCharactersNotBytes) {
  ICodeRule r;
  EXPECT_EQ(r.CodeLevel("华东", "22222"), 1);
  EXPECT_EQ(r.CodeLevel("华东江苏", "22222"), 2);
  EXPECT_EQ(r.ParentCode("华东江苏", "22222"), "华东");
  EXPECT_FALSE(r.IsValidCode("华", "22222"));
}

TEST(CodeRule, EmptyAndOddRules) {
  ICodeRule r;
  EXPECT_FALSE(r.IsValidCode("01", ""));
  EXPECT_EQ(r.LevelLength(1, ""), 0);
  EXPECT_EQ(r.ParentCode("01", ""), "");
  // A segment of length 0 adds a level of the same length; a code takes the lowest.
  EXPECT_EQ(r.CodeLevel("01", "202"), 1);
  EXPECT_EQ(r.CodeLevel("0102", "202"), 3);
  EXPECT_EQ(r.ParentCode("0102", "202"), "01");
  // A character that is no digit stands for length 0.
  EXPECT_EQ(r.LevelLength(3, "2x2"), 4);
}
