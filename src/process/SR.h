#pragma once
#include <string>

#include "db/Recordset.h"
#include "frame/Form.h"
#include "hierarchies/CodeRule.h"

namespace kmd {

// Process operations (KMDSR), filed in a tree under the process categories (KMDSRLB): category
// nodes "k" + code built level by level through the code rule Option(12, "srbm"), operation nodes
// "m" + id under their category, or under the root when they have none. An operation is edited in
// seven fields, one of them the workshop lookup; a user who ticks "允许拖动记录" may drag an
// operation into another leaf category. An operation with quality check items (KMDGYZJ) is not
// deleted.
class SR : public Form {
 public:
  explicit SR(view::Platform& platform);

  bool Init(IFormContext* context, int32_t programId, int32_t recordId) override;
  bool Refresh() override;
  bool FileNew() override;
  bool FileEdit() override;
  bool FileSave() override;
  bool FileDelete() override;
  bool FileCancel() override;
  bool Find(const Value& v) override;
  bool FindNext() override;
  bool RecordPrevious() override;
  bool RecordNext() override;

 protected:
  void RestoreSelected(const NodePtr& node) override { m_Tv_Selected(node); }
  int32_t SavingRecordId() const override { return LabelId(); }

 private:
  // Selection: any node below the root loads the operation whose id is the node's tag, so that a
  // category shows the operation that happens to share its id.
  void m_Tv_Selected(const NodePtr& node);
  void UpdateScreen(int32_t id);
  bool IsCanNew();
  bool IsCanSave();
  bool IsCanDelete(const NodePtr& node);
  // A drop of `source` on `target`: the checks in order, the question, then the move of the node
  // and of the row's category.
  void MoveRecord(const NodePtr& source, const NodePtr& target);
  // Locking and clearing leave the drag switch Chk(2) alone: it stays usable while the tree is
  // browsed, and only the user's click on it sets DragEnabled.
  void SetEnabled(bool editing);
  void ClearFields();

  bool LoadCategories(db::IDatabase& db);
  bool LoadOperations(db::IDatabase& db);
  // A run-time error of a save or delete: the form's transaction, if open, is rolled back and the
  // report raised at level 8; gives false.
  bool RollBack(const std::shared_ptr<db::IDatabase>& db, const std::string& report);
  static bool IsOperation(const NodePtr& node);
  bool HasRow(const std::string& sql);
  int32_t LabelId() const;          // the numeric value of lbl
  std::string Field(int index) const;  // trimmed qnT(index)

  view::ControlArray<view::TextField> qnT;
  view::Label* lbl = nullptr;
  view::ControlArray<view::CheckBox> Chk;
  std::string m_Rule;
  ICodeRule m_CodeRule;
};

}  // namespace kmd
