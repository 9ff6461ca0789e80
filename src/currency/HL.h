#pragma once
#include "frame/Form.h"
#include "view/ListView.h"

namespace kmd {

// Daily exchange rates (kmdHLDay): one row per currency and date with the day's buying and
// selling rate, shown in the list lvdata (report view, in 汇率ID order) beside the fields. A click
// on a row shows it; the currency is a reference field over kmdbz whose symbol and code fill
// lblSign and Lblcode. Find searches the list itself, texts and sub-items, from the last hit on.
// Saves and deletes run in a transaction; reports carry the title "Kmd_Bz".
class HL : public Form {
 public:
  explicit HL(view::Platform& platform);

  bool Refresh() override;
  bool FileNew() override;
  bool FileEdit() override;
  bool FileSave() override;
  bool FileDelete() override;
  bool FileCancel() override;
  bool Find(const Value& v) override;
  bool FindNext() override;
  bool RecordPrevious() override { return Move(-1); }
  bool RecordNext() override { return Move(1); }

 protected:
  // The value of txtHlid: 0 for a new row.
  int32_t SavingRecordId() const override;

 private:
  // The click routine: the row's sub-items into the fields and labels, its id into m_ID.
  void lvdata_ItemClick(const view::ListItemPtr& item);
  // The currency field resolved to a row: its symbol and code into the labels.
  void ShowCurrency();
  // Empty fields, labels and id.
  void ClearRecord();
  bool IsCanSave();
  void RefuseRule(const std::string& text, view::TextField& field);
  // The INSERT (a new id in `id`) or UPDATE in a transaction, then the journal line. A failed id
  // or statement is reported and gives false; a run-time error is thrown on.
  bool SaveData(int32_t& id);
  bool DeleteData(int32_t id);
  bool IsCulterUse(int32_t /*id*/) const { return false; }
  // The search from the find position on; the hit becomes the position.
  void Search();
  // The row of the record in the fields: the selected one, unless a search has since selected
  // another; null when the list has none.
  view::ListItemPtr ShownItem() const;
  // One row up or down, staying at the ends, and the click routine on it.
  bool Move(int step);
  // The text and sub-items 1 to 8 of a row from the fields and labels; 9, the id, where asked.
  void WriteItem(view::ListItem& item, bool withId);
  std::string Number(const std::string& text) const;

  view::ControlArray<view::TextField> qnTxt;
  view::Label* lblSign = nullptr;
  view::Label* Lblcode = nullptr;
  view::Label* txtHlid = nullptr;
  view::ListView* lvdata = nullptr;
  view::ListItemPtr m_Remembered;  // the row FileCancel shows again
  int32_t m_FindPos = 0;           // 1-based index of the last hit, 0 before the first
};

}  // namespace kmd
