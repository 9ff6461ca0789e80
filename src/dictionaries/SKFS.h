#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Settlement methods (KMDSKFS): a mnemonic as the code, the tree shows the name. Duplicates are
// found rows; no FormRefreshed, IsDirty or FindNext.
class SKFS : public FlatDictionary {
 public:
  explicit SKFS(view::Platform& platform);

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
