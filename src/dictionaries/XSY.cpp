#include "dictionaries/XSY.h"

#include "base/Text.h"

namespace kmd {

PersonDictionary::PersonDictionary(std::string className, view::Platform& platform, int typeId,
                                   const std::string& word)
    : FlatDictionary(std::move(className), platform), m_TypeId(std::to_string(typeId)) {
  m_Title = word;
  m_RootText = word;
  m_LoadSql = "select * from kmdxsy where 类型ID = " + m_TypeId + " order by 代码";
  m_IdColumn = "AutoID";
  m_RecordTable = "kmdxsy";
  m_CodeColumn = "代码";
  m_NameColumn = "名称";
  m_RaisesFormRefreshed = true;
  m_DuplicateStyle = view::vbExclamation;
  m_EmptyCodeText = "没有具体的代码,请录入!";

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, word + "设置");
  AddColumnField(0, "代码");
  AddColumnField(1, "名称");
  AddColumnField(2, "电话号码");
  AddIdLabel("lbl", 0, "内部ID:");
  InitProperties();
}

std::string PersonDictionary::Phone() const { return text::Trim(qnT(2).Text()); }

std::string PersonDictionary::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM kmdxsy WHERE Autoid=" + std::to_string(id);
}

std::vector<FlatDictionary::SaveCheck> PersonDictionary::SaveChecks(bool isNew, const std::string& id) {
  std::string code = Code(), name = Name();
  std::string ofType = "'and 类型ID = " + m_TypeId;
  std::string codeTaken = "代码(" + code + ")重复,请检查!";
  std::string nameTaken = m_NameWord + "(" + name + ")重复,请检查!";
  if (isNew)
    return {{" Select count(*) From KMDXSY Where 代码='" + text::Lit(code) + ofType, codeTaken, &qnT(0)},
            {" Select count(*) From KMDXSY Where 名称='" + text::Lit(name) + ofType, nameTaken, &qnT(1)}};
  return {{" Select count(*) From KMDXSY Where AutoID <> " + id + " and 代码='" + text::Lit(code) + ofType, codeTaken, &qnT(0)},
          {" Select Count(*) From KMDXSY Where AutoID <> " + id + " and 名称='" + text::Lit(name) + ofType, nameTaken, &qnT(1)},
          {m_StillThereSql + id, m_GoneText, nullptr, false, true}};
}

void PersonDictionary::NewId(int32_t& id) { m_IdAllocator->NextId("kmdxsy", "AutoID", id); }

std::string PersonDictionary::InsertSql(int32_t id) const {
  return "insert into kmdxsy (AutoID,代码,名称,电话号码,类型ID) values ( " + std::to_string(id) + "," + text::Quote(Code()) + "," +
         text::Quote(Name()) + "," + text::Quote(Phone()) + "," + m_TypeId + ")";
}

std::vector<std::string> PersonDictionary::DeleteSql() const {
  return {"delete from kmdxsy where Autoid=" + std::to_string(m_ID),
          " delete from kmdwlxsy where 销售员ID=" + std::to_string(m_ID)};
}

XSY::XSY(view::Platform& platform) : PersonDictionary("XSY", platform, 1, "销售员") {
  m_LoadErrorPrefix = "读取数据库时出错,";
  m_DeleteErrorText = "删除时出错，请检查原因:";
  m_NothingSelected = {Refusal::Box, "无选择项目,不能进行删除!   ", view::vbInformation};
  m_RootSelected = {Refusal::Box, "不能删除根节点!   ", view::vbExclamation};
  m_EmptyNameText = "没有具体的销售员名,请录入!";
  m_NameWord = "销售员名";
  m_StillThereSql = " Select Count(*) From KMDXSY Where AutoID = ";
  m_GoneText = "编辑中的记录已经不存在内部ID,请刷新数据后重新检查!";
  m_SystemRowRefusal = {Refusal::Box, "系统内置，不能删除", view::vbInformation, "提示:"};
}

std::string XSY::SystemRowSql(int32_t id) const {
  return " Select  是否系统 From KMDXSY Where AutoID = " + std::to_string(id);
}

std::string XSY::UpdateSql(int32_t id) const {
  return "update kmdxsy set 代码=" + text::Quote(Code()) + ",名称=" + text::Quote(Name()) + ",电话号码=" + text::Quote(Phone()) +
         " where AutoID = " + std::to_string(id);
}

std::string XSY::DeleteJournal(const std::string& nodeText) const { return "删除了销售员" + nodeText; }

}  // namespace kmd
