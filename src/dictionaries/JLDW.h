#pragma once
#include "dictionaries/FlatDictionary.h"

namespace kmd {

// Units of measure (KMDJLDW): the head of the flat dictionaries, with the system flag as two
// options and the only FileNewNext of the family.
class JLDW : public FlatDictionary {
 public:
  explicit JLDW(view::Platform& platform);

  bool FileNew() override;
  bool FileNewNext() override;

 protected:
  std::string UpdateScreenSql(int32_t id) const override;
  void ShowRecord(db::Recordset& rs, int32_t id) override;
  bool IsCanSave() override;
  bool IsCanDelete() override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;
  std::string DeleteJournal(const std::string& nodeText) const override;
  void m_Tv_Selected(const NodePtr& node) override;

 private:
  view::ControlArray<view::Label> lbl;
  view::ControlArray<view::OptionButton> Opt;
};

}  // namespace kmd
