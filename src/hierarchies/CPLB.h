#pragma once
#include "hierarchies/CodedHierarchy.h"

namespace kmd {

// Product categories (kmdcplb): the tree the product catalogue files its products under, each
// category tied to a stock subject (pushed down to its descendants on every save) and to a
// receivables and a payables subject. Products always sit in a leaf: a new child of a category in
// use takes its products after a question, and deleting the only child of a parent moves its
// products up. The parameter "k" of the program's line restricts the tree to some stock subjects;
// a category whose ancestors are hidden by it still shows them, named after itself.
class CPLB : public CodedHierarchy {
 public:
  explicit CPLB(view::Platform& platform);

 protected:
  bool InitSettings() override;
  std::string LoadSql() const override;
  std::string UpdateScreenSql(int32_t id) const override;
  void ShowRecord(db::Recordset& rs) override;
  bool IsCanAddChild(const std::string& code) override;
  bool IsCanSaveMember() override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                    const std::string& name) override;
  std::string DetailCheckSql(const std::string& id) const override;
  std::string InsertSql(int32_t id, const std::string& code, int level) const override;
  std::string UpdateSql(int32_t id, const std::string& code) const override;
  std::vector<std::string> ParentBranchSql(const std::string& parent, int32_t newId) const override;
  void AfterWrite(bool isNew, int32_t id, const std::string& code) override;
  std::string DeleteCheckSql(int32_t id) const override;
  bool IsCanDeleteInUse(int32_t id, const std::string& code) override;
  std::string ChildCountSql(const std::string& parent) const override;
  std::vector<std::string> ParentLeafSql(const std::string& parent, int32_t id) const override;

 private:
  // The stock subject's code as the statements write it, and a subject id field as a number.
  std::string StockSubject() const;
  static std::string SubjectId(const view::TextField& field);
  // The name of a subject found by the statement, "" when there is none.
  std::string SubjectName(const std::string& sql);

  std::string m_KmFilter;  // quoted stock subject codes the page is restricted to; "" for all
  view::ControlArray<view::Label> lbl;
  view::ControlArray<view::TextField> qnT;
};

}  // namespace kmd
