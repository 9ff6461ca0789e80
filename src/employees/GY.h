#pragma once
#include <string>
#include <vector>

#include "frame/Form.h"
#include "hierarchies/CodeRule.h"

namespace kmd {

// The staff file (kmdgy). The tree shows the company's units (kmdbm, read only here) under the
// roots of their kinds, as the organisation form shows them, and under the units their employees
// ("W" and the id). An employee stands only in a leaf unit; number and name are each unique.
// Employees move between units by drag and drop once "允许拖动记录" is checked. The form's one
// tool, "autobm", proposes the number after the last one saved for the next new employee.
class GY : public Form, public IFormToolUI {
 public:
  explicit GY(view::Platform& platform);

  // The filter "k" of the program's line (one kind of unit; -1 all), the code rule of the units,
  // and the tool "autobm", off.
  bool Init(IFormContext* context, int32_t programId, int32_t recordId) override;
  // Units first, then the employees under their units; the first root is selected.
  bool Refresh() override;
  // A new employee in the selected unit, or in the selected employee's unit; only a leaf unit
  // takes one. The tool, when on, proposes the number.
  bool FileNew() override;
  bool FileNewNext() override { return FileNew(); }
  bool FileEdit() override;
  bool FileSave() override;
  bool FileCancel() override;
  bool FileDelete() override;
  bool Find(const Value& v) override;
  bool FindNext() override;
  bool RecordPrevious() override;
  bool RecordNext() override;

  // IFormToolUI
  const std::vector<ToolEntry>& Tools() override { return m_Tools; }
  bool Action(const std::string& key) override;

  // The number after `code`: "" when its leading number is 0 (a code that starts with a letter,
  // or zeros alone); otherwise the part from its first digit 1 to 9 on counts up by one.
  static std::string NextCode(const std::string& code);

 protected:
  int32_t SavingRecordId() const override;
  void RestoreSelected(const NodePtr& node) override { m_Tv_Selected(node); }

 private:
  void m_Tv_Selected(const NodePtr& node);
  void UpdateScreen(int32_t id);
  bool CanCreateEmployee();
  bool IsCanSave();
  // The date of a box as the statements write it: "#date#" on a Jet database, a quoted literal
  // elsewhere; an empty box is "1900-01-01".
  std::string DateLiteral(const view::TextField& box, bool jet) const;
  std::string LookupId(int index) const;
  std::string Field(int index) const;
  std::string InsertSql(int32_t id, int gender, bool jet) const;
  std::string UpdateSql(int32_t id, int gender, bool jet) const;
  // The drag: its log line while it goes on, the move and its log line on the drop.
  void m_Tv_Dragging(const NodePtr& source, const NodePtr& target);
  void m_Tv_Dropped(const NodePtr& source, const NodePtr& target);
  // Moves an employee's node under a leaf unit and writes the unit to the employee's row.
  void MoveEmployee(const NodePtr& sourceNode, NodePtr targetParent);
  static char KeyKind(const NodePtr& node);
  ToolEntry* AutoNumber();

  std::string m_NextNumber;  // the number proposed for the next new employee
  int32_t m_OrgFilter = -1;  // the kind of unit this page shows; below 1 all
  std::string m_Rule;
  ICodeRule m_CodeRule;
  std::vector<ToolEntry> m_Tools;

  view::ControlArray<view::Label> Labe;
  view::ControlArray<view::TextField> qnT;
  view::ControlArray<view::OptionButton> Opt;
  view::CheckBox* Chk = nullptr;
};

}  // namespace kmd
