#include "hierarchies/CPLB.h"

#include "base/Text.h"
#include "frame/Settings.h"

namespace kmd {

namespace {
const char* const kSubjectError = "会计科目输入有误，请重新输入！";
const char* const kInUseTitle = "操作提示";
}  // namespace

CPLB::CPLB(view::Platform& platform) : CodedHierarchy("CPLB", platform) {
  m_Title = "产品类别";
  m_ReturnsDirty = true;
  m_Table = "kmdcplb";
  m_IdColumn = "类别ID";
  m_CodeColumn = "类别编码";
  m_NameColumn = "类别名称";
  m_RuleKey = Value(16);
  m_RootKey = "k";
  m_RootText = "产品类别";
  m_LoadFillsGaps = true;
  m_PrintMessage = true;
  m_EmptyNameText = "没有具体的类别名称,请录入!";
  m_NonDetailRefusal = {Refusal::Box, "不能修改非明细级编码,请检查!", view::vbInformation, "提示："};
  m_SystemRefusal = {Refusal::Box, "不能删除系统设定的产品类别!", view::vbInformation, "提示："};
  m_BranchRefusal = {Refusal::Box, "该产品类别有下级产品类别,不能删除!", view::vbInformation, "提示："};
  m_DeleteJournal = "成功删除数据,ID号=";
  m_DeleteFailLevel = kFailure;
  // A failed statement ends the delete with its report; the host rolls the transaction back.
  m_OnDeleteFailure = DeleteFailure::LeaveOpen;
  m_OnFlagFailure = DeleteFailure::LeaveOpen;
  m_DeleteHasErrorPath = false;

  CreateTree();
  AddCaption("产品类别设置");
  lbl.Set(0, AddLabel("lbl", 0));
  AddCaption("上级编码");
  lbl.Set(1, AddLabel("lbl", 1));
  lbl.Set(5, AddLabel("lbl", 5));
  qnT.Set(0, AddField("qnT", 0, "类别编码"));
  qnT.Set(1, AddField("qnT", 1, "类别名称"));
  qnT.Set(2, AddField("qnT", 2, "备注"));
  qnT.Set(3, AddField("qnT", 3, "存货科目"));
  qnT.Set(4, AddField("qnT", 4, "应收科目"));
  qnT.Set(5, AddField("qnT", 5, "应付科目"));
  AddCaption(
      "应收科目与应付科目是指此类别的材料进行发生往来帐款时  （即过帐至应收或应付系统时），产生的凭证对应的财务科目，"
      "只有对科目核算时才起作用");
  // Without brackets around the "or", a subject found by its name need not be a stock subject.
  SetReference(qnT(3), kSubjectError, "科目编码", "科目名称",
               "select 科目编码,科目名称,科目ID from kmdkjkm where 是否存货科目=1 and  科目编码 = '@' or 科目名称 = '@'",
               "gy_clkm");
  const std::string partnerSql =
      "select 科目编码,科目名称,科目ID from kmdkjkm where 是否往来核算=1 and (科目编码='@' or 科目名称='@') ORDER BY "
      "科目编码";
  SetReference(qnT(4), kSubjectError, "科目ID", "科目名称", partnerSql, "gy_wlkm_nMx");
  SetReference(qnT(5), kSubjectError, "科目ID", "科目名称", partnerSql, "gy_wlkm_nMx");
  m_IdLabel = &lbl(0);
  m_ParentLabel = &lbl(1);
  m_RuleLabel = &lbl(5);
  m_SegmentBox = &qnT(0);
  m_NameBox = &qnT(1);
  InitProperties();
}

bool CPLB::InitSettings() {
  auto program = ReadProgram(*Database(), m_ProgramId);
  if (!program.Name.empty()) m_RootText = program.Name;
  // "k=1211,1243" restricts the page to those stock subjects, kept as "'1211','1243'".
  auto k = program.CommandLine.Item("k");
  m_KmFilter = k.Found ? text::QuoteList(k.Value) : "";
  ReadRule();
  qnT(4).ToolTipText = "往来应收分科目核算";
  qnT(4).SetVisible(IsSwitchOn(Context().Parameter(16, Value("Kmhs")).Value));
  qnT(5).ToolTipText = "往来应付分科目核算";
  qnT(5).SetVisible(IsSwitchOn(Context().Parameter(17, Value("Kmhs")).Value));
  return true;
}

std::string CPLB::LoadSql() const {
  if (m_KmFilter.empty()) return "select * from kmdcplb  order by 级次,类别编码";
  return "select * from kmdcplb where 对应科目编号 IN (" + m_KmFilter + ") order by 级次,类别编码";
}

std::string CPLB::UpdateScreenSql(int32_t id) const { return "SELECT * FROM KMDCPLB WHERE 类别ID=" + std::to_string(id); }

std::string CPLB::SubjectName(const std::string& sql) {
  std::string name = ReadValue(sql).ToText();
  Database()->ResetState();
  return name;
}

void CPLB::ShowRecord(db::Recordset& rs) {
  Value stock = rs.Fields("对应科目编号");
  qnT(3).SetValue(stock);
  qnT(3).SetText(SubjectName("select 科目名称 from kmdkjkm where 科目编码=" + text::Quote(stock.ToText())));
  Value payable = rs.Fields("应付科目ID");
  qnT(5).SetValue(payable);
  qnT(5).SetText(SubjectName("select 科目名称 from kmdkjkm where 科目ID=" + payable.ToText()));
  Value receivable = rs.Fields("应收科目ID");
  qnT(4).SetValue(receivable);
  qnT(4).SetText(SubjectName("select 科目名称 from kmdkjkm where 科目ID=" + receivable.ToText()));
  qnT(2).SetText(Str(rs, "备注"));
}

// A category in use may take a child only when its products go along to that child.
bool CPLB::IsCanAddChild(const std::string& code) {
  if (!HasRow(" SELECT DISTINCT 产品类别ID FROM vtKMDCPML WHERE 类别编码=" + text::Quote(code))) return true;
  return MsgBox("该产品类别已启用,新增下级后将该产品类别下的产品放到新增的产品类别下,是否继续?",
                view::vbYesNo | view::vbExclamation, kInUseTitle) == view::vbYes;
}

std::string CPLB::StockSubject() const { return text::Trim(qnT(3).GetValue().ToText()); }

std::string CPLB::SubjectId(const view::TextField& field) {
  return text::FormatNumber(text::Val(field.GetValue().ToText()));
}

// A user restricted to some stock subjects files categories under those alone.
bool CPLB::IsCanSaveMember() {
  if (m_KmFilter.empty() || text::InStr(m_KmFilter, text::Quote(StockSubject())) > 0) return true;
  MsgBox("类别的会计科目设置错误,没有操作此科目的权限！", view::vbInformation, "提示：");
  return false;
}

std::vector<CodedHierarchy::SaveCheck> CPLB::SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                                        const std::string& name) {
  if (isNew)
    return {{" Select  * From KMDcplb Where 类别名称=" + text::Quote(name), "类别名称重复,请检查!"},
            {" Select * From KMDcplb Where 类别编码=" + text::Quote(code) + " ", "已经存在此编码,类别名称(", nullptr, "类别名称",
             "),请检查!"}};
  return {{" Select  * From KMDcplb Where 类别ID <> " + id + " and 类别名称=" + text::Quote(name), "类别名称重复,请检查!"},
          {" Select * From KMDCPLB Where 类别ID <> " + id + " and 类别编码=" + text::Quote(code) + " ",
           "已经存在此编码,类别名称(" + name + "),请检查!"}};
}

std::string CPLB::DetailCheckSql(const std::string& id) const { return " Select * From KMDCPLB Where 类别ID = " + id; }

std::string CPLB::InsertSql(int32_t id, const std::string& code, int level) const {
  return "insert into kmdcplb (类别ID,类别编码,类别名称,是否明细,级次,备注,对应科目编号,应付科目ID,应收科目ID) values ( " +
         std::to_string(id) + "," + text::Quote(code) + "," + text::Quote(Name()) + "," + "1" + "," + std::to_string(level) + "," + text::Quote(text::Trim(qnT(2).Text())) + "," + text::Quote(qnT(3).GetValue().ToText()) + "," + SubjectId(qnT(5)) + "," +
         SubjectId(qnT(4)) + "  ) ";
}

std::string CPLB::UpdateSql(int32_t id, const std::string& code) const {
  return "update kmdcplb set 类别编码=" + text::Quote(code) + "," + "类别名称=" + text::Quote(Name()) + "," + "备注=" +
         text::Quote(text::Trim(qnT(2).Text())) + "," + "对应科目编号=" + text::Quote(StockSubject()) + "," + "应付科目ID=" +
         SubjectId(qnT(5)) + "," + "应收科目ID=" + SubjectId(qnT(4)) + " where 类别ID=" + std::to_string(id);
}

// The parent stops being a leaf and hands its products to the new child, whose row comes next.
std::vector<std::string> CPLB::ParentBranchSql(const std::string& parent, int32_t newId) const {
  return {"update  kmdcplb  set 是否明细= 0 where 类别编码 =" + text::Quote(parent),
          "update  kmdcpml set 产品类别ID=" + std::to_string(newId) +
              " where 产品类别ID in(select 类别ID from kmdcplb where 类别编码 =" + text::Quote(parent) + ")"};
}

// The stock subject goes down to every descendant.
void CPLB::AfterWrite(bool, int32_t, const std::string& code) {
  Database()
      ->CreateCommand("Update kmdcplb set 对应科目编号=" + text::Quote(StockSubject()) + " WHERE 类别编码 like '" + text::Lit(code) + "%'", 1)
      ->Execute();
}

std::string CPLB::DeleteCheckSql(int32_t id) const { return "select * from KMDCPLB where 类别ID=" + std::to_string(id); }

// A category with products may go only when it is its parent's only child: the parent then
// becomes a leaf and takes the products.
bool CPLB::IsCanDeleteInUse(int32_t id, const std::string& code) {
  Value used = ReadValue(" SELECT Top 1 产品类别ID FROM KMDCPML WHERE 产品类别ID=" + std::to_string(id));
  if (!(text::Val(used.ToText()) > 0)) return true;
  std::string parent = m_CodeRule->ParentCode(code, m_Rule);
  // The parent and its other descendants: 1 says the parent exists and this is its only child.
  Value others = ReadValue("select count(类别ID) from kmdcplb where 类别编码 like '" + text::Lit(parent) +
                           "%' and 类别编码<>" + text::Quote(code));
  if (text::Val(others.ToText()) == 1)
    return MsgBox("该产品类别已启用,删除后将该产品类别下的产品将放到上级产品类别下,是否继续?",
                  view::vbYesNo | view::vbExclamation, kInUseTitle) == view::vbYes;
  MsgBox("不能删除已经启用的产品类别,该类别下有物品编码存在!", view::vbExclamation, kInUseTitle);
  return false;
}

std::string CPLB::ChildCountSql(const std::string& parent) const {
  return " Select COUNT(*) From kmdcplb Where 类别编码 Like '" + text::Lit(parent) + "%' And 类别编码 <> " + text::Quote(parent) + " ";
}

// The parent, a leaf again, takes the products of the deleted category.
std::vector<std::string> CPLB::ParentLeafSql(const std::string& parent, int32_t id) const {
  return {"update  kmdcpml set 产品类别ID=(select 类别ID from kmdcplb where 类别编码 =" + text::Quote(text::Trim(parent)) + ")" +
              " where 产品类别ID=" + std::to_string(id),
          "update kmdcplb set 是否明细=1 where 类别编码=" + text::Quote(parent) + ""};
}

}  // namespace kmd
