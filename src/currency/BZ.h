#pragma once
#include "currency/Currency.h"
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Currencies (kmdbz): code, name, symbol and the default, buying and selling rates. Rows marked
// 是否系统 = 1 never show in the tree, yet count in the duplicate checks and cannot be deleted;
// the base currency of Option(12, 4) is refused by its code on save and by its name on delete.
// Enter, Up and Down in a field move the focus through the fields. There is no search and no
// record movement.
class BZ : public FlatDictionary {
 public:
  explicit BZ(view::Platform& platform);

  bool FileSave() override;
  bool FileDelete() override;

 protected:
  std::string UpdateScreenSql(int32_t id) const override;
  // Refusals at level 2 with the application's title and the focus on the field, in order: an
  // empty code or name, a code, name or (where given) symbol that another row holds, the base
  // currency's code.
  bool IsCanSave() override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;

 private:
  // Whether another part of the system uses the currency. Nothing here knows those tables: No.
  bool IsCulterUse(int32_t /*id*/) const { return false; }
  // The INSERT (a new id in `id`) or UPDATE in a transaction; a failed statement is reported and
  // gives false. Throws RuntimeError ("-->SaveData::" and the cause) on a run-time error.
  bool SaveData(int32_t& id);
  // The DELETE of a non-system row in a transaction; a failed statement is reported: false.
  bool DeleteData(int32_t id);
  void RefuseRule(const std::string& text, view::TextField& field);
  // A value that the check statement finds in another row.
  bool Held(const std::string& column, const std::string& value);
  std::string Rate(int index) const;

  void qnTxt_KeyPress(int& keyAscii);
  void qnTxt_KeyDown(int& keyCode, int shift);
};

}  // namespace kmd
