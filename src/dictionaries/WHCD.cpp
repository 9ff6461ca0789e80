#include "dictionaries/WHCD.h"

#include "base/Text.h"

namespace kmd {

WHCD::WHCD(view::Platform& platform) : FlatDictionary("WHCD", platform) {
  m_Title = "文化程度";
  m_RootText = "文化程度";
  m_LoadSql = "select * from kmdwhcd order by 文化程度ID";
  m_IdColumn = "文化程度ID";
  m_RecordTable = "kmdwhcd";
  m_NameColumn = "文化程度";
  m_NodeShowsCode = false;
  m_RaisesFormRefreshed = true;
  m_ReturnsDirty = false;
  m_HasFindNext = false;
  m_NothingSelected = {Refusal::Box, "无选择项目,不能进行删除!   ", view::vbInformation};
  m_RootSelected = {Refusal::Box, "不能删除根节点!   ", view::vbExclamation};
  m_EmptyNameText = "没有具体的编号,请录入!";
  m_SystemRowRefusal.channel = Refusal::Silent;

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "文化程度设置");
  AddColumnField(0, "文化程度");
  AddColumnField(1, "是否系统");
  AddIdLabel("lbl", 0, "文化程度ID");
  InitProperties();
}

std::string WHCD::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM kmdwhcd WHERE 文化程度ID=" + std::to_string(id);
}

std::vector<FlatDictionary::SaveCheck> WHCD::SaveChecks(bool isNew, const std::string& id) {
  if (isNew) return {{" Select  * From KMDWHCD Where 文化程度=" + text::Quote(Name()), "文化程度重复,请检查!", nullptr, true}};
  return {{" Select  * From KMDWHCD Where 文化程度ID <> " + id + " and 文化程度=" + text::Quote(Name()), "文化程度,请检查!",
           nullptr, true}};
}

std::string WHCD::SystemRowSql(int32_t id) const {
  return " Select 是否系统 From KMDWHCD Where 文化程度ID = " + std::to_string(id);
}

void WHCD::NewId(int32_t& id) { m_IdAllocator->NextId("kmdwhcd", "文化程度ID", id); }

std::string WHCD::InsertSql(int32_t id) const {
  return "insert into kmdwhcd (文化程度ID,文化程度)values( " + std::to_string(id) + "," + text::Quote(Name()) + ") ";
}

std::string WHCD::UpdateSql(int32_t id) const {
  return "update kmdwhcd set 文化程度=" + text::Quote(Name()) + " where 文化程度ID='" + std::to_string(id) + "'";
}

std::vector<std::string> WHCD::DeleteSql() const {
  return {"delete from kmdwhcd where 文化程度ID= " + std::to_string(m_ID)};
}

}  // namespace kmd
