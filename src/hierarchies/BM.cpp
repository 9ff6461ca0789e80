#include "hierarchies/BM.h"

#include "base/Text.h"
#include "frame/Settings.h"
#include "hierarchies/OrganisationTree.h"

namespace kmd {

namespace {

struct Kind {
  const char* codeCaption;
  const char* nameCaption;
};
// By 组织类型 1 to 4.
const Kind kKinds[] = {{"部门编码(&Q)", "部门名称"},
                       {"仓库编码(&Q)", "仓库名称"},
                       {"车间编码(&Q)", "车间名称"},
                       {"其他部门编码(&Q)", "其他部门名称"}};
const char* const kNoKind = "****";

// The columns of the flag boxes Chk(0) to Chk(8).
const char* const kFlagColumns[] = {"是否参与生产", "是否参与销售",   "是否参与采购", "是否存放物品",  "是否与产品连接",
                                    "是否允许负库存", "是否明细", "是否使用", "不参与物料运算"};

}  // namespace

BM::BM(view::Platform& platform) : CodedHierarchy("BM", platform) {
  m_Title = "公司组织";
  m_ReturnsDirty = true;
  m_PrintMessage = true;
  m_Table = "kmdbm";
  m_IdColumn = "部门ID";
  m_CodeColumn = "部门编码";
  m_NameColumn = "部门名称";
  m_RuleKey = Value(17);
  m_RuleGap = " ";
  m_EmptyNameText = "没有具体的部门名称,请录入!";
  m_NonDetailRefusal = {Refusal::Box, "不能修改非明细级编码,请检查!", view::vbInformation, "提示："};
  m_DeleteNothingSelected = {Refusal::Box, "没有选择节点，不能删除!", view::vbInformation, "提示："};
  m_SystemRefusal = {Refusal::Box, "不能删除系统设定部门!", view::vbInformation, "提示："};
  m_BranchRefusal = {Refusal::Box, "该部门有下级部门,不能删除!", view::vbInformation, "提示："};
  m_DeleteJournal = "成功删除数据,号=";

  CreateTree();
  AddCaption("公司组织设置");
  lblID = AddLabel("lblID", -1);
  AddCaption("上级编码");
  lblNb = AddLabel("lblNb", -1);
  lblType.Set(2, AddLabel("lblType", 2));
  lblType.Set(0, AddLabel("lblType", 0));
  Txt.Set(0, AddField("Txt", 0));
  lblType.Set(1, AddLabel("lblType", 1));
  Txt.Set(1, AddField("Txt", 1));
  Txt.Set(2, AddField("Txt", 2, "英文名称"));
  AddCheck(6, "明细");
  AddCheck(7, "使用");
  AddCheck(0, "参与生产");
  AddCheck(1, "参与销售");
  AddCheck(2, "参与采购");
  AddCheck(3, "存放物品");
  AddCheck(8, "不参与物料运算");
  // The warehouse's properties.
  m_WarehouseFrame = m_Controls.Add<view::Control>("Frame", "Fra", 1);
  qnTxt = AddField("qnTxt", -1, "仓库属性");
  AddCheck(5, "允许负库存");
  AddCheck(4, "与产品连接");
  auto* rule = AddLabel("lblRule", -1);
  SetReference(*qnTxt, "输入有误，请重新输入！", "text", "caption",
               "SELECT code,caption,text from xt_billattribute where progID='200003'  and attribute='仓库属性' " +
                   std::string(" and (code='@' or caption='@')"),
               "st_attribute");
  qnTxt->GetReference().CheckInput = true;
  Chk(3).Click = [this] {
    m_IsDirty = true;
    m_WarehouseFrame->SetVisible(Chk(3).GetValue() == 1);
  };
  m_IdLabel = lblID;
  m_ParentLabel = lblNb;
  m_RuleLabel = rule;
  m_SegmentBox = &Txt(0);
  m_NameBox = &Txt(1);
  SetOrgType(0);
  InitProperties();
}

view::CheckBox* BM::AddCheck(int index, const std::string& caption) {
  auto* c = m_Controls.Add<view::CheckBox>("Chk", index, caption);
  c->Click = [this] { m_IsDirty = true; };
  Chk.Set(index, c);
  return c;
}

void BM::SetOrgType(int32_t kind) {
  m_OrgType = kind;
  if (kind >= 1 && kind <= 4) {
    const Kind& k = kKinds[kind - 1];
    lblType(0).SetCaption(k.codeCaption);
    lblType(1).SetCaption(k.nameCaption);
    lblType(2).SetCaption(OrganisationTree::RootText(kind));
    return;
  }
  for (int i = 0; i < 3; ++i) lblType(i).SetCaption(kNoKind);
}

// ---- Init and load ----

bool BM::InitSettings() {
  auto program = ReadProgram(*Database(), m_ProgramId);
  auto k = program.CommandLine.Item("k");
  m_OrgFilter = k.Found ? static_cast<int32_t>(text::Val(k.Value)) : -1;
  ReadRule();
  return true;
}

bool BM::LoadTree() {
  return OrganisationTree::Load(*m_Tv, *Database(), *m_CodeRule, m_Rule, m_OrgFilter,
                                [this](const std::string& failure) { RaiseErrMessage(failure, kFailure, m_Title); });
}

void BM::SelectAfterLoad() { Tree()->SetSelectedItem(Tree()->FindKey(OrganisationTree::FirstRootKey(m_OrgFilter))); }

bool BM::Refresh() {
  try {
    return CodedHierarchy::Refresh();
  } catch (const std::exception& e) {
    m_Tv->Redraw(true);
    RaiseErrMessage(e.what(), kFailure, m_Title);
    return false;
  }
}

// ---- Selection ----

// A kind root chooses the kind of the next new unit; a unit shows itself and its kind.
void BM::m_Tv_Selected(const NodePtr& node) {
  RaiseMessage("");
  try {
    ClearEditFields();
    if (!node) return;
    int32_t tag = m_ValueHelper->ToNumber(node->Tag).ToLong();
    if (!node->Parent()) {
      lblNb->SetCaption("");
      lblID->SetCaption("");
      m_ID = 0;
      SetOrgType(tag);
      return;
    }
    m_ID = tag;
    UpdateScreen(m_ID);
    if (!m_RecordMissing) lblID->SetCaption(std::to_string(m_ID));
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("选择时发生错误,原因：") + e.what(), kFailure, m_Title);
  }
}

std::string BM::UpdateScreenSql(int32_t id) const { return "SELECT * FROM kmdbm WHERE 部门ID=" + std::to_string(id); }

void BM::ShowRecord(db::Recordset& rs) {
  SetOrgType(static_cast<int32_t>(Num(rs, "组织类型")));
  Txt(2).SetText(Str(rs, "英文名称"));
  for (int i = 0; i <= 8; ++i) Chk(i).SetValue(Num(rs, kFlagColumns[i]) != 0 ? 1 : 0);
  Value attribute = rs.Fields("属性");
  qnTxt->SetValue(attribute);
  qnTxt->SetText(ReadValue("SELECT Caption From xt_billattribute  Where attribute ='仓库属性' AND progID=" +
                           std::to_string(m_ProgramId) + " AND Text=" + text::Quote(attribute.ToText()))
                     .ToText());
  Database()->ResetState();
  m_WarehouseFrame->SetVisible(Chk(3).GetValue() == 1);
}

// ---- New, edit, save ----

bool BM::IsCanAddChild(const std::string&) {
  if (!InUse(m_ID)) return true;
  MsgBox(" 该部门已启用,不能新建下级!", view::vbInformation, "提示：");
  return false;
}

// A new unit is a used leaf; a warehouse holds stock and shows its properties, the other kinds
// hide them, and a page without a kind leaves them as they are.
void BM::OnNewRecord(bool child) {
  RaiseMessage(child ? "新建下级部门中..." : "新建部门中...");
  Chk(6).SetValue(1);
  Chk(7).SetValue(1);
  if (m_OrgType == 2) Chk(3).SetValue(1);
  if (m_OrgType >= 1 && m_OrgType <= 4) m_WarehouseFrame->SetVisible(m_OrgType == 2);
}

bool BM::FileEdit() {
  if (!CodedHierarchy::FileEdit()) return false;
  RaiseMessage("编辑公司组织中...");
  return true;
}

bool BM::FileSave() {
  if (!CodedHierarchy::FileSave()) return false;
  RaiseMessage("保存公司组织成功!");
  return true;
}

bool BM::IsCanSaveMember() {
  if (lblType(0).Caption() != kNoKind) return true;
  MsgBox("没有具体的组织类型,请选择!", view::vbInformation, "提示：");
  return false;
}

std::vector<CodedHierarchy::SaveCheck> BM::SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                                      const std::string& name) {
  std::string other = isNew ? "" : "部门ID <> " + id + " and ";
  return {{" Select  * From KMDBM Where " + other + "部门名称=" + text::Quote(name), "部门名称重复,请检查!"},
          {" Select * From KMDBm Where " + other + "部门编码=" + text::Quote(code) + " ", "编码重复,请检查!"}};
}

std::string BM::DetailCheckSql(const std::string& id) const { return " Select * From KMDBM Where 部门ID = " + id; }

std::string BM::Attribute() const { return text::FormatNumber(text::Val(qnTxt->GetValue().ToText())); }

std::string BM::InsertSql(int32_t id, const std::string& code, int level) const {
  return "insert into kmdbm (部门ID,部门编码,部门名称,英文名称,是否明细,级次,是否使用,是否存放物品," +
         std::string("是否参与生产,是否参与采购,是否参与销售,组织类型,属性,是否允许负库存,是否与产品连接,不参与物料运算) values ( ") +
         std::to_string(id) + "," + text::Quote(code) + "," + text::Quote(Name()) + "," + text::Quote(text::Trim(Txt(2).Text())) + "," + Flag(6) + "," +
         std::to_string(level) + "," + Flag(7) + "," + Flag(3) + "," + Flag(0) + "," + Flag(2) + "," + Flag(1) + "," +
         std::to_string(m_OrgType) + "," + Attribute() + "," + Flag(5) + "," + Flag(4) + "," + Flag(8) + " ) ";
}

// Every save writes the level again, and the detail flag as the box shows it.
std::string BM::UpdateSql(int32_t id, const std::string& code) const {
  return "update kmdbm set 部门编码=" + text::Quote(code) + ",部门名称=" + text::Quote(Name()) + ",英文名称=" + text::Quote(text::Trim(Txt(2).Text())) +
         ",是否明细=" + Flag(6) + ",是否参与采购=" + Flag(2) + ",是否参与生产=" + Flag(0) + ",是否参与销售=" + Flag(1) +
         ",是否存放物品=" + Flag(3) + ",是否使用=" + Flag(7) + ",是否允许负库存=" + Flag(5) + ",是否与产品连接=" + Flag(4) +
         ",组织类型=" + std::to_string(m_OrgType) + ",属性=" + Attribute() + ",不参与物料运算=" + Flag(8) +
         ",级次=" + std::to_string(m_CodeRule->CodeLevel(code, m_Rule)) + " where 部门ID=" + std::to_string(id);
}

std::vector<std::string> BM::ParentBranchSql(const std::string& parent, int32_t) const {
  return {"update  kmdBM  set 是否明细= 0 where 部门编码 =" + text::Quote(parent) + ""};
}

// ---- Delete ----

std::string BM::DeleteCheckSql(int32_t id) const { return "select * from kmdbm where 部门ID=" + std::to_string(id); }

bool BM::IsCulterUse(int32_t id, bool& used) {
  std::string n = std::to_string(id);
  const std::string scans[] = {
      " SELECT DISTINCT 部门ID FROM KMDGY WHERE 部门ID=" + n,
      " SELECT DISTINCT 仓库ID FROM JXCDJMX WHERE 仓库ID=" + n + " OR 原仓库ID=" + n,
      " SELECT DISTINCT 部门ID FROM JXCDJ WHERE 部门ID=" + n + " OR 原仓库ID=" + n + " OR 仓库ID=" + n,
  };
  used = false;
  for (const auto& sql : scans) {
    // A row counts, even one whose value is Null.
    auto rs = ReadRows(sql);
    bool found = !rs->Eof();
    rs->Close();
    if (found) {
      used = true;
      return true;
    }
  }
  return true;
}

// A scan that could not be made has been reported and ends the command.
bool BM::InUse(int32_t id) {
  bool used = false;
  return !IsCulterUse(id, used) || used;
}

bool BM::IsCanDeleteInUse(int32_t id, const std::string&) {
  if (!InUse(id)) return true;
  MsgBox(" 该部门已启用,不能删除!", view::vbInformation, "提示：");
  return false;
}

void BM::DeleteDeclined() { RaiseMessage("取消了删除!"); }

int32_t BM::GetID() { return Value(text::Val(lblID->Caption())).ToLong(); }

}  // namespace kmd
