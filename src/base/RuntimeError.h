#pragma once
#include <stdexcept>
#include <string>

namespace kmd {

// A run-time error that ends the current command: thrown by the view, the recordset and
// conversions, caught by the form's own error handler or, failing that, by the form guard.
class RuntimeError : public std::runtime_error {
 public:
  explicit RuntimeError(const std::string& description) : std::runtime_error(description) {}
  std::string Description() const { return what(); }
};

}  // namespace kmd
