#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Work centres (KMDGZZX): a flat dictionary with a workshop lookup and five capacity figures,
// each written as the numeric value of its text. The name is required and unique, the code is
// free; a centre whose 是否系统 is 1 or -1 is not deleted.
class GZZX : public FlatDictionary {
 public:
  explicit GZZX(view::Platform& platform);

 protected:
  std::vector<std::pair<view::TextField*, std::string>> RequiredFields() override;
  std::string UpdateScreenSql(int32_t id) const override;
  void ShowRecord(db::Recordset& rs, int32_t id) override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id) override;
  std::string SystemRowSql(int32_t id) const override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;

 private:
  // The numeric value of the field's text (qnT(2): of its id) as a statement writes it.
  std::string Number(int index) const;
};

}  // namespace kmd
