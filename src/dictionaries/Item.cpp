#include "dictionaries/Item.h"

#include "base/Text.h"

namespace kmd {

Item::Item(view::Platform& platform) : FlatDictionary("Item", platform) {
  m_Title = "项目";
  m_RootText = "项目";
  m_LoadSql = "select * from KMDItem order by 项目ID";
  m_IdColumn = "项目ID";
  m_RecordTable = "KMDItem";
  m_CodeColumn = "项目编号";
  m_NameColumn = "项目名称";
  m_NodeShowsCode = false;
  m_ReturnsDirty = false;
  m_HasFindNext = false;
  m_DeleteInTransaction = false;
  m_EditNothingSelected = "没有选择具体的项目,不能进行编辑!";
  m_NothingSelected.text = "请选择具体的项目后重试!";
  m_EmptyCodeText = "没有具体的项目编号,请录入!";
  m_EmptyNameText = "没有具体的项目名称,请录入!";
  m_EditSystemRowRefusal.text = "不能修改系统设置的项目! ";
  m_SystemRowRefusal = {Refusal::Box, "不能删除系统设置的项目! ", view::vbInformation, "提示:"};

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "项目设置");
  AddColumnField(0, "项目编号");
  AddColumnField(1, "项目名称");
  AddColumnField(2, "说明");
  InitProperties();
}

std::string Item::UpdateScreenSql(int32_t id) const { return "SELECT * FROM KMDItem WHERE 项目ID =" + std::to_string(id); }

std::vector<FlatDictionary::SaveCheck> Item::SaveChecks(bool, const std::string& id) {
  return {{" Select * From KMDItem Where 项目编号=" + text::Quote(Code()) + " and 项目ID<>" + id, "项目编号重复,请检查!", nullptr, true},
          {" Select * From KMDItem Where 项目名称=" + text::Quote(Name()) + " and 项目ID<>" + id, "项目名称重复,请检查!", nullptr,
           true}};
}

std::string Item::SystemRowSql(int32_t id) const {
  return "Select 是否系统 From KMDItem Where 项目ID = " + std::to_string(id);
}

void Item::NewId(int32_t& id) { m_IdAllocator->NextId("KMDItem", "项目ID", id); }

std::string Item::InsertSql(int32_t id) const {
  return "insert into KMDItem (项目ID,项目编号,项目名称,说明)values( " + std::to_string(id) + "," + text::Quote(Code()) + "," +
         text::Quote(Name()) + "," + text::Quote(text::Trim(qnT(2).Text())) + ")";
}

std::string Item::UpdateSql(int32_t id) const {
  return "update KMDItem set 项目编号=" + text::Quote(Code()) + ",项目名称=" + text::Quote(Name()) + ",说明=" + text::Quote(text::Trim(qnT(2).Text())) +
         " where 项目ID=" + std::to_string(id);
}

std::vector<std::string> Item::DeleteSql() const { return {"delete from KMDItem where 项目ID=" + std::to_string(m_ID)}; }

}  // namespace kmd
