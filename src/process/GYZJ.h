#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// The quality check items of the process operations (KMDGYZJ): a flat dictionary on a two-level
// tree, the operations of KMDSR ("k" + 工艺ID) and their items under them ("W" + 项目ID). lbl holds
// the operation in hand, Lb2 (not shown) the kind of the selected node, qnT(2) the item's id, which
// tells New from Edit. The item's name is unique over the whole table and its remark is required.
class GYZJ : public FlatDictionary {
 public:
  explicit GYZJ(view::Platform& platform);

  bool FileNew() override;
  bool FileEdit() override;

 protected:
  bool LoadNodes(db::IDatabase& db) override;
  void m_Tv_Selected(const NodePtr& node) override;
  int32_t EditingId() const override;
  std::vector<std::pair<view::TextField*, std::string>> RequiredFields() override;
  std::string UpdateScreenSql(int32_t id) const override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id) override;
  void ShowNewId(int32_t id) override;
  NodePtr AddNewNode(int32_t id) override;
  // An operation's node is refused before the item's own tests.
  bool IsCanDelete() override;
  std::string SystemRowSql(int32_t id) const override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;

 private:
  view::Label* lbl = nullptr;
  view::Label* Lb2 = nullptr;
};

}  // namespace kmd
