#pragma once
#include <string>
#include <utility>
#include <vector>

#include "db/Recordset.h"
#include "frame/Form.h"

namespace kmd {

// The skeleton that every flat dictionary shares: one table of coded records under a single tree
// root "ROOT", a child "k"+id per row, and the edit cycle of the unit-of-measure form. A member
// sets its data in its constructor and overrides the few routines where it differs; the defaults
// are the unit-of-measure form's behaviour.
class FlatDictionary : public Form {
 public:
  FlatDictionary(std::string className, view::Platform& platform);

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
  // The frame's states, less what the member lacks: Find, FindNext, the moves.
  CommandStates Commands() override;

 protected:
  // ---- The member's data. ----
  std::string m_RootText;         // text of the root node
  std::string m_LoadSql;          // the statement of Refresh
  std::string m_RecordTable;      // the table of the records, as the load names it
  std::string m_IdColumn;         // key column
  std::string m_CodeColumn;       // code column, "" when the form has none
  std::string m_NameColumn;       // name column
  bool m_NodeShowsCode = true;    // node text "code  name", else the name alone
  std::string m_NodeSeparator = "  ";  // between code and name in a node's text
  std::string m_FieldArray = "qnT";    // the name of the text fields' control array
  std::string m_SelectErrorText = "选择时发生错误,原因：";  // a selection's run-time error
  std::string m_ReadErrorPrefix = "数据库操作错误，原因：";  // before a failed record read's text
  std::string m_ShowErrorText = "更新屏幕时出错，原因：";     // a record read's run-time error
  std::string m_LoadErrorPrefix;  // put before the description of a failed load
  bool m_HasFind = true;
  bool m_HasFindNext = true;
  bool m_HasMovement = true;
  bool m_SelectionHandler = true;  // the selection traps its own run-time errors
  bool m_DeleteInTransaction = true;
  std::string m_DeleteErrorText = "删除时出错，请检查,原因:";
  Refusal m_NothingSelected{Refusal::Report, "", 0, "提示：", kSelection};
  Refusal m_RootSelected{Refusal::Report, "根节点不能删除，请检查后重试!", 0, "提示：", kSelection};
  std::string m_EditNothingSelected = "无选择项目,不能进行编辑!";
  // Where set, an update saved with no node selected reports this text (level 8, the form's
  // title) instead of failing on the missing node.
  std::string m_RenameNothingSelected;
  // The generic IsCanSave: boxes for an empty code (forms with a code column) and name, and the
  // icon of the boxes of SaveChecks.
  std::string m_EmptyCodeText;
  std::string m_EmptyNameText;
  int m_DuplicateStyle = view::vbInformation;
  // The generic IsCanDelete refuses a system row this way.
  Refusal m_SystemRowRefusal{Refusal::Report, "", 0, "提示：", kSelection};
  // Where set (text not empty), the generic IsCanEdit refuses a system row this way.
  Refusal m_EditSystemRowRefusal{Refusal::Box, "", view::vbInformation, "提示:", kSelection};
  // Where set (text not empty), the generic IsCanDelete refuses a record it does not find this way
  // (else that is a run-time error), and FileDelete leaves the missing record to it.
  Refusal m_MissingRowRefusal{Refusal::Report, "", 0, "提示：", kFailure};
  // 是否系统 marks a system row by its absolute value 1, so -1 as well.
  bool m_SystemByMagnitude = false;
  // A failed delete statement takes the error path: rolled back and reported with
  // m_DeleteErrorText.
  bool m_DeleteChecksStatement = false;
  // The id label's caption when the selected node's record is not found.
  std::string m_MissingIdCaption;

  // Controls every member has: qnT fields and, except where a form has none, the id label.
  view::ControlArray<view::TextField> qnT;
  view::Label* m_IdLabel = nullptr;

  // One test of the generic IsCanSave: the statement, the box it gives and the field it focuses.
  struct SaveCheck {
    std::string sql;
    std::string text;
    view::TextField* focus = nullptr;
    bool byRow = false;      // a found row is a hit, else a count above 0
    bool mustFind = false;   // refused when nothing is found (the edited record has gone)
  };

  // ---- The member's routines. ----
  // Adds the nodes below the root from the database; false after a reported failure. By default
  // one node under "ROOT" per row of m_LoadSql.
  virtual bool LoadNodes(db::IDatabase& db);
  // The fields that must not be empty, each with its box, in order; by default the code (where
  // the form has a code column) and the name with m_EmptyCodeText and m_EmptyNameText.
  virtual std::vector<std::pair<view::TextField*, std::string>> RequiredFields();
  // After an insert: shows the new id (the id label) and adds the record's node, by default under
  // "ROOT"; null when the node could not be added.
  virtual void ShowNewId(int32_t id);
  virtual NodePtr AddNewNode(int32_t id);
  virtual std::string UpdateScreenSql(int32_t id) const = 0;
  // Fills the fields from the record (a row is there); by default the columns of AddColumnField.
  virtual void ShowRecord(db::Recordset& rs, int32_t id);
  // By default: the empty-field boxes, then SaveChecks in order; the first hit refuses.
  virtual bool IsCanSave();
  // The duplicate tests of a save; `id` is the edited record's id, "0" or less on New.
  virtual std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id);
  // By default: a system row (IsSystemRecord) is refused by RefuseSystemRow.
  virtual bool IsCanDelete();
  // The selected record's node for a delete; nothing selected or the root is refused through
  // m_NothingSelected or m_RootSelected and gives nullptr.
  NodePtr NodeToDelete();
  // The statement that reads 是否系统 of the record `id`.
  virtual std::string SystemRowSql(int32_t /*id*/) const { return ""; }
  // 是否系统 of the record is 1; a missing record is a run-time error.
  virtual bool IsSystemRecord(int32_t id);
  // A value of 是否系统 that marks a system row (1, or -1 as well with m_SystemByMagnitude).
  bool IsSystemFlag(double flag) const;
  virtual void RefuseSystemRow() { Refuse(m_SystemRowRefusal); }
  // A rule that may refuse to open the selected record for editing: by default none, or a system
  // row where m_EditSystemRowRefusal is set.
  virtual bool IsCanEdit();
  virtual void NewId(int32_t& id) = 0;
  virtual std::string InsertSql(int32_t id) const = 0;
  virtual std::string UpdateSql(int32_t id) const = 0;
  virtual std::vector<std::string> DeleteSql() const = 0;
  // The journal line of a delete, "" for none.
  virtual std::string DeleteJournal(const std::string& /*nodeText*/) const { return ""; }
  // Selection of a node: the family rule (root or nothing: m_ID 0; else load and show the id).
  virtual void m_Tv_Selected(const NodePtr& node);
  void RestoreSelected(const NodePtr& node) override { m_Tv_Selected(node); }
  // Loads the record into the fields; a record not found, or not read, leaves the form showing
  // none (ShowNoRecord).
  virtual void UpdateScreen(int32_t id);
  // Empty fields and no id: the selected node's record is not there.
  void ShowNoRecord();
  int32_t SavingRecordId() const override { return EditingId(); }
  // The id the save and the delete check work on: the id label's number, or m_ID without one.
  virtual int32_t EditingId() const;

  // ---- Helpers for the members' rules. ----
  // Adds a qnT field with its caption; its typing sets m_IsDirty.
  view::TextField* AddField(int index, const std::string& caption);
  // Adds a qnT field captioned and filled by `column`.
  view::TextField* AddColumnField(int index, const std::string& column);
  // Adds the id label with the caption label beside it.
  void AddIdLabel(const std::string& name, int index, const std::string& caption);
  // Box when the field is empty; true when it refused.
  bool RefuseEmpty(view::TextField& field, const std::string& text, int style = view::vbInformation,
                   const std::string& title = "提示：");
  // True when the statement finds a duplicate: a count above 0, or any row when `byRow`.
  bool Taken(const std::string& sql, bool byRow = false);
  // A duplicate box, then the focus to the field (when one is given).
  void RefuseDuplicate(const std::string& text, view::TextField* focus, int style = view::vbExclamation,
                       const std::string& title = "提示：");
  std::string Code() const;  // trimmed qnT(0)
  std::string Name() const;  // trimmed name field
  // The field that holds the name (qnT(1), or qnT(0) where there is no code column).
  view::TextField& NameField() const;
  std::string NodeText(std::string_view code, std::string_view name) const;

  void InitProperties();

 private:
  std::vector<std::pair<int, std::string>> m_ShownColumns;  // qnT index, column
};

}  // namespace kmd
