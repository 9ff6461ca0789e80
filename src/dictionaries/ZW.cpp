#include "dictionaries/ZW.h"

#include "base/Text.h"

namespace kmd {

ZW::ZW(view::Platform& platform) : FlatDictionary("ZW", platform) {
  m_Title = "职务";
  m_RootText = "职务类型";
  m_LoadSql = "select * from kmdzw order by 编号";
  m_IdColumn = "职务ID";
  m_RecordTable = "kmdzw";
  m_CodeColumn = "编号";
  m_NameColumn = "职务";
  m_RaisesFormRefreshed = true;
  m_ReturnsDirty = false;
  m_EditNothingSelected = "无选择项目,不能进行编辑!  ";
  m_NothingSelected = {Refusal::Box, "无选择项目,不能进行删除!   ", view::vbInformation};
  m_RootSelected = {Refusal::Box, "不能删除根节点!   ", view::vbExclamation};
  m_EmptyCodeText = "没有具体的编号,请录入!";
  m_EmptyNameText = "没有具体的职务,请录入!";

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "职务设置");
  AddColumnField(0, "编号");
  AddColumnField(1, "职务");
  AddColumnField(3, "是否系统");
  AddIdLabel("Lbl", -1, "内部ID:");
  InitProperties();
}

std::string ZW::UpdateScreenSql(int32_t id) const { return "SELECT * FROM kmdzw WHERE 职务ID=" + std::to_string(id); }

std::vector<FlatDictionary::SaveCheck> ZW::SaveChecks(bool isNew, const std::string& id) {
  std::string code = Code(), name = Name();
  if (isNew)
    return {{" Select count(*) From KMDZW Where 编号=" + text::Quote(code) + " ", "编号重复,请检查!"},
            {" Select  count(*) From KMDZW Where 职务=" + text::Quote(name), "职务重复,请检查!"}};
  return {{" Select  * From KMDZW Where 职务ID <> " + id + " and 编号=" + text::Quote(code), "编号重复,请检查!", nullptr, true},
          {" Select * From KMDZW Where 职务ID <> " + id + " and 职务=" + text::Quote(name) + " ", "职务重复,请检查!", nullptr, true}};
}

// Reads the selected record by m_ID, not by the id label.
std::string ZW::SystemRowSql(int32_t) const {
  return " Select 是否系统 From KMDZW Where 职务ID = " + std::to_string(m_ID);
}

void ZW::RefuseSystemRow() {
  MsgBox("系统设置的[职务]<" + qnT(1).Text() + ">名称，不能删除！", view::vbInformation, "提示:");
}

void ZW::NewId(int32_t& id) { m_IdAllocator->NextId("kmdzw", "职务ID", id); }

std::string ZW::InsertSql(int32_t id) const {
  return "insert into kmdzw (职务ID,编号,职务)values( " + std::to_string(id) + "," + text::Quote(Code()) + "," + text::Quote(Name()) +
         ") ";
}

std::string ZW::UpdateSql(int32_t id) const {
  return "update kmdzw set 编号=" + text::Quote(Code()) + ",职务=" + text::Quote(Name()) + " where 职务ID=" + std::to_string(id);
}

std::vector<std::string> ZW::DeleteSql() const { return {"delete from kmdzw where 职务ID= " + std::to_string(m_ID)}; }

}  // namespace kmd
