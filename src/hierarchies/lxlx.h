#pragma once
#include "hierarchies/CodedHierarchy.h"

namespace kmd {

// Contact types (kmdlxlx): a basic kind (other, supplier, customer) that a first-level type passes
// down its branch, a page filter by kind, and no child or delete under a type that partners use.
class lxlx : public CodedHierarchy {
 public:
  explicit lxlx(view::Platform& platform);

 protected:
  bool InitSettings() override;
  std::string LoadSql() const override;
  void ClearEditFields() override { m_FormHelper->ClearControls(m_Controls); }
  std::string UpdateScreenSql(int32_t id) const override;
  void ShowRecord(db::Recordset& rs) override;
  bool IsCanAddChild(const std::string& code) override;
  void OnNewRecord(bool child) override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                    const std::string& name) override;
  std::string DetailCheckSql(const std::string& id) const override;
  std::string InsertSql(int32_t id, const std::string& code, int level) const override;
  std::string UpdateSql(int32_t id, const std::string& code) const override;
  void AfterWrite(bool isNew, int32_t id, const std::string& code) override;
  std::string DeleteCheckSql(int32_t id) const override;
  bool IsCanDeleteInUse(int32_t id, const std::string& code) override;

 private:
  // The kind chosen by the options: 2, 1 or 0.
  int Kind() const;
  // The frame and its options are usable only for a first-level type.
  void EnableKinds(bool enabled);
  bool IsUsedByPartners(const std::string& code);

  int m_KindFilter = -1;
  view::ControlArray<view::Label> lbl;
  view::ControlArray<view::TextField> qnT;
  view::ControlArray<view::OptionButton> Opt;
  view::Control* frameBase = nullptr;
};

}  // namespace kmd
