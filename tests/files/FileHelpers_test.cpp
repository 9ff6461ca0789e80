#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "base/RuntimeError.h"
#include "db/Connection.h"
#include "db/Database.h"
#include "files/FilePaths.h"
#include "files/MCommonDialog.h"
#include "files/bGetTempFile.h"
#include "files/file2db.h"
#include "files/mShellExecute.h"
#include "files_fixture.h"

namespace fs = std::filesystem;
using namespace kmd;

using test::ReadAll;
using test::WriteAll;

namespace {

using Files = test::TempRoot;

// Catches the run-time error of `f` and gives "number source: description".
template <class F>
std::string ErrorOf(F f) {
  try {
    f();
  } catch (const RuntimeError& e) {
    return std::to_string(e.Number()) + " " + e.Source() + ": " + e.Description();
  }
  return "no error";
}

}  // namespace

TEST_F(Files, TemporaryNamesAreNewFilesInTheTemporaryFolder) {
  EXPECT_EQ(bGetTempFile::GetTempDir(), tmp.string() + "/");
  const std::string a = bGetTempFile::GetTempFile("zLibrary");
  const std::string b = bGetTempFile::GetTempFile("zLibrary");
  EXPECT_NE(a, b);
  for (const auto& name : {a, b}) {
    EXPECT_EQ(fs::path(name).parent_path(), tmp);
    EXPECT_EQ(fs::path(name).filename().string().substr(0, 3), "zLi");
    EXPECT_TRUE(fs::is_regular_file(name));
    EXPECT_EQ(fs::file_size(name), 0u);
  }
  setenv("TMPDIR", (root / "missing").c_str(), 1);
  EXPECT_EQ(bGetTempFile::GetTempFile("x"), "");
}

TEST_F(Files, ExistenceAndNames) {
  WriteAll(root / "a.txt", "a");
  fs::create_directories(root / "dir");
  EXPECT_FALSE(file2db::FileExists(""));
  EXPECT_TRUE(file2db::FileExists((root / "a.txt").string()));
  EXPECT_TRUE(file2db::FileExists("C:" + zpath::ToWindows((root / "a.txt").string())));
  EXPECT_TRUE(file2db::FileExists((root / "*.TXT").string()));
  EXPECT_FALSE(file2db::FileExists((root / "b.txt").string()));
  EXPECT_FALSE(file2db::FileExists((root / "dir").string()));
  EXPECT_TRUE(file2db::FileExists((root / "dir").string(), 16));
  EXPECT_TRUE(file2db::FileExists((root / "a.txt").string(), 16));

  EXPECT_EQ(file2db::GetFileName("C:\\pics\\红.jpg"), "红.jpg");
  EXPECT_EQ(file2db::GetFileName("/tmp/x.bin"), "x.bin");
  EXPECT_EQ(file2db::GetFileName("plain"), "plain");
  EXPECT_EQ(MCommonDialog::GetPathOnly("C:\\pics\\a.jpg"), "C:\\pics");
  EXPECT_EQ(MCommonDialog::GetPathOnly("plain"), "plain");
}

TEST_F(Files, FilesGoIntoBinaryColumnsAndBack) {
  std::string data(300000, '\0');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 7 % 251);
  WriteAll(root / "in.bin", data);

  auto db = std::make_shared<db::Database>(db::Open((root / "t.db").string(), true));
  db->CreateCommand("create table 附件 (ID INTEGER PRIMARY KEY, 内容 BLOB)", 1)->Execute();
  {
    auto rs = db->CreateCommand("select * from 附件 where 1=0", 1)->OpenRecordset();
    rs->AddNew();
    rs->SetField("ID", Value(1));
    Value content;
    file2db::FileToField((root / "in.bin").string(), content);
    rs->SetField("内容", content);
    rs->Update();
    EXPECT_EQ(ErrorOf([&] { file2db::FileToField((root / "none.bin").string(), content); }),
              "50001 dbfile: 文件不存在!");
  }
  auto rs = db->CreateCommand("select * from 附件 where ID=1", 1)->OpenRecordset();
  ASSERT_FALSE(rs->Eof());
  const Value& field = rs->Fields("内容");

  EXPECT_TRUE(file2db::FieldToFile((root / "out.bin").string(), field, false));
  EXPECT_EQ(ReadAll(root / "out.bin"), data);
  // Without overwrite an existing file is refused and left alone; with it, replaced.
  WriteAll(root / "old.bin", "old contents that are longer");
  EXPECT_FALSE(file2db::FieldToFile((root / "old.bin").string(), field, false));
  EXPECT_EQ(ReadAll(root / "old.bin"), "old contents that are longer");
  EXPECT_TRUE(file2db::FieldToFile((root / "old.bin").string(), field, true));
  EXPECT_EQ(ReadAll(root / "old.bin"), data);
  // A missing folder or a field without bytes gives false.
  EXPECT_FALSE(file2db::FieldToFile((root / "no" / "x.bin").string(), field, true));
  EXPECT_FALSE(file2db::FieldToFile((root / "null.bin").string(), Value::Null(), true));
  EXPECT_FALSE(fs::exists(root / "null.bin"));
}

namespace {

// Records each file handed to the opener and answers with `status`.
class ShellTest : public Files {
 protected:
  void SetUp() override {
    Files::SetUp();
    for (const char* v : {"DISPLAY", "WAYLAND_DISPLAY", "PATH"}) {
      if (const char* old = getenv(v)) saved.emplace_back(v, old);
      if (std::string(v) != "PATH") unsetenv(v);
    }
    mShellExecute::SetOpener([this](const std::string& target, const std::string& folder) {
      opened.push_back({target, folder});
      return status;
    });
    WriteAll(root / "doc.pdf", "%PDF");
    // A text file that a shell would run, made executable.
    WriteAll(root / "run.exe", "touch " + (root / "ran").string() + "\n");
    fs::permissions(root / "run.exe", fs::perms::owner_all);
  }
  void TearDown() override {
    mShellExecute::SetOpener(nullptr);
    for (const auto& [k, v] : saved) setenv(k.c_str(), v.c_str(), 1);
    Files::TearDown();
  }
  std::vector<std::pair<std::string, std::string>> opened;  // target, folder
  int status = 0;
  std::vector<std::pair<std::string, std::string>> saved;
};

}  // namespace

TEST_F(ShellTest, EveryFileGoesToTheOpener) {
  const std::string doc = (root / "doc.pdf").string();
  const std::string exe = (root / "run.exe").string();
  EXPECT_TRUE(mShellExecute::ShellOpen(doc));
  EXPECT_TRUE(mShellExecute::ShellOpen("C:" + zpath::ToWindows(doc)));
  // A program file, with parameters or without, is opened like a document, never run.
  EXPECT_TRUE(mShellExecute::ShellOpen(exe, 1, "a \"b c\""));
  EXPECT_TRUE(mShellExecute::ShellOpen("run.exe", 0, "", root.string()));  // found in the folder
  const std::vector<std::pair<std::string, std::string>> want{{doc, ""}, {doc, ""}, {exe, ""}, {exe, root.string()}};
  EXPECT_EQ(opened, want);
  EXPECT_FALSE(fs::exists(root / "ran"));

  status = 2;  // the opener found no such file
  EXPECT_EQ(ErrorOf([&] { mShellExecute::ShellOpen(doc); }), "53 kmd.GShell: File not found");
  status = -2;
  EXPECT_EQ(ErrorOf([&] { mShellExecute::ShellOpen(doc); }), "7 kmd.GShell: Out of memory");
  status = 3;
  EXPECT_EQ(ErrorOf([&] { mShellExecute::ShellOpen(doc); }),
            "-2147220425 kmd.GShell: No application is associated with this file type.");
  status = 0;
  std::string verb = "print";
  int32_t window = 0;
  EXPECT_EQ(ErrorOf([&] { mShellExecute::ShellOpen(doc, 1, "", "", verb, window); }),
            "-2147220425 kmd.GShell: No application is associated with this file type.");

  const size_t before = opened.size();
  EXPECT_EQ(ErrorOf([&] { mShellExecute::ShellOpen((root / "none.pdf").string()); }),
            "53 kmd.GShell: File not found");
  EXPECT_EQ(ErrorOf([&] { mShellExecute::ShellOpen((root / "no" / "none.pdf").string()); }),
            "76 kmd.GShell: Path not found");
  EXPECT_EQ(ErrorOf([&] { mShellExecute::ShellOpen("doc.pdf", 1, "", (root / "nodir").string()); }),
            "76 kmd.GShell: Path not found");
  EXPECT_EQ(opened.size(), before);
}

TEST_F(ShellTest, TheDesktopOpenerGetsTheFileAndNothingRunsIt) {
  mShellExecute::SetOpener(nullptr);
  const std::string exe = (root / "run.exe").string();
  // Without a desktop nothing can open it.
  EXPECT_EQ(ErrorOf([&] { mShellExecute::ShellOpen(exe); }),
            "-2147220425 kmd.GShell: No application is associated with this file type.");

  // A stand-in for the desktop's opener that notes what it was given.
  fs::create_directories(root / "bin");
  WriteAll(root / "bin" / "xdg-open", "#!/bin/sh\nprintf '%s' \"$1\" > " + (root / "asked").string() + "\n");
  fs::permissions(root / "bin" / "xdg-open", fs::perms::owner_all);
  setenv("PATH", ((root / "bin").string() + ":" + getenv("PATH")).c_str(), 1);
  setenv("DISPLAY", ":0", 1);
  EXPECT_TRUE(mShellExecute::ShellOpen(exe, 1, "x"));
  EXPECT_EQ(ReadAll(root / "asked"), exe);
  EXPECT_FALSE(fs::exists(root / "ran"));
}
