#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Bill types (KMDBillType): the tree shows the name; a system row can be neither edited nor
// deleted. Duplicates are found rows, the update puts the id in quotes.
class BillType : public FlatDictionary {
 public:
  explicit BillType(view::Platform& platform);

 protected:
  std::string UpdateScreenSql(int32_t id) const override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id) override;
  std::string SystemRowSql(int32_t id) const override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;
};

}  // namespace kmd
