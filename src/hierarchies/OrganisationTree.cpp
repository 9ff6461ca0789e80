#include "hierarchies/OrganisationTree.h"

#include "base/Text.h"

namespace kmd::OrganisationTree {

namespace {

// By 组织类型 1 to 4.
const char* const kRoots[] = {"管理部门", "公司仓库", "生产车间", "其他部门"};

std::string LoadSql(int32_t filter) {
  if (filter < 1) return "select 部门编码,部门名称,部门ID,组织类型 from kmdbm order by 级次,部门编码";
  return "select 部门编码,部门名称,部门ID,组织类型 from kmdbm where 组织类型=" + std::to_string(filter) +
         " order by 级次,部门编码";
}

void AddRoots(cTreeView& tv, int32_t filter) {
  for (int32_t kind = 1; kind <= 4; ++kind)
    if (filter < 1 || filter == kind)
      tv.NodeAdd({}, view::tvwFirst, "R" + std::to_string(kind), RootText(kind), Value(1), Value(2), Value(kind));
}

// A first-level unit goes under the root of its kind, a deeper one under its parent's node.
void AddUnit(cTreeView& tv, db::Recordset& rs, const ICodeRule& codeRule, const std::string& rule,
             const Report& report) {
  std::string code = text::Trim(Str(rs, "部门编码"));
  std::string name = Str(rs, "部门名称");
  if (text::Len(code) != static_cast<size_t>(codeRule.LevelLength(1, rule))) {
    // A parent comes before its children by the load's order; a missing parent leaves it out.
    tv.NodeAdd(NodeRef("k" + codeRule.ParentCode(code, rule)), view::tvwChild, "k" + code, code + "  " + name,
               Value(), Value(), rs.Fields("部门ID"));
    return;
  }
  auto* tree = tv.ctrl();
  auto root = tree->FindKey("R" + Str(rs, "组织类型"));
  if (!root) {
    // Under a filter the load reads one kind only, so this is a unit of a kind that has no root.
    report("组织类型不明(" + Str(rs, "组织类型") + ")，未能显示单位：" + code + "  " + name);
    return;
  }
  tree->Add(root, view::tvwChild, "k" + code, code + "  " + name, Value("stb"), Value("szk"));
  tree->Item("k" + code)->Tag = rs.Fields("部门ID");
}

}  // namespace

std::string RootText(int32_t kind) { return kind >= 1 && kind <= 4 ? kRoots[kind - 1] : ""; }

std::string FirstRootKey(int32_t filter) { return filter < 1 ? "R1" : "R" + std::to_string(filter); }

bool Load(cTreeView& tv, db::IDatabase& db, const ICodeRule& codeRule, const std::string& rule, int32_t filter,
          const Report& report) {
  tv.ClearTreeView();
  AddRoots(tv, filter);
  auto rs = db.CreateCommand(LoadSql(filter), 1)->OpenRecordset();
  std::string err = db.LastError().Description();
  if (!err.empty()) {
    tv.Redraw(true);
    report(err);
    return false;
  }
  while (!rs->Eof()) {
    AddUnit(tv, *rs, codeRule, rule, report);
    rs->MoveNext();
  }
  rs->Close();
  // Every kind opens alike, whatever its units' depth made visible while they were added.
  for (const auto& root : tv.ctrl()->Roots()) root->SetExpanded(true);
  return true;
}

}  // namespace kmd::OrganisationTree
