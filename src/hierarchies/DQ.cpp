#include "hierarchies/DQ.h"

#include "base/Text.h"

namespace kmd {

DQ::DQ(view::Platform& platform) : CodedHierarchy("DQ", platform) {
  m_Title = "地区";
  m_Table = "kmddq";
  m_IdColumn = "地区ID";
  m_CodeColumn = "编码";
  m_NameColumn = "地区";
  m_RuleKey = Value(20);
  m_RuleJournal = "地区编码规则:";
  m_RootText = "地区";
  m_LoadSql = "select * from kmddq order by 级次,编码";
  m_LevelLimit = 5;
  m_HasFindNext = false;
  m_EmptyNameText = "没有具体的地区名称,请录入!";
  m_DeleteRoot = {Refusal::Box, "不能删除根节点!   ", view::vbExclamation, "提示："};
  m_SystemRefusal = {Refusal::Box, "不能删除系统设定的地区!", view::vbInformation, "提示："};
  m_BranchRefusal = {Refusal::Box, "非明细级的地区,不能删除!", view::vbInformation, "提示："};
  m_DeleteJournal = "成功删除数据,地区ID号=";

  CreateTree();
  AddCaption("地区设置");
  for (int i = 0; i < 4; ++i) lbl.Set(i, AddLabel("lbl", i));
  AddCaption("上级编码");
  qnT.Set(0, AddField("qnT", 0, "编码"));
  qnT.Set(1, AddField("qnT", 1, "地区"));
  m_IdLabel = &lbl(0);
  m_ParentLabel = &lbl(2);
  m_RuleLabel = &lbl(3);
  SetColumnCaption(lbl(1), "是否系统");
  m_SegmentBox = &qnT(0);
  m_NameBox = &qnT(1);
  CreateSplitter();
  InitProperties();
}

// The cut keeps the first of the two blanks; the parent code label holds it after FileNewNext and
// the save compares the node's cut with that label as it stands.
std::string DQ::CutCode(const NodePtr& node) const {
  if (!node || !node->Parent()) return "";
  return text::Left(node->Text, text::InStr(node->Text, " "));
}

std::string DQ::UpdateScreenSql(int32_t id) const { return "SELECT * FROM kmddq WHERE 地区ID=" + std::to_string(id); }

void DQ::ShowRecord(db::Recordset& rs) { lbl(1).SetCaption(Str(rs, "是否系统")); }

std::vector<CodedHierarchy::SaveCheck> DQ::SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                                      const std::string& name) {
  std::string other = isNew ? "" : "地区ID <> " + id + " and ";
  return {{" Select  * From KMDDQ Where " + other + "编码=" + text::Quote(code), "编码重复,请检查!"},
          {" Select * From KMDDQ Where " + other + "地区=" + text::Quote(name) + " ", "地区重复,请检查!", &qnT(1)}};
}

std::string DQ::DetailCheckSql(const std::string& id) const { return " Select * From KMDDQ Where 地区ID = " + id; }

std::string DQ::InsertSql(int32_t id, const std::string& code, int level) const {
  return "insert into kmddq (地区id,地区,编码,是否明细,级次) " + std::string(" values( ") + std::to_string(id) + "," + text::Quote(Name()) + "," + text::Quote(code) + "," + "1" + "," + std::to_string(level) + ") ";
}

std::string DQ::UpdateSql(int32_t id, const std::string& code) const {
  return "update kmddq set 编码=" + text::Quote(code) + "," + "地区=" + text::Quote(Name()) + " where 地区ID=" + std::to_string(id);
}

std::string DQ::DeleteCheckSql(int32_t id) const { return "select * from kmddq where 地区ID=" + std::to_string(id); }

std::string DQ::DeleteSql(int32_t) const { return "delete from kmddq where 地区id=" + lbl(0).Caption(); }

std::string DQ::FlagFailureText(const std::string&, int32_t id, const std::string& description) const {
  return "更新上级编码为明细级时出错，编号：" + std::to_string(id) + ",原因：" + description;
}

}  // namespace kmd
