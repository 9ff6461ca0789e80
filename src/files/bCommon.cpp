#include "files/bCommon.h"

#include "base/Text.h"

namespace kmd::bCommon {

std::string NextNumberedName(const std::string& text) {
  if (text::Val(text) == 0) return "";
  const size_t at = text.find_first_of("123456789");
  // A value without such a digit (a hexadecimal "&HA") has no number to count on.
  if (at == std::string::npos) return "";
  return text.substr(0, at) + text::FormatNumber(text::Val(text.substr(at)) + 1);
}

}  // namespace kmd::bCommon
