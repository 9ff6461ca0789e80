#include "employees/GY.h"

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "files/bCommon.h"
#include "frame/Settings.h"
#include "hierarchies/OrganisationTree.h"

namespace kmd {

namespace {

const char* const kTitle = "雇员";
const char* const kDragTitle = "往来单位";
const char* const kToolKey = "autobm";

// The text fields qnT(0) to qnT(17), by index.
const char* const kFieldCaptions[] = {"雇员编号", "姓名",     "出生日期",     "身份证号码",     "文化程度", "邮编",
                                      "家庭地址", "家庭电话", "所属部门",     "职务",           "职员类别", "雇佣日期",
                                      "工资帐号", "紧急联系人姓名", "紧急联系电话", "备注", "手机",     "mail"};

}  // namespace

GY::GY(view::Platform& platform) : Form("GY", platform) {
  m_Title = kTitle;
  m_ReturnsDirty = true;
  m_PrintMessage = true;
  SetRecordSource("kmdgy", "雇员ID");

  CreateTree();
  m_Controls.Add<view::Label>("Label1", -1, "员工档案设置");
  m_Controls.Add<view::Label>("Label2", -1, "内部ID");
  Labe.Set(0, m_Controls.Add<view::Label>("Labe", 0));
  Labe.Set(1, m_Controls.Add<view::Label>("Labe", 1));
  m_Controls.Add<view::Label>("Label3", -1, "所属部门");
  Labe.Set(2, m_Controls.Add<view::Label>("Labe", 2));
  Labe.Set(3, m_Controls.Add<view::Label>("Labe", 3));
  Labe.Set(4, m_Controls.Add<view::Label>("Labe", 4));
  // The kind of the node and the unit's id are the form's own bookkeeping.
  Labe(1).SetVisible(false);
  Labe(4).SetVisible(false);
  for (int i = 0; i <= 17; ++i) {
    auto* f = m_Controls.Add<view::TextField>("qnT", i, kFieldCaptions[i]);
    f->Change = [this] { m_IsDirty = true; };
    qnT.Set(i, f);
    if (i != 1) continue;
    for (int o = 0; o < 2; ++o) {
      auto* opt = m_Controls.Add<view::OptionButton>("Opt", o, o == 0 ? "男" : "女", "性别");
      opt->Click = [this] { m_IsDirty = true; };
      Opt.Set(o, opt);
    }
  }
  Chk = m_Controls.Add<view::CheckBox>("Chk", -1, "允许拖动记录");
  // Only the user's click switches dragging; clearing and locking the box leave it as it is.
  Chk->Click = [this] { m_Tv->DragEnabled = Chk->GetValue() != 0; };

  SetReference(qnT(4), "文化程度输入有误，请重新输入！", "文化程度ID", "文化程度",
               "select 文化程度,文化程度ID from kmdwhcd  where 文化程度 = '@' order by 文化程度ID", "gy_whcd");
  SetReference(qnT(8), "所属部门输入有误，请重新输入！", "部门ID", "部门名称",
               "Select 部门编码,部门名称,部门ID From KMDBM  where  部门编码='@' or 部门名称 = '@' order by 部门ID",
               "gy_dept");
  SetReference(qnT(9), "职务输入有误，请重新输入！", "职务ID", "职务",
               "select 编号,职务,职务ID from kmdzw  where 编号 = '@'or 职务 = '@'", "gy_zw");
  SetReference(qnT(10), "职员类别输入有误，请重新输入！", "类别ID", "职员类别",
               "select 类别代码,职员类别,类别ID from kmdzylb  where 类别代码 = '@'or 职员类别 = '@' ", "gy_zylb");

  m_Tv->Selected = [this](const NodePtr& node) { m_Tv_Selected(node); };
  m_Tv->Dragging = [this](const NodePtr& s, const NodePtr& t) { m_Tv_Dragging(s, t); };
  m_Tv->Dropped = [this](const NodePtr& s, const NodePtr& t) { m_Tv_Dropped(s, t); };
  CreateSplitter();
  SetEnabled(false);
}

char GY::KeyKind(const NodePtr& node) { return node && !node->Key().empty() ? node->Key()[0] : '\0'; }

int32_t GY::SavingRecordId() const { return Value(text::Val(Labe(0).Caption())).ToLong(); }

// ---- Init, tools and load ----

bool GY::Init(IFormContext* context, int32_t programId, int32_t recordId) {
  if (!Form::Init(context, programId, recordId)) return false;
  auto k = ReadProgram(*Database(), programId).CommandLine.Item("k");
  m_OrgFilter = k.Found ? static_cast<int32_t>(text::Val(k.Value)) : -1;
  m_Rule = ReadCodeRule(Context(), Value(17));
  m_Tools.clear();
  m_Tools.push_back(ToolEntry{"编号自动序列增加", kToolKey, {true, false, true, false}, "", true, false});
  return true;
}

ToolEntry* GY::AutoNumber() {
  for (auto& tool : m_Tools)
    if (tool.Key == kToolKey) return &tool;
  return nullptr;
}

bool GY::Action(const std::string& key) {
  auto* tool = AutoNumber();
  if (!tool || text::LCase(key) != kToolKey) return false;
  tool->State = !tool->State;
  return true;
}

bool GY::Refresh() {
  try {
    m_Tv->Redraw(false);
    auto db = Database();
    if (!OrganisationTree::Load(*m_Tv, *db, m_CodeRule, m_Rule, m_OrgFilter,
                                [this](const std::string& failure) { RaiseErrMessage(failure, kFailure, kTitle); }))
      return false;
    RaiseErrMessage("正在加载员工档案...", kJournal, kTitle);
    std::string sql = "SELECT B.部门编码,A.* FROM KMDGY A INNER JOIN KMDBM B ON A.部门ID=B.部门ID ";
    if (m_OrgFilter < 1) sql += "order by 雇员编号";
    else sql += "where 组织类型=" + std::to_string(m_OrgFilter) + " order by 雇员编号";
    auto rs = db->CreateCommand(sql, 1)->OpenRecordset();
    if (std::string err = db->LastError().Description(); !err.empty()) {
      m_Tv->Redraw(true);
      RaiseErrMessage(err, kFailure, kTitle);
      return false;
    }
    // An employee of a unit that is not in the tree is left out.
    while (!rs->Eof()) {
      m_Tv->NodeAdd(NodeRef("k" + text::Trim(Str(*rs, "部门编码"))), view::tvwChild, "W" + Str(*rs, "雇员ID"),
                    Str(*rs, "雇员编号") + "  " + Str(*rs, "姓名"), Value(), Value(), rs->Fields("雇员ID"));
      rs->MoveNext();
    }
    rs->Close();
    m_Tv->Redraw(true);
    RaiseErrMessage("加载结束...", kJournal, kTitle);
    Tree()->SetSelectedItem(Tree()->FindKey(OrganisationTree::FirstRootKey(m_OrgFilter)));
    m_Tv->ReSelectItem(nullptr);
    m_IsDirty = false;
    RaiseFormRefreshed();
    return true;
  } catch (const std::exception& e) {
    m_Tv->Redraw(true);
    RaiseErrMessage(e.what(), kFailure, kTitle);
    return false;
  }
}

// ---- Selection ----

// An employee shows its record and its unit; a unit names itself as the unit of a new employee;
// a kind root names none, so that no employee is created there.
void GY::m_Tv_Selected(const NodePtr& node) {
  try {
    ClearFields();
    if (!node) return;
    switch (KeyKind(node)) {
      case 'W': {
        m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
        UpdateScreen(m_ID);
        Labe(1).SetCaption("W");
        auto rs = ReadRows("SELECT 部门编码,部门名称 from kmdbm where 部门ID= (select 部门ID from kmdgy where 雇员ID=" +
                           std::to_string(m_ID) + ")");
        if (!rs->Eof()) {
          Labe(2).SetCaption(Str(*rs, "部门编码"));
          Labe(3).SetCaption(Str(*rs, "部门名称"));
        }
        rs->Close();
        break;
      }
      case 'k': {
        Labe(1).SetCaption("k");
        std::string tag = std::to_string(m_ValueHelper->ToNumber(node->Tag).ToLong());
        Labe(4).SetCaption(tag);
        auto rs = ReadRows("SELECT 部门名称,部门编码 from kmdbm where 部门ID= " + tag);
        if (!rs->Eof()) {
          Labe(3).SetCaption(Str(*rs, "部门名称"));
          qnT(8).SetText(Str(*rs, "部门名称"));
          Labe(2).SetCaption(Str(*rs, "部门编码"));
        }
        rs->Close();
        Labe(0).SetCaption("0");
        break;
      }
      case 'R':
        Labe(1).SetCaption("R");
        Labe(0).SetCaption("0");
        for (int i : {2, 3, 4}) Labe(i).SetCaption("");
        qnT(8).SetText("");
        break;
      default: break;
    }
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("选择时发生错误,原因：") + e.what(), kFailure, kTitle);
  }
}

void GY::UpdateScreen(int32_t id) {
  auto rs = ReadRows(
      " SELECT KMDWHCD.文化程度 AS 文化程度, KMDZYLB.职员类别 AS 职员类别,"
      " KMDBM.部门名称 AS 部门名称, KMDZW.职务 AS 职务, kmdgy.*  "
      " FROM (((kmdgy LEFT JOIN "
      " KMDZYLB ON kmdgy.类别ID = KMDZYLB.类别ID) LEFT JOIN "
      " KMDWHCD ON "
      " kmdgy.文化程度ID = KMDWHCD.文化程度ID) LEFT JOIN "
      " KMDBM ON kmdgy.部门ID = KMDBM.部门ID) LEFT JOIN "
      " KMDZW ON kmdgy.职务ID = KMDZW.职务ID "
      " WHERE (kmdgy.雇员ID=" +
      std::to_string(id) + ")");
  if (rs->Eof()) {
    // Gone since the tree was loaded: nothing is shown, and nothing can be edited or saved over it.
    m_RecordMissing = true;
    Labe(0).SetCaption("");
    rs->Close();
    return;
  }
  KeepFingerprint(id);
  Labe(0).SetCaption(Str(*rs, "雇员ID"));
  const struct {
    int index;
    const char* column;
  } plain[] = {{0, "雇员编号"}, {1, "姓名"},      {2, "出生日期"},       {3, "身份证号码"},   {5, "邮编"},
               {6, "家庭地址"}, {7, "家庭电话"},  {11, "雇佣日期"},      {12, "工资帐号"},    {13, "紧急联系人姓名"},
               {14, "紧急联系电话"}, {15, "备注"}, {16, "手机"},         {17, "mail"}};
  for (const auto& p : plain) qnT(p.index).SetText(Str(*rs, p.column));
  const struct {
    int index;
    const char* id;
    const char* name;
  } looked[] = {{4, "文化程度ID", "文化程度"}, {8, "部门ID", "部门名称"}, {9, "职务ID", "职务"}, {10, "类别ID", "职员类别"}};
  for (const auto& l : looked) {
    qnT(l.index).SetValue(rs->Fields(l.id));
    qnT(l.index).SetText(Str(*rs, l.name));
  }
  Labe(4).SetCaption(Str(*rs, "部门ID"));
  bool male = text::Val(Str(*rs, "性别")) == 1;
  Opt(0).SetValue(male);
  Opt(1).SetValue(!male);
  rs->Close();
}

// ---- New, edit, cancel ----

bool GY::CanCreateEmployee() {
  int32_t unit = Value(text::Val(Labe(4).Caption())).ToLong();
  if (unit <= 0) {
    MsgBox("无当前部门名称，请选择!", view::vbInformation, "提示：");
    return false;
  }
  // Employees stand only in leaf units; a unit that is gone counts as none.
  if (ReadValue("SELECT 是否明细 FROM kmdbm WHERE 部门ID=" + std::to_string(unit)).ToDouble() == 0) {
    MsgBox("该部门有下级明细，不能新建雇员!", view::vbInformation, "提示：");
    return false;
  }
  return true;
}

bool GY::FileNew() {
  if (!CanCreateEmployee()) return false;
  ClearFields();
  Labe(0).SetCaption("0");
  SetEnabled(true);
  qnT(8).SetText(Labe(3).Caption());
  qnT(8).SetValue(Value(text::Val(Labe(4).Caption())));
  auto* tool = AutoNumber();
  if (tool && tool->State && !m_NextNumber.empty()) {
    qnT(0).SetText(m_NextNumber);
    qnT(1).SetFocus();
  } else {
    qnT(0).SetFocus();
  }
  return true;
}

bool GY::FileEdit() {
  if (!m_Tv->IsSelected()) {
    MsgBox("无选择项目,不能进行编辑!", view::vbInformation, "提示：");
    return false;
  }
  switch (KeyKind(Tree()->SelectedItem())) {
    case 'R': MsgBox("该节点为非名细节点，不允许编辑中!", view::vbInformation, "提示："); return false;
    case 'k': MsgBox("该节点为非名细节点，不允许编辑!", view::vbInformation, "提示："); return false;
    default: break;
  }
  if (RefuseMissingRecord()) return false;
  SetEnabled(true);
  return true;
}

bool GY::FileCancel() {
  SetEnabled(false);
  m_Tv->ReSelectItem(nullptr);
  m_IsDirty = false;
  return true;
}

// ---- Save ----

std::string GY::Field(int index) const { return text::Trim(qnT(index).Text()); }

std::string GY::LookupId(int index) const { return text::FormatNumber(text::Val(qnT(index).GetValue().ToText())); }

std::string GY::NextCode(const std::string& code) { return bCommon::NextNumberedName(code); }

bool GY::IsCanSave() {
  const struct {
    int index;
    const char* text;
  } required[] = {{1, "没有姓名,请录入!"}, {8, "没有所属部门,请录入!"}, {0, "没有具体的雇员编号,请录入!"}};
  for (const auto& r : required) {
    if (!Field(r.index).empty()) continue;
    MsgBox(r.text, view::vbInformation, "提示：");
    return false;
  }
  int32_t id = SavingRecordId();
  std::string other = id == 0 ? "" : "雇员ID <> " + std::to_string(id) + " and ";
  const struct {
    std::string sql;
    const char* text;
  } duplicates[] = {{" Select  * From KMDgy Where " + other + "雇员编号=" + text::Quote(Field(0)), "雇员编号重复,请检查!"},
                    {" Select * From KMDgy Where " + other + "姓名=" + text::Quote(Field(1)), "雇员姓名重复,请检查!"}};
  for (const auto& d : duplicates) {
    auto rs = ReadRows(d.sql);
    bool found = !rs->Eof();
    rs->Close();
    if (!found) continue;
    MsgBox(d.text, view::vbInformation, "提示：");
    return false;
  }
  return true;
}

std::string GY::DateLiteral(const view::TextField& box, bool jet) const {
  std::string date = text::Trim(box.Text());
  if (date.empty()) date = "1900-01-01";
  return jet ? "#" + date + "#" : text::Quote(date);
}

std::string GY::InsertSql(int32_t id, int gender, bool jet) const {
  return "insert into kmdgy (雇员ID,雇员编号,姓名,性别,出生日期,身份证号码,文化程度ID,"
         "邮编,家庭地址,家庭电话,部门ID,职务ID,类别ID,雇佣日期,工资帐号,紧急联系人姓名,紧急联系电话,备注,手机,mail) values ( " +
         std::to_string(id) + "," + text::Quote(Field(0)) + "," + text::Quote(Field(1)) + "," + std::to_string(gender) +
         "," + DateLiteral(qnT(2), jet) + "," + text::Quote(Field(3)) + "," + LookupId(4) + "," + text::Quote(Field(5)) +
         "," + text::Quote(Field(6)) + "," + text::Quote(Field(7)) + "," + LookupId(8) + "," + LookupId(9) + "," +
         LookupId(10) + "," + DateLiteral(qnT(11), jet) + "," + text::Quote(Field(12)) + "," + text::Quote(Field(13)) +
         "," + text::Quote(Field(14)) + "," + text::Quote(Field(15)) + "," + text::Quote(Field(16)) + "," +
         text::Quote(Field(17)) + ") ";
}

std::string GY::UpdateSql(int32_t id, int gender, bool jet) const {
  return "update kmdgy set 雇员编号=" + text::Quote(Field(0)) + ",姓名=" + text::Quote(Field(1)) +
         ",性别=" + std::to_string(gender) + ",出生日期=" + DateLiteral(qnT(2), jet) + ",身份证号码=" + text::Quote(Field(3)) +
         ",文化程度ID=" + LookupId(4) + ",邮编=" + text::Quote(Field(5)) + ",家庭地址=" + text::Quote(Field(6)) +
         ",家庭电话=" + text::Quote(Field(7)) + ",部门ID=" + LookupId(8) + ",职务ID=" + LookupId(9) +
         ",类别ID=" + LookupId(10) + ",雇佣日期=" + DateLiteral(qnT(11), jet) + ",工资帐号=" + text::Quote(Field(12)) +
         ",紧急联系人姓名=" + text::Quote(Field(13)) + ",紧急联系电话=" + text::Quote(Field(14)) +
         ",备注=" + text::Quote(Field(15)) + ",手机=" + text::Quote(Field(16)) + ",mail=" + text::Quote(Field(17)) +
         " where 雇员ID=" + std::to_string(id);
}

// No transaction of its own: the host's unit of work holds the statement.
bool GY::FileSave() {
  try {
    if (!IsCanSave()) return false;
    int gender = Opt(0).GetValue() ? 1 : 0;
    int32_t id = SavingRecordId();
    bool isNew = id == 0;
    if (isNew) m_IdAllocator->NextId("kmdgy", "雇员ID", id);
    auto db = Database();
    bool jet = db->Info().Item(Value("driver")).ToText() == "jet";
    db->CreateCommand(isNew ? InsertSql(id, gender, jet) : UpdateSql(id, gender, jet), 1)->Execute();
    if (std::string err = db->LastError().Description(); !err.empty()) {
      RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, kTitle);
      return false;
    }
    m_NextNumber = NextCode(Field(0));
    auto selected = Tree()->SelectedItem();
    std::string text = Field(0) + "  " + Field(1);
    if (isNew) {
      NodePtr unit = KeyKind(selected) == 'k' ? selected : KeyKind(selected) == 'W' ? selected->Parent() : nullptr;
      if (unit) {
        if (auto node = m_Tv->NodeAdd(unit, view::tvwChild, "W" + std::to_string(id), text, Value(), Value(), Value(id)))
          node->SetSelected(true);
      }
    } else if (m_Tv->IsSelected()) {
      selected->Text = text;
    } else {
      RaiseErrMessage("没有选中对象", kFailure, kTitle);
    }
    m_Tv->ReSelectItem(nullptr);
    SetEnabled(false);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("数据库操作错误，原因：") + e.what(), kFailure, kTitle);
    return false;
  }
}

// ---- Delete ----

bool GY::FileDelete() {
  auto node = Tree()->SelectedItem();
  char kind = KeyKind(node);
  if (kind == 'R' || kind == 'k') {
    MsgBox("该节点为非名细节点,不能删除!", view::vbInformation, "提示：");
    return false;
  }
  if (!m_Tv->IsSelected()) {
    MsgBox("无选择项目,不能进行删除!   ", view::vbInformation, "提示：");
    return false;
  }
  if (RefuseMissingRecord()) return false;
  std::string id = std::to_string(m_ID);
  try {
    if (ReadValue(" Select 是否系统 From KMDgy Where 雇员ID = " + id).ToBool()) {
      MsgBox("不能删除系统设定雇员信息!", view::vbInformation, "提示：");
      return false;
    }
    if (MsgBox("是否删除当前记录:" + node->Text, view::vbYesNo | view::vbQuestion, "提示:") != view::vbYes) return true;
    auto db = Database();
    db->BeginTrans();
    db->CreateCommand("delete from kmdgy where 雇员id=" + id, 1)->Execute();
    if (std::string err = db->LastError().Description(); !err.empty()) {
      RaiseErrMessage("删除数据时出错：" + err, kFailure, kTitle);
      throw RuntimeError(err);
    }
    db->CommitTrans();
    RaiseErrMessage("成功删除数据,雇员ID号=" + id, kJournal, kTitle);
    m_Tv->NodeDelete(node, true);
    m_Tv->ReSelectItem(nullptr);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    std::string description = e.what();
    db::RollbackQuietly(*Database());
    RaiseErrMessage("删除时出错，请检查,原因:" + description, kFailure, kTitle);
    return false;
  }
}

// ---- Find and movement ----

bool GY::Find(const Value&) {
  m_FindText = "";
  NodePtr found;
  if (m_Tv->NodeFind(found, m_FindText, "", true) && found) RaiseMessage("搜索到结果:" + found->Text);
  else RaiseMessage("本次查找没有搜索到结果!");
  return true;
}

bool GY::FindNext() {
  FindNextNode();
  return true;
}

bool GY::RecordPrevious() {
  m_Tv->MoveNodePrevious();
  return true;
}

bool GY::RecordNext() {
  m_Tv->MoveNodeNext();
  return true;
}

// ---- Drag ----

void GY::m_Tv_Dragging(const NodePtr& source, const NodePtr& target) {
  auto images = Tree()->GetImageList();
  if (!images || images->Count() < 4) throw RuntimeError("Index out of bounds");
  Tree()->DragIcon = images->Keys()[3];
  RaiseErrMessage("Dragging Source :=" + source->Text + "  TargetParent:=" + target->Text, kJournal, kDragTitle);
}

// The log names the node the drop landed on, before the move takes an employee's unit for it.
void GY::m_Tv_Dropped(const NodePtr& source, const NodePtr& target) {
  MoveEmployee(source, target);
  RaiseErrMessage("Dropped Source :=" + source->Text + "  TargetParent:=" + target->Text, kJournal, kDragTitle);
}

void GY::MoveEmployee(const NodePtr& sourceNode, NodePtr targetParent) {
  if (!sourceNode->Parent()) {
    RaiseMessage("不能移动根节点");
    return;
  }
  if (KeyKind(sourceNode) == 'k') {
    MsgBox("不能移动部门节点,如需移动,请修改部门", view::vbOKOnly, kAppTitle);
    return;
  }
  if (!targetParent->Parent()) {
    RaiseMessage("不能将[" + sourceNode->Text + "]移到根节点下");
    return;
  }
  if (KeyKind(targetParent) == 'W') targetParent = targetParent->Parent();
  if (targetParent == sourceNode->Parent()) {
    RaiseMessage("相同的父节点间，不能移动");
    return;
  }
  if (targetParent->Children() > 0 && KeyKind(targetParent->Child()) == 'k') {
    m_FormHelper->ShowMessage("", "", "不能将[" + sourceNode->Text + "]移到[" + targetParent->Text + "]下(非明细级部门)",
                              view::vbExclamation, "提示：");
    return;
  }
  if (MsgBox("是否将[" + sourceNode->Text + "]移到[" + targetParent->Text + "]下？", view::vbYesNo | view::vbInformation,
             "提示：") != view::vbYes)
    return;
  if (m_Tv->IsParentNode(targetParent, sourceNode) || !m_Tv->NodeMove(targetParent, sourceNode, true)) return;
  // The statement's result is not looked at.
  Database()
      ->CreateCommand("update kmdgy set 部门ID = " + text::Quote(targetParent->Tag.ToText()) +
                          "  where 雇员ID =" + sourceNode->Tag.ToText(),
                      1)
      ->Execute();
  // The shown record may be the one moved: what the form compares before a save is read again.
  RetakeFingerprint();
}

}  // namespace kmd
