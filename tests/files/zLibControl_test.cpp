#include "files/zLibControl.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <random>

#include "base/RuntimeError.h"
#include "files/FilePaths.h"
#include "files_fixture.h"

namespace fs = std::filesystem;
using kmd::zLibControl;
using Bytes = std::string;
using kmd::test::ReadAll;
using kmd::test::WriteAll;

namespace {

Bytes FromHex(const std::string& hex) {
  Bytes out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return out;
}

int32_t LongAt(const Bytes& b, size_t at) {
  uint32_t v = 0;
  for (int k = 3; k >= 0; --k) v = v << 8 | static_cast<unsigned char>(b[at + k]);
  return static_cast<int32_t>(v);
}

void PutLong(Bytes& b, size_t at, int32_t v) {
  for (int k = 0; k < 4; ++k) b[at + k] = static_cast<char>(static_cast<uint32_t>(v) >> (8 * k));
}

Bytes Noise(size_t n, unsigned seed) {
  std::mt19937 rng(seed);
  Bytes b(n, '\0');
  // Half random, half repeating text, so blocks both shrink and not.
  for (size_t i = 0; i < n; ++i) b[i] = (i / 5000) % 2 ? char(rng()) : char('a' + i % 7);
  return b;
}

// One entry as a reader that follows the container format gets it, with zlib alone.
struct FormatEntry {
  Bytes name;  // as stored, code page 936
  int32_t compressedSize = 0;
  Bytes data;
};

// Reads a whole container by the format: the name's length field counts characters (a lead byte
// 0x81 to 0xFE takes the next byte with it), every block inflates to its stated length, the CRCs
// hold, every name begins with "\", and no byte is left over. Any breach fails the test.
std::vector<FormatEntry> ReadByFormat(const Bytes& raw) {
  std::vector<FormatEntry> entries;
  size_t at = 0;
  auto need = [&](size_t n) {
    if (at + n > raw.size()) throw std::runtime_error("past the end at " + std::to_string(at));
  };
  auto next = [&] {
    need(4);
    at += 4;
    return LongAt(raw, at - 4);
  };
  if (next() != 21 || (need(21), raw.compare(at, 21, "MorvelLab zLibControl") != 0)) throw std::runtime_error("banner");
  at += 21;
  const int32_t last = next();
  for (int32_t i = 0; i <= last; ++i) {
    FormatEntry e;
    const int32_t chars = next();
    for (int32_t k = 0; k < chars; ++k) {
      need(1);
      const auto b = static_cast<unsigned char>(raw[at]);
      const size_t len = b >= 0x81 && b <= 0xFE ? 2 : 1;
      need(len);
      e.name += raw.substr(at, len);
      at += len;
    }
    if (e.name.empty() || e.name[0] != '\\') throw std::runtime_error("name without a leading backslash");
    const int32_t size = next();
    const auto crc = static_cast<uint32_t>(next());
    next();
    e.compressedSize = next();
    need(static_cast<size_t>(std::max(0, e.compressedSize)));
    const size_t end = at + static_cast<size_t>(std::max(0, e.compressedSize));
    while (at < end) {
      const int32_t orig = next(), comp = next();
      need(static_cast<size_t>(comp));
      Bytes block(static_cast<size_t>(orig), '\0');
      uLongf len = static_cast<uLongf>(orig);
      if (uncompress(reinterpret_cast<Bytef*>(block.data()), &len, reinterpret_cast<const Bytef*>(raw.data() + at),
                     static_cast<uLong>(comp)) != Z_OK || len != static_cast<uLongf>(orig))
        throw std::runtime_error("a block that does not inflate");
      e.data += block;
      at += static_cast<size_t>(comp);
    }
    if (at != end || static_cast<int32_t>(e.data.size()) != size ||
        crc32(0, reinterpret_cast<const Bytef*>(e.data.data()), static_cast<uInt>(e.data.size())) != crc)
      throw std::runtime_error("entry " + std::to_string(i) + " does not add up");
    entries.push_back(std::move(e));
  }
  if (at != raw.size()) throw std::runtime_error("bytes left over");
  return entries;
}

// Each test runs with a private temporary folder, so leftovers of the control can be counted.
class ZLibTest : public kmd::test::TempRoot {
 protected:
  void SetUp() override {
    TempRoot::SetUp();
    out = root / "out";
  }
  size_t TempCount() const { return static_cast<size_t>(std::distance(fs::directory_iterator(tmp), {})); }

  fs::path out;
};

// Packs the given (stored name, content) pairs into root/c.zlb.
fs::path Pack(const fs::path& root, const std::vector<std::pair<std::string, Bytes>>& entries, int level = 6,
              int readBuf = 65536) {
  zLibControl z;
  z.SetReadBuf(readBuf);
  int i = 0;
  for (const auto& [name, data] : entries) {
    const fs::path src = root / "src" / std::to_string(i);
    WriteAll(src, data);
    EXPECT_TRUE(z.AddFile(src.string()));
    z.SetFilename(i++, name);
  }
  const fs::path c = root / "c.zlb";
  EXPECT_EQ(z.Compress(c.string(), true, level), 0);
  return c;
}

int16_t Unpack(zLibControl& z, const fs::path& c, const fs::path& out, bool usePaths = true) {
  return z.Decompress(c.string(), out.string(), false, true, false, false, usePaths, true);
}

}  // namespace

TEST_F(ZLibTest, WritesTheKnownContainerForOneSmallFile) {
  zLibControl z;
  WriteAll(root / "ab.txt", "hello");
  ASSERT_TRUE(z.AddFile((root / "ab.txt").string()));
  EXPECT_EQ(z.Original_Crc32(0), "3610A686");
  EXPECT_EQ(z.FileSize(0), 5);
  z.SetFilename(0, "C:\\t\\ab.txt");
  EXPECT_EQ(z.filename(0), "\\t\\ab.txt");
  ASSERT_EQ(z.Compress((root / "c.zlb").string(), false, 6), 0);
  EXPECT_EQ(ReadAll(root / "c.zlb"),
            FromHex("150000004d6f7276656c4c6162207a4c6962436f6e74726f6c0000000009000000"
                    "5c745c61622e7478740500000086a6103644fe85aa15000000050000000d000000"
                    "789ccb48cdc9c90700062c0215"));
  EXPECT_EQ(z.Compressed_CRC32(0), "AA85FE44");
  EXPECT_EQ(z.Compressed_Size(0), 21);
  EXPECT_EQ(TempCount(), 0u);

  // Level 10 is unknown to zlib and falls back to 6 for the whole call.
  ASSERT_EQ(z.Compress((root / "c10.zlb").string(), false, 10), 0);
  EXPECT_EQ(ReadAll(root / "c10.zlb"), ReadAll(root / "c.zlb"));
}

TEST_F(ZLibTest, CompressStatuses) {
  zLibControl z;
  EXPECT_EQ(z.Compress((root / "c.zlb").string(), true, 6), -7);
  WriteAll(root / "a.txt", "abc");
  ASSERT_TRUE(z.AddFile((root / "a.txt").string()));
  EXPECT_EQ(z.Compress(root.string(), true, 6), -9);
  WriteAll(root / "c.zlb", "keep");
  EXPECT_EQ(z.Compress((root / "c.zlb").string(), false, 6), -8);
  EXPECT_EQ(ReadAll(root / "c.zlb"), "keep");
  EXPECT_EQ(z.Compress((root / "c.zlb").string(), true, 6), 0);
  EXPECT_NE(ReadAll(root / "c.zlb"), "keep");
}

TEST_F(ZLibTest, DecompressStatusesLeaveListAloneOnBadBanner) {
  zLibControl z;
  WriteAll(root / "a.txt", "abc");
  ASSERT_TRUE(z.AddFile((root / "a.txt").string()));
  EXPECT_EQ(z.Decompress((root / "none").string(), out.string(), false, true, false, false, true, true), -9);
  EXPECT_EQ(z.Decompress(root.string(), out.string(), false, true, false, false, true, true), -9);

  Bytes bad = ReadAll(Pack(root, {{"\\a", "a"}}));
  bad[4] = 'm';
  for (const Bytes& b : {bad, Bytes("\x15\0\0\0Morvel", 10), Bytes("\xff\xff\xff\x7f", 4), Bytes()}) {
    WriteAll(root / "bad.zlb", b);
    EXPECT_EQ(z.Decompress((root / "bad.zlb").string(), out.string(), false, true, false, false, true, true), -7);
    EXPECT_EQ(z.FileCount(), 1);
    EXPECT_EQ(z.Path(0), (root / "a.txt").string());
  }
}

TEST_F(ZLibTest, CrcSwitchesDecideWhatIsKept) {
  Bytes raw = ReadAll(Pack(root, {{"\\a.txt", "payload"}}));
  // Spoil the stored CRC of the original: the blocks still inflate.
  const size_t crcAt = 29 + 4 + 6 + 4;
  PutLong(raw, crcAt, LongAt(raw, crcAt) ^ 1);
  const fs::path file = root / "bad.zlb";
  WriteAll(file, raw);

  struct Case {
    bool check, dbl, save, written;
  };
  for (const Case c : {Case{true, false, false, false}, Case{false, false, false, true}, Case{true, false, true, true},
                       Case{true, true, true, true}, Case{false, true, false, true}}) {
    SCOPED_TRACE(testing::Message() << c.check << c.dbl << c.save);
    zLibControl z;
    fs::remove_all(out);
    EXPECT_EQ(z.Decompress(file.string(), out.string(), false, c.check, c.dbl, c.save, true, true), 0);
    EXPECT_EQ(fs::exists(out / "a.txt"), c.written);
  }
  // The double check cannot decide by itself.
  zLibControl z;
  fs::remove_all(out);
  EXPECT_THROW(z.Decompress(file.string(), out.string(), false, true, true, false, true, true), kmd::RuntimeError);
  EXPECT_FALSE(fs::exists(out / "a.txt"));
  EXPECT_EQ(TempCount(), 0u);
}

TEST_F(ZLibTest, BlockThatDoesNotInflateGivesZlibCodeAndNoOutput) {
  Bytes raw = ReadAll(Pack(root, {{"\\a.txt", Noise(3000, 1)}, {"\\b.txt", "b"}}));
  const size_t data = 29 + 4 + 6 + 16 + 8;
  raw[data + 2] = static_cast<char>(raw[data + 2] ^ 0x55);
  raw[data + 3] = static_cast<char>(raw[data + 3] ^ 0x55);
  WriteAll(root / "bad.zlb", raw);
  zLibControl z;
  EXPECT_EQ(Unpack(z, root / "bad.zlb", out), -3);  // zlib's data error
  EXPECT_FALSE(fs::exists(out / "a.txt"));
  EXPECT_FALSE(fs::exists(out / "b.txt"));
  EXPECT_EQ(TempCount(), 0u);
}

TEST_F(ZLibTest, BlockLengthClaimsAreNotTrusted) {
  const Bytes data = Noise(10000, 5);
  Bytes raw = ReadAll(Pack(root, {{"\\a.bin", data}}));
  const size_t block = 29 + 4 + 6 + 16;
  // An unpacked length far too large is bounded by what the block can hold; one too small
  // is retried with more room; no room at all is zlib's data error.
  for (int32_t claim : {0x7fffffff, 1, 0}) {
    SCOPED_TRACE(claim);
    Bytes b = raw;
    PutLong(b, block, claim);
    WriteAll(root / "b.zlb", b);
    zLibControl z;
    fs::remove_all(out);
    ASSERT_EQ(Unpack(z, root / "b.zlb", out), claim ? 0 : -3);
    if (claim) EXPECT_EQ(ReadAll(out / "a.bin"), data);
    else EXPECT_FALSE(fs::exists(out / "a.bin"));
  }

  // Lengths that reach past the end of the file, or below zero, are file errors.
  for (auto [at, claim] : {std::pair<size_t, int32_t>{block + 4, 0x7fffffff}, {block + 4, -1}, {block, -5},
                           {29, 0x7fffffff}, {29, -2}, {25, 0x7ffffff0}, {25, -3}}) {
    SCOPED_TRACE(testing::Message() << at << " " << claim);
    Bytes b = raw;
    PutLong(b, at, claim);
    WriteAll(root / "b.zlb", b);
    zLibControl z;
    fs::remove_all(out);
    EXPECT_THROW(Unpack(z, root / "b.zlb", out), kmd::RuntimeError);
    EXPECT_FALSE(fs::exists(out / "a.bin"));
    EXPECT_EQ(TempCount(), 0u);
  }
}

TEST_F(ZLibTest, EveryTruncationFailsCleanly) {
  const Bytes raw = ReadAll(Pack(root, {{"\\a.bin", Noise(300, 2)}, {"\\中.txt", "zz"}}));
  for (size_t n = 0; n < raw.size(); ++n) {
    SCOPED_TRACE(n);
    WriteAll(root / "t.zlb", raw.substr(0, n));
    zLibControl z;
    fs::remove_all(out);
    try {
      EXPECT_EQ(Unpack(z, root / "t.zlb", out), -7);
    } catch (const kmd::RuntimeError&) {
    }
    EXPECT_FALSE(fs::exists(out / "中.txt"));
    EXPECT_EQ(TempCount(), 0u);
  }
}

TEST_F(ZLibTest, SourceDeletedAfterAddIsSkippedButStillCounted) {
  WriteAll(root / "a.txt", "aaa");
  WriteAll(root / "b.txt", "bbb");
  zLibControl z;
  ASSERT_TRUE(z.AddFile((root / "a.txt").string()));
  ASSERT_TRUE(z.AddFile((root / "b.txt").string()));
  fs::remove(root / "b.txt");
  ASSERT_EQ(z.Compress((root / "c.zlb").string(), false, 6), 0);
  EXPECT_EQ(LongAt(ReadAll(root / "c.zlb"), 25), 1);

  zLibControl r;
  EXPECT_THROW(Unpack(r, root / "c.zlb", out, false), kmd::RuntimeError);
  EXPECT_EQ(ReadAll(out / "a.txt"), "aaa");
}

TEST_F(ZLibTest, OddNamesMakeContainersThatAFormatReaderReads) {
  // Input path (relative to root unless absolute) and the name stored for it, in code page 936.
  const std::vector<std::pair<std::string, Bytes>> cases{
      {"src/one.bin", "\\src\\one.bin"},
      {"./src/../up.txt", "\\up.txt"},
      {"caf\xe9.txt", "\\caf?.txt"},            // not UTF-8: one "?" for the byte
      {"\xe9\xe9", "\\??"},                      // a lead byte whose sequence never comes
      {"한국.txt", "\\??.txt"},                  // outside code page 936
      {"😀x.txt", "\\??x.txt"},                  // beyond the BMP: two units, two "?"
      {"€.txt", "\\\x80.txt"},
      {"中文.txt", "\\" + FromHex("d6d0cec4") + ".txt"},
      {(root / "abs.txt").string(), kmd::zpath::ToWindows((root / "abs.txt").string())}};
  const fs::path cwd = fs::current_path();
  fs::current_path(root);
  zLibControl z;
  for (size_t i = 0; i < cases.size(); ++i) {
    WriteAll(root / cases[i].first, "content " + std::to_string(i));
    EXPECT_TRUE(z.AddFile(cases[i].first)) << i;
  }
  const int16_t packed = z.Compress((root / "c.zlb").string(), false, 6);  // relative paths need the folder
  fs::current_path(cwd);
  ASSERT_EQ(packed, 0);

  std::vector<FormatEntry> read;
  try {
    read = ReadByFormat(ReadAll(root / "c.zlb"));
  } catch (const std::exception& e) {
    FAIL() << e.what();
  }
  ASSERT_EQ(read.size(), cases.size());
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(read[i].name, cases[i].second);
    EXPECT_EQ(read[i].data, "content " + std::to_string(i));
  }

  zLibControl r;
  ASSERT_EQ(Unpack(r, root / "c.zlb", out), 0);
  EXPECT_EQ(r.filename(2), "\\caf?.txt");
  EXPECT_EQ(ReadAll(out / "src" / "one.bin"), "content 0");
  EXPECT_EQ(ReadAll(out / "caf?.txt"), "content 2");
  EXPECT_EQ(ReadAll(out / "??.txt"), "content 4");
  EXPECT_EQ(ReadAll(out / "€.txt"), "content 6");
  EXPECT_EQ(ReadAll(out / "中文.txt"), "content 7");
  EXPECT_EQ(ReadAll(out / fs::path(root).relative_path() / "abs.txt"), "content 8");

  // Without paths every entry lands in the output folder itself; information only writes nothing.
  ASSERT_EQ(Unpack(r, root / "c.zlb", root / "flat", false), 0);
  EXPECT_EQ(ReadAll(root / "flat" / "one.bin"), "content 0");
  EXPECT_EQ(ReadAll(root / "flat" / "abs.txt"), "content 8");
  ASSERT_EQ(r.Decompress((root / "c.zlb").string(), (root / "info").string(), true, true, false, false, true, true), 0);
  EXPECT_EQ(r.FileCount(), int32_t(cases.size()));
  EXPECT_FALSE(fs::exists(root / "info"));
}

TEST_F(ZLibTest, UnpackingStaysInsideTheOutputFolder) {
  const fs::path file = Pack(root, {{"\\lnk\\x.txt", "1"},
                                    {"\\t.txt", "2"},
                                    {"\\d\\u.txt", "3"},
                                    {"\\ok.txt", "4"},
                                    {"\\a\\..\\..\\evil", "5"},
                                    {"\\sub/../../evil", "6"},
                                    {"\\dir\\", "7"}});
  fs::create_directories(out);
  fs::create_directories(root / "elsewhere");
  fs::create_directory_symlink(root / "elsewhere", out / "lnk");
  WriteAll(root / "victim", "keep");
  fs::create_symlink(root / "victim", out / "t.txt");
  fs::create_symlink(root / "missing", out / "d");  // a dangling link where a folder belongs
  zLibControl z;
  std::vector<std::string> skipped;
  z.Skipped = [&](int32_t i, const std::string& why) { skipped.push_back(z.filename(i) + " (" + why + ")"); };
  ASSERT_EQ(Unpack(z, file, out), 0);  // with Overwrite
  EXPECT_TRUE(fs::is_empty(root / "elsewhere"));
  EXPECT_EQ(ReadAll(root / "victim"), "keep");
  EXPECT_FALSE(fs::exists(root / "missing"));
  EXPECT_TRUE(fs::is_symlink(out / "t.txt"));
  EXPECT_EQ(ReadAll(out / "ok.txt"), "4");
  EXPECT_FALSE(fs::exists(root / "evil"));
  EXPECT_EQ(skipped, (std::vector<std::string>{
                         "\\lnk\\x.txt (link in the way)", "\\t.txt (link in the way)", "\\d\\u.txt (link in the way)",
                         "\\a\\..\\..\\evil (name leaves the folder)", "\\sub\\..\\..\\evil (name leaves the folder)",
                         "\\dir\\ (no file name)"}));

  // Without paths only the last part counts, which keeps the file inside.
  fs::remove_all(out);
  ASSERT_EQ(Unpack(z, file, out, false), 0);
  EXPECT_EQ(ReadAll(out / "evil"), "6");
}

TEST_F(ZLibTest, UnpackedFilesGetTheUmasksMode) {
  const fs::path file = Pack(root, {{"\\a.txt", "a"}});
  // The temporary folder on this file system (the file is moved) and, where there is one, on
  // another (the file is copied).
  std::vector<fs::path> temps{tmp};
  std::error_code ec;
  if (fs::is_directory("/dev/shm", ec)) {
    std::string tmpl = "/dev/shm/zlibtestXXXXXX";
    temps.push_back(mkdtemp(tmpl.data()));
  }
  for (const fs::path& t : temps) {
    setenv("TMPDIR", t.c_str(), 1);
    for (mode_t mask : {022, 077, 0}) {
      SCOPED_TRACE(t.string() + " " + std::to_string(mask));
      fs::remove_all(out);
      const mode_t old = umask(mask);
      zLibControl z;
      const int16_t status = Unpack(z, file, out);
      umask(old);
      ASSERT_EQ(status, 0);
      struct stat st {};
      ASSERT_EQ(stat((out / "a.txt").c_str(), &st), 0);
      EXPECT_EQ(st.st_mode & 0777, 0666 & ~mask);
      EXPECT_EQ(ReadAll(out / "a.txt"), "a");
      EXPECT_TRUE(fs::is_empty(t));
    }
  }
  if (temps.size() > 1) fs::remove_all(temps[1]);
}

TEST_F(ZLibTest, ATemporaryNameIsForgottenOnceRemoved) {
  WriteAll(root / "a.txt", "a");
  zLibControl z;
  ASSERT_TRUE(z.AddFile((root / "a.txt").string()));
  const std::string temp = z.Files()[0].TempFile;
  ASSERT_EQ(z.Compress((root / "c.zlb").string(), false, 6), 0);
  EXPECT_FALSE(fs::exists(temp));
  // Another program takes the name; the control leaves its file alone from now on.
  WriteAll(temp, "not ours");
  ASSERT_EQ(z.Compress((root / "c.zlb").string(), true, 6), 0);
  z.reset();
  EXPECT_EQ(ReadAll(temp), "not ours");
  fs::remove(temp);
}

TEST_F(ZLibTest, AddFileTakesPatternsAndWindowsPathsAndTheListIsManaged) {
  WriteAll(root / "d" / "b.TXT", "bb");
  WriteAll(root / "d" / "a.txt", "a");
  WriteAll(root / "d" / "noext", "n");
  fs::create_directories(root / "d" / "sub.txt");
  const std::string d = (root / "d").string() + "/";

  zLibControl z;
  EXPECT_FALSE(z.AddFile(d + "missing.txt"));
  EXPECT_FALSE(z.AddFile(d + "sub.txt"));
  EXPECT_TRUE(z.AddFile(d + "sub.txt", 16));  // a folder is taken as found, but adds nothing
  EXPECT_EQ(z.FileCount(), 0);
  ASSERT_TRUE(z.AddFile(d + "*.txt"));  // without case, in name order
  ASSERT_EQ(z.FileCount(), 2);
  EXPECT_EQ(z.Path(0), d + "a.txt");
  EXPECT_EQ(z.Path(1), d + "b.TXT");
  // A Windows form path reaches the same file and keeps the Windows form.
  const std::string win = "C:" + kmd::zpath::ToWindows(d) + "noext";
  ASSERT_TRUE(z.AddFile(win));
  EXPECT_EQ(z.Path(2), win);
  EXPECT_EQ(z.filename(2), kmd::zpath::ToWindows(d) + "noext");

  EXPECT_FALSE(z.RemoveFile(3));
  ASSERT_TRUE(z.RemoveFile(0));
  EXPECT_EQ(z.Path(0), d + "b.TXT");
  z.SetFilename(0, "y.txt");
  EXPECT_EQ(z.filename(0), "\\y.txt");
  z.SetFilename(0, "1:z.txt");  // whatever stands before a ":" in second place goes
  EXPECT_EQ(z.filename(0), "\\z.txt");
  z.reset();
  EXPECT_EQ(z.FileCount(), 0);
  EXPECT_EQ(TempCount(), 0u);
  EXPECT_EQ(z.Calculate_Crc32(d), 0u);
}

TEST(ZLibBar, TheValueStaysWithinTheScale) {
  zLibControl z;
  std::string got;
  for (int v : {150, -3, 40}) z.SetValue(v), got += std::to_string(z.Value()) + " ";
  z.SetMax(30);
  got += std::to_string(z.Value()) + " ";
  z.SetMax(0);
  z.SetReadBuf(0);
  EXPECT_EQ(got + std::to_string(z.Max()) + " " + std::to_string(z.ReadBuf()), "100 0 40 30 1 65536");
}
