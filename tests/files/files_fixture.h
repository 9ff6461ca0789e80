#pragma once
// The file tests' private folder per test, with the temporary folder (TMPDIR) pointed into it.
#include <gtest/gtest.h>
#include <stdlib.h>

#include "support/FileText.h"

namespace kmd::test {

class TempRoot : public ::testing::Test {
 protected:
  void SetUp() override {
    root = ScratchDir("kmd_files");
    tmp = root / "tmp";
    std::filesystem::create_directories(tmp);
    setenv("TMPDIR", tmp.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("TMPDIR");
    std::filesystem::remove_all(root);
  }
  std::filesystem::path root, tmp;
};

}  // namespace kmd::test
