#pragma once
#include <cstdint>
#include <stdexcept>
#include <string>

namespace kmd {

// A run-time error that ends the current command: thrown by the view, the recordset and
// conversions, caught by the form's own error handler or, failing that, by the form guard.
class RuntimeError : public std::runtime_error {
 public:
  explicit RuntimeError(const std::string& description) : std::runtime_error(description) {}
  // An error raised with its own number and source, as a routine's documented failures are.
  RuntimeError(int32_t number, std::string source, const std::string& description)
      : std::runtime_error(description), m_Number(number), m_Source(std::move(source)) {}
  std::string Description() const { return what(); }
  int32_t Number() const { return m_Number; }  // 0 when none was given
  const std::string& Source() const { return m_Source; }

 private:
  int32_t m_Number = 0;
  std::string m_Source;
};

}  // namespace kmd
