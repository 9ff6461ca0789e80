#include "dictionaries/QMSPOItem.h"

#include "base/Text.h"

namespace kmd {

QMSItemDictionary::QMSItemDictionary(std::string className, view::Platform& platform, std::string table,
                                     std::string idTable, const std::string& title, std::string nameWord)
    : FlatDictionary(std::move(className), platform),
      m_Table(std::move(table)),
      m_IdTable(std::move(idTable)),
      m_NameWord(std::move(nameWord)) {
  m_Title = title;
  m_RootText = title;
  m_LoadSql = "select * from " + m_Table + "  order by 项目编码";
  m_IdColumn = "检验项目ID";
  m_RecordTable = m_Table;
  m_CodeColumn = "项目编码";
  m_NameColumn = "项目名称";
  m_LoadErrorPrefix = "读取数据库时出错,";
  m_RaisesFormRefreshed = true;
  m_DeleteErrorText = "删除时出错，请检查原因:";
  m_NothingSelected = {Refusal::Box, "无选择项目,不能进行删除!   ", view::vbInformation};
  m_RootSelected = {Refusal::Box, "不能删除根节点!   ", view::vbExclamation};
  m_EmptyCodeText = "没有具体的项目编码,请录入!";
  m_EmptyNameText = "没有具体的项目名称,请录入!";
  m_DuplicateStyle = view::vbExclamation;
  m_SystemRowRefusal = {Refusal::Box, "系统内置，不能删除", view::vbInformation, "提示:"};

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, title);
  AddColumnField(0, "项目编码");
  AddColumnField(1, "项目名称");
  AddColumnField(2, "包含内容");
  AddColumnField(3, "说明");
  AddIdLabel("lbl", 0, "内部ID:");
  InitProperties();
}

std::string QMSItemDictionary::Field(int index) const { return text::Trim(qnT(index).Text()); }

std::string QMSItemDictionary::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM " + m_Table + " WHERE 检验项目id=" + std::to_string(id);
}

std::vector<FlatDictionary::SaveCheck> QMSItemDictionary::SaveChecks(bool isNew, const std::string& id) {
  std::string code = Code(), name = Name();
  std::string codeTaken = "项目编码(" + code + ")重复,请检查!";
  if (isNew)
    return {{" Select count(*) From " + m_Table + " Where 项目编码=" + text::Quote(code), codeTaken, &qnT(0)},
            {" Select count(*) From " + m_Table + " Where 项目名称=" + text::Quote(name),
             m_NameWord + "(" + name + ")重复,请检查!", &qnT(1)}};
  return {{" Select count(*) From " + m_Table + " Where 检验项目ID <> " + id + " and  项目编码=" + text::Quote(code), codeTaken,
           &qnT(0)},
          {" Select Count(*) From " + m_Table + " Where 检验项目ID <> " + id + " and 项目名称=" + text::Quote(name),
           "项目名称(" + name + ")重复,请检查!", &qnT(1)},
          {" Select Count(*) From " + m_Table + " Where 检验项目ID = " + id,
           "编辑中的记录已经不存在内部ID,请刷新数据后重新检查!", nullptr, false, true}};
}

std::string QMSItemDictionary::SystemRowSql(int32_t id) const {
  return " Select  是否系统 From " + m_Table + " Where 检验项目ID = " + std::to_string(id);
}

void QMSItemDictionary::NewId(int32_t& id) { m_IdAllocator->NextId(m_IdTable, "检验项目ID", id); }

std::string QMSItemDictionary::InsertSql(int32_t id) const {
  return "insert into " + m_Table + " (检验项目ID,项目编码,项目名称,包含内容,说明) values ( " + std::to_string(id) +
         "," + text::Quote(Code()) + "," + text::Quote(Name()) + "," + text::Quote(Field(2)) + "," + text::Quote(Field(3)) + ")";
}

std::string QMSItemDictionary::UpdateSql(int32_t id) const {
  return "update " + m_Table + " set 项目编码=" + text::Quote(Code()) + ", 项目名称=" + text::Quote(Name()) + ", 包含内容=" + text::Quote(Field(2)) +
         ", 说明=" + text::Quote(Field(3)) + " where 检验项目ID = " + std::to_string(id);
}

std::vector<std::string> QMSItemDictionary::DeleteSql() const {
  return {" delete from " + m_Table + " where 检验项目id=" + std::to_string(m_ID)};
}

std::string QMSItemDictionary::DeleteJournal(const std::string& nodeText) const { return "删除了" + m_Title + nodeText; }

QMSPOItem::QMSPOItem(view::Platform& platform)
    : QMSItemDictionary("QMSPOItem", platform, "KMDQMSPOItem", "KMDQMSPOITEM", "采购进货检验项目", "采购检验项目") {}

}  // namespace kmd
