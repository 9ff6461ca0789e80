#pragma once
#include <string>

#include "view/Platform.h"

namespace kmd::test {

// A platform for tests that show no box: every box answers OK, every input box Cancel.
class SilentPlatform : public view::Platform {
 public:
  int MsgBox(const std::string&, int, const std::string&) override { return view::vbOK; }
  std::string InputBox(const std::string&, const std::string&, const std::string&) override { return ""; }
};

}  // namespace kmd::test
