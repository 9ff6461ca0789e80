#include "hierarchies/lxlx.h"

#include "base/Text.h"
#include "frame/Settings.h"

namespace kmd {

lxlx::lxlx(view::Platform& platform) : CodedHierarchy("lxlx", platform) {
  m_Title = "联系类型";
  m_RaisesFormRefreshed = false;
  m_Table = "kmdlxlx";
  m_IdColumn = "联系类型ID";
  m_CodeColumn = "编码";
  m_NameColumn = "联系类型";
  m_RuleKey = Value(19);
  m_RuleJournal = "读取编码规则";
  m_RootText = "联系类型";
  m_EmptyNameText = "没有具体的联系类型,请录入!";
  m_SystemRefusal = {Refusal::Box, "不能删除系统设定的联系类型!", view::vbInformation, "提示："};
  m_BranchRefusal = {Refusal::Box, "该类型有下级类型,不能删除!", view::vbInformation, "提示："};
  m_DeleteJournal = "成功删除数据,联系类型ID号=";

  CreateTree();
  AddCaption("联系类型设置");
  AddCaption("上级编码：");
  for (int i : {0, 2, 5}) lbl.Set(i, AddLabel("lbl", i));
  qnT.Set(0, AddField("qnT", 0, "编码"));
  qnT.Set(1, AddField("qnT", 1, "联系类型"));
  frameBase = m_Controls.Add<view::Control>("Frame", "frameBase", -1);
  const char* captions[] = {"其他", "供应商", "客户类"};
  for (int i = 0; i < 3; ++i) {
    auto* o = m_Controls.Add<view::OptionButton>("Opt", i, captions[i]);
    o->Click = [this] { m_IsDirty = true; };
    Opt.Set(i, o);
    SetColumnCaption(*o, "属性");
  }
  Opt(0).SetValue(true);
  m_IdLabel = &lbl(2);
  m_ParentLabel = &lbl(0);
  m_RuleLabel = &lbl(5);
  m_SegmentBox = &qnT(0);
  m_NameBox = &qnT(1);
  CreateSplitter();
  InitProperties();
}

bool lxlx::InitSettings() {
  auto program = ReadProgram(*Database(), m_ProgramId);
  auto k = program.CommandLine.Item("k");
  if (k.Found) m_KindFilter = Value(text::Val(k.Value)).ToLong();
  return CodedHierarchy::InitSettings();
}

std::string lxlx::LoadSql() const {
  if (m_KindFilter != -1)
    return "select * from kmdlxlx Where 属性=" + std::to_string(m_KindFilter) + " order by 级次, 编码";
  return "select * from kmdlxlx order by 级次, 编码";
}

int lxlx::Kind() const {
  if (Opt(2).GetValue()) return 2;
  if (Opt(1).GetValue()) return 1;
  return 0;
}

void lxlx::EnableKinds(bool enabled) {
  frameBase->SetEnabled(enabled);
  for (int i = 0; i < 3; ++i) Opt(i).SetEnabled(enabled);
}

std::string lxlx::UpdateScreenSql(int32_t id) const {
  return "SELECT * FROM kmdlxlx WHERE 联系类型ID=" + std::to_string(id);
}

void lxlx::ShowRecord(db::Recordset& rs) {
  double kind = Num(rs, "属性");
  Opt(kind == 2 ? 2 : kind == 1 ? 1 : 0).SetValue(true);
  // A child holds the kind of its first-level ancestor and cannot have another.
  EnableKinds(m_CodeRule->CodeLevel(text::Trim(Str(rs, "编码")), m_Rule) == 1);
}

bool lxlx::IsUsedByPartners(const std::string& code) {
  return HasRow(" SELECT DISTINCT 类型ID FROM vtKMDWLDW WHERE 类型编码=" + text::Quote(code));
}

bool lxlx::IsCanAddChild(const std::string& code) {
  if (!IsUsedByPartners(code)) return true;
  MsgBox("不能在已经启用的联系类型下面新增下级!", view::vbExclamation, "操作提示");
  return false;
}

void lxlx::OnNewRecord(bool child) {
  if (child) EnableKinds(false);
}

std::vector<CodedHierarchy::SaveCheck> lxlx::SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                                        const std::string& name) {
  if (isNew)
    return {{" Select  * From KMDlxlx Where 联系类型=" + text::Quote(name), "类型名称重复,请检查!"},
            {" Select * From KMDlxlx Where 编码=" + text::Quote(code) + " ", "编码重复,请检查!"}};
  return {{" Select  * From KMDlxlx Where 联系类型ID <> " + id + " and 联系类型=" + text::Quote(name), "联系名称重复,请检查!"},
          {" Select * From KMDlxlx Where 联系类型ID <> " + id + " and 编码=" + text::Quote(code) + " ", "编码重复,请检查!"}};
}

std::string lxlx::DetailCheckSql(const std::string& id) const {
  return " Select * From KMDlxlx Where 联系类型ID = " + id;
}

std::string lxlx::InsertSql(int32_t id, const std::string& code, int level) const {
  return "insert into kmdlxlx (联系类型ID,联系类型,编码,是否明细,级次,属性) " + std::string(" values( ") +
         std::to_string(id) + "," + text::Quote(Name()) + "," + text::Quote(code) + "," + "1" + "," + std::to_string(level) + "," +
         std::to_string(Kind()) + " ) ";
}

std::string lxlx::UpdateSql(int32_t id, const std::string& code) const {
  return "update kmdlxlx set 编码=" + text::Quote(code) + "," + "联系类型=" + text::Quote(Name()) + "," + "属性=" + std::to_string(Kind()) +
         " where 联系类型ID=" + std::to_string(id);
}

void lxlx::AfterWrite(bool, int32_t, const std::string& code) {
  if (m_CodeRule->CodeLevel(code, m_Rule) != 1) return;
  Database()
      ->CreateCommand("Update kmdlxlx set 属性 =" + std::to_string(Kind()) + " WHERE 编码 like '" + text::Lit(code) + "%'", 1)
      ->Execute();
}

std::string lxlx::DeleteCheckSql(int32_t id) const {
  return "select * from kmdlxlx where 联系类型ID=" + std::to_string(id);
}

bool lxlx::IsCanDeleteInUse(int32_t, const std::string& code) {
  if (!IsUsedByPartners(code)) return true;
  MsgBox("不能删除已经启用的联系类型!", view::vbExclamation, "操作提示");
  return false;
}

}  // namespace kmd
