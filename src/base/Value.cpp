#include "base/Value.h"

#include <cmath>
#include <limits>

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd {

namespace {
Value FromWide(long long v) {
  if (v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max())
    return Value(static_cast<int>(v));
  return Value(static_cast<double>(v));
}
}  // namespace

Value::Value(long v) { *this = FromWide(v); }
Value::Value(long long v) { *this = FromWide(v); }

void Value::AssignText(const char* data, size_t size) {
  if (auto* s = std::get_if<std::string>(&m_Data)) s->assign(data, size);
  else m_Data.emplace<std::string>(data, size);
}

Value Value::Null() {
  Value v;
  v.m_Data = NullData{};
  return v;
}

Value Value::Date(std::string text) {
  Value v;
  v.m_Data = DateData{std::move(text)};
  return v;
}

std::string Value::ToText() const {
  switch (GetType()) {
    case Type::Empty:
    case Type::Null:
      return "";
    case Type::Boolean:
      return std::get<bool>(m_Data) ? "True" : "False";
    case Type::Long:
      return std::to_string(std::get<int32_t>(m_Data));
    case Type::Double:
      return text::FormatNumber(std::get<double>(m_Data));
    case Type::String:
      return std::get<std::string>(m_Data);
    case Type::Date:
      return std::get<DateData>(m_Data).text;
    case Type::Bytes: {
      const auto& b = std::get<Bytes>(m_Data);
      return std::string(b.begin(), b.end());
    }
  }
  return "";
}

double Value::ToDouble() const {
  switch (GetType()) {
    case Type::Empty:
    case Type::Null:
      return 0;
    case Type::Boolean:
      return std::get<bool>(m_Data) ? -1 : 0;
    case Type::Long:
      return std::get<int32_t>(m_Data);
    case Type::Double:
      return std::get<double>(m_Data);
    default:
      return text::Val(ToText());
  }
}

int32_t Value::ToLong() const {
  if (GetType() == Type::Long) return std::get<int32_t>(m_Data);
  double d = text::RoundHalfEven(ToDouble());
  if (!std::isfinite(d) || d < std::numeric_limits<int32_t>::min() ||
      d > std::numeric_limits<int32_t>::max())
    throw RuntimeError("Overflow");
  return static_cast<int32_t>(d);
}

bool Value::ToBool() const {
  if (GetType() == Type::Boolean) return std::get<bool>(m_Data);
  if (GetType() == Type::String) {
    std::string t = text::Trim(std::get<std::string>(m_Data));
    if (text::EqualsNoCase(t, "true")) return true;
    if (text::EqualsNoCase(t, "false") || t.empty()) return false;
  }
  return ToDouble() != 0;
}

const Value::Bytes& Value::ToBytes() const {
  static const Bytes kNone;
  if (GetType() == Type::Bytes) return std::get<Bytes>(m_Data);
  return kNone;
}

std::string Value::Display() const {
  switch (GetType()) {
    case Type::Empty:
      return "Empty";
    case Type::Null:
      return "Null";
    case Type::String:
      return "\"" + std::get<std::string>(m_Data) + "\"";
    case Type::Date:
      return "\"" + std::get<DateData>(m_Data).text + "\"";
    case Type::Bytes:
      return "<" + std::to_string(std::get<Bytes>(m_Data).size()) + " bytes>";
    default:
      return ToText();
  }
}

bool Value::Equal(const Value& other) const {
  return m_Data == other.m_Data;
}

}  // namespace kmd
