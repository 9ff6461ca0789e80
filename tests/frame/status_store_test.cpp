#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <sstream>

#include "base/RuntimeError.h"
#include "frame/StatusStore.h"
#include "frame_fixture.h"
#include "view/Grid.h"
#include "view/ListView.h"
#include "view/TreeView.h"
#include "view/Widgets.h"

using namespace kmd;
using namespace kmd::testing_frame;

TEST(StatusStore, RoundTripKeepsValuesAfterTheFirstEqualsAndOtherSections) {
  auto dir = ScratchDir("store");
  auto path = (dir / "f.txt").string();
  WriteAll(path, "\xEF\xBB\xBF[Other]\r\nA=1\r\n[Form]\r\nOld=x\r\n");
  {
    IStatusStore store;
    store.Open(path);
    store.WriteString("Form", "Sql", "a=b; c # d");
    store.WriteString("form", "old", "y");  // section and key without case: replaced in place
    store.WriteInteger("Form", "N", -5);
    store.WriteBoolean("Form", "B", true);
    store.WriteString("New", "K", "two\nlines");
  }
  EXPECT_EQ(ReadAll(path), "[Other]\nA=1\n[Form]\nold=y\nSql=a=b; c # d\nN=-5\nB=True\n[New]\nK=two lines\n");
  IStatusStore store;
  store.Open(path);
  EXPECT_EQ(store.ReadString("Form", "SQL", ""), "a=b; c # d");
  EXPECT_EQ(store.ReadString("Other", "a", ""), "1");
  EXPECT_EQ(store.ReadString("Form", "A", "def"), "def");  // keys belong to their section
  EXPECT_EQ(std::to_string(store.ReadInteger("Form", "N", "0")) + " " + std::to_string(store.ReadInteger("Form", "missing", "7")),
            "-5 7");
  EXPECT_TRUE(store.ReadBoolean("Form", "B", false) && store.ReadBoolean("Form", "missing", true));
  fs::remove_all(dir);
}

TEST(StatusStore, MissingFileGivesDefaultsAndUnreadableValuesThrow) {
  auto dir = ScratchDir("missing");
  IStatusStore store;
  store.Open((dir / "none.txt").string());
  EXPECT_EQ(store.ReadString("Form", "K", "d"), "d");
  EXPECT_EQ(store.ReadInteger("Form", "K", "3"), 3);
  EXPECT_FALSE(fs::exists(dir / "none.txt"));  // reading creates nothing
  store.WriteString("Form", "I", "abc");
  store.WriteString("Form", "Big", "40000");
  for (const char* key : {"I", "Big"}) EXPECT_THROW(store.ReadInteger("Form", key, "0"), RuntimeError) << key;
  EXPECT_THROW(store.ReadBoolean("Form", "I", false), RuntimeError);
  EXPECT_TRUE(fs::exists(dir / "none.txt"));
  fs::remove_all(dir);
}

TEST(StatusStore, StatusFileLiesInSelfbbUnderTheHomeFolder) {
  auto dir = ScratchDir("home");
  FakeContext context;
  context.user.HomeFolder = (dir / "u").string();
  EXPECT_EQ(GetStatusFile("JLDW", context), (dir / "u" / "selfbb" / "JLDW.txt").string());
  EXPECT_TRUE(fs::is_directory(dir / "u" / "selfbb"));
  context.user.HomeFolder = "";  // no home folder, no status
  EXPECT_EQ(GetStatusFile("JLDW", context), "");

  auto path = (dir / "p.txt").string();
  EXPECT_EQ(GetProfileValue(path, "route", "last", "none"), "none");
  SetProfileValue(path, "route", "last", "12");
  EXPECT_EQ(GetProfileValue(path, "ROUTE", "LAST", "none"), "12");
  SetProfileValue((dir / "no" / "such" / "folder.txt").string(), "s", "k", "v");  // ignored
  fs::remove_all(dir);
}

// A form's worth of controls of every kind the walk knows, and a few it leaves alone.
class Walk : public testing::Test {
 protected:
  void SetUp() override {
    dir = ScratchDir("walk");
    path = (dir / "X.txt").string();
    tv = c.Add<view::TreeView>("TV");
    tv->Add({}, 0, "ROOT", "Root");
    tv->Add("ROOT", view::tvwChild, "k1", "ab  one");
    tv->Add("ROOT", view::tvwChild, "k2", "AB  ONE");  // the same text in other capitals
    tv->Add("ROOT", view::tvwChild, "k3", "cd  two");
    code = c.Add<view::TextField>("qnT", 0);
    unit = c.Add<view::TextField>("qnT", 1);
    plain = c.Add<view::TextField>("Remark", -1);
    check = c.Add<view::CheckBox>("Check1");
    box = c.Add<view::TextBox>("Text1");
    combo = c.Add<view::ComboBox>("Combo1", 2);
    opt0 = c.Add<view::OptionButton>("Opt", 0, "a");
    opt1 = c.Add<view::OptionButton>("Opt", 1, "b");
    date = c.Add<view::DatePicker>("DT");
    gdate = c.Add<view::DatePicker>("DT2", -1, "gcDTP");
    lv = c.Add<view::ListView>("LV");
    for (auto t : {"r1", "r2", "r3"}) lv->Add("", t);
    grid = c.Add<view::Grid>("Grid1");
    grid->SetCols(4);
    flex = c.Add<view::Grid>("Flex", -1, "VSFlexGrid");
    label = c.Add<view::Label>("Lab", -1, "caption");
  }
  void TearDown() override { fs::remove_all(dir); }

  void Fill() {
    tv->SetSelectedItem(tv->Item("k3"));
    code->SetText(" C01 ");
    unit->SetText("千克");
    unit->SetValue(Value(2));
    plain->SetText("note");
    check->SetValue(1);
    box->SetText(" box ");
    combo->SetText("combo");
    opt1->SetValue(true);
    date->SetValue(Value("2026-11-23"));
    gdate->SetValue(Value("2026-01-02"));
    lv->SetSelectedItem(lv->Item(2));
    grid->SetColWidth(0, 111);
    grid->SetColWidth(1, 1500);
    grid->SetColWidth(3, 2500);
    flex->SetColWidth(1, 3000);
  }

  fs::path dir;
  std::string path;
  view::Controls c;
  view::TreeView* tv;
  view::TextField *code, *unit, *plain;
  view::CheckBox* check;
  view::TextBox* box;
  view::ComboBox* combo;
  view::OptionButton *opt0, *opt1;
  view::DatePicker *date, *gdate;
  view::ListView* lv;
  view::Grid *grid, *flex;
  view::Label* label;
};

TEST_F(Walk, KeysAreTypeNameAndIndexAsStored) {
  EXPECT_EQ(StatusKey(*unit), "QNTXT_S_qnT_1");
  EXPECT_EQ(StatusKey(*code), "QNTXT_S_qnT_0");
  EXPECT_EQ(StatusKey(*plain), "QNTXT_S_Remark");
  EXPECT_EQ(StatusKey(*combo), "COMBOBOX_Combo1_2");
  Fill();
  SaveStatus(c, path, false);
  EXPECT_EQ(ReadAll(path),
            "[Form]\n"
            "TREEVIEW_TV=cd  two\n"
            "QNTXT_S_qnT_0_Value=\n"
            "QNTXT_S_qnT_0_Text=C01\n"
            "QNTXT_S_qnT_1_Value=2\n"
            "QNTXT_S_qnT_1_Text=千克\n"
            "QNTXT_S_Remark_Value=\n"
            "QNTXT_S_Remark_Text=note\n"
            "CHECKBOX_Check1=1\n"
            "TEXTBOX_Text1=box\n"
            "COMBOBOX_Combo1_2=combo\n"
            "OPTIONBUTTON_Opt_0=False\n"
            "OPTIONBUTTON_Opt_1=True\n"
            "DTPICKER_DT=2026-11-23\n"
            "GCDTP_DT2=2026-01-02\n"
            "LISTVIEW_LV=2\n"
            "QNGRID_Grid1_Col1=1500\n"
            "QNGRID_Grid1_Col2=960\n"
            "QNGRID_Grid1_Col3=2500\n");
}

TEST_F(Walk, LoadRestoresEveryControlAndMakesTheSelectionVisible) {
  Fill();
  SaveStatus(c, path, false);
  view::Controls fresh;
  auto* tv2 = fresh.Add<view::TreeView>("TV");
  tv2->Add({}, 0, "ROOT", "Root");
  auto parent = tv2->Add("ROOT", view::tvwChild, "p", "parent");
  auto target = tv2->Add(parent, view::tvwChild, "k3", "CD  TWO");  // matched in capitals
  auto* unit2 = fresh.Add<view::TextField>("qnT", 1);
  auto* check2 = fresh.Add<view::CheckBox>("Check1");
  auto* box2 = fresh.Add<view::TextBox>("Text1");
  auto* opt0b = fresh.Add<view::OptionButton>("Opt", 0, "a");
  opt0b->SetValue(true);
  auto* opt1b = fresh.Add<view::OptionButton>("Opt", 1, "b");
  auto* date2 = fresh.Add<view::DatePicker>("DT");
  auto* lv2 = fresh.Add<view::ListView>("LV");
  for (auto t : {"x", "y"}) lv2->Add("", t);
  auto* grid2 = fresh.Add<view::Grid>("Grid1");
  grid2->SetCols(3);  // fewer columns than stored: the stale key is not read
  grid2->SetColWidth(0, 77);
  GetStatus(fresh, path, true);

  EXPECT_EQ(tv2->SelectedItem(), target);
  EXPECT_TRUE(parent->Expanded());
  EXPECT_TRUE(lv2->SelectedItem() == lv2->Item(2) && lv2->VisibleItem() == lv2->Item(2));
  // The unit's id comes back without a lookup; column 0 keeps its designed width.
  std::ostringstream got;
  got << unit2->Text() << " " << unit2->GetValue().ToLong() << " " << check2->GetValue() << " " << box2->Text() << " "
      << opt0b->GetValue() << opt1b->GetValue() << " " << date2->GetValue().ToText() << " " << grid2->ColWidth(0) << " "
      << grid2->ColWidth(1) << " " << grid2->ColWidth(2);
  EXPECT_EQ(got.str(), "千克 2 1 box 01 2026-11-23 77 1500 960");
}

TEST_F(Walk, FirstStartChangesNothingAndSelectsNothing) {
  Fill();
  tv->SetSelectedItem(nullptr);
  GetStatus(c, path, true);
  EXPECT_EQ(tv->SelectedItem(), nullptr);
  // The current values are the defaults; text fields come back trimmed.
  EXPECT_EQ(code->Text() + " " + unit->GetValue().ToText(), "C01 2");
  EXPECT_TRUE(check->GetValue() == 1 && opt1->GetValue() && grid->ColWidth(1) == 1500);
  EXPECT_FALSE(fs::exists(path));
}

TEST_F(Walk, NodeTextsMatchTheFirstInTreeOrderOrNothing) {
  WriteAll(path, "[Form]\nTREEVIEW_TV=Ab  One\n");
  GetStatus(c, path, true);
  EXPECT_EQ(tv->SelectedItem(), tv->Item("k1"));

  tv->SetSelectedItem(tv->Item("ROOT"));
  WriteAll(path, "[Form]\nTREEVIEW_TV=ab  renamed\n");
  GetStatus(c, path, true);
  EXPECT_EQ(tv->SelectedItem(), tv->Item("ROOT"));  // no match: the selection stays as it was

  WriteAll(path, "[Form]\nTREEVIEW_TV=\nLISTVIEW_LV=9\n");
  GetStatus(c, path, true);
  EXPECT_EQ(tv->SelectedItem(), tv->Item("ROOT"));
  EXPECT_EQ(lv->SelectedItem(), nullptr);
}

TEST_F(Walk, UnreadableValuesLeaveOnlyTheirOwnControlAndColumn) {
  check->SetValue(1);
  grid->SetColWidth(2, 1234);
  WriteAll(path,
            "[Form]\nCHECKBOX_Check1=abc\nTEXTBOX_Text1=after\nOPTIONBUTTON_Opt_0=maybe\n"
            "QNGRID_Grid1_Col1=800\nQNGRID_Grid1_Col2=wide\nQNGRID_Grid1_Col3=700\n");
  GetStatus(c, path, true);
  EXPECT_EQ(check->GetValue(), 1);
  EXPECT_EQ(box->Text(), "after");
  EXPECT_FALSE(opt0->GetValue());
  EXPECT_EQ(std::to_string(grid->ColWidth(1)) + " " + std::to_string(grid->ColWidth(2)) + " " + std::to_string(grid->ColWidth(3)),
            "800 1234 700");
}

// A save is whole or nothing: a failed one throws with its reason and leaves the old file as it
// was and no temporary file beside it.
TEST_F(Walk, FailedSavesThrowAndLeaveTheOldFile) {
  Fill();
  auto bad = (dir / "no" / "X.txt").string();
  EXPECT_THROW(SaveStatus(c, bad, false), RuntimeError);
  EXPECT_FALSE(fs::exists(dir / "no"));
  GetStatus(c, bad, true);
  EXPECT_EQ(tv->SelectedItem(), tv->Item("k3"));

  WriteAll(path, "[Form]\nTEXTBOX_Text1=old\n");
  struct rlimit saved {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit small = saved;
  small.rlim_cur = 64;  // the walk writes some 500 bytes
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  std::string why;
  try {
    SaveStatus(c, path, false);
  } catch (const RuntimeError& e) {
    why = e.what();
  }
  setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, oldHandler);
  EXPECT_EQ(why, "cannot write " + path + ": File too large");
  EXPECT_EQ(ReadAll(path), "[Form]\nTEXTBOX_Text1=old\n");

  fs::create_directories(dir / "D.txt");  // a folder in the file's place
  EXPECT_THROW(SaveStatus(c, (dir / "D.txt").string(), false), RuntimeError);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);

  SaveStatus(c, "", false);  // no path: nothing is written
  GetStatus(c, "", true);
}
