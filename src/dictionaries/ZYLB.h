#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Employee categories (KMDZYLB), reporting under the title "职务". It has no search, no record
// movement and no print message; a system row is refused for deletion in silence, and the update
// puts the id in quotes.
class ZYLB : public FlatDictionary {
 public:
  explicit ZYLB(view::Platform& platform);

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
