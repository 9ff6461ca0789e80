#pragma once
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

// Text and number helpers with the suite's meaning. Counts of characters are in UTF-16 code
// units, so that lengths, Left, Mid and InStr agree with the suite on any text; strings are UTF-8.
namespace kmd::text {

// Removes leading and trailing blanks (space only, as the suite's Trim does).
std::string Trim(std::string_view s);
std::string LTrim(std::string_view s);
std::string RTrim(std::string_view s);

// Numeric reading of the start of a text, as Val does: blanks are skipped, digits with an optional
// sign, decimal point and exponent, or &H/&O prefixes; no number reads 0.
double Val(std::string_view s);

// The numeric value of a text as a field's number is read: leading blanks skipped, then an optional
// sign, digits, an optional "." with digits and an optional exponent, up to the first other
// character. Nothing read is 0.
double NumericValue(std::string_view s);

// True when the whole trimmed text is a number (IsNumeric).
bool IsNumeric(std::string_view s);

// Rounds to the nearest whole number, halves to even (banker's rounding).
double RoundHalfEven(double v);

// Number written as the suite writes it: whole numbers without a decimal point, others with the
// shortest round-trip digits.
std::string FormatNumber(double v);

// Latin-only upper and lower case: other characters are left as they are.
std::string UCase(std::string_view s);
std::string LCase(std::string_view s);
bool EqualsNoCase(std::string_view a, std::string_view b);
// Finds a text inside others without regard to Latin case, for searches over many texts: the
// pattern is prepared once, and each byte is compared under a mask that folds case only where the
// pattern has a letter, so that no text is copied or converted.
class NoCaseFinder {
 public:
  explicit NoCaseFinder(std::string_view pattern);
  bool In(std::string_view s) const;

 private:
  std::string m_Upper;
  std::string m_Mask;
};

// UTF-16 code unit counts and slices.
std::u16string ToUtf16(std::string_view s);
std::string FromUtf16(std::u16string_view s);
size_t Len(std::string_view s);
// True when every byte is below 0x80: a character is then a byte and a code unit.
bool IsAscii(std::string_view s);
std::string Left(std::string_view s, size_t n);
std::string Right(std::string_view s, size_t n);
// 1-based start, like Mid; npos length takes the rest.
std::string Mid(std::string_view s, size_t start, size_t length = std::string::npos);
// 1-based position of needle in haystack from start, 0 when absent (InStr, binary compare).
size_t InStr(std::string_view haystack, std::string_view needle, size_t start = 1);

std::string Replace(std::string_view s, std::string_view what, std::string_view with);
// The parts one after the other, made in one allocation.
std::string Concat(std::initializer_list<std::string_view> parts);
std::vector<std::string> Split(std::string_view s, char sep);
bool StartsWithNoCase(std::string_view s, std::string_view prefix);
// A value to be written between single quotes in a statement: its quotes are doubled, so that the
// value stays one literal whatever it holds.
std::string Lit(std::string_view value);
// The value as a literal of its own: between single quotes, its quotes doubled.
std::string Quote(std::string_view value);
// A comma-separated text as a list of literals for IN (...): "a,b" gives "'a','b'", "" gives "".
std::string QuoteList(std::string_view commaSeparated);
// Text that a field can store: valid UTF-8 without a NUL byte.
bool IsStorableText(std::string_view s);

}  // namespace kmd::text
