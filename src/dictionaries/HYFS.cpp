#include "dictionaries/HYFS.h"

#include "base/Text.h"

namespace kmd {

HYFS::HYFS(view::Platform& platform) : FlatDictionary("HYFS", platform) {
  m_Title = "货运方式";
  m_RootText = "货运方式";
  m_LoadSql = "select * from KMDHYFS order by 货运ID";
  m_IdColumn = "货运ID";
  m_RecordTable = "KMDHYFS";
  m_CodeColumn = "简称";
  m_NameColumn = "货运方式";
  m_NodeShowsCode = false;
  m_ReturnsDirty = false;
  m_HasFindNext = false;
  m_NothingSelected.text = "请选择货运方式后重试!";
  m_EmptyCodeText = "没有具体的简称,请录入!";
  m_EmptyNameText = "没有具体的货运方式,请录入!";
  m_SystemRowRefusal = {Refusal::Box, "不能删除系统设置的货运方式! ", view::vbExclamation, "提示:"};

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "货运方式设置");
  AddColumnField(0, "简称");
  AddColumnField(1, "货运方式");
  AddColumnField(3, "是否系统");
  AddIdLabel("lbl", 0, "内部ID:");
  InitProperties();
}

std::string HYFS::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM KMDHYFS WHERE 货运ID =" + std::to_string(id);
}

std::vector<FlatDictionary::SaveCheck> HYFS::SaveChecks(bool isNew, const std::string& id) {
  std::string code = Code(), name = Name();
  if (isNew)
    return {{" Select * From KMDHYFS Where 简称=" + text::Quote(code) + " ", "货运方式的简称重复,请检查后重试!", nullptr, true},
            {" Select * From KMDhyfs Where 货运方式=" + text::Quote(name), "货运方式名称已经存在,请检查后重试!", nullptr, true}};
  return {{" Select * From KMDHYFS Where 货运ID <> " + id + " and 简称=" + text::Quote(code), "货运方式的简称重复,请检查后重试!",
           nullptr, true},
          {" Select * From KMDHYFS Where 货运ID <> " + id + " and 货运方式=" + text::Quote(name) + " ",
           "货运方式名称已经存在,请检查后重试!", nullptr, true}};
}

std::string HYFS::SystemRowSql(int32_t id) const {
  return " Select 是否系统 From KMDHYFS Where 货运ID = " + std::to_string(id);
}

void HYFS::NewId(int32_t& id) { m_IdAllocator->NextId("KMDHYFS ", "货运ID", id); }

std::string HYFS::InsertSql(int32_t id) const {
  return "insert into KMDHYFS (货运ID,简称,货运方式)values( " + std::to_string(id) + "," + text::Quote(Code()) + "," + text::Quote(Name()) +
         ") ";
}

std::string HYFS::UpdateSql(int32_t id) const {
  return "update KMDHYFS set 简称=" + text::Quote(Code()) + ",货运方式=" + text::Quote(Name()) + " where 货运ID='" + std::to_string(id) + "'";
}

std::vector<std::string> HYFS::DeleteSql() const { return {"delete from KMDHYFS where 货运ID=" + std::to_string(m_ID)}; }

}  // namespace kmd
