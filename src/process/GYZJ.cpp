#include "process/GYZJ.h"

#include "base/Text.h"

namespace kmd {

namespace {

std::string Kind(const NodePtr& node) { return node ? text::Left(node->Key(), 1) : ""; }

}  // namespace

GYZJ::GYZJ(view::Platform& platform) : FlatDictionary("GYZJ", platform) {
  m_Title = "工艺质检";
  m_RootText = "工艺质检";
  m_IdColumn = "项目ID";
  m_RecordTable = "kmdgyzj";
  m_NameColumn = "质检项目";
  m_NodeShowsCode = false;
  m_ReturnsDirty = false;
  m_PrintMessage = false;
  m_RaisesFormRefreshed = true;
  m_NothingSelected = {Refusal::Report, "没有选定工艺质检项目，请检查后重试!", 0, "提示：", kFailure};
  m_RootSelected = {Refusal::Box, "不能删除根节点，请检查后重试!", view::vbInformation, "提示："};
  m_RenameNothingSelected = "没有选中对象";
  m_MissingRowRefusal = {Refusal::Report, "没有找到指定的删除项目,请刷新数据后重试！", 0, "提示：", kFailure};
  m_SystemRowRefusal = {Refusal::Report, "不能删除系统设置的工艺质检项目,请检查后重试!", 0, "提示：", kFailure};
  m_SystemByMagnitude = true;
  m_DeleteChecksStatement = true;

  CreateTree();
  m_Controls.Add<view::Label>("Lab", -1, "工艺质检设置");
  AddColumnField(0, "质检项目");
  AddColumnField(1, "说明");
  // The item's id and system flag are shown, never typed.
  AddColumnField(2, "项目ID")->Locked = true;
  AddColumnField(3, "是否系统")->Locked = true;
  m_Controls.Add<view::Label>("Label1", -1, "工艺ID：");
  lbl = m_Controls.Add<view::Label>("lbl", -1);
  Lb2 = m_Controls.Add<view::Label>("Lb2", -1);
  Lb2->SetVisible(false);
  CreateSplitter();
  InitProperties();
}

// The operations under the root, then each item under its operation; an item whose operation is
// gone finds no node to go under and is left out.
bool GYZJ::LoadNodes(db::IDatabase& db) {
  auto open = [&](const std::string& sql) {
    auto rs = db.CreateCommand(sql, 1)->OpenRecordset();
    std::string err = db.LastError().Description();
    if (!err.empty()) RaiseErrMessage(err, kFailure, m_Title);
    return err.empty() ? rs : nullptr;
  };
  auto operations = open("select * from kmdsr order by 编号");
  if (!operations) return false;
  for (; !operations->Eof(); operations->MoveNext()) {
    Value id = operations->Fields("工艺ID");
    m_Tv->NodeAdd(NodeRef("ROOT"), view::tvwChild, "k" + id.ToText(),
                  Str(*operations, "编号") + "  " + Str(*operations, "工艺名称"), Value(), Value(), id);
  }
  operations->Close();
  auto items = open(
      "SELECT dbo.KMDGYZJ.项目ID, dbo.KMDGYZJ.质检项目, dbo.KMDGYZJ.说明, dbo.KMDGYZJ.是否系统 , dbo.KMDGYZJ.工艺ID FROM "
      "dbo.KMDSR RIGHT OUTER JOIN dbo.KMDGYZJ ON dbo.KMDSR.工艺ID = dbo.KMDGYZJ.工艺ID");
  if (!items) return false;
  for (; !items->Eof(); items->MoveNext()) {
    Value id = items->Fields("项目ID");
    m_Tv->NodeAdd(NodeRef("k" + Str(*items, "工艺ID")), view::tvwChild, "W" + id.ToText(), Str(*items, "质检项目"),
                  Value(), Value(), id);
  }
  items->Close();
  return true;
}

void GYZJ::m_Tv_Selected(const NodePtr& node) {
  try {
    ClearFields();
    const std::string kind = Kind(node);
    if (kind == "W") {
      m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
      UpdateScreen(m_ID);
      Lb2->SetCaption("W");
      lbl->SetCaption(node->Parent()->Tag.ToText());
    } else if (kind == "k") {
      Lb2->SetCaption("k");
      lbl->SetCaption(node->Tag.ToText());
    } else {
      Lb2->SetCaption("");
      lbl->SetCaption("");
    }
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("选择时发生错误,原因：") + e.what(), kFailure, m_Title);
  }
}

int32_t GYZJ::EditingId() const { return Value(text::Val(qnT(2).Text())).ToLong(); }

bool GYZJ::FileNew() {
  if (lbl->Caption().empty()) {
    MsgBox("请选择正确的工艺!", view::vbInformation, "提示：");
    return false;
  }
  ClearFields();
  SetEnabled(true);
  qnT(0).SetFocus();
  return true;
}

// An operation's own fields are edited in the operations form.
bool GYZJ::FileEdit() {
  if (EditingId() == 0 && Lb2->Caption() == "k") {
    MsgBox("请到工艺下编辑该项目", view::vbInformation, "提示：");
    return false;
  }
  return FlatDictionary::FileEdit();
}

// The remark is required here, unlike in the other dictionaries.
std::vector<std::pair<view::TextField*, std::string>> GYZJ::RequiredFields() {
  return {{&qnT(0), "没有具体的质检项目名称,请录入!"}, {&qnT(1), "没有具体的说明,请录入!"}};
}

std::string GYZJ::UpdateScreenSql(int32_t id) const { return "SELECT * FROM kmdgyzj WHERE 项目id=" + std::to_string(id); }

// An item's name is unique over the table, not only under its operation.
std::vector<FlatDictionary::SaveCheck> GYZJ::SaveChecks(bool isNew, const std::string& id) {
  const std::string taken = "质检项目名称重复,请检查!";
  if (isNew) return {{" Select * From KMDgyzj Where 质检项目=" + text::Quote(Name()) + " ", taken, nullptr, true}};
  return {{" Select  * From KMDgyzj Where 项目ID <> " + id + " and 质检项目=" + text::Quote(Name()), taken, nullptr, true}};
}

void GYZJ::ShowNewId(int32_t id) { qnT(2).SetText(std::to_string(id)); }

// A new item goes under the operation in hand: the selected operation, or the selected item's.
NodePtr GYZJ::AddNewNode(int32_t id) {
  auto selected = Tree()->SelectedItem();
  if (!selected) return nullptr;
  NodePtr operation = Kind(selected) == "k" ? selected : selected->Parent();
  auto node = m_Tv->NodeAdd(operation, view::tvwChild, "W" + std::to_string(id), NameField().Text());
  if (!node) return nullptr;
  node->Tag = Value(id);
  Lb2->SetCaption("k");
  return node;
}

bool GYZJ::IsCanDelete() {
  if (Kind(Tree()->SelectedItem()) == "k") {
    RaiseErrMessage("不能删除工艺名称，请检查后重试！", kFailure, "错误：");
    return false;
  }
  return FlatDictionary::IsCanDelete();
}

std::string GYZJ::SystemRowSql(int32_t id) const {
  return " Select 是否系统 From KMDgyzj Where 项目ID = " + std::to_string(id);
}

void GYZJ::NewId(int32_t& id) { m_IdAllocator->NextId("kmdgyzj", "项目ID", id); }

std::string GYZJ::InsertSql(int32_t id) const {
  return "insert into kmdgyzj (项目ID,质检项目,说明,工艺ID) values ( " + std::to_string(id) + "," + text::Quote(Name()) +
         "," + text::Quote(text::Trim(qnT(1).Text())) + "," + std::to_string(Value(text::Val(lbl->Caption())).ToLong()) +
         ")";
}

std::string GYZJ::UpdateSql(int32_t id) const {
  return "update kmdgyzj set 质检项目=" + text::Quote(Name()) + ", 说明 = " + text::Quote(text::Trim(qnT(1).Text())) +
         " where 项目ID=" + std::to_string(id);
}

std::vector<std::string> GYZJ::DeleteSql() const {
  return {"delete from kmdgyzj where 项目id=" + std::to_string(m_ID)};
}

}  // namespace kmd
