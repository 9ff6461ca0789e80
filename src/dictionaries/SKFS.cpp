#include "dictionaries/SKFS.h"

#include "base/Text.h"

namespace kmd {

SKFS::SKFS(view::Platform& platform) : FlatDictionary("SKFS", platform) {
  m_Title = "结算方式";
  m_RootText = "结算名称";
  m_LoadSql = "select * from KMDSKFS order by 收款方式ID";
  m_IdColumn = "收款方式ID";
  m_RecordTable = "KMDSKFS";
  m_CodeColumn = "助忆词";
  m_NameColumn = "收款名称";
  m_NodeShowsCode = false;
  m_ReturnsDirty = false;
  m_HasFindNext = false;
  m_NothingSelected.text = "请选择具体的结算方式后重试!";
  m_EmptyCodeText = "没有具体的助忆词,请录入!";
  m_EmptyNameText = "没有具体的结算名称,请录入!";
  m_SystemRowRefusal = {Refusal::Box, "不能删除系统设置的结算方式,请重新选择后重试! ", view::vbInformation, "提示:"};

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "结算方式设置");
  AddColumnField(0, "助忆词");
  AddColumnField(1, "收款名称");
  AddColumnField(3, "是否系统");
  AddIdLabel("lbl", 0, "内部ID:");
  InitProperties();
}

std::string SKFS::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM KMDSKFS WHERE 收款方式ID =" + std::to_string(id);
}

std::vector<FlatDictionary::SaveCheck> SKFS::SaveChecks(bool isNew, const std::string& id) {
  std::string code = Code(), name = Name();
  if (isNew)
    return {{" Select * From KMDSKFS Where 助忆词=" + text::Quote(code) + " ", "助忆词重复,请检查!", nullptr, true},
            {" Select * From KMDSKFS Where 收款名称=" + text::Quote(name), "结算名称重复,请检查!", nullptr, true}};
  return {{" Select * From KMDSKFS Where 收款方式ID <> " + id + " and 助忆词=" + text::Quote(code), "助忆词重复,请检查!",
           nullptr, true},
          {" Select * From KMDSKFS Where 收款方式ID <> " + id + " and 收款名称=" + text::Quote(name) + " ", "结算名称重复,请检查!",
           nullptr, true}};
}

std::string SKFS::SystemRowSql(int32_t id) const {
  return " Select 是否系统 From KMDSKFS Where 收款方式ID = " + std::to_string(id);
}

void SKFS::NewId(int32_t& id) { m_IdAllocator->NextId("KMDSKFS ", "收款方式ID", id); }

std::string SKFS::InsertSql(int32_t id) const {
  return "insert into KMDSKFS (收款方式ID,助忆词,收款名称)values( " + std::to_string(id) + "," + text::Quote(Code()) + "," +
         text::Quote(Name()) + ") ";
}

std::string SKFS::UpdateSql(int32_t id) const {
  return "update KMDSKFS set 助忆词=" + text::Quote(Code()) + ",收款名称=" + text::Quote(Name()) + " where 收款方式ID=" + std::to_string(id);
}

std::vector<std::string> SKFS::DeleteSql() const {
  return {"delete from KMDSKFS where 收款方式ID=" + std::to_string(m_ID)};
}

}  // namespace kmd
