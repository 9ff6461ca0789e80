#include "colour/SH.h"

#include "base/Text.h"

namespace kmd {

SH::SH(view::Platform& platform) : FlatDictionary("SH", platform) {
  m_Title = "色号";
  m_ReturnsDirty = false;
  m_PrintMessage = false;
  m_RaisesFormRefreshed = true;
  m_HasFindNext = false;  // Find and the record movement work, a further search does not
  m_RootText = "色号";
  m_LoadSql = "select * from kmdcolor order by 色号";
  m_IdColumn = "色号ID";
  m_RecordTable = "kmdcolor";
  m_CodeColumn = "色号";
  m_NameColumn = "颜色";
  m_NothingSelected.text = "请选择色号后重试!";
  m_EmptyNameText = "颜色名称不能为空,请录入!";
  m_RenameNothingSelected = "没有选中对象";

  CreateTree();
  AddColumnField(0, "色号");
  m_Controls.Add<view::Label>("Label2", -1, "色号长度不能超过6位");
  AddColumnField(1, "颜色");
  AddIdLabel("lbl", -1, "内部ID:");
  Picture1 = m_Controls.Add<view::PictureBox>("Picture1");
  Picture1->Click = [this] { Picture1_Click(); };
  ctrColorPicker1 = m_Controls.Add<ctrColorPicker>("ctrColorPicker1", platform);
  InitProperties();
}

int32_t SH::ShowColor(const std::string& title, int32_t colour) { return ctrColorPicker1->ShowColor(title, colour); }

int32_t SH::ReturnValue() const { return ctrColorPicker1->ReturnValue(); }

// The picker opens in any mode; only an open record takes its answer.
void SH::Picture1_Click() {
  int32_t chosen = ShowColor("颜色拾取器", Picture1->BackColor);
  if (qnT(0).Enabled()) Picture1->BackColor = chosen;
}

std::string SH::UpdateScreenSql(int32_t id) const { return "SELECT * FROM kmdcolor WHERE 色号ID=" + std::to_string(id); }

void SH::ShowRecord(db::Recordset& rs, int32_t id) {
  FlatDictionary::ShowRecord(rs, id);
  Picture1->BackColor = Value(Num(rs, "数号")).ToLong();
}

bool SH::IsCanSave() {
  if (qnT(0).Text().empty()) {
    RaiseErrMessage("色号不能为空,请检查!", kRuleRefusal, "提示：");
    return false;
  }
  return FlatDictionary::IsCanSave();
}

std::vector<FlatDictionary::SaveCheck> SH::SaveChecks(bool isNew, const std::string& id) {
  std::string code = Code();
  if (isNew) return {{" Select  * From kmdcolor Where 色号=" + text::Quote(code), "色号重复,请检查!", &qnT(0), true}};
  return {{" Select  * From kmdcolor Where 色号ID <> " + id + " and 色号=" + text::Quote(code), "色号重复,请检查!", &qnT(0),
           true}};
}

void SH::NewId(int32_t& id) { m_IdAllocator->NextId("kmdcolor", "色号ID", id); }

std::string SH::InsertSql(int32_t id) const {
  return "insert into kmdcolor (色号id,色号,颜色,数号)  values( " + std::to_string(id) + "," + text::Quote(Code()) + "," + text::Quote(Name()) +
         "," + std::to_string(Picture1->BackColor) + ") ";
}

std::string SH::UpdateSql(int32_t id) const {
  return "update kmdcolor set 色号=" + text::Quote(Code()) + ",颜色=" + text::Quote(Name()) + ",数号=" + std::to_string(Picture1->BackColor) +
         " where 色号ID=" + std::to_string(id);
}

std::vector<std::string> SH::DeleteSql() const {
  return {"delete from kmdcolor where 色号ID=" + std::to_string(m_ID)};
}

// No system-row test and no transaction. A failed statement is reported with its cause, then
// ends the delete through the error handler's line, which has none.
bool SH::FileDelete() {
  try {
    auto node = NodeToDelete();
    if (!node || RefuseMissingRecord()) return false;
    if (MsgBox("是否删除当前记录:" + node->Text, view::vbYesNo | view::vbQuestion, "提示:") == view::vbYes) {
      m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
      auto db = Database();
      db->CreateCommand(DeleteSql().front(), 1)->Execute();
      std::string err = db->LastError().Description();
      if (!err.empty()) {
        // The failed statement raised no run-time error, so the handler's line has no cause.
        RaiseErrMessage("删除数据时出错：" + err, kFailure, m_Title);
        RaiseErrMessage(m_DeleteErrorText, kFailure, m_Title);
        return false;
      }
      RaiseErrMessage("成功删除数据,色号ID=" + std::to_string(m_ID), kJournal, m_Title);
      m_Tv->NodeDelete(node, true);
      m_Tv->ReSelectItem(nullptr);
    }
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(m_DeleteErrorText + e.what(), kFailure, m_Title);
    return false;
  }
}

}  // namespace kmd
