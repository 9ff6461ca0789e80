#pragma once
#include "hierarchies/CodedHierarchy.h"

namespace kmd {

// Regions (kmddq): the plainest coded hierarchy, with a limit of five levels on new children.
class DQ : public CodedHierarchy {
 public:
  explicit DQ(view::Platform& platform);

 protected:
  std::string CutCode(const NodePtr& node) const override;
  std::string UpdateScreenSql(int32_t id) const override;
  void ShowRecord(db::Recordset& rs) override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                    const std::string& name) override;
  std::string DetailCheckSql(const std::string& id) const override;
  std::string InsertSql(int32_t id, const std::string& code, int level) const override;
  std::string UpdateSql(int32_t id, const std::string& code) const override;
  std::string DeleteCheckSql(int32_t id) const override;
  std::string DeleteSql(int32_t id) const override;
  std::string FlagFailureText(const std::string& parent, int32_t id, const std::string& description) const override;

 private:
  view::ControlArray<view::Label> lbl;
  view::ControlArray<view::TextField> qnT;
};

}  // namespace kmd
