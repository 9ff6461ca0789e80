#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Job titles (KMDZW): number and title; the internal id stands in the label Lbl. Duplicates count
// on New and find a row on Edit; a system title is refused with a box that names it.
class ZW : public FlatDictionary {
 public:
  explicit ZW(view::Platform& platform);

 protected:
  std::string UpdateScreenSql(int32_t id) const override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id) override;
  std::string SystemRowSql(int32_t id) const override;
  void RefuseSystemRow() override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;
};

}  // namespace kmd
