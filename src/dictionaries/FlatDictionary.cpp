#include "dictionaries/FlatDictionary.h"

#include <cmath>

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd {

FlatDictionary::FlatDictionary(std::string className, view::Platform& platform)
    : Form(std::move(className), platform) {
  // Most flat dictionaries answer IsDirty with the flag and say there is no printing yet.
  m_ReturnsDirty = true;
  m_PrintMessage = true;
  m_RaisesFormRefreshed = false;
}

void FlatDictionary::InitProperties() {
  SetRecordSource(m_RecordTable, m_IdColumn);
  m_Tv->Selected = [this](const NodePtr& node) { m_Tv_Selected(node); };
  SetEnabled(false);
  if (m_IdLabel) SetColumnCaption(*m_IdLabel, m_IdColumn);
}

view::TextField* FlatDictionary::AddField(int index, const std::string& caption) {
  auto* f = m_Controls.Add<view::TextField>(m_FieldArray, index, caption);
  f->Change = [this] { m_IsDirty = true; };
  qnT.Set(index, f);
  return f;
}

view::TextField* FlatDictionary::AddColumnField(int index, const std::string& column) {
  m_ShownColumns.emplace_back(index, column);
  return AddField(index, column);
}

void FlatDictionary::AddIdLabel(const std::string& name, int index, const std::string& caption) {
  m_Controls.Add<view::Label>("Label1", -1, caption);
  m_IdLabel = m_Controls.Add<view::Label>(name, index);
}

std::string FlatDictionary::Code() const { return text::Trim(qnT(0).Text()); }

view::TextField& FlatDictionary::NameField() const { return m_CodeColumn.empty() ? qnT(0) : qnT(1); }

std::string FlatDictionary::Name() const { return text::Trim(NameField().Text()); }

std::string FlatDictionary::NodeText(std::string_view code, std::string_view name) const {
  return m_NodeShowsCode ? text::Concat({code, m_NodeSeparator, name}) : std::string(name);
}

int32_t FlatDictionary::EditingId() const {
  if (!m_IdLabel) return m_ID;
  return Value(text::Val(m_IdLabel->Caption())).ToLong();
}

bool FlatDictionary::RefuseEmpty(view::TextField& field, const std::string& text, int style,
                                 const std::string& title) {
  if (!field.Text().empty()) return false;
  MsgBox(text, style, title);
  return true;
}

bool FlatDictionary::Taken(const std::string& sql, bool byRow) {
  if (byRow) {
    auto rs = ReadRows(sql);
    bool found = !rs->Eof();
    rs->Close();
    return found;
  }
  return ReadValue(sql).ToDouble() > 0;
}

void FlatDictionary::RefuseDuplicate(const std::string& text, view::TextField* focus, int style,
                                     const std::string& title) {
  MsgBox(text, style, title);
  if (focus) m_FormHelper->SetFocusTo(*focus);
}

bool FlatDictionary::Refresh() {
  try {
    m_Tv->ClearTreeView();
    m_Tv->NodeAdd({}, -1, "ROOT", m_RootText);
    auto db = Database();
    if (!LoadNodes(*db)) return false;
    Tree()->SetSelectedItem(Tree()->FindKey("ROOT"));
    m_Tv->ReSelectItem(nullptr);
    m_IsDirty = false;
    db->ResetState();
    if (m_RaisesFormRefreshed) RaiseFormRefreshed();
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("刷新数据时出错：") + e.what(), kFailure, m_Title);
    return false;
  }
}

bool FlatDictionary::LoadNodes(db::IDatabase& db) {
  auto rs = db.CreateCommand(m_LoadSql, 1)->OpenForwardOnly();
  std::string err = db.LastError().Description();
  if (!err.empty()) {
    RaiseErrMessage(m_LoadErrorPrefix + err, kFailure, m_Title);
    return false;
  }
  // The columns are found once for all the rows (a missing one still fails at the first row).
  const int idColumn = rs->ColumnIndex(m_IdColumn), nameColumn = rs->ColumnIndex(m_NameColumn);
  const int codeColumn = m_CodeColumn.empty() ? 0 : rs->ColumnIndex(m_CodeColumn);
  const NodeRef root("ROOT");
  const Value image(1);
  std::string idRoom, codeRoom, nameRoom;  // the texts of values that are no texts
  while (!rs->Eof()) {
    std::string id = text::Trim(rs->Fields(idColumn).TextView(idRoom));
    std::string_view code = m_CodeColumn.empty() ? "" : rs->Fields(codeColumn).TextView(codeRoom);
    std::string_view name = rs->Fields(nameColumn).TextView(nameRoom);
    auto node = m_Tv->NodeAdd(root, view::tvwChild, text::Concat({"k", id}), NodeText(code, name), image);
    if (!node) throw RuntimeError("Object variable or With block variable not set");
    node->Tag = Value(std::move(id));
    rs->MoveNext();
  }
  rs->Close();
  return true;
}

void FlatDictionary::m_Tv_Selected(const NodePtr& node) {
  try {
    ClearFields();
    if (!node || !node->Parent()) {
      m_ID = 0;
      return;
    }
    m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
    UpdateScreen(m_ID);
    if (m_IdLabel && !m_RecordMissing) m_IdLabel->SetCaption(std::to_string(m_ID));
  } catch (const std::exception& e) {
    if (!m_SelectionHandler) throw;
    RaiseErrMessage(m_SelectErrorText + e.what(), kFailure, m_Title);
  }
}

void FlatDictionary::UpdateScreen(int32_t id) {
  std::shared_ptr<db::IDatabase> db;
  try {
    db = Database();
    auto rs = db->CreateCommand(UpdateScreenSql(id), 1)->OpenRecordset();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      ShowNoRecord();
      RaiseErrMessage(m_ReadErrorPrefix + err, kFailure, m_Title);
      return;
    }
    if (!(rs->Eof() && rs->Bof())) {
      ShowRecord(*rs, id);
      KeepFingerprint(id, rs.get());
    } else {
      ShowNoRecord();
    }
    rs->Close();
    db->ResetState();
  } catch (const std::exception& e) {
    RaiseErrMessage(m_ShowErrorText + e.what(), kFailure, m_Title);
    if (db) db->ResetState();
  }
}

void FlatDictionary::ShowNoRecord() {
  ClearFields();
  if (m_IdLabel) m_IdLabel->SetCaption(m_MissingIdCaption);
  m_RecordMissing = true;
}

void FlatDictionary::ShowRecord(db::Recordset& rs, int32_t) {
  for (const auto& [index, column] : m_ShownColumns) qnT(index).SetText(Str(rs, column));
}

bool FlatDictionary::IsCanSave() {
  try {
    for (const auto& [field, text] : RequiredFields())
      if (RefuseEmpty(*field, text)) return false;
    int32_t id = EditingId();
    for (const auto& check : SaveChecks(id <= 0, std::to_string(id))) {
      if (Taken(check.sql, check.byRow) == check.mustFind) continue;
      RefuseDuplicate(check.text, check.focus, m_DuplicateStyle);
      return false;
    }
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("Cansave中出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

std::vector<std::pair<view::TextField*, std::string>> FlatDictionary::RequiredFields() {
  std::vector<std::pair<view::TextField*, std::string>> fields;
  if (!m_CodeColumn.empty()) fields.emplace_back(&qnT(0), m_EmptyCodeText);
  fields.emplace_back(&NameField(), m_EmptyNameText);
  return fields;
}

std::vector<FlatDictionary::SaveCheck> FlatDictionary::SaveChecks(bool, const std::string&) { return {}; }

bool FlatDictionary::IsSystemRecord(int32_t id) {
  auto rs = ReadRows(SystemRowSql(id));
  bool system = IsSystemFlag(Num(*rs, "是否系统"));
  rs->Close();
  return system;
}

bool FlatDictionary::IsSystemFlag(double flag) const { return m_SystemByMagnitude ? std::abs(flag) == 1 : flag == 1; }

bool FlatDictionary::IsCanDelete() {
  try {
    if (!m_MissingRowRefusal.text.empty()) {
      // The member's own words for a record that is not found.
      auto rs = ReadRows(SystemRowSql(EditingId()));
      bool found = !rs->Eof();
      bool system = found && IsSystemFlag(Num(*rs, "是否系统"));
      rs->Close();
      if (!found) Refuse(m_MissingRowRefusal);
      else if (system) RefuseSystemRow();
      return found && !system;
    }
    if (!IsSystemRecord(EditingId())) return true;
    RefuseSystemRow();
    return false;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("iscandelete出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

bool FlatDictionary::IsCanEdit() {
  if (m_EditSystemRowRefusal.text.empty() || !IsSystemRecord(EditingId())) return true;
  Refuse(m_EditSystemRowRefusal);
  return false;
}

bool FlatDictionary::FileNew() {
  ClearFields();
  if (m_IdLabel) m_IdLabel->SetCaption("0");
  SetEnabled(true);
  qnT(0).SetFocus();
  return true;
}

bool FlatDictionary::FileEdit() {
  if (!m_Tv->IsSelected()) {
    MsgBox(m_EditNothingSelected, view::vbInformation, "提示：");
    return false;
  }
  if (RefuseMissingRecord() || !IsCanEdit()) return false;
  SetEnabled(true);
  qnT(0).SetFocus();
  return true;
}

bool FlatDictionary::FileSave() {
  try {
    if (!IsCanSave()) return false;
    auto db = Database();
    int32_t editing = EditingId();
    bool insert = editing <= 0;
    int32_t id = editing;
    std::string sql;
    if (insert) {
      NewId(id);
      sql = InsertSql(id);
    } else {
      sql = UpdateSql(id);
    }
    db->CreateCommand(sql, 1)->Execute();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, m_Title);
      return false;
    }
    if (insert) {
      ShowNewId(id);
      auto node = AddNewNode(id);
      if (!node) throw RuntimeError("Object variable or With block variable not set");
      node->SetSelected(true);
      node->EnsureVisible();
    } else {
      auto node = Tree()->SelectedItem();
      if (node) {
        node->Text = NodeText(Code(), NameField().Text());
        node->EnsureVisible();
      } else if (!m_RenameNothingSelected.empty()) {
        RaiseErrMessage(m_RenameNothingSelected, kFailure, m_Title);
      } else {
        throw RuntimeError("Object variable or With block variable not set");
      }
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

void FlatDictionary::ShowNewId(int32_t id) {
  if (m_IdLabel) m_IdLabel->SetCaption(std::to_string(id));
}

NodePtr FlatDictionary::AddNewNode(int32_t id) {
  std::string code = m_CodeColumn.empty() ? "" : qnT(0).Text();
  auto node = m_Tv->NodeAdd(NodeRef("ROOT"), view::tvwChild, "k" + std::to_string(id),
                            NodeText(code, NameField().Text()), Value(1));
  if (node) node->Tag = Value(id);
  return node;
}

NodePtr FlatDictionary::NodeToDelete() {
  if (!m_Tv->IsSelected()) {
    Refuse(m_NothingSelected);
    return nullptr;
  }
  auto node = Tree()->SelectedItem();
  if (!node->Parent()) {
    Refuse(m_RootSelected);
    return nullptr;
  }
  return node;
}

bool FlatDictionary::FileDelete() {
  try {
    auto node = NodeToDelete();
    if (!node || (m_MissingRowRefusal.text.empty() && RefuseMissingRecord())) return false;
    if (!IsCanDelete()) return false;
    if (MsgBox("是否删除当前记录:" + node->Text, view::vbYesNo | view::vbQuestion, "提示:") == view::vbYes) {
      m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
      auto db = Database();
      if (m_DeleteInTransaction) db->BeginTrans();
      for (const auto& sql : DeleteSql()) {
        db->CreateCommand(sql, 1)->Execute();
        std::string err = m_DeleteChecksStatement ? db->LastError().Description() : "";
        if (!err.empty()) throw RuntimeError(err);
      }
      if (m_DeleteInTransaction) db->CommitTrans();
      std::string journal = DeleteJournal(node->Text);
      if (!journal.empty()) RaiseErrMessage(journal, kJournal, m_Title);
      m_Tv->NodeDelete(node, true);
      m_Tv->ReSelectItem(nullptr);
    }
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    std::string description = e.what();
    db::RollbackQuietly(*Database());
    RaiseErrMessage(m_DeleteErrorText + description, kFailure, m_Title);
    return false;
  }
}

bool FlatDictionary::FileCancel() {
  SetEnabled(false);
  m_Tv->ReSelectItem(nullptr);
  m_IsDirty = false;
  return true;
}

bool FlatDictionary::Find(const Value&) {
  if (!m_HasFind) return false;
  m_FindText = "";
  NodePtr result;
  m_Tv->NodeFind(result, m_FindText, "", true);
  return true;
}

bool FlatDictionary::FindNext() {
  if (!m_HasFindNext) return false;
  NodePtr result;
  m_Tv->NodeFind(result, m_FindText, "", true);
  return true;
}

bool FlatDictionary::RecordPrevious() {
  if (!m_HasMovement) return false;
  m_Tv->MoveNodePrevious();
  return true;
}

bool FlatDictionary::RecordNext() {
  if (!m_HasMovement) return false;
  m_Tv->MoveNodeNext();
  return true;
}

CommandStates FlatDictionary::Commands() {
  CommandStates s = Form::Commands();
  s.Find = s.Find && m_HasFind;
  s.FindNext = s.FindNext && m_HasFindNext;
  s.Previous = s.Previous && m_HasMovement;
  s.Next = s.Next && m_HasMovement;
  return s;
}

}  // namespace kmd
