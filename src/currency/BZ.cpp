#include "currency/BZ.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd {

BZ::BZ(view::Platform& platform) : FlatDictionary("BZ", platform) {
  m_Title = kAppTitle;
  m_ReturnsDirty = false;
  m_PrintMessage = false;
  m_RaisesFormRefreshed = true;
  m_HasFind = m_HasFindNext = m_HasMovement = false;
  m_RootText = "全部币种类别";
  m_LoadSql = "select * from kmdbz where 是否系统 <> 1 order by 外币代号";
  m_RecordTable = "kmdbz";
  m_IdColumn = "币种ID";
  m_CodeColumn = "外币代号";
  m_NameColumn = "外币名称";
  m_NodeSeparator = " ";
  m_FieldArray = "qnTxt";
  m_LoadErrorPrefix = "刷新数据时出错：";
  m_SelectErrorText = "错误：";
  m_ReadErrorPrefix = "";
  m_ShowErrorText = "更新时出错，原因：";
  m_EditNothingSelected = "无选择项目,不能进行编辑  ";

  CreateTree();
  const char* columns[] = {"外币代号", "外币名称", "符号", "预设汇率", "买入汇率", "卖出汇率"};
  const char* captions[] = {"外币代码(&Q)", "外币名称", "外币符号", "预设汇率", "买入汇率", "买出汇率"};
  for (int i = 0; i < 6; ++i) {
    auto* f = AddColumnField(i, columns[i]);
    f->SetCaption(captions[i]);
    f->KeyPress = [this](int& keyAscii) { qnTxt_KeyPress(keyAscii); };
    f->KeyDown = [this](int& keyCode, int shift) { qnTxt_KeyDown(keyCode, shift); };
  }
  InitProperties();
}

void BZ::qnTxt_KeyPress(int& keyAscii) {
  if (keyAscii == view::vbKeyReturn && m_FormHelper) m_FormHelper->NextField(m_Controls, 13, static_cast<int16_t>(keyAscii));
}

void BZ::qnTxt_KeyDown(int& keyCode, int) {
  if ((keyCode == view::vbKeyUp || keyCode == view::vbKeyDown) && m_FormHelper)
    m_FormHelper->NextField(m_Controls, 13, static_cast<int16_t>(keyCode));
}

std::string BZ::UpdateScreenSql(int32_t id) const { return "select * from kmdbz where 币种ID=" + std::to_string(id); }

void BZ::RefuseRule(const std::string& text, view::TextField& field) {
  RaiseErrMessage(text, kRuleRefusal, kAppTitle);
  m_FormHelper->SetFocusTo(field);
}

bool BZ::Held(const std::string& column, const std::string& value) {
  Value found = ReadValue(" Select " + column + " From KMDBZ Where " + column + "=" + text::Quote(value) +
                          " And 币种ID<>" + std::to_string(m_ID));
  return !found.IsEmpty() && !found.IsNull();
}

bool BZ::IsCanSave() {
  try {
    std::string sign = text::Trim(qnT(2).Text());
    if (Code().empty()) RefuseRule("没有具体的代码,请录入!", qnT(0));
    else if (Name().empty()) RefuseRule("没有具体的名称,请录入!", qnT(1));
    else if (Held("外币代号", Code())) RefuseRule("代码重复,请检查!", qnT(0));
    else if (Held("外币名称", Name())) RefuseRule("名称重复,请检查!", qnT(1));
    else if (!sign.empty() && Held("符号", sign)) RefuseRule("符号重复,请检查!", qnT(2));
    else if (Code() == Context().Option(12, 4).Value) RefuseRule("[本位币]系统已指定,不能创建!", qnT(0));
    else return true;
    return false;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("Cansave中出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

std::string BZ::Rate(int index) const { return text::FormatNumber(text::Val(qnT(index).Text())); }

void BZ::NewId(int32_t& id) { m_IdAllocator->NextId("KMDBZ", "币种ID", id); }

std::string BZ::InsertSql(int32_t id) const {
  return "insert into kmdbz(币种ID,外币代号,外币名称,预设汇率,符号,买入汇率,卖出汇率,是否系统) values (" +
         std::to_string(id) + "," + text::Quote(Code()) + "," + text::Quote(Name()) + "," + Rate(3) + "," +
         text::Quote(text::Trim(qnT(2).Text())) + "," + Rate(4) + "," + Rate(5) + ",0)";
}

std::string BZ::UpdateSql(int32_t id) const {
  std::string key = std::to_string(id);
  // The key is set to itself, as the statement has always said.
  return "update kmdbz set 币种ID=" + key + ",外币代号=" + text::Quote(Code()) + ",外币名称=" + text::Quote(Name()) +
         ",预设汇率=" + Rate(3) + ",符号=" + text::Quote(text::Trim(qnT(2).Text())) + ",买入汇率=" + Rate(4) +
         ",卖出汇率=" + Rate(5) + " where 币种ID=" + key;
}

std::vector<std::string> BZ::DeleteSql() const {
  return {"delete from kmdbz where 币种ID=" + std::to_string(m_ID) + " AND 是否系统 <> 1 "};
}

bool BZ::SaveData(int32_t& id) {
  auto db = Database();
  try {
    db->BeginTrans();
    std::string sql;
    if (m_ID > 0) {
      id = m_ID;
      sql = UpdateSql(id);
    } else {
      NewId(id);
      sql = InsertSql(id);
    }
    db->CreateCommand(sql, 1)->Execute();
    std::string err = db->LastError().Description();
    if (!err.empty()) {
      db->RollbackTrans();
      RaiseErrMessage("保存数据时出错：" + err, kFailure, kAppTitle);
      return false;
    }
    db->CommitTrans();
    return true;
  } catch (const std::exception& e) {
    db::RollbackQuietly(*db);
    RaiseSaveDataError(e);
  }
}

bool BZ::FileSave() {
  try {
    if (!IsCanSave()) return false;
    int32_t id = 0;
    if (!SaveData(id)) return false;
    std::string text = NodeText(Code(), Name());
    if (m_ID > 0) {
      auto node = Tree()->SelectedItem();
      if (!node) throw RuntimeError("Object variable or With block variable not set");
      node->Text = text;
      node->EnsureVisible();
    } else {
      auto node = m_Tv->NodeAdd(NodeRef("ROOT"), view::tvwChild, "k" + std::to_string(id), text, Value(1));
      if (!node) throw RuntimeError("Object variable or With block variable not set");
      node->Tag = Value(id);
      node->SetSelected(true);
      node->EnsureVisible();
    }
    m_Tv->ReSelectItem(nullptr);
    SetEnabled(false);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("保存时错误，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

bool BZ::DeleteData(int32_t id) {
  m_ID = id;
  std::string err = ExecuteInTransaction(*Database(), DeleteSql().front());
  if (err.empty()) return true;
  RaiseErrMessage("删除数据时出错：" + err, kFailure, kAppTitle);
  return false;
}

// Nothing selected (the root included) is a box; then the in-use hook, the base currency by its
// name in any Latin case, the question. A No answers True.
bool BZ::FileDelete() {
  try {
    if (!m_Tv->IsSelected()) {
      MsgBox("无选择项目,不能进行删除!   ", view::vbInformation, "提示：");
      return false;
    }
    auto node = Tree()->SelectedItem();
    if (!node->Parent()) {
      RaiseErrMessage("根节点不能删除，请检查后重试!", kSelection, "提示：");
      return false;
    }
    if (RefuseMissingRecord()) return false;
    int32_t id = m_ValueHelper->ToNumber(node->Tag).ToLong();
    if (IsCulterUse(id)) {
      RaiseErrMessage(" 该币种已启用,不能删除!", kRuleRefusal, kAppTitle);
      return false;
    }
    size_t blank = text::InStr(node->Text, " ");
    std::string name = text::LCase(text::Trim(text::Mid(node->Text, blank + 1)));
    if (name == text::LCase(Context().Option(12, 4).Name)) {
      RaiseErrMessage(node->Text + "不能删除本位币", kSelection, "币种");
      return false;
    }
    if (MsgBox("是否删除当前记录:" + node->Text, view::vbYesNo | view::vbExclamation, "提示:") != view::vbYes) return true;
    if (!DeleteData(id)) return false;
    RaiseErrMessage("删除了币种.." + node->Text + " ID=" + std::to_string(id), kJournal, "删除");
    m_Tv->NodeDelete(node, true);
    m_Tv->ReSelectItem(nullptr);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("删除时发生错误，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

}  // namespace kmd
