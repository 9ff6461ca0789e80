#include "hierarchies/CodeRule.h"

#include "base/Text.h"

namespace kmd {

namespace {

int Digit(char c) { return c >= '0' && c <= '9' ? c - '0' : 0; }

}  // namespace

int16_t ICodeRule::LevelLength(int level, const std::string& rule) const {
  int sum = 0;
  for (int i = 0; i < level && i < static_cast<int>(rule.size()); ++i) sum += Digit(rule[static_cast<size_t>(i)]);
  return static_cast<int16_t>(sum);
}

int16_t ICodeRule::CodeLevel(const std::string& code, const std::string& rule) const {
  size_t length = text::Len(code);
  if (length == 0) return 0;
  size_t sum = 0;
  for (size_t i = 0; i < rule.size(); ++i) {
    sum += static_cast<size_t>(Digit(rule[i]));
    if (sum == length) return static_cast<int16_t>(i + 1);
    if (sum > length) break;
  }
  return 0;
}

size_t ICodeRule::ParentLength(size_t length, const std::string& rule) const {
  size_t best = 0, sum = 0;
  for (char c : rule) {
    sum += static_cast<size_t>(Digit(c));
    if (sum >= length) break;
    best = sum;
  }
  return best;
}

std::string ICodeRule::ParentCode(const std::string& code, const std::string& rule) const {
  return text::Left(code, ParentLength(text::Len(code), rule));
}

bool ICodeRule::IsValidCode(const std::string& code, const std::string& rule) const {
  return CodeLevel(code, rule) > 0;
}

int16_t ICodeRule::ChildSegmentLength(const std::string& parentCode, const std::string& rule) const {
  int level = CodeLevel(parentCode, rule);
  return static_cast<int16_t>(LevelLength(level + 1, rule) - LevelLength(level, rule));
}

}  // namespace kmd
