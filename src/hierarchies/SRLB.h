#pragma once
#include "hierarchies/CodedHierarchy.h"

namespace kmd {

// Process categories (KMDSRLB): the tree under which process operations are filed. A load that
// fills gaps in the codes, and no child or delete under a category that operations use.
class SRLB : public CodedHierarchy {
 public:
  explicit SRLB(view::Platform& platform);

 protected:
  std::string UpdateScreenSql(int32_t id) const override;
  void ShowRecord(db::Recordset& rs) override;
  bool IsCanAddChild(const std::string& code) override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                    const std::string& name) override;
  std::string DetailCheckSql(const std::string& id) const override;
  std::string InsertSql(int32_t id, const std::string& code, int level) const override;
  std::string UpdateSql(int32_t id, const std::string& code) const override;
  std::string DeleteCheckSql(int32_t id) const override;
  bool IsCanDeleteInUse(int32_t id, const std::string& code) override;
  std::string ChildCountSql(const std::string& parent) const override;

 private:
  std::string Remark() const;

  view::ControlArray<view::Label> lbl;
  view::ControlArray<view::TextField> qnT;
};

}  // namespace kmd
