#include "dictionaries/ZYLB.h"

#include "base/Text.h"

namespace kmd {

ZYLB::ZYLB(view::Platform& platform) : FlatDictionary("ZYLB", platform) {
  m_Title = "职务";
  m_RootText = "职员类别";
  m_LoadSql = "select * from kmdzylb order by 类别代码";
  m_IdColumn = "类别ID";
  m_RecordTable = "kmdzylb";
  m_CodeColumn = "类别代码";
  m_NameColumn = "职员类别";
  m_RaisesFormRefreshed = true;
  m_ReturnsDirty = false;
  m_PrintMessage = false;
  m_HasFind = false;
  m_HasFindNext = false;
  m_HasMovement = false;
  m_NothingSelected = {Refusal::Box, "无选择项目,不能进行删除!   ", view::vbInformation};
  m_RootSelected = {Refusal::Box, "不能删除根节点!   ", view::vbExclamation};
  m_EmptyCodeText = "没有具体的类别代码,请录入!";
  m_EmptyNameText = "没有具体的职员类别,请录入!";
  m_SystemRowRefusal.channel = Refusal::Silent;

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "职务类别设置");
  AddColumnField(0, "类别代码");
  AddColumnField(1, "职员类别");
  AddColumnField(2, "是否系统");
  AddIdLabel("lbl", 0, "内部ID:");
  InitProperties();
}

std::string ZYLB::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM kmdzylb WHERE 类别ID=" + std::to_string(id);
}

std::vector<FlatDictionary::SaveCheck> ZYLB::SaveChecks(bool isNew, const std::string& id) {
  std::string code = Code(), name = Name();
  if (isNew)
    return {{" Select  * From KMDZYLB Where 类别代码=" + text::Quote(code), "类别代码重复,请检查!", nullptr, true},
            {" Select * From KMDZYLB Where 职员类别=" + text::Quote(name) + " ", "职员类别重复,请检查!", nullptr, true}};
  return {{" Select  * From KMDZYLB Where 类别ID <> " + id + " and 类别代码=" + text::Quote(code), "类别代码重复,请检查!",
           nullptr, true},
          {" Select * From KMDZYLB Where 类别ID <> " + id + " and 职员类别=" + text::Quote(name) + " ", "职员类别重复,请检查!",
           nullptr, true}};
}

std::string ZYLB::SystemRowSql(int32_t id) const {
  return " Select 是否系统 From KMDZYLB Where 类别ID = " + std::to_string(id);
}

void ZYLB::NewId(int32_t& id) { m_IdAllocator->NextId("kmdzylb", "类别ID", id); }

std::string ZYLB::InsertSql(int32_t id) const {
  return "insert into kmdzylb (类别ID,类别代码,职员类别)values(" + std::to_string(id) + "," + text::Quote(Code()) + "," + text::Quote(Name()) +
         ") ";
}

std::string ZYLB::UpdateSql(int32_t id) const {
  return "update kmdzylb set 类别代码=" + text::Quote(Code()) + ",职员类别=" + text::Quote(Name()) + " where 类别ID='" + std::to_string(id) +
         "'";
}

std::vector<std::string> ZYLB::DeleteSql() const { return {"delete from kmdzylb where 类别id=" + std::to_string(m_ID)}; }

}  // namespace kmd
