#pragma once
#include "dictionaries/XSY.h"

namespace kmd {

// Purchasers: the salesmen's form on 类型ID 2, with its own texts. A system row is reported
// through ErrMessage, no journal line is written, IsDirty stays False, there is no FindNext, and
// its outgoing interface numbers FormRefreshed before ErrMessage.
class CGY : public PersonDictionary {
 public:
  explicit CGY(view::Platform& platform);

  // Message 1, FormRefreshed 2, ErrMessage 3.
  int32_t EventNumber(FormEvent e) const override;

 protected:
  std::string SystemRowSql(int32_t id) const override;
  // A system row is one that the statement finds.
  bool IsSystemRecord(int32_t id) override;
  std::string UpdateSql(int32_t id) const override;
};

}  // namespace kmd
