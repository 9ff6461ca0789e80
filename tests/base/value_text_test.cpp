#include <gtest/gtest.h>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "base/Value.h"

using namespace kmd;

TEST(Value, ConversionsOfNullEmptyAndText) {
  EXPECT_EQ(Value::Null().ToText(), "");
  EXPECT_EQ(Value().ToText(), "");
  EXPECT_EQ(Value::Null().ToLong(), 0);
  EXPECT_EQ(Value("abc").ToDouble(), 0);
  EXPECT_EQ(Value("12abc").ToLong(), 12);
  EXPECT_EQ(Value(true).ToText(), "True");
  EXPECT_EQ(Value(2.5).ToText(), "2.5");
  EXPECT_EQ(Value(3.0).ToText(), "3");
  EXPECT_EQ(Value(5000000000LL).GetType(), Value::Type::Double);
  EXPECT_THROW(Value(5e9).ToLong(), RuntimeError);
  EXPECT_EQ(Value("\"x").Display(), "\"\"x\"");
  EXPECT_EQ(Value(7).Display(), "7");
}

TEST(Value, WholeNumbersRoundHalfToEven) {
  EXPECT_EQ(Value(2.5).ToLong(), 2);
  EXPECT_EQ(Value(3.5).ToLong(), 4);
  EXPECT_EQ(Value(-2.5).ToLong(), -2);
  EXPECT_EQ(Value("0.5").ToLong(), 0);
  EXPECT_EQ(Value(1.5000001).ToLong(), 2);
}

TEST(Text, ValReadsTheLeadingNumberOnly) {
  EXPECT_EQ(text::Val(""), 0);
  EXPECT_EQ(text::Val("  42 "), 42);
  EXPECT_EQ(text::Val("-3.5e2x"), -350);
  EXPECT_EQ(text::Val("1 2 3"), 123);
  EXPECT_EQ(text::Val("&HFF"), 255);
  EXPECT_EQ(text::Val("&HFFFF"), -1);
  EXPECT_EQ(text::Val("k12"), 0);
  EXPECT_EQ(text::Val("1e"), 1);
  // A field's number stops at a blank, and is written back in its shortest form.
  EXPECT_EQ(text::NumericValue(" 1 2"), 1);
  EXPECT_EQ(text::NumericValue("-3.5e2x"), -350);
  EXPECT_EQ(text::NumericValue("12.x"), 12);
  EXPECT_EQ(text::NumericValue(".5"), 0.5);
  EXPECT_EQ(text::NumericValue("&H10"), 0);
  EXPECT_EQ(text::NumericValue("abc"), 0);
  EXPECT_EQ(text::FormatNumber(text::NumericValue("0.1")), "0.1");
  EXPECT_EQ(text::FormatNumber(text::NumericValue("100.0")), "100");
  // A parameter line's list becomes literals for IN (...), quotes doubled.
  EXPECT_EQ(text::QuoteList("1211,O'B"), "'1211','O''B'");
  EXPECT_EQ(text::QuoteList(""), "");
}

TEST(Text, CountsInUtf16UnitsAndUpperCasesLatinOnly) {
  EXPECT_EQ(text::Len("计量单位"), 4u);
  EXPECT_EQ(text::Len("a😀"), 3u);  // a surrogate pair counts two
  EXPECT_EQ(text::Left("计量单位", 2), "计量");
  EXPECT_EQ(text::Mid("计量单位", 3), "单位");
  EXPECT_EQ(text::Mid("abc", 5), "");
  // ASCII texts are cut as they are; the counts agree with the UTF-16 text, stray bytes included.
  EXPECT_EQ(text::Mid("110203", 3, 2), "02");
  EXPECT_EQ(text::Mid("abc", 0, 2), "ab");
  EXPECT_EQ(text::Right("110203", 2), "03");
  EXPECT_EQ(text::Right("ab", 5), "ab");
  EXPECT_EQ(text::Left("ab", 5), "ab");
  for (std::string s : {"", "k1101", "单位a😀", "a\xff\xe8\xae"})
    EXPECT_EQ(text::Len(s), text::ToUtf16(s).size()) << s;
  EXPECT_EQ(text::InStr("xABCy", "ABC"), 2u);
  EXPECT_EQ(text::InStr("单位", "位"), 2u);
  EXPECT_EQ(text::UCase("abcäö计"), "ABCäö计");
  EXPECT_EQ(text::Trim("  a b  "), "a b");
  EXPECT_EQ(text::Split("k=1;x=a,b", ';').size(), 2u);
}

TEST(Text, NoCaseFinderFoldsLatinLettersOnly) {
  text::NoCaseFinder finder("aB@1");
  EXPECT_TRUE(finder.In("xxAb@1"));
  EXPECT_TRUE(finder.In("ab@1"));
  EXPECT_FALSE(finder.In("ab`1"));   // '`' is not '@' in another case
  EXPECT_FALSE(finder.In("ab@"));    // shorter than the pattern
  EXPECT_FALSE(finder.In("\xC1\xE2@1"));  // bytes that differ from the letters by 0x80
  EXPECT_TRUE(text::NoCaseFinder("单位").In("计量单位"));
  EXPECT_TRUE(text::NoCaseFinder("").In(""));
}

TEST(Text, NoCaseFinderFindsWhatAPlainSearchOfTheUpperCasedTextsFinds) {
  // Texts and patterns of few characters, so that matches, near misses and places at every
  // offset of a word (and at the very end) all come up.
  const std::string alphabet = "aAbB@`\xC1\xE1";
  uint32_t seed = 12345;
  auto next = [&] { return seed = seed * 1103515245u + 12345u, (seed >> 16) % 32768u; };
  auto make = [&](size_t length) {
    std::string s;
    for (size_t i = 0; i < length; ++i) s += alphabet[next() % alphabet.size()];
    return s;
  };
  int found = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string pattern = make(1 + next() % 4);
    std::string haystack = make(next() % 40);
    bool expected = text::UCase(haystack).find(text::UCase(pattern)) != std::string::npos;
    ASSERT_EQ(text::NoCaseFinder(pattern).In(haystack), expected) << pattern << " in " << haystack;
    found += expected;
  }
  EXPECT_GT(found, 1000);
  EXPECT_LT(found, 19000);
}
