#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kmd {

// The Variant of the forms: Empty, Null, Boolean, Long (32-bit), Double, String, Bytes, and Date
// kept as text. Conversions follow the suite: Null appended to "" is "", a text that is no number
// reads 0, whole numbers are rounded half to even.
class Value {
 public:
  enum class Type { Empty, Null, Boolean, Long, Double, String, Bytes, Date };
  using Bytes = std::vector<unsigned char>;

  Value() = default;
  Value(bool b) : m_Data(b) {}
  Value(int v) : m_Data(static_cast<int32_t>(v)) {}
  Value(long v);
  Value(long long v);
  Value(double d) : m_Data(d) {}
  Value(const char* s) : m_Data(std::string(s)) {}
  Value(std::string s) : m_Data(std::move(s)) {}
  Value(Bytes b) : m_Data(std::move(b)) {}

  static Value Null();
  // Makes the value this text, reusing the room of a text it already holds: a loop that reads row
  // after row into the same values allocates nothing for texts that fit.
  void AssignText(const char* data, size_t size);
  // Makes the value this number as Value(long long) and Value(double) do, in place.
  void AssignWide(long long v) {
    if (v < INT32_MIN || v > INT32_MAX) m_Data.emplace<double>(static_cast<double>(v));
    else if (auto* p = std::get_if<int32_t>(&m_Data)) *p = static_cast<int32_t>(v);
    else m_Data.emplace<int32_t>(static_cast<int32_t>(v));
  }
  void AssignDouble(double d) {
    if (auto* p = std::get_if<double>(&m_Data)) *p = d;
    else m_Data.emplace<double>(d);
  }
  static Value Date(std::string text);

  Type GetType() const { return static_cast<Type>(m_Data.index()); }
  bool IsEmpty() const { return GetType() == Type::Empty; }
  bool IsNull() const { return GetType() == Type::Null; }
  bool IsNumeric() const {
    Type t = GetType();
    return t == Type::Long || t == Type::Double || t == Type::Boolean;
  }

  // Text of the value as "" & value gives it: Empty and Null give "", True gives "True".
  std::string ToText() const;
  // The same text without a copy when the value holds a text; the text of any other value is
  // made in `room`. The view lasts while the value and `room` do.
  std::string_view TextView(std::string& room) const {
    if (const auto* s = std::get_if<std::string>(&m_Data)) return *s;
    room = ToText();
    return room;
  }
  // Numeric reading: numbers as they are, text by Val (no number reads 0), Null and Empty 0.
  double ToDouble() const;
  // Whole number, rounded half to even; throws RuntimeError when it does not fit 32 bits.
  int32_t ToLong() const;
  // Non-zero numbers and the texts "True"/"-1"/non-zero numbers are true.
  bool ToBool() const;
  const Bytes& ToBytes() const;

  // How a transcript writes the value: True/False, numbers as digits, strings in double quotes,
  // Null and Empty by name.
  std::string Display() const;

  // Same type and value (the common case of two whole numbers is answered here, in line).
  bool operator==(const Value& other) const {
    if (m_Data.index() != other.m_Data.index()) return false;
    if (const auto* i = std::get_if<int32_t>(&m_Data)) return *i == *std::get_if<int32_t>(&other.m_Data);
    return Equal(other);
  }

 private:
  struct NullData {
    bool operator==(const NullData&) const = default;
  };
  struct DateData {
    std::string text;
    bool operator==(const DateData&) const = default;
  };
  // The alternative held is the type: the alternatives stand in the order of Type.
  bool Equal(const Value& other) const;
  std::variant<std::monostate, NullData, bool, int32_t, double, std::string, Bytes, DateData> m_Data;
};

}  // namespace kmd
