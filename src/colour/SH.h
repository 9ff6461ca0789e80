#pragma once
#include "colour/ctrColorPicker.h"
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Colour numbers (kmdcolor): a code, a colour name and the colour itself, shown in Picture1 and
// saved from its BackColor as it reads (a system colour included). A click on the picture opens
// the picker; in edit mode the result goes into the picture.
class SH : public FlatDictionary {
 public:
  explicit SH(view::Platform& platform);

  // The picker of the form: the same as ctrColorPicker's.
  int32_t ShowColor(const std::string& title, int32_t colour);
  int32_t ReturnValue() const;

  bool FileDelete() override;

 protected:
  std::string UpdateScreenSql(int32_t id) const override;
  void ShowRecord(db::Recordset& rs, int32_t id) override;
  bool IsCanSave() override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id) override;
  bool IsCanDelete() override { return true; }
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;

 private:
  void Picture1_Click();

  view::PictureBox* Picture1 = nullptr;
  ctrColorPicker* ctrColorPicker1 = nullptr;
};

}  // namespace kmd
