#include "files/PackTool.h"
#include "files_fixture.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;
using namespace kmd;

using test::ReadAll;
using test::WriteAll;

namespace {

// The commands run in a private working folder, as `kmd pack` and friends run in the user's.
class PackToolTest : public test::TempRoot {
 protected:
  void SetUp() override {
    TempRoot::SetUp();
    cwd = fs::current_path();
    fs::current_path(root);
  }
  void TearDown() override {
    fs::current_path(cwd);
    TempRoot::TearDown();
  }
  int Pack(const std::vector<std::string>& inputs, bool overwrite = true, const std::string& archive = "all.zlb") {
    zLibControl z;
    err.str("");
    return PackTool::Pack(z, archive, inputs, 6, overwrite, err);
  }
  int Unpack(const std::string& archive, bool checkCrc, bool overwrite) {
    zLibControl z;
    err.str("");
    return PackTool::Unpack(z, archive, "out", checkCrc, true, overwrite, err);
  }
  // The names that `kmd list` shows, or the error.
  std::string Names(const std::string& archive = "all.zlb") {
    zLibControl z;
    std::ostringstream out;
    err.str("");
    if (PackTool::List(z, archive, out, err) != 0) return err.str();
    std::string names, line;
    for (std::istringstream lines(out.str()); std::getline(lines, line);) names += line.substr(line.rfind('\t') + 1) + " ";
    return names;
  }

  fs::path cwd;
  std::ostringstream err;
};

}  // namespace

TEST_F(PackToolTest, PackLeavesOutTheContainerAndHiddenNamesAndSaysWhatItCouldNotDo) {
  WriteAll("a.txt", "a");
  WriteAll("b.txt", "b");
  WriteAll(".hidden", "h");
  WriteAll("한국.txt", "k");
  WriteAll("😀.txt", "e");

  // Two names that collapse to one stored name: refused, nothing written.
  EXPECT_EQ(Pack({"*"}), 1);
  EXPECT_EQ(err.str(),
            "kmd: \\한국.txt is stored as \\??.txt (not in code page 936)\n"
            "kmd: \\😀.txt is stored as \\??.txt (not in code page 936)\n"
            "kmd: 한국.txt and 😀.txt would both be stored as \\??.txt\n");
  EXPECT_FALSE(fs::exists("all.zlb"));

  // Run twice: the second run must not pack the container into itself.
  fs::remove("😀.txt");
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ(Pack({"*"}), 0);
    EXPECT_EQ(err.str(), "kmd: \\한국.txt is stored as \\??.txt (not in code page 936)\n");
    EXPECT_EQ(Names(), "\\a.txt \\b.txt \\??.txt ");
  }
  EXPECT_EQ(Pack({"all.zlb"}), 1);  // named alone, it is still left out
  EXPECT_EQ(err.str(), "kmd: nothing to add for all.zlb\nkmd: no files, or not a container\n");

  // An input that matches nothing: the others are packed, the status is 1.
  EXPECT_EQ(Pack({"nope*", "a.txt", "none.txt"}), 1);
  EXPECT_EQ(err.str(), "kmd: nothing to add for nope*\nkmd: nothing to add for none.txt\n");
  EXPECT_EQ(Names(), "\\a.txt ");

  EXPECT_EQ(Pack({"b.txt"}, false), 1);
  EXPECT_EQ(err.str(), "kmd: the target exists (use --overwrite)\n");
}

TEST_F(PackToolTest, UnpackReportsEachEntryItLeavesOut) {
  for (const char* name : {"a.txt", "b.txt", "c.txt", "e.txt"}) WriteAll(name, name[0] == 'e' ? "" : name);
  ASSERT_EQ(Pack({"a.txt", "b.txt", "c.txt", "e.txt", "../up.txt"}), 1);  // nothing matches ../up.txt
  std::string raw = ReadAll("all.zlb");
  // Spoil b's CRC and give the empty e a negative size.
  const size_t b = raw.find("\\b.txt") + 6 + 4, e = raw.find("\\e.txt") + 6 + 12;
  raw[b] = static_cast<char>(raw[b] ^ 1);
  raw.replace(e, 4, "\xff\xff\xff\xff");
  WriteAll("bad.zlb", raw);
  WriteAll("out/a.txt", "old");

  EXPECT_EQ(Unpack("bad.zlb", true, false), 1);
  EXPECT_EQ(err.str(), "skipped \\a.txt (exists)\nskipped \\b.txt (CRC mismatch)\nskipped \\e.txt (negative size)\n");
  EXPECT_EQ(ReadAll("out/a.txt"), "old");
  EXPECT_FALSE(fs::exists("out/b.txt"));
  EXPECT_EQ(ReadAll("out/c.txt"), "c.txt");

  EXPECT_EQ(Unpack("all.zlb", true, true), 0);
  EXPECT_EQ(err.str(), "");
  EXPECT_EQ(ReadAll("out/a.txt"), "a.txt");

  EXPECT_EQ(Unpack("none.zlb", false, true), 1);
  EXPECT_EQ(err.str(), "kmd: the file is missing or is a directory\n");
}

TEST_F(PackToolTest, ListShowsTheEntriesItReadBeforeAnError) {
  WriteAll("a.txt", "hello");
  WriteAll("b.txt", "b");
  ASSERT_EQ(Pack({"a.txt", "b.txt"}), 0);
  zLibControl z;
  std::ostringstream out;
  ASSERT_EQ(PackTool::List(z, "all.zlb", out, err), 0);
  EXPECT_EQ(out.str(), "5\t21\t3610A686\t\\a.txt\n1\t17\t" + z.Original_Crc32(1) + "\t\\b.txt\n");

  const std::string raw = ReadAll("all.zlb");
  WriteAll("cut.zlb", raw.substr(0, raw.find("\\b.txt") + 2));
  out.str("");
  EXPECT_EQ(PackTool::List(z, "cut.zlb", out, err), 1);
  EXPECT_EQ(out.str(), "5\t21\t3610A686\t\\a.txt\n");
  EXPECT_EQ(err.str().rfind("kmd: Input past end of file", 0), 0u) << err.str();
}
