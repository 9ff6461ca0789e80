#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Items (KMDItem): code, name and remark, without an id label: m_ID alone tells New (0) from
// Edit, so one duplicate test serves both. A system row can be neither edited nor deleted; the
// delete runs without a transaction.
class Item : public FlatDictionary {
 public:
  explicit Item(view::Platform& platform);

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
