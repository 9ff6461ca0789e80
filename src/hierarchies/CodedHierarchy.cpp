#include "hierarchies/CodedHierarchy.h"

#include "base/Text.h"
#include "frame/Settings.h"
#include "hierarchies/CodeLevels.h"

namespace kmd {

CodedHierarchy::CodedHierarchy(std::string className, view::Platform& platform)
    : Form(std::move(className), platform), m_CodeRule(std::make_unique<ICodeRule>()) {}

void CodedHierarchy::InitProperties() {
  SetRecordSource(m_Table, m_IdColumn);
  m_Tv->Selected = [this](const NodePtr& node) { m_Tv_Selected(node); };
  SetEnabled(false);
  if (m_IdLabel) SetColumnCaption(*m_IdLabel, m_IdColumn);
  if (m_ParentLabel) SetColumnCaption(*m_ParentLabel, "上级编码");
  if (m_RuleLabel) SetColumnCaption(*m_RuleLabel, "编码规则");
  if (m_SegmentBox) SetColumnCaption(*m_SegmentBox, m_CodeColumn);
  if (m_NameBox) SetColumnCaption(*m_NameBox, m_NameColumn);
}

// ---- Helpers ----

view::Label* CodedHierarchy::AddLabel(const std::string& name, int index, const std::string& caption) {
  return m_Controls.Add<view::Label>(name, index, caption);
}

view::TextField* CodedHierarchy::AddField(const std::string& name, int index, const std::string& caption) {
  auto* f = m_Controls.Add<view::TextField>(name, index, caption);
  f->Change = [this] { m_IsDirty = true; };
  return f;
}

view::Label* CodedHierarchy::AddCaption(const std::string& caption) {
  return m_Controls.Add<view::Label>("Label" + std::to_string(++m_CaptionCount), -1, caption);
}

std::string CodedHierarchy::ParentText() const { return text::Trim(m_ParentLabel->Caption()); }
std::string CodedHierarchy::Segment() const { return text::Trim(m_SegmentBox->Text()); }
std::string CodedHierarchy::FullCode() const { return ParentText() + Segment(); }
std::string CodedHierarchy::Name() const { return text::Trim(m_NameBox->Text()); }

int32_t CodedHierarchy::EditingId() const { return Value(text::Val(m_IdLabel->Caption())).ToLong(); }

bool CodedHierarchy::HasRow(const std::string& sql) {
  auto rs = ReadRows(sql);
  bool found = !rs->Eof();
  rs->Close();
  return found;
}

NodePtr CodedHierarchy::AddRecordNode(const NodeRef& parent, const std::string& code, std::string_view name,
                                      const Value& id) {
  return m_Tv->NodeAdd(parent, view::tvwChild, text::Concat({"k", code}), text::Concat({code, "  ", name}), Value(),
                       Value(), id);
}

void CodedHierarchy::ReadRule() {
  m_Rule = ReadCodeRule(Context(), m_RuleKey);
  if (m_RuleLabel) m_RuleLabel->SetCaption(RuleDisplay());
}

std::string CodedHierarchy::RuleDisplay() const {
  std::string shown;
  for (char c : m_Rule) shown += std::string(c >= '0' && c <= '9' ? static_cast<size_t>(c - '0') : 0, '*') + m_RuleGap;
  return shown;
}

std::string CodedHierarchy::CutCode(const NodePtr& node) const {
  if (!node || !node->Parent()) return "";
  size_t blank = text::InStr(node->Text, " ");
  return blank == 0 ? "" : text::Trim(text::Left(node->Text, blank - 1));
}

// ---- Init and load ----

bool CodedHierarchy::Init(IFormContext* context, int32_t programId, int32_t recordId) {
  if (!Form::Init(context, programId, recordId)) return false;
  m_ProgramId = programId;
  return InitSettings();
}

bool CodedHierarchy::InitSettings() {
  ReadRule();
  if (!m_RuleJournal.empty()) RaiseErrMessage(m_RuleJournal + m_Rule, kJournal, m_Title);
  return true;
}

void CodedHierarchy::AddRoots() {
  m_Tv->NodeAdd({}, view::tvwFirst, m_RootKey, m_RootText, Value(1), Value(2));
}

void CodedHierarchy::LoadRecord(db::Recordset& rs) {
  // The texts are read where the row holds them; only the code is copied, trimmed.
  std::string room;
  std::string code = text::Trim(rs.Fields(m_CodeColumn).TextView(room));
  std::string_view name = rs.Fields(m_NameColumn).TextView(room);
  const Value& id = rs.Fields(m_IdColumn);
  if (m_LoadFillsGaps) {
    // Every level of the code gets a node; a missing one borrows this record's name and id.
    AddCodeLevels(*m_Tv, *m_CodeRule, m_Rule, code, name, id);
    return;
  }
  // A parent comes before its children by the load's order; a missing parent leaves it out.
  // A code of single bytes (the usual one) is cut where it stands.
  size_t length = text::Len(code);
  bool firstLevel = length == static_cast<size_t>(m_CodeRule->LevelLength(1, m_Rule));
  std::string parentKey;
  if (firstLevel) parentKey = FirstLevelParentKey(rs);
  else if (text::IsAscii(code)) parentKey.append("k").append(code, 0, m_CodeRule->ParentLength(length, m_Rule));
  else parentKey = "k" + m_CodeRule->ParentCode(code, m_Rule);
  AddRecordNode(NodeRef(std::move(parentKey)), code, name, id);
}

void CodedHierarchy::SelectAfterLoad() {
  if (!m_LoadFillsGaps) Tree()->SetSelectedItem(Tree()->FindKey(m_RootKey));
}

bool CodedHierarchy::LoadTree() {
  m_Tv->ClearTreeView();
  AddRoots();
  auto db = Database();
  auto rs = db->CreateCommand(LoadSql(), 1)->OpenForwardOnly();
  std::string err = db->LastError().Description();
  if (!err.empty()) {
    m_Tv->Redraw(true);
    RaiseErrMessage(err, kFailure, m_Title);
    return false;
  }
  while (!rs->Eof()) {
    LoadRecord(*rs);
    rs->MoveNext();
  }
  rs->Close();
  return true;
}

bool CodedHierarchy::Refresh() {
  m_Tv->Redraw(false);
  if (!LoadTree()) return false;
  m_Tv->Redraw(true);
  SelectAfterLoad();
  m_Tv->ReSelectItem(nullptr);
  m_IsDirty = false;
  if (m_RaisesFormRefreshed) RaiseFormRefreshed();
  return true;
}

// ---- Selection ----

void CodedHierarchy::m_Tv_Selected(const NodePtr& node) {
  try {
    ClearEditFields();
    m_RecordMissing = false;
    if (!node || !node->Parent()) {
      // The root shows no record: no id and no parent code, so a new record there is first-level.
      m_ID = 0;
      m_IdLabel->SetCaption("");
      m_ParentLabel->SetCaption("");
      return;
    }
    m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
    UpdateScreen(m_ID);
    if (!m_RecordMissing) m_IdLabel->SetCaption(std::to_string(m_ID));
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("选择时发生错误,原因：") + e.what(), kFailure, m_Title);
  }
}

void CodedHierarchy::ShowNoRecord() {
  ClearEditFields();
  m_IdLabel->SetCaption("");
  m_ParentLabel->SetCaption("");
  m_RecordMissing = true;
}

void CodedHierarchy::UpdateScreen(int32_t id) {
  m_RecordMissing = false;
  try {
    auto db = Database();
    auto rs = db->CreateCommand(UpdateScreenSql(id), 1)->OpenRecordset();
    if (std::string err = db->LastError().Description(); !err.empty()) {
      ShowNoRecord();
      RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, m_Title);
      return;
    }
    if (rs->Eof()) ShowNoRecord();
    if (!rs->Eof()) {
      KeepFingerprint(id, rs.get());
      std::string code = Str(*rs, m_CodeColumn);
      m_ParentLabel->SetCaption(m_CodeRule->ParentCode(code, m_Rule));
      auto length = m_CodeRule->ChildSegmentLength(ParentText(), m_Rule);
      m_SegmentBox->SetText(text::Right(code, static_cast<size_t>(length < 0 ? 0 : length)));
      m_NameBox->SetText(Str(*rs, m_NameColumn));
      ShowRecord(*rs);
    }
    rs->Close();
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("更新屏幕时出错，原因：") + e.what(), kFailure, m_Title);
  }
}

// ---- New, edit, cancel ----

bool CodedHierarchy::FileNew() {
  ClearEditFields();
  m_IdLabel->SetCaption("0");
  SetEnabled(true);
  m_SegmentBox->MaxLength = m_CodeRule->ChildSegmentLength(ParentText(), m_Rule);
  OnNewRecord(false);
  m_SegmentBox->SetFocus();
  return true;
}

bool CodedHierarchy::FileNewNext() {
  auto node = Tree()->SelectedItem();
  std::string code = CutCode(node);
  if (!IsCanAddChild(text::Trim(code))) return false;
  if (m_LevelLimit > 0 && m_CodeRule->CodeLevel(FullCode(), m_Rule) >= m_LevelLimit) {
    MsgBox("级次大于" + std::to_string(m_LevelLimit) + " 无法继续新建下级", view::vbOKCancel | view::vbInformation,
           "请注意！");
    return false;
  }
  // The box takes the length of the selected record's own segment, not of the level below.
  if (!node || !node->Parent()) {
    m_SegmentBox->MaxLength = m_CodeRule->LevelLength(1, m_Rule);
  } else {
    int level = m_CodeRule->CodeLevel(text::Trim(code), m_Rule);
    m_SegmentBox->MaxLength = m_CodeRule->LevelLength(level, m_Rule) - m_CodeRule->LevelLength(level - 1, m_Rule);
  }
  ClearEditFields();
  SetEnabled(true);
  m_ParentLabel->SetCaption(code);
  m_IdLabel->SetCaption("0");
  OnNewRecord(true);
  m_SegmentBox->SetFocus();
  return true;
}

bool CodedHierarchy::FileEdit() {
  if (!m_Tv->IsSelected()) {
    MsgBox("无选择项目,不能进行编辑!", view::vbInformation, "提示：");
    return false;
  }
  if (RefuseMissingRecord()) return false;
  SetEnabled(true);
  m_SegmentBox->MaxLength = m_CodeRule->ChildSegmentLength(ParentText(), m_Rule);
  m_SegmentBox->SetFocus();
  return true;
}

bool CodedHierarchy::FileCancel() {
  SetEnabled(false);
  m_Tv->ReSelectItem(nullptr);
  m_IsDirty = false;
  return true;
}

// ---- Save ----

bool CodedHierarchy::IsCanSave() {
  try {
    std::string code = FullCode();
    if (!m_CodeRule->IsValidCode(code, m_Rule)) {
      RaiseErrMessage("编码长度不对,请检查!", kRuleRefusal, "提示：");
      return false;
    }
    if (Name().empty()) {
      MsgBox(m_EmptyNameText, view::vbInformation, "提示：");
      return false;
    }
    if (!IsCanSaveMember()) return false;
    int32_t id = EditingId();
    bool isNew = id <= 0;
    for (const auto& check : SaveChecks(isNew, std::to_string(id), code, Name())) {
      auto rs = ReadRows(check.sql);
      if (rs->Eof()) {
        rs->Close();
        continue;
      }
      std::string text = check.text;
      if (!check.foundColumn.empty()) text += Str(*rs, check.foundColumn) + check.textAfter;
      rs->Close();
      MsgBox(text, check.style, check.title);
      if (check.focus) m_FormHelper->SetFocusTo(*check.focus);
      return false;
    }
    if (isNew) return true;
    // A record with children keeps its code; only its name and other columns may change.
    auto rs = ReadRows(DetailCheckSql(std::to_string(id)));
    bool refused = !rs->Eof() && Num(*rs, "是否明细") == 0 &&
                   Str(*rs, m_CodeColumn) != m_ParentLabel->Caption() + m_SegmentBox->Text();
    rs->Close();
    if (refused) Refuse(m_NonDetailRefusal);
    return !refused;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("Cansave中出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

std::vector<std::string> CodedHierarchy::ParentBranchSql(const std::string& parent, int32_t) const {
  return {"update  " + m_Table + "  set 是否明细= 0 where " + m_CodeColumn + " =" + text::Quote(parent) + ""};
}

bool CodedHierarchy::FileSave() {
  try {
    if (!IsCanSave()) return false;
    auto db = Database();
    int32_t id = EditingId();
    bool isNew = id <= 0;
    std::string code = FullCode(), name = Name();
    std::string sql;
    if (isNew) {
      m_IdAllocator->NextId(m_Table, m_IdColumn, id);
      sql = InsertSql(id, code, m_CodeRule->CodeLevel(code, m_Rule));
    } else {
      sql = UpdateSql(id, code);
    }
    // The selected node is the new record's parent when its code is the parent code label.
    auto selected = Tree()->SelectedItem();
    bool underSelected = isNew && CutCode(selected) == m_ParentLabel->Caption();
    if (underSelected)
      for (const auto& s : ParentBranchSql(ParentText(), id)) db->CreateCommand(s, 1)->Execute();
    db->CreateCommand(sql, 1)->Execute();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, m_Title);
      return false;
    }
    AfterWrite(isNew, id, code);
    m_SegmentBox->MaxLength = 0;
    if (isNew) {
      m_IdLabel->SetCaption(std::to_string(id));
      m_ID = id;
      NodePtr parent = selected;
      if (!underSelected && selected && selected->Parent()) parent = selected->Parent();
      if (auto node = AddRecordNode(parent, code, name, Value(id))) {
        node->SetSelected(true);
        node->EnsureVisible();
      }
    } else if (m_Tv->IsSelected()) {
      // The key keeps the old code until the next load.
      selected->Text = code + "  " + name;
      selected->EnsureVisible();
    } else {
      RaiseErrMessage("没有选中对象", kFailure, m_Title);
    }
    m_Tv->ReSelectItem(nullptr);
    SetEnabled(false);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("save中出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

// ---- Delete ----

bool CodedHierarchy::IsCanDelete(int32_t id, const std::string& code) {
  auto rs = ReadRows(DeleteCheckSql(id));
  if (rs->Eof()) {
    rs->Close();
    return true;
  }
  bool system = Num(*rs, "是否系统") != 0;
  bool branch = Num(*rs, "是否明细") == 0;
  rs->Close();
  if (system) {
    Refuse(m_SystemRefusal);
    return false;
  }
  if (branch) {
    Refuse(m_BranchRefusal);
    return false;
  }
  return IsCanDeleteInUse(id, code);
}

std::string CodedHierarchy::DeleteSql(int32_t id) const {
  return "delete from " + m_Table + " where " + m_IdColumn + "=" + std::to_string(id);
}

std::string CodedHierarchy::ChildCountSql(const std::string& parent) const {
  return " Select COUNT(*) From " + m_Table + " Where " + m_CodeColumn + " Like '" + text::Lit(text::Trim(parent)) + "%' And " +
         m_CodeColumn + " <> " + text::Quote(parent);
}

std::vector<std::string> CodedHierarchy::ParentLeafSql(const std::string& parent, int32_t) const {
  return {"update " + m_Table + " set 是否明细=1 where " + m_CodeColumn + "=" + text::Quote(parent) + ""};
}

std::string CodedHierarchy::FlagFailureText(const std::string& parent, int32_t,
                                            const std::string& description) const {
  return "更新上级编码为明细级时出错，编号：" + parent + ",原因：" + description;
}

bool CodedHierarchy::FileDelete() {
  if (!m_Tv->IsSelected()) {
    Refuse(m_DeleteNothingSelected);
    return false;
  }
  auto node = Tree()->SelectedItem();
  if (!node->Parent()) {
    Refuse(m_DeleteRoot);
    return false;
  }
  if (RefuseMissingRecord()) return false;
  return Delete(node);
}

bool CodedHierarchy::DeleteFailed(DeleteFailure mode, const std::string& report, const std::string& description) {
  if (mode != DeleteFailure::RollbackAtOnce) RaiseErrMessage(report, m_DeleteFailLevel, m_Title);
  if (mode == DeleteFailure::LeaveOpen) return true;
  auto db = Database();
  if (db->InTrans()) db->RollbackTrans();
  RaiseErrMessage("删除时出错，请检查,原因:" + description, kFailure, m_Title);
  return true;
}

bool CodedHierarchy::Delete(const NodePtr& node) {
  try {
    int32_t id = EditingId();
    if (!IsCanDelete(id, FullCode())) return false;
    if (MsgBox("是否删除当前记录:" + node->Text, view::vbYesNo | view::vbQuestion, "提示:") != view::vbYes) {
      DeleteDeclined();
      m_IsDirty = false;
      return true;
    }
    auto db = Database();
    db->BeginTrans();
    db->CreateCommand(DeleteSql(id), 1)->Execute();
    std::string err = db->LastError().Description();
    if (!err.empty() && DeleteFailed(m_OnDeleteFailure, "删除数据时出错：" + err, err)) return false;
    RaiseErrMessage(m_DeleteJournal + std::to_string(id), kJournal, m_Title);
    // A parent left without children becomes a leaf again.
    std::string parent = m_ParentLabel->Caption();
    if (ReadValue(ChildCountSql(parent)).ToDouble() == 0) {
      for (const auto& sql : ParentLeafSql(parent, id)) {
        db->CreateCommand(sql, 1)->Execute();
        err = db->LastError().Description();
        if (!err.empty() && DeleteFailed(m_OnFlagFailure, FlagFailureText(parent, id, err), err)) return false;
      }
      RaiseErrMessage("更新上级编码为最明细,编号ID号=" + std::to_string(id), kJournal, m_Title);
    }
    db->CommitTrans();
    m_Tv->NodeDelete(node, true);
    m_Tv->ReSelectItem(nullptr);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    if (!m_DeleteHasErrorPath) throw;
    std::string description = e.what();
    db::RollbackQuietly(*Database());
    RaiseErrMessage("删除时出错，请检查,原因:" + description, kFailure, m_Title);
    return false;
  }
}

// ---- Find and movement ----

bool CodedHierarchy::Find(const Value&) {
  m_FindText = "";
  NodePtr found;
  m_Tv->NodeFind(found, m_FindText, "", true);
  return true;
}

bool CodedHierarchy::FindNext() {
  if (!m_HasFindNext) return false;
  FindNextNode();
  return true;
}

bool CodedHierarchy::RecordPrevious() {
  m_Tv->MoveNodePrevious();
  return true;
}

bool CodedHierarchy::RecordNext() {
  m_Tv->MoveNodeNext();
  return true;
}

CommandStates CodedHierarchy::Commands() {
  CommandStates s = Form::Commands();
  s.NewChild = !Editing() && Tree() && Tree()->SelectedItem();
  s.FindNext = s.FindNext && m_HasFindNext;
  return s;
}

}  // namespace kmd
