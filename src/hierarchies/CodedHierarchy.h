#pragma once
#include <memory>
#include <string>
#include <vector>

#include "db/Recordset.h"
#include "frame/Form.h"
#include "hierarchies/CodeRule.h"

namespace kmd {

// The skeleton of the forms whose records make a tree by segmented codes, in one table without a
// parent column: a record's parent is the record whose code is its code less the last segment.
// The mechanism loads the tree by level and code, shows a record as its parent code and its own
// segment, adds records on the same level or one level down (the parent then stops being a leaf),
// keeps the code of a record with children, and deletes a leaf in a transaction that turns a parent
// left without children back into a leaf. A member sets its table, words and controls in its
// constructor and overrides the routines where it differs.
//
// Requires: the member's constructor creates the tree (CreateTree), sets the four working controls
// (m_IdLabel, m_ParentLabel, m_SegmentBox, m_NameBox) and calls InitProperties.
class CodedHierarchy : public Form {
 public:
  CodedHierarchy(std::string className, view::Platform& platform);

  bool Init(IFormContext* context, int32_t programId, int32_t recordId) override;
  bool Refresh() override;
  bool FileNew() override;
  bool FileNewNext() override;
  bool FileEdit() override;
  bool FileSave() override;
  bool FileDelete() override;
  bool FileCancel() override;
  bool Find(const Value& v) override;
  bool FindNext() override;
  bool RecordPrevious() override;
  bool RecordNext() override;
  std::string Attributes(int32_t index) override { return index == 0 ? "True" : ""; }
  // The frame's states and, in browse, a child under the selected node (or a first level under a
  // root); FindNext where the member has it.
  CommandStates Commands() override;
  // The parent code label before the segment box.
  const view::Control* PrefixOf(const view::Control& c) const override {
    return &c == m_SegmentBox ? m_ParentLabel : nullptr;
  }

 protected:
  // One duplicate test of a save: a row found by `sql` refuses with a box. Where `foundColumn` is
  // set, the box reads text + that column of the found row + textAfter.
  struct SaveCheck {
    std::string sql;
    std::string text;
    view::Control* focus = nullptr;
    std::string foundColumn = {};
    std::string textAfter = {};
    int style = view::vbInformation;
    std::string title = "提示：";
  };

  // What a failed statement of a delete does after its report.
  enum class DeleteFailure {
    Rollback,        // report, then the error path: roll back and report the failure
    RollbackAtOnce,  // the error path alone
    LeaveOpen,       // report and end the command; the transaction stays open
  };

  // ---- The member's data. ----
  std::string m_Table;       // as written in the id allocation and the default statements
  std::string m_IdColumn;
  std::string m_CodeColumn;
  std::string m_NameColumn;
  Value m_RuleKey;           // key of the code rule in the options of module 12
  std::string m_RuleGap = "  ";  // after each group of stars in the rule display
  std::string m_RuleJournal;     // Init reports this and the rule (level 1) when set
  std::string m_RootKey = "ROOT";
  std::string m_RootText;
  std::string m_LoadSql;
  // The load adds every missing ancestor of a record, named after the record that needs it;
  // otherwise a record whose parent is missing is left out.
  bool m_LoadFillsGaps = false;
  int m_LevelLimit = 0;  // FileNewNext refuses from this level of the shown code on; 0: none
  bool m_HasFindNext = true;
  std::string m_EmptyNameText;
  Refusal m_NonDetailRefusal{Refusal::Box, "不能修改非明细级编码,请检查!", view::vbOKOnly, ""};
  Refusal m_DeleteNothingSelected{Refusal::Box, "无选择项目,不能进行删除!   ", view::vbInformation, "提示："};
  Refusal m_DeleteRoot{Refusal::Report, "根节点不能删除，请检查后重试!", 0, "提示：", kSelection};
  Refusal m_SystemRefusal;  // a system record is not deleted
  Refusal m_BranchRefusal;  // a record with children is not deleted
  std::string m_DeleteJournal;  // the journal line of a delete, before the id
  int32_t m_DeleteFailLevel = kJournal;
  DeleteFailure m_OnDeleteFailure = DeleteFailure::Rollback;
  DeleteFailure m_OnFlagFailure = DeleteFailure::Rollback;
  // A run-time error inside a delete rolls back and reports; without it, the error leaves the form.
  bool m_DeleteHasErrorPath = true;

  // The four working controls and the rule display (may stay null).
  view::Label* m_IdLabel = nullptr;
  view::Label* m_ParentLabel = nullptr;
  view::TextField* m_SegmentBox = nullptr;
  view::TextField* m_NameBox = nullptr;
  view::Label* m_RuleLabel = nullptr;

  std::string m_Rule;
  std::unique_ptr<ICodeRule> m_CodeRule;
  int32_t m_ProgramId = 0;

  // ---- The member's routines. ----
  // After the frame's Init: by default reads the rule (ReadRule) and reports m_RuleJournal.
  virtual bool InitSettings();
  // Empties the tree and adds the roots and the records; a failed read is reported (level 8, the
  // description) and gives false. By default: AddRoots, then LoadRecord for each row of LoadSql.
  virtual bool LoadTree();
  virtual std::string LoadSql() const { return m_LoadSql; }
  // The root node or nodes of a fresh tree.
  virtual void AddRoots();
  // Adds the node or nodes of the current row of the load.
  virtual void LoadRecord(db::Recordset& rs);
  // The node a first-level record goes under, by key.
  virtual std::string FirstLevelParentKey(db::Recordset& /*rs*/) const { return m_RootKey; }
  // After the rows are in: selects the root, except after a load that fills gaps.
  virtual void SelectAfterLoad();
  virtual void m_Tv_Selected(const NodePtr& node);
  void RestoreSelected(const NodePtr& node) override { m_Tv_Selected(node); }
  // Empties the fields for another record (ClearFields, or the helper's ClearControls).
  virtual void ClearEditFields() { ClearFields(); }
  virtual std::string UpdateScreenSql(int32_t id) const = 0;
  // Loads the record into the fields; a record not found, or not read, leaves the form showing
  // none (ShowNoRecord).
  virtual void UpdateScreen(int32_t id);
  // Empty fields, no id and no parent code: the selected node's record is not there.
  void ShowNoRecord();
  int32_t SavingRecordId() const override { return EditingId(); }
  // The member's columns beyond code and name; the current row is the record.
  virtual void ShowRecord(db::Recordset& /*rs*/) {}
  // The code of a node's text: up to its first blank, trimmed; "" for a root or no node.
  virtual std::string CutCode(const NodePtr& node) const;
  // The in-use guard of a new child under `code` ("" under the root); false ends FileNewNext.
  virtual bool IsCanAddChild(const std::string& /*code*/) { return true; }
  // After FileNew (child false) or FileNewNext (child true) has cleared and unlocked the fields.
  virtual void OnNewRecord(bool /*child*/) {}
  virtual bool IsCanSave();
  // The member's checks between the name and the duplicates; a refusal has shown its box.
  virtual bool IsCanSaveMember() { return true; }
  virtual std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                            const std::string& name) = 0;
  // Reads the record by id for the check that a record with children keeps its code.
  virtual std::string DetailCheckSql(const std::string& id) const = 0;
  virtual std::string InsertSql(int32_t id, const std::string& code, int level) const = 0;
  virtual std::string UpdateSql(int32_t id, const std::string& code) const = 0;
  // Run before the insert of a first child under `parent`; results not looked at.
  virtual std::vector<std::string> ParentBranchSql(const std::string& parent, int32_t newId) const;
  // After a save was written.
  virtual void AfterWrite(bool /*isNew*/, int32_t /*id*/, const std::string& /*code*/) {}
  // Reads the record by id for the delete guard.
  virtual std::string DeleteCheckSql(int32_t id) const = 0;
  // The delete guard: a missing record passes; a system record and one with children are
  // refused; then IsCanDeleteInUse.
  virtual bool IsCanDelete(int32_t id, const std::string& code);
  virtual bool IsCanDeleteInUse(int32_t /*id*/, const std::string& /*code*/) { return true; }
  virtual std::string DeleteSql(int32_t id) const;
  // Counts the parent's remaining descendants; `parent` is the parent code label as it stands.
  virtual std::string ChildCountSql(const std::string& parent) const;
  // Run when the parent has no child left.
  virtual std::vector<std::string> ParentLeafSql(const std::string& parent, int32_t id) const;
  virtual std::string FlagFailureText(const std::string& parent, int32_t id, const std::string& description) const;
  // The question of a delete was not answered Yes.
  virtual void DeleteDeclined() {}

  // ---- Helpers. ----
  // The rule of the options (module 12, m_RuleKey), "22222" when unset, and its display.
  void ReadRule();
  std::string RuleDisplay() const;
  std::string ParentText() const;  // trimmed parent code label
  std::string Segment() const;     // trimmed segment box
  std::string FullCode() const;    // ParentText() + Segment()
  std::string Name() const;        // trimmed name box
  int32_t EditingId() const;       // the id label's number
  // True when the statement gives a row.
  bool HasRow(const std::string& sql);
  // Adds a label, a text field or an option whose user input sets m_IsDirty.
  view::Label* AddLabel(const std::string& name, int index, const std::string& caption = "");
  view::TextField* AddField(const std::string& name, int index, const std::string& caption = "");
  view::Label* AddCaption(const std::string& caption);
  // Makes the record's node under `parent`: key "k" and the code, text code and name, tag id.
  NodePtr AddRecordNode(const NodeRef& parent, const std::string& code, std::string_view name, const Value& id);
  void InitProperties();

 private:
  bool Delete(const NodePtr& node);
  // A failed statement of a delete; true when the command ends here with `result` false.
  bool DeleteFailed(DeleteFailure mode, const std::string& report, const std::string& description);
  int m_CaptionCount = 0;
};

}  // namespace kmd
