// The browser host's file and colour dialogs and long work, over a small form made for the test.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "files/mShellExecute.h"
#include "frame/Form.h"
#include "host/Setup.h"
#include "host/WebFiles.h"
#include "host/ScriptHost.h"
#include "host/WebHost.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

// Buttons that open the dialogs and show the answer in a label; one that works for a while.
class DialogForm : public kmd::Form {
 public:
  static inline std::string folder;
  explicit DialogForm(kmd::view::Platform& p) : Form("DialogForm", p) {
    using namespace kmd::view;
    auto* result = m_Controls.Add<Label>("lblResult", -1, "");
    m_Controls.Add<Button>("cmdFile", -1, "文件")->Click = [this, result] {
      FileChoice c;
      c.title = "打开";
      c.initDir = folder;
      c.filters = {{"文本", "*.txt"}, {"全部", "*.*"}};
      c.flags = FileChoice::kFileMustExist;
      result->SetCaption(GetPlatform().ChooseFile(c) ? c.files.at(0) + " " + std::to_string(c.filterIndex) : "Cancel");
    };
    m_Controls.Add<Button>("cmdColour", -1, "颜色")->Click = [this, result] {
      int32_t colour = 0x0000FF;  // red
      result->SetCaption(GetPlatform().ChooseColor("颜色", colour) ? std::to_string(colour) : "Cancel");
    };
    m_Controls.Add<Button>("cmdOpen", -1, "打开")->Click = [result] {
      result->SetCaption(kmd::mShellExecute::ShellOpen(folder + "/c.png") ? "opened" : "no");
    };
    m_Controls.Add<Button>("cmdSlow", -1, "慢")->Click = [result] {
      std::this_thread::sleep_for(std::chrono::milliseconds(400));
      result->SetCaption("done");
    };
  }
};

class WebDialogs : public testing::Test {
 protected:
  void SetUp() override {
    m_Dir = fs::temp_directory_path() / ("kmd_webdlg_" + std::to_string(::getpid()));
    fs::remove_all(m_Dir);
    fs::create_directories(m_Dir / "files" / "sub");
    for (const char* f : {"files/a.txt", "files/B.TXT", "files/c.png", "files/sub/c.txt", "files/.hidden.txt"})
      std::ofstream(m_Dir / f) << "x";
    DialogForm::folder = (m_Dir / "files").string();
    std::string db = (m_Dir / "test.db").string();
    kmd::host::InitDatabase(db, true);
    m_Forms.Add<DialogForm>("DialogForm", "对话", "测试");
    m_Host = std::make_unique<kmd::host::WebHost>(
        kmd::host::WebHost::Options{db, {"tester", (m_Dir / "home").string(), ""}, std::chrono::milliseconds(100)},
        &m_Forms);
    m_Window = "/api/windows/" + Post("/api/windows", {{"class", "DialogForm"}}).body["window"].get<std::string>();
  }
  void TearDown() override {
    m_Host.reset();
    fs::remove_all(m_Dir);
  }
  kmd::host::WebReply Post(const std::string& path, const json& body) { return m_Host->Handle({"POST", path, {}, body.dump()}); }
  // The host answers "busy" when the form takes longer than its wait (a slow or instrumented
  // build): the page then looks again until the form is done, and so do these tests.
  kmd::host::WebReply Settled(kmd::host::WebReply r) {
    for (int i = 0; i < 100 && r.status == 200 && r.body.value("busy", false); ++i)
      r = m_Host->Handle({"GET", m_Window, {}, ""});
    return r;
  }
  json Click(const std::string& button) {
    auto r = Settled(Post(m_Window + "/action", {{"kind", "click"}, {"control", button}}));
    EXPECT_EQ(r.status, 200) << r.body.dump();
    return r.body;
  }
  kmd::host::WebReply Answer(const json& reply, const json& answer) {
    return Settled(Post(m_Window + "/answer", {{"dialog", reply["dialog"]["id"]}, {"answer", answer}}));
  }
  static std::string Result(const json& reply) {
    for (const auto& c : reply["view"]["controls"])
      if (c["name"] == "lblResult") return c["caption"];
    return "?";
  }
  static std::vector<std::string> Names(const json& reply) {
    std::vector<std::string> names;
    for (const auto& e : reply["dialog"]["folder"]["entries"]) names.push_back(e["name"]);
    return names;
  }

  fs::path m_Dir;
  kmd::FormRegistry m_Forms;
  std::unique_ptr<kmd::host::WebHost> m_Host;
  std::string m_Window;
};

TEST_F(WebDialogs, FileDialogWalksFoldersAndInsistsOnAnExistingFile) {
  json r = Click("cmdFile");
  ASSERT_EQ(r["dialog"]["kind"], "file");
  EXPECT_EQ(r["dialog"]["folder"]["dir"], DialogForm::folder);
  // Folders first, then the files of the filter, without case; hidden files left out.
  EXPECT_EQ(Names(r), (std::vector<std::string>{"sub", "B.TXT", "a.txt"}));
  EXPECT_EQ(Answer(r, {{"files", {"a.txt", "B.TXT"}}}).status, 400);  // one file only
  EXPECT_EQ(Answer(r, {{"nothing", 1}}).status, 400);

  json all = Answer(r, {{"dir", DialogForm::folder}, {"filterIndex", 2}}).body;
  EXPECT_EQ(Names(all), (std::vector<std::string>{"sub", "B.TXT", "a.txt", "c.png"}));
  json sub = Answer(all, {{"dir", DialogForm::folder + "/sub"}}).body;
  EXPECT_EQ(sub["dialog"]["folder"]["dir"], DialogForm::folder + "/sub");
  EXPECT_EQ(sub["dialog"]["folder"]["parent"], DialogForm::folder);
  json again = Answer(sub, {{"files", {"missing.txt"}}}).body;
  ASSERT_EQ(again["dialog"]["kind"], "file");
  EXPECT_NE(again["dialog"]["id"], sub["dialog"]["id"]);
  json done = Answer(again, {{"files", {"c.txt"}}}).body;
  EXPECT_TRUE(done["dialog"].is_null());
  EXPECT_EQ(Result(done), DialogForm::folder + "/sub/c.txt 2");

  EXPECT_EQ(Result(Answer(Click("cmdFile"), nullptr).body), "Cancel");
}

TEST_F(WebDialogs, ColourDialogSpeaksRgbToThePageAndColourNumbersToTheForm) {
  json r = Click("cmdColour");
  ASSERT_EQ(r["dialog"]["kind"], "color");
  EXPECT_EQ(r["dialog"]["color"], "#ff0000");
  EXPECT_EQ(Answer(r, "blue").status, 400);
  EXPECT_EQ(Result(Answer(r, "#00ff80").body), std::to_string(0x80FF00));
  EXPECT_EQ(Result(Answer(Click("cmdColour"), nullptr).body), "Cancel");
}

// A file the form opens reaches the page as a download of the window, never this machine's
// desktop; the script host prints it.
TEST_F(WebDialogs, OpenedFileGoesToThePageAsADownload) {
  std::ofstream(m_Dir / "files/c.png", std::ios::binary) << std::string("<\0html>", 7);
  json r = Click("cmdOpen");
  ASSERT_EQ(r["dialog"]["kind"], "open");
  const std::string url = r["dialog"]["url"];
  EXPECT_EQ(url.rfind(m_Window + "/files/", 0), 0u) << url;
  auto file = m_Host->Handle({"GET", url, {}, ""});
  ASSERT_TRUE(file.file);
  EXPECT_EQ(*file.file, std::string("<\0html>", 7));
  EXPECT_EQ(file.fileName, "c.png");
  EXPECT_EQ(m_Host->Handle({"GET", url + "0", {}, ""}).status, 404);
  EXPECT_EQ(Answer(r, 1).status, 400);
  EXPECT_EQ(Result(Answer(r, nullptr).body), "opened");

  std::ostringstream out, err;
  kmd::host::ScriptHost script(nullptr, out, err);
  EXPECT_TRUE(kmd::mShellExecute::ShellOpen(DialogForm::folder + "/a.txt"));
  // The script host prints the file (its temporary folder as "$TMPDIR/") and counts it opened.
  EXPECT_EQ(out.str(), "shell open $TMPDIR/" +
                           std::filesystem::relative(DialogForm::folder, std::filesystem::temp_directory_path()).string() +
                           "/a.txt\n");
}

TEST_F(WebDialogs, LongWorkAnswersBusyAndTheNextLookGetsTheResult) {
  json r = Post(m_Window + "/action", {{"kind", "click"}, {"control", "cmdSlow"}}).body;
  EXPECT_EQ(r["busy"], true);
  EXPECT_EQ(Post(m_Window + "/action", {{"kind", "click"}, {"control", "cmdColour"}}).status, 409);
  kmd::host::WebReply view{200, {{"busy", true}}};
  for (int i = 0; i < 20 && view.body.value("busy", false); ++i) view = m_Host->Handle({"GET", m_Window, {}, ""});
  EXPECT_EQ(Result(view.body), "done");
}

TEST(WebFiles, WildcardsMatchWithoutCase) {
  using kmd::host::MatchesPattern;
  EXPECT_TRUE(MatchesPattern("Photo.JPG", "*.jpg"));
  EXPECT_TRUE(MatchesPattern("a.b.c", "*.c"));
  EXPECT_TRUE(MatchesPattern("abc", "a?c"));
  EXPECT_TRUE(MatchesPattern("abc", "*"));
  EXPECT_FALSE(MatchesPattern("abc.txt", "*.tx"));
  EXPECT_FALSE(MatchesPattern("ab", "a?c"));
  EXPECT_TRUE(MatchesPattern("aXbXc", "a*b*c"));
}

}  // namespace
