// Several hosts on one database file: racing saves, a window whose record changed under it, and
// processes killed in the middle of their commands.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "db/Connection.h"
#include "db/Scratch.h"
#include "host/AllForms.h"
#include "host/Context.h"
#include "host/ScriptHost.h"
#include "host/Setup.h"
#include "support/FileText.h"
#include "view/TreeView.h"
#include "view/Widgets.h"

namespace fs = std::filesystem;
using namespace kmd;

namespace {

class ManyHosts : public testing::Test {
 protected:
  void SetUp() override {
    dir = kmd::test::ScratchDir("kmd_hosts");
    path = test::ScratchAddress(dir, "hosts.db");
    host::InitDatabase(path, true);
  }
  void TearDown() override {
    fs::remove_all(dir);
    test::DropScratch(path);
  }

  std::shared_ptr<host::Context> NewContext() {
    auto database = std::make_shared<db::Database>(db::Open(path));
    return std::make_shared<host::Context>(database, IUserInfo{"tester", (dir / "home").string(), ""});
  }

  // Runs a script in a child process of its own, its transcript into `out`; gives the child's pid.
  pid_t Spawn(const std::string& script, const fs::path& out) {
    pid_t pid = ::fork();
    if (pid != 0) return pid;
    int status = 3;
    {
      std::ofstream transcript(out);
      std::ostringstream err;
      host::ScriptHost runner(NewContext(), transcript, err);
      std::istringstream in(script);
      status = runner.Run(in, "child");
    }
    ::_exit(status);
  }

  std::vector<db::Row> Rows(const std::string& sql) {
    db::QueryResult r;
    EXPECT_EQ(db::Open(path)->Run(sql, {}, &r), "") << sql;
    return r.rows;
  }

  fs::path dir;
  std::string path;
};

// Answers every question Yes and keeps what it was shown.
class YesPlatform : public view::Platform {
 public:
  int MsgBox(const std::string& text, int style, const std::string&) override {
    shown.push_back(text);
    return view::ButtonsOf(style) == view::vbYesNo ? view::vbYes : view::vbOK;
  }
  std::string InputBox(const std::string&, const std::string&, const std::string&) override { return ""; }
  std::vector<std::string> shown;
};

struct Events : IFormEvents {
  void Message(const std::string&) override {}
  void ErrMessage(const std::string& m, int32_t level, const std::string&) override {
    reports.push_back(std::to_string(level) + " " + m);
  }
  void FormRefreshed() override {}
  void Property(const std::string&, const Value&, bool) override {}
  std::vector<std::string> reports;
};

// One window of the units of measure over a connection of its own.
struct Window {
  Window(std::shared_ptr<host::Context> c) : context(std::move(c)), form(host::AllForms().Create("JLDW", platform)) {
    form->SetEventSink(&events);
    form->Init(context.get(), 0, 0);
    form->Refresh();
  }
  ~Window() { form->Clear(); }
  void Pick(const std::string& key) {
    auto* tree = form->Inner().Tree();
    auto node = tree->FindKey(key);
    ASSERT_TRUE(node) << key;
    form->Run([&] { tree->UserClick(node); });
  }
  void Type(const std::string& control, const std::string& text) {
    auto* f = dynamic_cast<view::TextField*>(form->Controls().FindByDisplayName(control));
    ASSERT_TRUE(f) << control;
    form->Run([&] { f->UserType(text); });
  }
  std::string Field(const std::string& control) { return form->Controls().FindByDisplayName(control)->ShownText(); }

  YesPlatform platform;
  Events events;
  std::shared_ptr<host::Context> context;
  std::unique_ptr<FormGuard> form;
};

TEST_F(ManyHosts, FourProcessesSavingTheSameCodesSaveEachOnce) {
  const int codes = 500, hosts = 4;
  std::string script = "open JLDW\nInit\nRefresh\n";
  for (int i = 0; i < codes; ++i) {
    std::string n = std::to_string(i);
    script += "FileNew\ntype qnT(0) C" + n + "\ntype qnT(1) N" + n + "\nFileSave\n";
  }
  std::vector<pid_t> children;
  for (int h = 0; h < hosts; ++h) children.push_back(Spawn(script, dir / ("out" + std::to_string(h))));
  for (pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  std::map<std::string, int> outcomes;
  for (int h = 0; h < hosts; ++h) {
    std::ifstream in(dir / ("out" + std::to_string(h)));
    std::string line, said;
    bool saving = false;
    while (std::getline(in, line)) {
      if (line == "> FileSave") {
        saving = true;
        said.clear();
      } else if (saving && line.rfind("= ", 0) == 0) {
        saving = false;
        if (line == "= True") ++outcomes["saved"];
        else if (said.find("重复") != std::string::npos) ++outcomes["duplicate"];
        else if (said.find("数据库正忙，请稍后再试") != std::string::npos) ++outcomes["busy"];
        else ADD_FAILURE() << "a save ended otherwise: " << said;
      } else if (saving) {
        said += line + "\n";
      }
    }
  }
  EXPECT_EQ(outcomes["saved"] + outcomes["duplicate"] + outcomes["busy"], codes * hosts);
  EXPECT_TRUE(Rows("SELECT 代码 FROM kmdjldw GROUP BY 代码 HAVING count(*) > 1").empty());
  EXPECT_EQ(Rows("SELECT count(*) FROM kmdjldw WHERE 代码 LIKE 'C%'")[0][0].ToLong(), outcomes["saved"]);
  // A save takes the write lock before its checks, so the others wait and then find the duplicate.
  EXPECT_EQ(outcomes["saved"], codes);
}

TEST_F(ManyHosts, AWindowNeverSavesOverARecordChangedOrDeletedInAnother) {
  Window a(NewContext()), b(NewContext());
  // Deleted in b while a shows it: a's save is refused and nothing is written.
  a.Pick("k2");
  ASSERT_TRUE(a.form->FileEdit());
  a.Type("qnT(1)", "公斤");
  b.Pick("k2");
  ASSERT_TRUE(b.form->FileDelete());
  EXPECT_FALSE(a.form->FileSave());
  EXPECT_EQ(a.events.reports.back(), "8 记录已被其他用户修改或删除，请刷新后再改");
  EXPECT_TRUE(Rows("SELECT * FROM kmdjldw WHERE 单位ID = 2 OR 名称 = '公斤'").empty());
  // Selected again, the gone record shows nothing and no id; edit and delete refuse.
  a.form->FileCancel();
  a.Pick("k2");
  EXPECT_EQ(a.Field("qnT(0)") + a.Field("lbl(0)"), "");
  EXPECT_FALSE(a.form->FileEdit() || a.form->FileDelete());
  EXPECT_EQ(a.platform.shown.back(), "记录已不存在，请刷新");
  // One record edited in both: the second save is refused, the first stands.
  a.Pick("k3");
  b.Pick("k3");
  ASSERT_TRUE(a.form->FileEdit());
  ASSERT_TRUE(b.form->FileEdit());
  a.Type("qnT(1)", "公尺");
  b.Type("qnT(1)", "米尺");
  EXPECT_TRUE(a.form->FileSave());
  EXPECT_FALSE(b.form->FileSave());
  EXPECT_EQ(b.events.reports.back(), "8 记录已被其他用户修改或删除，请刷新后再改");
  EXPECT_EQ(Rows("SELECT 名称 FROM kmdjldw WHERE 单位ID = 3")[0][0].ToText(), "公尺");
  // After a refresh the same window saves again.
  b.form->FileCancel();
  b.form->Refresh();
  b.Pick("k3");
  ASSERT_TRUE(b.form->FileEdit());
  b.Type("qnT(1)", "米尺");
  EXPECT_TRUE(b.form->FileSave());
}

// A parent of the regions is a branch exactly when it has children; the id counter stays above
// every id. A command cut off half-way would break one or the other.
void ExpectWhole(const std::string& path) {
  db::QueryResult r;
  auto c = db::Open(path);
  if (c->DriverName() == "sqlite") {
    ASSERT_EQ(c->Run("PRAGMA integrity_check", {}, &r), "");
    EXPECT_EQ(r.rows[0][0].ToText(), "ok");
  }
  ASSERT_EQ(c->Run("SELECT p.编码, p.是否明细, (SELECT count(*) FROM kmddq c WHERE c.编码 LIKE p.编码 || '_%') "
                   "FROM kmddq p",
                   {}, &r),
            "");
  for (const auto& row : r.rows)
    EXPECT_EQ(row[1].ToLong() == 0, row[2].ToLong() > 0) << "region " << row[0].ToText() << " flag "
                                                         << row[1].ToText() << " children " << row[2].ToText();
  ASSERT_EQ(c->Run("SELECT count(*) FROM kmddq WHERE 地区ID > (SELECT lastid FROM xt_idcounter "
                   "WHERE tablename = 'kmddq')",
                   {}, &r),
            "");
  EXPECT_EQ(r.rows.empty() ? 0 : r.rows[0][0].ToLong(), 0);
}

TEST_F(ManyHosts, KilledHostsLeaveEveryCommandWholeOrUndone) {
  // Children under 0102 (浙江), a leaf at first, then deleted again; units saved and deleted.
  std::string script = "open DQ\nInit\nRefresh\n";
  for (int i = 10; i < 60; ++i) {
    std::string n = std::to_string(i);
    script += "pick k0102\nFileNewNext\ntype qnT(0) " + n + "\ntype qnT(1) 市" + n + "\nFileSave\n";
    script += "answer Yes\nFileDelete\n";
  }
  std::mt19937 random(42);
  for (int kill = 0; kill < 100; ++kill) {
    pid_t pid = Spawn(script, dir / "killed");
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
    ::kill(pid, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ExpectWhole(path);
    if (HasFailure()) break;
  }
}

}  // namespace
