#include "base/Text.h"
#include "catalogue/CPML.h"

namespace kmd {

namespace {
const char* const kTitle = "产品目录";
const char* const kWaiting = "waiting";
// Six hundred nodes a second: the estimate the load shows before it starts.
constexpr double kRowsPerSecond = 600;
}  // namespace

int32_t CPML::MaxRows() {
  auto user = Context().User();
  if (user.SettingsApp.empty()) return 1000;
  return static_cast<int32_t>(text::Val(Context().UserSetting(user.SettingsApp, "settings", "cpml", "1000")));
}

std::string CPML::BaseQuery() const {
  std::string sql =
      "SELECT KMDCPML.产品ID, KMDCPML.物品编码,KMDCPML.物品名称,"
      "KMDCPML.产品类别ID , 'k'+KMDCPLB.类别编码 as 类别编码"
      " FROM KMDCPML "
      " INNER JOIN KMDCPLB ON KMDCPML.产品类别ID = KMDCPLB.类别ID";
  if (!m_Subjects.empty()) sql += " WHERE KMDCPLB.对应科目编号 IN (" + m_Subjects + ")";
  return sql;
}

// A category row makes its node and every missing node above it: a missing one takes the row's
// name and id behind its own code.
void CPML::AddCategory(db::Recordset& rs) {
  std::string code = text::Trim(rs.Fields("类别编码").ToText());
  std::string name = rs.Fields("类别名称").ToText();
  Value id = rs.Fields("类别ID");
  int level = m_CodeHelper.CodeLevel(code, m_CodeRule);
  for (int i = 1; i <= level; ++i) {
    std::string prefix = text::Left(code, static_cast<size_t>(m_CodeHelper.LevelLength(i, m_CodeRule)));
    if (Tree()->FindKey("k" + prefix)) continue;
    std::string parent = text::Left(code, static_cast<size_t>(m_CodeHelper.LevelLength(i - 1, m_CodeRule)));
    auto node = Tree()->Add(NodeRef("k" + parent), view::tvwChild, "k" + prefix, prefix + "  " + name, Value(1), Value(2));
    node->Tag = id;
  }
}

void CPML::AddProduct(std::string_view categoryKey, std::string code, std::string_view name, const Value& id,
                      const std::string& duplicateText, HeldMessages* held) {
  for (;;) {
    try {
      auto node = Tree()->Add(NodeRef(std::string(categoryKey)), view::tvwChild, text::Concat({"w", code}),
                              text::Concat({code, "  ", name}), Value(5));
      node->Tag = id;
      return;
    } catch (const RuntimeError& e) {
      if (e.Number() != view::kErrKeyNotUnique) throw;
      // A second product with the same code still shows, with "****" before its code.
      std::string message = duplicateText + code + "]有重复,加载的物品编码改为：[****" + code + "]";
      if (held)
        held->duplicates.push_back(std::move(message));
      else
        RaiseErrMessage(message, kJournalFailure, kTitle);
      code = "****" + code;
    }
  }
}

int32_t CPML::AddProducts(db::Recordset& rs, const std::string& duplicateText, HeldMessages* held) {
  // The columns are found once for all the rows.
  int category = rs.ColumnIndex("类别编码"), code = rs.ColumnIndex("物品编码"), name = rs.ColumnIndex("物品名称"),
      id = rs.ColumnIndex("产品ID");
  std::string categoryRoom, codeRoom, nameRoom;  // the texts of values that are no texts
  int32_t count = 0;
  for (; !rs.Eof(); rs.MoveNext()) {
    ++count;
    if (held && !held->failure.empty()) continue;
    try {
      AddProduct(rs.Fields(category).TextView(categoryRoom), std::string(rs.Fields(code).TextView(codeRoom)),
                 rs.Fields(name).TextView(nameRoom), rs.Fields(id), duplicateText, held);
    } catch (const RuntimeError& e) {
      if (!held) throw;
      held->failure = e.what();
    }
  }
  return count;
}

bool CPML::Refresh() {
  auto* tv = Tree();
  try {
    int32_t maxRows = MaxRows();
    m_Tv->ClearTreeView();
    auto root = tv->Add(NodeRef(), view::tvwLast, "k", "所有的" + m_CategoryName, Value(1));
    auto db = Database();
    std::string sql = m_Subjects.empty()
                          ? "select * from kmdcplb  order by 级次,类别编码"
                          : "select * from kmdcplb where 对应科目编号 IN (" + m_Subjects + ") order by 级次,类别编码";
    auto rs = db->CreateCommand(sql, 1)->OpenRecordset();
    if (std::string err = db->LastError().Description(); !err.empty()) {
      RaiseErrMessage(err, kFailure, kTitle);
      return false;
    }
    for (; !rs->Eof(); rs->MoveNext()) AddCategory(*rs);
    rs->Close();

    std::string base = BaseQuery();
    int32_t count = db->CreateCommand("SELECT Count(产品ID) From (" + base + ") a ", 1)->ExecuteScalar().ToLong();
    if (std::string err = db->LastError().Description(); !err.empty()) {
      RaiseErrMessage(err, kFailure, kTitle);
      return false;
    }
    if (count > maxRows) {
      // Too many to show at once: each category with products gets a placeholder, loaded on expansion.
      rs = db->CreateCommand(" select distinct 类别编码 FROM (" + base + ") a ORDER BY 类别编码 ", 1)->OpenForwardOnly();
      for (; !rs->Eof(); rs->MoveNext()) {
        auto node = tv->Add(NodeRef(rs->Fields("类别编码").ToText()), view::tvwChild, "", "正在加载数据中,请稍等...", Value(5));
        node->Tag = Value(kWaiting);
      }
    } else {
      tv->SetVisible(false);
      rs = db->CreateCommand(" SELECT 类别编码,物品编码,物品名称,产品ID FROM (" + base + ") a ORDER BY 类别编码, 物品编码 ", 1)
               ->OpenForwardOnly();
      AddProducts(*rs, "刷新数据时出错：物品编码[");
      tv->SetVisible(true);
    }
    rs->Close();
    root->SetExpanded(true);
    tv->SetSelectedItem(root);
    m_Tv->ReSelectItem(nullptr);
    m_IsDirty = false;
    RaiseFormRefreshed();
    return true;
  } catch (const RuntimeError& e) {
    RaiseErrMessage(std::string("刷新数据时出错：") + e.what(), kFailure, kTitle);
    return false;
  }
}

bool CPML::IsUnloaded(const NodePtr& node) const {
  auto first = node ? node->Child() : nullptr;
  return first && first->Tag.ToText() == kWaiting;
}

void CPML::m_Tv_Expand(const NodePtr& node) {
  auto* tv = Tree();
  try {
    if (!node) return;
    auto db = Database();
    std::string tag = node->Tag.ToText();
    if (IsUnloaded(node)) {
      tv->SetVisible(false);
      tv->Remove(node->Child());
      auto rs = db->CreateCommand("SELECT 'k'+类别编码 as 类别编码,物品编码,物品名称,产品ID"
                                  " FROM vtKMDCPMLX  WHERE 产品类别ID =" +
                                      tag + "  ORDER BY 物品编码 ",
                                  1)
                    ->OpenForwardOnly();
      if (std::string err = db->LastError().Description(); !err.empty()) {
        tv->SetVisible(true);
        RaiseErrMessage(err, kFailure, kTitle);
        return;
      }
      // The products are added while the driver reads the next rows, on a hidden tree. What the
      // user is told goes out once the rows are all read, in the form's order: the number of rows
      // and the time it may take, each duplicate code, a failure to add a product, the total.
      HeldMessages held;
      int32_t count = 0;
      try {
        count = AddProducts(*rs, "操作时出现错误：物品编码[", &held);
      } catch (const RuntimeError& e) {
        // The rows stopped coming: as when the statement fails, the category is left empty.
        while (auto child = node->Child()) tv->Remove(child);
        tv->SetVisible(true);
        RaiseErrMessage(e.what(), kFailure, kTitle);
        return;
      }
      rs->Close();
      RaiseMessage("正在加载记录，估计需要" + text::FormatNumber(text::RoundHalfEven(count / kRowsPerSecond)) +
                   "秒，请稍等...");
      for (const auto& message : held.duplicates) RaiseErrMessage(message, kJournalFailure, kTitle);
      if (!held.failure.empty()) throw RuntimeError(held.failure);
      RaiseMessage("共加载" + std::to_string(count) + "条记录");
      tv->SetVisible(true);
      return;
    }
    // A node without an id (the root) holds no products of its own.
    if (!text::IsNumeric(tag)) {
      RaiseMessage("");
      return;
    }
    int32_t count =
        db->CreateCommand("SELECT count(*) FROM vtKMDCPMLX  WHERE 产品类别ID =" + tag, 1)->ExecuteScalar().ToLong();
    RaiseMessage(count < 1 ? "" : "共加载" + std::to_string(count) + "条记录");
  } catch (const RuntimeError& e) {
    RaiseErrMessage(std::string("操作时出现错误：") + e.what(), kFailure, kTitle);
  }
}

void CPML::m_Tv_Selected(const NodePtr& node) {
  try {
    ClearFields();
    for (int i : {1, 0, 4}) lbl(i).SetCaption("");
    if (!node) return;
    std::string kind = text::LCase(text::Left(node->Key(), 1));
    if (kind == "r") {
      lbl(2).SetCaption("r");
      return;
    }
    if (kind == "w") {
      m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
      lbl(4).SetCaption(text::Trim(qnT(6).Text()));
      UpdateScreen(m_ID);
      lbl(2).SetCaption("w");
      RaiseProperty("产品ID", Value(m_ID), true);
    } else if (kind == "k") {
      if (text::Len(node->Key()) > 1) {
        m_ID = m_ValueHelper->ToNumber(node->Tag).ToLong();
        lbl(1).SetCaption(node->Tag.ToText());
        size_t blank = node->Text.find(' ');
        lbl(4).SetCaption(blank == std::string::npos ? "" : text::Trim(node->Text.substr(blank + 1)));
        lbl(2).SetCaption("k");
      } else {
        lbl(2).SetCaption("r");
      }
    }
  } catch (const RuntimeError& e) {
    RaiseErrMessage(std::string("选择类别时发生错误,原因：") + e.what(), kFailure, kTitle);
  }
}

bool CPML::Find(const Value&) {
  m_FindText.clear();
  NodePtr found;
  if (m_Tv->NodeFind(found, m_FindText, "", true)) return true;
  // Text that no statement may hold (a NUL byte, invalid UTF-8) names no product either.
  if (m_FindText.empty() || !text::IsStorableText(m_FindText)) return true;
  // Not in the tree: the product may sit in a category that is not loaded yet.
  std::string sql =
      "SELECT top 1 KMDCPLB.类别编码"
      " FROM KMDCPML "
      " INNER JOIN KMDCPLB ON KMDCPML.产品类别ID = KMDCPLB.类别ID";
  if (!m_Subjects.empty()) sql += " WHERE KMDCPLB.对应科目编号 IN (" + m_Subjects + ")";
  std::string like = text::Quote("%" + m_FindText + "%");
  sql += " and (物品编码 like " + like + " or 物品名称 like " + like + ") ORDER BY 类别编码,物品编码";
  std::string code = ReadValue(sql).ToText();
  if (code.empty()) return true;
  if (m_Tv->NodeFind(found, code, "", true)) {
    m_Tv_Expand(Tree()->SelectedItem());
    if (Tree()->Shown()) Tree()->SetFocus();
    std::string again = m_FindText;
    m_Tv->NodeFind(found, again, "", true);
  }
  return true;
}

bool CPML::FindNext() { return FindNextNode(); }

// ---- Dragging ----

void CPML::m_Tv_Dropped(const NodePtr& source, const NodePtr& target) {
  try {
    MoveProduct(source, target);
  } catch (const RuntimeError& e) {
    RaiseErrMessage(e.what(), kFailure, kTitle);
  }
}

void CPML::MoveProduct(NodePtr source, NodePtr target) {
  if (!source || !target) return;
  if (!source->Parent()) {
    RaiseErrMessage("不能移动根节点", kSelection, "提示：");
    return;
  }
  if (text::Left(source->Key(), 1) == "k") {
    RaiseErrMessage("不能移动分类节点!", kSelection, "提示：");
    return;
  }
  if (!target->Parent()) {
    RaiseMessage("不能将[" + source->Text + "]移到根节点下");
    return;
  }
  if (text::Left(target->Key(), 1) == "w") target = target->Parent();
  if (source->Parent()->Text == target->Text) {
    RaiseMessage("相同的父节点间，不能移动");
    return;
  }
  // Products sit in leaf categories only; a category without children passes whatever its flag.
  if (target->Children() > 0 && text::Left(target->Child()->Key(), 1) == "k") {
    m_FormHelper->ShowMessage("", "", "不能将[" + source->Text + "]移到[" + target->Text + "]下(非明细级产品类别)",
                              view::vbExclamation, "提示：");
    return;
  }
  if (MsgBox("是否将[" + source->Text + "]移到[" + target->Text + "]下？",
             view::vbYesNo | view::vbQuestion | view::vbDefaultButton2, "提示：") != view::vbYes)
    return;
  if (m_Tv->IsParentNode(target, source)) return;
  if (!m_Tv->NodeMove(target, source, true)) return;
  auto db = Database();
  db->CreateCommand("update kmdcpml set 产品类别ID = " + text::Quote(target->Tag.ToText()) + "  where 产品ID =" +
                        source->Tag.ToText(),
                    1)
      ->Execute();
  if (std::string err = db->LastError().Description(); !err.empty())
    RaiseErrMessage("数据库操作错误，原因：" + err, kFailure, kTitle);
}

}  // namespace kmd
