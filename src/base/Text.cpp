#include "base/Text.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kmd::text {

namespace {
// The text without its leading or trailing spaces, as a view (one copy at the end, by the caller).
std::string_view LeftTrimmed(std::string_view s) {
  size_t b = 0;
  while (b < s.size() && s[b] == ' ') ++b;
  return s.substr(b);
}
std::string_view RightTrimmed(std::string_view s) {
  size_t e = s.size();
  while (e > 0 && s[e - 1] == ' ') --e;
  return s.substr(0, e);
}
}  // namespace

std::string LTrim(std::string_view s) { return std::string(LeftTrimmed(s)); }
std::string RTrim(std::string_view s) { return std::string(RightTrimmed(s)); }
std::string Trim(std::string_view s) { return std::string(LeftTrimmed(RightTrimmed(s))); }

double Val(std::string_view s) {
  size_t i = 0;
  auto skip = [&] {
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\n' || s[i] == '\r')) ++i;
  };
  skip();
  if (i + 1 < s.size() && s[i] == '&' && (s[i + 1] == 'H' || s[i + 1] == 'h' || s[i + 1] == 'O' || s[i + 1] == 'o')) {
    int base = (s[i + 1] == 'H' || s[i + 1] == 'h') ? 16 : 8;
    i += 2;
    long long v = 0;
    bool any = false;
    while (i < s.size()) {
      char c = s[i];
      int d = -1;
      if (c >= '0' && c <= '9') d = c - '0';
      else if (base == 16 && c >= 'a' && c <= 'f') d = c - 'a' + 10;
      else if (base == 16 && c >= 'A' && c <= 'F') d = c - 'A' + 10;
      if (d < 0 || d >= base) break;
      v = v * base + d;
      any = true;
      ++i;
      if (v > 0xFFFFFFFFLL) break;
    }
    if (!any) return 0;
    // &H values are 16- or 32-bit signed, as the suite reads them.
    if (v <= 0xFFFF && base == 16) return v > 0x7FFF ? v - 0x10000 : v;
    if (v <= 0xFFFFFFFFLL) return v > 0x7FFFFFFF ? v - 0x100000000LL : v;
    return static_cast<double>(v);
  }
  // Val ignores blanks inside the number; collect the characters that form it.
  std::string num;
  bool digits = false, dot = false, exp = false;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) num += s[i++];
  for (; i < s.size(); ++i) {
    char c = s[i];
    if (c == ' ' || c == '\t') continue;
    if (c >= '0' && c <= '9') {
      num += c;
      digits = true;
    } else if (c == '.' && !dot && !exp) {
      num += c;
      dot = true;
    } else if ((c == 'e' || c == 'E' || c == 'd' || c == 'D') && digits && !exp) {
      size_t j = i + 1;
      if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
      if (j < s.size() && s[j] >= '0' && s[j] <= '9') {
        num += 'e';
        if (s[i + 1] == '+' || s[i + 1] == '-') num += s[++i];
        exp = true;
      } else {
        break;
      }
    } else {
      break;
    }
  }
  if (!digits) return 0;
  return std::strtod(num.c_str(), nullptr);
}

bool IsNumeric(std::string_view s) {
  std::string t = Trim(s);
  if (t.empty()) return false;
  char* end = nullptr;
  std::strtod(t.c_str(), &end);
  return end && *end == '\0';
}

double RoundHalfEven(double v) { return std::nearbyint(v); }

double NumericValue(std::string_view s) {
  size_t i = 0;
  while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
  size_t start = i;
  auto digits = [&] {
    size_t from = i;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i;
    return i > from;
  };
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
  bool any = digits();
  if (i < s.size() && s[i] == '.') {
    size_t dot = i++;
    if (!digits()) i = dot;
    else any = true;
  }
  if (!any) return 0;
  size_t end = i;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    if (digits()) end = i;
  }
  double v = std::strtod(std::string(s.substr(start, end - start)).c_str(), nullptr);
  return std::isfinite(v) ? v : 0;
}

std::string FormatNumber(double v) {
  if (std::isfinite(v) && v == std::floor(v) && std::fabs(v) < 1e15) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.0f", v);
    return buf;
  }
  char buf[64];
  for (int prec = 1; prec <= 17; ++prec) {
    std::snprintf(buf, sizeof buf, "%.*g", prec, v);
    if (std::strtod(buf, nullptr) == v) break;
  }
  return buf;
}

std::string UCase(std::string_view s) {
  std::string r(s);
  for (auto& c : r)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return r;
}

std::string LCase(std::string_view s) {
  std::string r(s);
  for (auto& c : r)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return r;
}

namespace {
char UpperLatin(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
}  // namespace

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (UpperLatin(a[i]) != UpperLatin(b[i])) return false;
  return true;
}

NoCaseFinder::NoCaseFinder(std::string_view pattern) : m_Upper(UCase(pattern)), m_Mask(m_Upper.size(), '\xFF') {
  // Clearing bit 0x20 turns a and A alike into A, and no other byte into a letter.
  for (size_t i = 0; i < m_Upper.size(); ++i)
    if (m_Upper[i] >= 'A' && m_Upper[i] <= 'Z') m_Mask[i] = static_cast<char>(0xDF);
}

bool NoCaseFinder::In(std::string_view s) const {
  const size_t n = m_Upper.size();
  if (n == 0) return true;
  if (s.size() < n) return false;
  const char* upper = m_Upper.data();
  const char* mask = m_Mask.data();
  const char* text = s.data();
  const size_t last = s.size() - n;  // the last place the pattern may start
  auto matchAt = [&](size_t at) {
    size_t k = 0;
    while (k < n && (text[at + k] & mask[k]) == upper[k]) ++k;
    return k == n;
  };
  size_t at = 0;
  if constexpr (std::endian::native == std::endian::little) {
    // Eight places at a time: the bytes of a word that hold the pattern's first character (in
    // either case) come out as zero bytes, and the zero-byte test marks them (and at most a few
    // more after a zero, which matchAt turns down).
    constexpr uint64_t kOnes = 0x0101010101010101ULL, kHighs = 0x8080808080808080ULL;
    const uint64_t firstMask = kOnes * static_cast<unsigned char>(mask[0]);
    const uint64_t first = kOnes * static_cast<unsigned char>(upper[0]);
    for (; at + 8 <= last + 1; at += 8) {
      uint64_t word;
      std::memcpy(&word, text + at, sizeof word);
      uint64_t x = (word & firstMask) ^ first;
      for (uint64_t marks = (x - kOnes) & ~x & kHighs; marks; marks &= marks - 1)
        if (matchAt(at + static_cast<size_t>(__builtin_ctzll(marks)) / 8)) return true;
    }
  }
  for (; at <= last; ++at)
    if (matchAt(at)) return true;
  return false;
}

namespace {

// The code point of the UTF-8 sequence at `i` and its length in bytes; 0 when the bytes there
// do not make a sequence (a stray continuation byte, a bad lead byte, a sequence cut short).
size_t DecodeOne(std::string_view s, size_t i, uint32_t& cp) {
  auto c = static_cast<unsigned char>(s[i]);
  size_t extra;
  if (c < 0x80) { cp = c; extra = 0; }
  else if ((c >> 5) == 6) { cp = c & 0x1F; extra = 1; }
  else if ((c >> 4) == 14) { cp = c & 0x0F; extra = 2; }
  else if ((c >> 3) == 30) { cp = c & 0x07; extra = 3; }
  else return 0;
  for (size_t k = 1; k <= extra; ++k) {
    if (i + k >= s.size() || (static_cast<unsigned char>(s[i + k]) >> 6) != 2) return 0;
    cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
  }
  return extra + 1;
}

}  // namespace

std::u16string ToUtf16(std::string_view s) {
  std::u16string out;
  out.reserve(s.size());
  size_t i = 0;
  while (i < s.size()) {
    uint32_t cp;
    size_t length = DecodeOne(s, i, cp);
    if (length == 0) { out.push_back(0xFFFD); ++i; continue; }
    i += length;
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

std::string FromUtf16(std::u16string_view s) {
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size(); ++i) {
    uint32_t cp = s[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (s[i + 1] - 0xDC00);
      ++i;
    }
    if (cp < 0x80) {
      out += static_cast<char>(cp);
    } else if (cp < 0x800) {
      out += static_cast<char>(0xC0 | (cp >> 6));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
      out += static_cast<char>(0xE0 | (cp >> 12));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (cp >> 18));
      out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }
  return out;
}

// Codes and keys are mostly ASCII, where a character is a byte: the helpers below then cut the
// text as it is instead of converting it there and back.
bool IsAscii(std::string_view s) {
  for (char c : s)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

size_t Len(std::string_view s) {
  // UTF-16 units, as the suite counts them, without making the UTF-16 text.
  size_t units = 0;
  for (size_t i = 0; i < s.size();) {
    if (static_cast<unsigned char>(s[i]) < 0x80) {
      ++units;
      ++i;
      continue;
    }
    uint32_t cp;
    size_t length = DecodeOne(s, i, cp);
    units += length == 0 ? 1 : cp >= 0x10000 ? 2 : 1;
    i += length == 0 ? 1 : length;
  }
  return units;
}

std::string Left(std::string_view s, size_t n) {
  if (IsAscii(s)) return std::string(s.substr(0, n));
  auto u = ToUtf16(s);
  return FromUtf16(std::u16string_view(u).substr(0, n));
}

std::string Right(std::string_view s, size_t n) {
  if (IsAscii(s)) return std::string(n >= s.size() ? s : s.substr(s.size() - n));
  auto u = ToUtf16(s);
  if (n >= u.size()) return std::string(s);
  return FromUtf16(std::u16string_view(u).substr(u.size() - n));
}

std::string Mid(std::string_view s, size_t start, size_t length) {
  if (start < 1) start = 1;
  if (IsAscii(s)) return start > s.size() ? "" : std::string(s.substr(start - 1, length));
  auto u = ToUtf16(s);
  if (start > u.size()) return "";
  return FromUtf16(std::u16string_view(u).substr(start - 1, length));
}

size_t InStr(std::string_view haystack, std::string_view needle, size_t start) {
  auto h = ToUtf16(haystack);
  auto n = ToUtf16(needle);
  if (start < 1) start = 1;
  if (start > h.size() + 1) return 0;
  auto pos = std::u16string_view(h).find(n, start - 1);
  return pos == std::u16string::npos ? 0 : pos + 1;
}

std::string Concat(std::initializer_list<std::string_view> parts) {
  size_t size = 0;
  for (auto p : parts) size += p.size();
  std::string out;
  out.reserve(size);
  for (auto p : parts) out.append(p);
  return out;
}

std::string Replace(std::string_view s, std::string_view what, std::string_view with) {
  if (what.empty()) return std::string(s);
  std::string out;
  size_t i = 0;
  while (true) {
    size_t p = s.find(what, i);
    if (p == std::string_view::npos) break;
    out.append(s.substr(i, p - i));
    out.append(with);
    i = p + what.size();
  }
  out.append(s.substr(i));
  return out;
}

std::vector<std::string> Split(std::string_view s, char sep) {
  std::vector<std::string> out;
  size_t i = 0;
  while (true) {
    size_t p = s.find(sep, i);
    if (p == std::string_view::npos) {
      out.emplace_back(s.substr(i));
      break;
    }
    out.emplace_back(s.substr(i, p - i));
    i = p + 1;
  }
  return out;
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
  return s.size() >= prefix.size() && EqualsNoCase(s.substr(0, prefix.size()), prefix);
}

std::string Lit(std::string_view value) { return Replace(value, "'", "''"); }

std::string Quote(std::string_view value) { return "'" + Lit(value) + "'"; }

std::string QuoteList(std::string_view commaSeparated) {
  std::string list;
  if (commaSeparated.empty()) return list;
  for (const auto& item : Split(commaSeparated, ',')) list += (list.empty() ? "" : ",") + Quote(item);
  return list;
}

bool IsStorableText(std::string_view s) {
  for (size_t i = 0; i < s.size();) {
    uint32_t cp;
    size_t length = DecodeOne(s, i, cp);
    // Overlong forms, surrogates and values past U+10FFFF are not text either.
    static const uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (length == 0 || cp == 0 || cp < least[length] || (cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF)
      return false;
    i += length;
  }
  return true;
}

}  // namespace kmd::text
