#include "hierarchies/SRLB.h"

#include "base/Text.h"

namespace kmd {

SRLB::SRLB(view::Platform& platform) : CodedHierarchy("SRLB", platform) {
  m_Title = "工艺类别";
  m_Table = "KMDSRLB";
  m_IdColumn = "类别ID";
  m_CodeColumn = "类别编码";
  m_NameColumn = "类别名称";
  m_RuleKey = Value("srbm");
  m_RuleGap = " ";
  m_RootKey = "k";
  m_RootText = "所有的工艺分类";
  m_LoadSql = "select * from KMDSRLB  order by 级次,类别编码";
  m_LoadFillsGaps = true;
  m_ReturnsDirty = true;
  m_PrintMessage = true;
  m_EmptyNameText = "没有具体的类别名称,请录入!";
  m_DeleteNothingSelected.text = "无选择项目,不能进行删除!    ";
  m_SystemRefusal = {Refusal::Box, "不能删除系统设定的工艺类别!", view::vbInformation, "提示："};
  m_BranchRefusal = {Refusal::Box, "该部门有下级工艺类别,不能删除!", view::vbInformation, "提示："};
  m_DeleteJournal = "成功删除数据,号=";
  m_OnDeleteFailure = DeleteFailure::RollbackAtOnce;
  m_OnFlagFailure = DeleteFailure::LeaveOpen;

  CreateTree();
  AddCaption("工艺类别设置");
  for (int i = 0; i < 3; ++i) lbl.Set(i, AddLabel("lbl", i));
  AddCaption("上级编码");
  qnT.Set(0, AddField("qnT", 0, "类别编码"));
  qnT.Set(1, AddField("qnT", 1, "类别名称"));
  qnT.Set(2, AddField("qnT", 2, "备注"));
  m_IdLabel = &lbl(0);
  m_ParentLabel = &lbl(1);
  m_RuleLabel = &lbl(2);
  m_SegmentBox = &qnT(0);
  m_NameBox = &qnT(1);
  CreateSplitter();
  InitProperties();
}

std::string SRLB::Remark() const { return text::Trim(qnT(2).Text()); }

std::string SRLB::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM KMDSRLB WHERE 类别ID=" + std::to_string(id);
}

void SRLB::ShowRecord(db::Recordset& rs) { qnT(2).SetText(Str(rs, "备注")); }

bool SRLB::IsCanAddChild(const std::string& code) {
  if (!HasRow(" SELECT DISTINCT A.类别ID FROM KMDsr A left join kmdsrlb B on A.类别ID=B.类别ID WHERE 类别编码=" +
              text::Quote(code)))
    return true;
  MsgBox("不能在已经启用的工艺类别下面新增下级!", view::vbExclamation, "操作提示");
  return false;
}

std::vector<CodedHierarchy::SaveCheck> SRLB::SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                                        const std::string& name) {
  const std::string codeTaken = "已经存在此编码,类别名称(", after = "),请检查!";
  if (isNew)
    return {{" Select  * From KMDSRLB Where 类别名称=" + text::Quote(name), "类别名称重复,请检查!"},
            {" Select * From KMDSRLB Where 类别编码=" + text::Quote(code) + " ", codeTaken, nullptr, "类别名称", after}};
  // A changed record's name clash reads as the department form's; its code clash names the typed
  // name, not the found one.
  return {{" Select  * From KMDSRLB Where 类别ID <> " + id + " and 类别名称=" + text::Quote(name), "部门名称重复,请检查!"},
          {" Select * From KMDSRLB Where 类别ID <> " + id + " and 类别编码=" + text::Quote(code) + " ", codeTaken + name + after}};
}

std::string SRLB::DetailCheckSql(const std::string& id) const { return " Select * From KMDSRLB Where 类别ID =" + id; }

std::string SRLB::InsertSql(int32_t id, const std::string& code, int level) const {
  return "insert into KMDSRLB (类别ID,类别编码,类别名称,是否明细,级次,备注) values ( " + std::to_string(id) + "," +
         text::Quote(code) + "," + text::Quote(Name()) + "," + "1" + "," + std::to_string(level) + "," + text::Quote(Remark()) + ") ";
}

std::string SRLB::UpdateSql(int32_t id, const std::string& code) const {
  return "update KMDSRLB set 类别编码=" + text::Quote(code) + "," + "类别名称=" + text::Quote(Name()) + "," + "备注=" + text::Quote(Remark()) +
         " where 类别ID=" + std::to_string(id);
}

std::string SRLB::DeleteCheckSql(int32_t id) const {
  return "select * from KMDSRLB where 类别ID=" + std::to_string(id);
}

bool SRLB::IsCanDeleteInUse(int32_t id, const std::string&) {
  auto used = ReadValue(" SELECT Top 1 类别ID FROM KMDsr WHERE 类别ID=" + std::to_string(id));
  if (text::Val(used.ToText()) <= 0) return true;
  MsgBox("不能删除已经启用的工艺类别,该类别下有物品编码存在!", view::vbExclamation, "操作提示");
  return false;
}

std::string SRLB::ChildCountSql(const std::string& parent) const {
  return " Select COUNT(*) From KMDSRLB Where 类别编码 Like '" + text::Lit(parent) + "%' And 类别编码 <> " + text::Quote(parent) + " ";
}

}  // namespace kmd
