#include "frame/Form.h"

#include "base/RuntimeError.h"
#include "frame/StatusStore.h"

namespace kmd {

Form::Form(std::string className, view::Platform& platform)
    : m_IdAllocator(std::make_unique<IIdAllocator>()),
      m_FormHelper(std::make_unique<IFormHelper>(platform)),
      m_ValueHelper(std::make_unique<IValueHelper>()),
      m_ClassName(std::move(className)),
      m_Platform(platform) {}

Form::~Form() {
  // The wrapper unhooks from its control, so it goes before the controls do.
  m_Tv.reset();
}

int32_t Form::EventNumber(FormEvent e) const {
  switch (e) {
    case FormEvent::Message: return 1;
    case FormEvent::ErrMessage: return 2;
    case FormEvent::FormRefreshed: return 3;
    case FormEvent::Property: return 4;
  }
  return 0;
}

bool Form::Init(IFormContext* context, int32_t, int32_t recordId) {
  m_Context = context;
  if (!m_Context) throw RuntimeError("Object variable or With block variable not set");
  m_IdAllocator->SetDatabase(m_Context->Database());
  m_ID = recordId;
  return true;
}

bool Form::Clear() {
  m_Context = nullptr;
  m_IdAllocator.reset();
  m_FormHelper.reset();
  m_ValueHelper.reset();
  if (m_Tv) m_Tv->UnHookCtrl();
  m_Tv.reset();
  return true;
}

void Form::SetParameters(const ParameterCollection* parameters) {
  if (!parameters || !parameters->Exists("backcolor")) return;
  m_BackColor = parameters->Item("backcolor").ToLong();
}

void Form::RaiseMessage(const std::string& msg) {
  if (m_Events) m_Events->Message(msg);
}

void Form::RaiseErrMessage(const std::string& msg, int32_t level, const std::string& title) {
  if (m_Events) m_Events->ErrMessage(msg, level, title);
}

void Form::RaiseFormRefreshed() {
  if (m_Events) m_Events->FormRefreshed();
}

void Form::RaiseProperty(const std::string& name, const Value& value, bool autoUpdate) {
  if (m_Events) m_Events->Property(name, value, autoUpdate);
}

bool Form::NoPrinting() {
  RaiseMessage("暂无打印功能!");
  return false;
}

bool Form::FindNextNode() {
  if (!m_Tv || !Tree()) return false;
  NodePtr found;
  auto selected = Tree()->SelectedItem();
  return m_Tv->NodeFindNext(found, m_FindText, selected ? selected->Index() : 0, true);
}

int Form::MsgBox(const std::string& text, int style, const std::string& title) {
  return m_Platform.MsgBox(text, style, title);
}

IFormContext& Form::Context() const {
  if (!m_Context) throw RuntimeError("Object variable or With block variable not set");
  return *m_Context;
}

std::shared_ptr<db::IDatabase> Form::Database() const {
  auto db = Context().Database();
  if (!db) throw RuntimeError("Object variable or With block variable not set");
  return db;
}

void Form::EndIfReadFailed(db::IDatabase& db) {
  std::string err = db.LastError().Description();
  if (err.empty()) return;
  RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, Title());
  throw ReadFailed{};
}

db::RecordsetPtr Form::ReadRows(const std::string& sql) {
  auto db = Database();
  auto rs = db->CreateCommand(sql, 1)->OpenRecordset();
  EndIfReadFailed(*db);
  return rs;
}

Value Form::ReadValue(const std::string& sql) {
  auto db = Database();
  Value v = db->CreateCommand(sql, 1)->ExecuteScalar();
  EndIfReadFailed(*db);
  return v;
}

view::TreeView* Form::CreateTree(const std::string& name) {
  auto* tv = m_Controls.Add<view::TreeView>(name);
  m_Tv = std::make_unique<cTreeView>(m_Platform);
  // Every image a form names by index or key exists in this list.
  auto images = std::make_shared<view::ImageList>(
      std::vector<std::string>{"book", "bookopen", "leaf", "folder", "folderopen", "DRAGICON", "stb", "szk"});
  m_Tv->HookCtrl(tv, images);
  return tv;
}

void Form::CreateSplitter() {
  auto* tv = Tree();
  m_DetailFrame = m_Controls.Add<view::Control>("Frame", "fView", -1);
  m_Sp = m_Controls.Add<Splitter>("Sp");
  m_Sp->SetParent(&m_Surface);
  m_Sp->Moving = [this](bool moved, int32_t offset) { Sp_Moving(moved, offset); };
  if (!tv) return;
  m_Sp->SetTop(tv->Top());
  m_Sp->SetLeft(tv->Left() + tv->Width() + 10);
  m_DetailFrame->SetTop(tv->Top());
  m_DetailFrame->SetLeft(m_Sp->Left() + m_Sp->Width() + 10);
}

void Form::Resize(int width, int height) {
  m_Surface = Surface{width, height, width, height};
  UserControl_Resize();
}

void Form::UserControl_Resize() {
  try {
    auto* tv = Tree();
    if (!tv) return;
    tv->SetHeight(m_Surface.ScaleHeight - tv->Top() - 160);
    if (m_Sp) {
      m_Sp->SetTop(tv->Top());
      m_Sp->SetHeight(tv->Height());
    }
    if (m_DetailFrame) {
      m_DetailFrame->SetHeight(tv->Height() + 100);
      int barWidth = m_Sp ? m_Sp->Width() : 0;
      m_DetailFrame->SetWidth(m_Surface.ScaleWidth - 2 * tv->Left() - tv->Width() - barWidth - 150);
    }
  } catch (const std::exception&) {
    // Layout only: a failure leaves the controls where they are.
  }
}

void Form::Sp_Moving(bool bIsMoved, int32_t offset) {
  auto* tv = Tree();
  if (!bIsMoved || !tv || !m_Sp) return;
  tv->SetWidth(tv->Width() + offset);
  m_Sp->SetLeft(tv->Left() + tv->Width() + 10);
  if (m_DetailFrame) {
    m_DetailFrame->SetLeft(m_Sp->Left() + m_Sp->Width() + 10);
    m_DetailFrame->SetWidth(m_DetailFrame->Width() - offset);
  }
}

bool Form::Editing() const {
  if (auto* tv = Tree()) return !tv->Enabled();
  for (const auto& c : m_Controls) {
    const std::string& type = c->TypeName();
    if ((type == "TextBox" || type == "qnTxt_S" || type == "ComboBox" || type == "CheckBox") && c->Enabled())
      return true;
  }
  return false;
}

CommandStates Form::Commands() {
  CommandStates s;
  if (Editing()) {
    s.Save = s.Cancel = true;
    return s;
  }
  bool selected = m_Tv ? m_Tv->IsSelected() : m_ID > 0;
  s.New = s.Find = true;
  s.Edit = s.Delete = selected;
  s.FindNext = !m_FindText.empty();
  s.Previous = s.Next = !m_Tv || (Tree() && Tree()->SelectedItem());
  return s;
}

void Form::SetColumnCaption(const view::Control& c, std::string column) { m_ColumnCaptions[&c] = std::move(column); }

std::string Form::ColumnCaption(const view::Control& c) const {
  auto it = m_ColumnCaptions.find(&c);
  return it == m_ColumnCaptions.end() ? "" : it->second;
}

void Form::SetEnabled(bool editing) {
  for (const auto& c : m_Controls) {
    const std::string& type = c->TypeName();
    if (type == "TextBox" || type == "qnTxt_S" || type == "ComboBox" || type == "CheckBox")
      c->SetEnabled(editing);
    else if (type == "TreeView" || type == "ListView")
      c->SetEnabled(!editing);
  }
}

void Form::ClearFields() {
  m_ID = 0;
  m_RecordMissing = false;
  ClearControlValues(m_Controls);
}

void Form::SetRecordSource(std::string table, std::string keyColumn) {
  m_SourceTable = std::move(table);
  m_SourceKey = std::move(keyColumn);
}

void Form::KeepFingerprint(int32_t id, const db::Recordset* shown) {
  m_PrintId = id;
  m_Print = {};
  if (m_SourceTable.empty() || id <= 0 || !m_Context) return;
  if (auto db = m_Context->Database()) m_Print = db->Fingerprint(m_SourceTable, m_SourceKey, id, shown);
}

void Form::RetakeFingerprint() {
  try {
    KeepFingerprint(m_PrintId);
  } catch (...) {
    m_Print = {};
  }
}

bool Form::RecordUnchanged() {
  int32_t id = SavingRecordId();
  if (m_SourceTable.empty() || id <= 0 || !m_Context) return true;
  // Nothing to compare with: the shown record could not be read when it was shown.
  if (id != m_PrintId || !m_Print.ok) return true;
  auto db = m_Context->Database();
  if (!db) return true;
  db::RowPrint now = db->Fingerprint(m_SourceTable, m_SourceKey, id);
  if (!now.ok) return true;
  return now.found == m_Print.found && now.print == m_Print.print;
}

bool Form::RefuseMissingRecord() {
  if (!m_RecordMissing) return false;
  MsgBox("记录已不存在，请刷新", view::vbInformation, "提示：");
  return true;
}

void Form::Refuse(const Refusal& r) {
  if (r.channel == Refusal::Box) MsgBox(r.text, r.style, r.title);
  else if (r.channel == Refusal::Report) RaiseErrMessage(r.text, r.level, r.title);
}

void Form::DoGetFormStatus() {
  if (!m_Context) return;
  try {
    std::string path = GetStatusFile(m_ClassName, *m_Context);
    if (path.empty()) return;
    GetStatus(m_Controls, path, true);
    if (auto* tv = Tree(); tv && tv->SelectedItem()) RestoreSelected(tv->SelectedItem());
  } catch (const std::exception&) {
  }
}

// A status that cannot be written is reported; the old file, if any, stays as it was.
void Form::DoSaveFormStatus() {
  if (!m_Context) return;
  try {
    SaveStatus(m_Controls, GetStatusFile(m_ClassName, *m_Context), false);
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("保存窗体状态失败：") + e.what(), kFailure, Title());
  }
}

void Form::SetReference(view::TextField& field, const std::string& errorText, const std::string& valueColumn,
                        const std::string& textColumn, const std::string& selectSql, const std::string& lookupKey) {
  auto& r = field.GetReference();
  r.IsReference = true;
  r.MatchMode = 1;
  r.Source = 1;
  r.ErrorText = errorText;
  r.ValueColumn = valueColumn;
  r.TextColumn = textColumn;
  r.MultiSelect = false;
  r.SelectSql = selectSql;
  r.LookupKey = lookupKey;
  view::TextField* f = &field;
  field.CheckRequest = [this, f] {
    Context().LookupCheck(*f, Value(f->Text()));
    m_IsDirty = true;
  };
  field.BrowseRequest = [this, f] {
    Context().LookupBrowse(*f, f->GetReference().LookupKey);
    m_IsDirty = true;
  };
}

}  // namespace kmd
