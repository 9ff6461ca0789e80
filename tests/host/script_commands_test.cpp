// The script commands that set the host's stores and reach controls, trees and toolbars, on a form
// of the test's own that shows what its context gives it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "frame/Form.h"
#include "frame/FormRegistry.h"
#include "host/Context.h"
#include "host/ScriptHost.h"
#include "host/Setup.h"
#include "support/FileText.h"

namespace fs = std::filesystem;
using namespace kmd;

namespace {

class Probe : public Form {
 public:
  explicit Probe(view::Platform& p) : Form("Probe", p) {
    CreateTree();
    auto* frame = m_Controls.Add<view::Control>("Frame", "Frame1", 1);
    m_Controls.Add<view::TextField>("qnT", 0);
    m_Controls.Add<view::TextField>("qnT", 1)->SetContainer(frame);
    auto* bar = m_Controls.Add<view::Toolbar>("Toolbar1");
    bar->AddButton("基本", "基本信息", view::tbrButtonGroup);
    bar->AddButton("价格", "价格信息", view::tbrButtonGroup);
    bar->ButtonClick = [frame](view::ToolbarButton& b) { frame->SetVisible(b.Index == 2); };
    frame->SetVisible(false);
    Tree()->Expand = [this](const NodePtr& n) { RaiseMessage("expand " + n->Key()); };
    m_Tv->DragEnabled = true;
    m_Tv->Dragging = [this](const NodePtr& s, const NodePtr& t) { RaiseMessage("dragging " + s->Key() + " " + t->Key()); };
    m_Tv->Dropped = [this](const NodePtr& s, const NodePtr& t) { RaiseMessage("dropped " + s->Key() + " " + t->Key()); };
  }
  bool Refresh() override {
    m_Tv->ClearTreeView();
    m_Tv->NodeAdd({}, -1, "ROOT", "root");
    m_Tv->NodeAdd("ROOT", view::tvwChild, "k1", "one");
    m_Tv->NodeAdd("ROOT", view::tvwChild, "k2", "two");
    m_Tv->NodeAdd("k2", view::tvwChild, "k21", "two-one");
    m_Tv->ctrl()->Item("k2")->SetExpanded(false);
    auto rights = m_Context->ProgramRights(200008);
    RaiseMessage("rights " + std::to_string(rights.DetailRight) + std::to_string(rights.ActionRight) + " period " +
                 std::to_string(m_Context->Subsystem("system", 0).Period) + " rows " +
                 m_Context->UserSetting(m_Context->User().SettingsApp, "settings", "cpml", "1000") + " option " +
                 m_Context->Option(12, Value(4)).Value + "/" + m_Context->Option(12, Value(4)).Name);
    MsgBox("第一行\r\n第二行\n", view::vbOKOnly, "提示：");
    return true;
  }
};

class ScriptCommands : public testing::Test {
 protected:
  void SetUp() override {
    dir = kmd::test::ScratchDir("kmd_script_commands");
    db = (dir / "t.db").string();
    host::InitDatabase(db, true);
    forms.Add<Probe>("Probe", "探针", "test");
  }
  void TearDown() override { fs::remove_all(dir); }

  int Run(const std::string& script, const std::string& settingsApp = host::kSettingsApp) {
    out.str("");
    err.str("");
    auto database = std::make_shared<db::Database>(db::Open(db));
    auto context = std::make_shared<host::Context>(database, IUserInfo{"tester", "", settingsApp});
    host::ScriptHost host(context, out, err, &forms);
    std::istringstream in(script);
    return host.Run(in, "s");
  }

  fs::path dir;
  std::string db;
  FormRegistry forms;
  std::ostringstream out, err;
};

TEST_F(ScriptCommands, StoresReachTheFormAndControlsAnswerAsAUsersWould) {
  ASSERT_EQ(Run("open Probe 200008\nInit\nRefresh\nrights 200008 0 1\nperiod 202611\nusersetting settings cpml 50\n"
                "option 12 4 1 本位币 名称\nRefresh\nshow fields\nclick Toolbar1 2\nshow fields\nexpand ROOT\nexpand k1\n"
                "drag k1 k21\n"),
            0)
      << err.str();
  EXPECT_EQ(out.str(),
            "> open Probe 200008\n> Init\n= True\n> Refresh\n"
            "event Message | rights 11 period 0 rows 1000 option RMB/人民币\n"
            "box 提示： [] 第一行\\n第二行\\n -> OK\n= True\n"
            "> rights 200008 0 1\n> period 202611\n> usersetting settings cpml 50\n> option 12 4 1 本位币 名称\n"
            "> Refresh\nevent Message | rights 01 period 202611 rows 50 option 1/本位币 名称\n"
            "box 提示： [] 第一行\\n第二行\\n -> OK\n= True\n"
            "> show fields\nqnT(0) qnTxt_S \"\" enabled\nqnT(1) qnTxt_S \"\" enabled hidden\n"
            "Toolbar1 Toolbar \"\" enabled\n"
            "> click Toolbar1 2\n"
            "> show fields\nqnT(0) qnTxt_S \"\" enabled\nqnT(1) qnTxt_S \"\" enabled\nToolbar1 Toolbar \"2\" enabled\n"
            "> expand ROOT\nevent Message | expand ROOT\n> expand k1\nevent Message | expand k1\n"
            "> drag k1 k21\nevent Message | dragging k1 k21\nevent Message | dropped k1 k21\n");
  // Another run of the same database keeps what the script set.
  ASSERT_EQ(Run("open Probe\nInit\nRefresh\n"), 0);
  EXPECT_NE(out.str().find("rights 01 period 202611 rows 50 option 1/本位币 名称"), std::string::npos) << out.str();
}

TEST_F(ScriptCommands, WhatAUserCannotDoIsAScriptError) {
  const std::pair<const char*, const char*> cases[] = {
      {"type qnT(1) x", "s:4: cannot type into qnT(1): it is hidden\n"},
      {"expand k9", "s:4: no node has the key k9\n"},
      {"drag k1 k9", "s:4: no node has the key k9\n"},
      {"click Toolbar1 3", "s:4: Toolbar1 has no button 3\n"},
      {"click qnT(0) 1", "s:4: unknown control qnT(0) 1\n"},
      {"rights 200008 2 1", "s:4: rights takes PROGID DETAIL ACTION, each right 0 or 1\n"},
      {"period x", "s:4: period: x is no whole number\n"},
      {"usersetting settings cpml", "s:4: usersetting takes SECTION KEY VALUE\n"},
  };
  for (const auto& [command, message] : cases) {
    EXPECT_EQ(Run(std::string("open Probe\nInit\nRefresh\n") + command + "\n"), 2) << command;
    EXPECT_EQ(err.str(), message) << command;
  }
  EXPECT_EQ(Run("usersetting settings cpml 5\n", ""), 2);
  EXPECT_EQ(err.str(), "s:1: the user has no store of personal settings\n");
}

}  // namespace
