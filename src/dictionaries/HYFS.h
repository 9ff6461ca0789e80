#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Freight methods (KMDHYFS): a short name as the code, the tree shows the name. Duplicates are
// found rows, the update puts the id in quotes; no FormRefreshed, IsDirty or FindNext.
class HYFS : public FlatDictionary {
 public:
  explicit HYFS(view::Platform& platform);

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
