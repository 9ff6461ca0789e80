#include "dictionaries/BillType.h"

#include "base/Text.h"

namespace kmd {

BillType::BillType(view::Platform& platform) : FlatDictionary("BillType", platform) {
  m_Title = "票据类型";
  m_RootText = "票据类型";
  m_LoadSql = "select * from KMDBillType order by 票据类型ID";
  m_IdColumn = "票据类型ID";
  m_RecordTable = "KMDBillType";
  m_CodeColumn = "票据类型代码";
  m_NameColumn = "票据类型名称";
  m_NodeShowsCode = false;
  m_ReturnsDirty = false;
  m_HasFindNext = false;
  m_EditNothingSelected = "没有选择具体的项目,不能进行编辑!";
  m_NothingSelected.text = "请选择具体的票据类型后重试!";
  m_EmptyCodeText = "没有具体的票据类型代码,请录入!";
  m_EmptyNameText = "没有具体的票据类型名称,请录入!";
  m_EditSystemRowRefusal.text = "不能修改系统设置的票据类型! ";
  m_SystemRowRefusal = {Refusal::Box, "不能删除系统设置的票据类型,请重新选择后重试! ", view::vbInformation, "提示:"};

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "票据类型设置");
  AddColumnField(0, "票据类型代码");
  AddColumnField(1, "票据类型名称");
  AddColumnField(2, "是否系统");
  AddIdLabel("lbl", 0, "内部ID:");
  InitProperties();
}

std::string BillType::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM KMDBillType WHERE 票据类型ID =" + std::to_string(id);
}

std::vector<FlatDictionary::SaveCheck> BillType::SaveChecks(bool isNew, const std::string& id) {
  std::string code = Code(), name = Name();
  if (isNew)
    return {{" Select * From KMDBilltype Where 票据类型代码=" + text::Quote(code) + " ", "票据类型代码重复,请检查!", nullptr, true},
            {" Select * From KMDBillType Where 票据类型名称=" + text::Quote(name), "票据类型名称重复,请检查!", nullptr, true}};
  return {{" Select * From KMDBillType Where 票据类型ID <> " + id + " and 票据类型代码=" + text::Quote(code),
           "票据类型代码重复,请检查!", nullptr, true},
          {" Select * From KMDBillType Where 票据类型ID <> " + id + " and 票据类型名称=" + text::Quote(name) + " ",
           "票据类型名称重复,请检查!", nullptr, true}};
}

std::string BillType::SystemRowSql(int32_t id) const {
  return "Select 是否系统 From KMDBillType Where 票据类型ID = " + std::to_string(id);
}

void BillType::NewId(int32_t& id) { m_IdAllocator->NextId("KMDBillType", "票据类型ID", id); }

std::string BillType::InsertSql(int32_t id) const {
  return "insert into KMDBillType (票据类型ID,票据类型代码,票据类型名称)values( " + std::to_string(id) + "," + text::Quote(Code()) +
         "," + text::Quote(Name()) + ") ";
}

std::string BillType::UpdateSql(int32_t id) const {
  return "update KMDBillType set 票据类型代码=" + text::Quote(Code()) + ",票据类型名称=" + text::Quote(Name()) + " where 票据类型ID='" +
         std::to_string(id) + "'";
}

std::vector<std::string> BillType::DeleteSql() const {
  return {"delete from KMDBillType where 票据类型ID=" + std::to_string(m_ID)};
}

}  // namespace kmd
