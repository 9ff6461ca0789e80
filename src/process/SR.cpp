#include "process/SR.h"

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "frame/Settings.h"
#include "hierarchies/CodeLevels.h"

namespace kmd {

namespace {

const char* const kNotDetail = "不能删除非明细级的对象，请检查后重试!";

[[noreturn]] void NotSet() { throw RuntimeError("Object variable or With block variable not set"); }

}  // namespace

SR::SR(view::Platform& platform) : Form("SR", platform) {
  m_Title = "工艺";
  m_RaisesFormRefreshed = false;

  CreateTree();
  m_Controls.Add<view::Label>("Label1", -1, "工艺设置");
  const char* captions[] = {"编号", "简称", "工艺名称", "工艺性质", "工时类型", "生产车间", "备注"};
  for (int i = 0; i < 7; ++i) {
    auto* f = m_Controls.Add<view::TextField>("qnT", i, captions[i]);
    f->Change = [this] { m_IsDirty = true; };
    qnT.Set(i, f);
  }
  SetReference(qnT(5), "生产车间输入有误，请重新输入！", "部门ID", "部门名称",
               "Select 部门编码,部门名称,部门ID From KMDBM where (部门编码 = '@' or 部门名称 = '@')", "gy_CJ");
  m_Controls.Add<view::Label>("Label2", -1, "工艺ID：");
  lbl = m_Controls.Add<view::Label>("lbl", -1);
  Chk.Set(2, m_Controls.Add<view::CheckBox>("Chk", 2, "允许拖动记录"));
  CreateSplitter();

  SetRecordSource("kmdsr", "工艺ID");
  m_Tv->Selected = [this](const NodePtr& node) { m_Tv_Selected(node); };
  Chk(2).Click = [this] { m_Tv->DragEnabled = Chk(2).GetValue() == 1; };
  m_Tv->Dragging = [this](const NodePtr&, const NodePtr&) { Tree()->DragIcon = "DRAGICON"; };
  m_Tv->Dropped = [this](const NodePtr& source, const NodePtr& target) { MoveRecord(source, target); };
  SetEnabled(false);
}

bool SR::Init(IFormContext* context, int32_t programId, int32_t recordId) {
  if (!Form::Init(context, programId, recordId)) return false;
  m_Rule = ReadCodeRule(Context(), Value("srbm"));
  return true;
}

// ---- Helpers ----

void SR::SetEnabled(bool editing) {
  Form::SetEnabled(editing);
  Chk(2).SetEnabled(true);
}

void SR::ClearFields() {
  int drag = Chk(2).GetValue();
  Form::ClearFields();
  Chk(2).SetValue(drag);
}

bool SR::RollBack(const std::shared_ptr<db::IDatabase>& db, const std::string& report) {
  try {
    if (db && db->InTrans()) db->RollbackTrans();
  } catch (const std::exception&) {
  }
  RaiseErrMessage(report, kFailure, m_Title);
  return false;
}

bool SR::IsOperation(const NodePtr& node) { return node && text::Left(node->Key(), 1) == "m"; }

bool SR::HasRow(const std::string& sql) {
  auto rs = ReadRows(sql);
  bool found = !rs->Eof();
  rs->Close();
  return found;
}

int32_t SR::LabelId() const { return Value(text::Val(lbl->Caption())).ToLong(); }

std::string SR::Field(int index) const { return text::Trim(qnT(index).Text()); }

// ---- Load and selection ----

bool SR::LoadCategories(db::IDatabase& db) {
  auto rs = db.CreateCommand("select * from KMDSRLB  order by 级次,类别编码", 1)->OpenRecordset();
  if (std::string err = db.LastError().Description(); !err.empty()) {
    RaiseErrMessage(err, kFailure, m_Title);
    return false;
  }
  for (; !rs->Eof(); rs->MoveNext())
    AddCodeLevels(*m_Tv, m_CodeRule, m_Rule, text::Trim(Str(*rs, "类别编码")), Str(*rs, "类别名称"), rs->Fields("类别ID"));
  rs->Close();
  return true;
}

bool SR::LoadOperations(db::IDatabase& db) {
  auto rs = db.CreateCommand(
                  "select kmdsr.* , kmdsrlb.类别编码 from kmdsr left join kmdsrlb on kmdsr.类别ID = kmdsrlb.类别ID order "
                  "by 类别编码,编号",
                  1)
                ->OpenRecordset();
  if (std::string err = db.LastError().Description(); !err.empty()) {
    RaiseErrMessage(err, kFailure, m_Title);
    return false;
  }
  for (; !rs->Eof(); rs->MoveNext()) {
    // A category that is gone gives no code: the key is then "k" alone, the root.
    std::string parent = text::Val(Str(*rs, "类别ID")) != 0 ? "k" + Str(*rs, "类别编码") : "k";
    Value id = rs->Fields("工艺ID");
    m_Tv->NodeAdd(NodeRef(parent), view::tvwChild, "m" + id.ToText(), Str(*rs, "编号") + "  " + Str(*rs, "工艺名称"),
                  Value(), Value(), id);
  }
  rs->Close();
  return true;
}

bool SR::Refresh() {
  try {
    m_Tv->ClearTreeView();
    m_Tv->NodeAdd({}, -1, "k", "所有的工艺");
    auto db = Database();
    if (!LoadCategories(*db) || !LoadOperations(*db)) return false;
    Tree()->SetSelectedItem(Tree()->FindKey("k"));
    m_Tv->ReSelectItem(nullptr);
    m_IsDirty = false;
    db->ResetState();
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("刷新数据时出错：") + e.what(), kFailure, m_Title);
    return false;
  }
}

void SR::m_Tv_Selected(const NodePtr& node) {
  try {
    ClearFields();
    if (!node || !node->Parent()) return;
    m_ID = m_ValueHelper->ToLong(node->Tag);
    UpdateScreen(m_ID);
    lbl->SetCaption(std::to_string(m_ID));
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("选择时发生错误,原因：") + e.what(), kFailure, m_Title);
  }
}

void SR::UpdateScreen(int32_t id) {
  std::shared_ptr<db::IDatabase> db;
  try {
    db = Database();
    auto rs = db->CreateCommand(
                    "SELECT dbo.KMDBM.部门名称 AS 生产车间, dbo.KMDSR.* FROM dbo.KMDSR LEFT OUTER JOIN dbo.KMDBM ON "
                    "dbo.KMDSR.车间ID = dbo.KMDBM.部门ID  WHERE (dbo.KMDSR.工艺ID = " +
                        std::to_string(id) + ")",
                    1)
                  ->OpenRecordset();
    std::string err = db->LastError().Description();
    if (!err.empty() || rs->Eof()) {
      // No record: no id, and the commands that need one refuse.
      ClearFields();
      m_RecordMissing = true;
      if (!err.empty()) RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, m_Title);
      return;
    }
    KeepFingerprint(id);
    const char* columns[] = {"编号", "简称", "工艺名称", "工艺性质", "工时类型"};
    for (int i = 0; i < 5; ++i) qnT(i).SetText(Str(*rs, columns[i]));
    qnT(6).SetText(Str(*rs, "备注"));
    lbl->SetCaption(Str(*rs, "工艺ID"));
    qnT(5).SetValue(rs->Fields("车间ID"));
    qnT(5).SetText(Str(*rs, "生产车间"));
    rs->Close();
    db->ResetState();
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("更新屏幕时出错，原因：") + e.what(), kFailure, m_Title);
    if (db) db->ResetState();
  }
}

// ---- New, edit, save ----

bool SR::IsCanNew() {
  if (Tree()->SelectedItem()) return true;
  MsgBox("没有选择项目,不能进行新建!   ", view::vbInformation, "提示：");
  return false;
}

bool SR::FileNew() {
  if (!IsCanNew()) return false;
  ClearFields();
  lbl->SetCaption("0");
  SetEnabled(true);
  qnT(0).SetFocus();
  return true;
}

// The refusals speak of deleting: they are the delete path's words.
bool SR::FileEdit() {
  auto node = Tree()->SelectedItem();
  if (!node) {
    MsgBox("没有选择需要删除的对象！", view::vbInformation, kAppTitle);
    return false;
  }
  if (!IsOperation(node)) {
    MsgBox(kNotDetail, view::vbInformation, kAppTitle);
    return false;
  }
  if (!m_Tv->IsSelected()) {
    MsgBox("无选择项目,不能进行编辑!", view::vbInformation, "提示：");
    return false;
  }
  if (RefuseMissingRecord()) return false;
  SetEnabled(true);
  qnT(0).SetFocus();
  return true;
}

bool SR::IsCanSave() {
  try {
    // The empty tests take the text as it stands: blanks pass them.
    if (qnT(0).Text().empty()) {
      MsgBox("没有具体的编号,请录入!", view::vbInformation, "提示：");
      return false;
    }
    if (qnT(2).Text().empty()) {
      MsgBox("没有具体的工艺名称,请录入!", view::vbInformation, "提示：");
      return false;
    }
    struct Check {
      std::string sql, text;
      view::TextField* focus;
    };
    std::vector<Check> checks;
    const std::string code = Field(0), shortName = Field(1), name = Field(2);
    const int32_t id = LabelId();
    if (id <= 0) {
      checks.push_back({" Select * From kmdsr Where 编号=" + text::Quote(code) + " ", "编号重复,请检查!", nullptr});
      if (!shortName.empty())
        checks.push_back({" Select  * From kmdsr Where 简称=" + text::Quote(shortName), "简称重复,请检查!", &qnT(1)});
      checks.push_back({" Select  * From kmdsr Where 工艺名称=" + text::Quote(name), "工艺名称重复,请检查!", &qnT(2)});
    } else {
      const std::string other = std::to_string(id);
      checks.push_back({" Select  * From kmdsr Where 工艺ID <> " + other + " and 编号=" + text::Quote(code),
                        "编号重复,请检查!", &qnT(0)});
      if (!shortName.empty())
        checks.push_back({" Select * From kmdsr Where 工艺ID <> " + other + " and 简称=" + text::Quote(shortName) + " ",
                          "简称重复,请检查!", &qnT(1)});
      checks.push_back({" Select * From kmdsr Where 工艺ID <> " + other + " and 工艺名称=" + text::Quote(name) + " ",
                        "工艺名称重复,请检查!", &qnT(2)});
    }
    for (const auto& check : checks) {
      if (!HasRow(check.sql)) continue;
      MsgBox(check.text, view::vbInformation, "提示：");
      if (check.focus) m_FormHelper->SetFocusTo(*check.focus);
      return false;
    }
    return true;
  } catch (const std::exception& e) {
    RaiseErrMessage(std::string("Cansave中出错，原因：") + e.what(), kFailure, m_Title);
    return false;
  }
}

bool SR::FileSave() {
  std::shared_ptr<db::IDatabase> db;
  try {
    if (!IsCanSave()) return false;
    // The category: an operation's parent, else the selected node itself (the root gives 0).
    auto selected = Tree()->SelectedItem();
    if (!selected) NotSet();
    NodePtr category = IsOperation(selected) ? selected->Parent() : selected;
    const std::string categoryKey = category->Key();
    const std::string categoryId = std::to_string(m_ValueHelper->ToLong(category->Tag));
    const std::string workshop = text::FormatNumber(text::Val(qnT(5).GetValue().ToText()));
    int32_t id = LabelId();
    const bool isNew = id <= 0;
    std::string sql;
    if (isNew) {
      m_IdAllocator->NextId("kmdsr", "工艺ID", id);
      // The workshop's id is quoted here and not in the update.
      sql = "insert into kmdsr (工艺ID,编号,简称,工艺名称,工艺性质,工时类型,车间ID,备注,类别ID) values ( " +
            std::to_string(id) + ",";
      for (int i = 0; i < 5; ++i) sql += text::Quote(Field(i)) + ",";
      sql += text::Quote(workshop) + "," + text::Quote(Field(6)) + "," + categoryId + ") ";
    } else {
      sql = "update kmdsr set 编号 = " + text::Quote(Field(0)) + ",简称=" + text::Quote(Field(1)) +
            ",工艺名称 =" + text::Quote(Field(2)) + ",工艺性质 =" + text::Quote(Field(3)) +
            ",工时类型 =" + text::Quote(Field(4)) + ",车间ID =" + workshop + ",类别ID =" + categoryId +
            ",备注=" + text::Quote(Field(6)) + "  where 工艺ID=" + text::Quote(std::to_string(id));
    }
    db = Database();
    db->BeginTrans();
    db->CreateCommand(sql, 1)->Execute();
    if (std::string err = db->LastError().Description(); !err.empty()) {
      db->RollbackTrans();
      RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, m_Title);
      return false;
    }
    db->CommitTrans();
    const std::string text = Field(0) + "  " + Field(2);
    if (isNew) {
      lbl->SetCaption(std::to_string(id));
      auto node = m_Tv->NodeAdd(NodeRef(categoryKey), view::tvwChild, "m" + std::to_string(id), text);
      if (!node) NotSet();
      node->Tag = Value(id);
      node->SetSelected(true);
      node->EnsureVisible();
    } else {
      selected->Text = text;
      selected->EnsureVisible();
    }
    m_Tv->ReSelectItem(nullptr);
    SetEnabled(false);
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    return RollBack(db, std::string("save中出错，原因：") + e.what());
  }
}

bool SR::FileCancel() {
  m_Tv->ReSelectItem(nullptr);
  SetEnabled(false);
  m_IsDirty = false;
  return true;
}

// ---- Delete ----

// Only quality check items hold an operation; route lines that use it do not.
bool SR::IsCanDelete(const NodePtr& node) {
  if (!IsOperation(node)) {
    MsgBox(kNotDetail, view::vbInformation, kAppTitle);
    return false;
  }
  if (RefuseMissingRecord()) return false;
  if (!HasRow(" Select * From kmdgyzj Where 工艺ID=" + std::to_string(LabelId()))) return true;
  MsgBox("不能删除已经启用的工艺!", view::vbInformation, "提示：");
  return false;
}

bool SR::FileDelete() {
  std::shared_ptr<db::IDatabase> db;
  try {
    if (!m_Tv->IsSelected()) {
      MsgBox("无选择项目,不能进行删除!   ", view::vbInformation, "提示：");
      return false;
    }
    auto node = Tree()->SelectedItem();
    if (!node->Parent()) {
      MsgBox("不能删除根节点!   ", view::vbExclamation, "提示：");
      return false;
    }
    if (!IsCanDelete(node)) return false;
    if (MsgBox("是否删除当前记录:" + node->Text, view::vbYesNo | view::vbQuestion, "提示:") == view::vbYes) {
      db = Database();
      db->BeginTrans();
      db->CreateCommand("delete from kmdsr where 工艺id=" + std::to_string(m_ID), 1)->Execute();
      db->CommitTrans();
      m_Tv->NodeDelete(node, true);
      m_Tv->ReSelectItem(nullptr);
    }
    m_IsDirty = false;
    return true;
  } catch (const std::exception& e) {
    return RollBack(db, std::string("删除时出错，请检查,原因:") + e.what());
  }
}

// ---- Drag ----

void SR::MoveRecord(const NodePtr& source, const NodePtr& target) {
  auto letter = [](const NodePtr& node) { return text::Left(node->Key(), 1); };
  if (!source->Parent()) {
    RaiseErrMessage("不能移动根节点", kSelection, "提示：");
    return;
  }
  if (letter(source) == "k") {
    RaiseErrMessage("不能移动分类节点!", kSelection, "提示：");
    return;
  }
  if (letter(target) != "k") {
    RaiseErrMessage("不能移动到明细级的节点下，请检查后再试!", kSelection, "提示：");
    return;
  }
  if (!target->Parent()) {
    RaiseMessage("不能将[" + source->Text + "]移到根节点下");
    return;
  }
  // No node of this form has a "w" key; the step stays harmless.
  NodePtr dest = letter(target) == "w" ? target->Parent() : target;
  if (source->Parent()->Text == dest->Text) {
    RaiseMessage("相同的父节点间，不能移动");
    return;
  }
  if (dest->Children() > 0 && letter(dest->Child()) == "k") {
    m_FormHelper->ShowMessage("", "", "不能将[" + source->Text + "]移到[" + dest->Text + "]下(非明细级产品类别)",
                              view::vbExclamation, "提示：");
    Tree()->SetFocus();
    return;
  }
  if (MsgBox("是否将[" + source->Text + "]移到[" + dest->Text + "]下？", view::vbYesNo | view::vbInformation, "提示：") !=
      view::vbYes) {
    Tree()->SetFocus();
    return;
  }
  if (m_Tv->IsParentNode(dest, source)) return;
  if (!m_Tv->NodeMove(dest, source, true)) return;
  // No transaction and no look at the result: a failure leaves the node moved until a Refresh.
  Database()
      ->CreateCommand("update kmdsr set 类别ID = " + std::to_string(m_ValueHelper->ToLong(dest->Tag)) +
                          " where 工艺ID =" + std::to_string(m_ValueHelper->ToLong(source->Tag)),
                      1)
      ->Execute();
}

// ---- Find and movement ----

bool SR::Find(const Value&) {
  m_FindText = "";
  NodePtr found;
  m_Tv->NodeFind(found, m_FindText, "", true);
  return true;
}

bool SR::FindNext() {
  FindNextNode();
  return true;
}

bool SR::RecordPrevious() {
  m_Tv->MoveNodePrevious();
  return true;
}

bool SR::RecordNext() {
  m_Tv->MoveNodeNext();
  return true;
}

}  // namespace kmd
