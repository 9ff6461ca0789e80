#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Education levels (KMDWHCD): a name without a code; the tree shows the name. A system row is
// refused for deletion in silence, and the update puts the id in quotes.
class WHCD : public FlatDictionary {
 public:
  explicit WHCD(view::Platform& platform);

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
