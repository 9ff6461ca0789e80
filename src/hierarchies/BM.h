#pragma once
#include "hierarchies/CodedHierarchy.h"

namespace kmd {

// The company organisation (kmdbm): departments, warehouses, workshops and other units in one
// coded table, each tree under the root of its kind (组织类型 1 to 4: "R1" to "R4"). A unit carries
// flags for stock, production, purchasing and sales, and a warehouse its attribute. A unit that
// employees or stock documents refer to takes no child and is not deleted. The parameter "k" of
// the program's line shows one kind alone; a unit is not saved while no kind is chosen.
class BM : public CodedHierarchy {
 public:
  explicit BM(view::Platform& platform);

  bool Refresh() override;
  bool FileEdit() override;
  bool FileSave() override;
  // The numeric value of the internal-id label.
  int32_t GetID() override;

 protected:
  bool InitSettings() override;
  bool LoadTree() override;
  void SelectAfterLoad() override;
  void m_Tv_Selected(const NodePtr& node) override;
  std::string UpdateScreenSql(int32_t id) const override;
  void ShowRecord(db::Recordset& rs) override;
  bool IsCanAddChild(const std::string& code) override;
  void OnNewRecord(bool child) override;
  bool IsCanSaveMember() override;
  std::vector<SaveCheck> SaveChecks(bool isNew, const std::string& id, const std::string& code,
                                    const std::string& name) override;
  std::string DetailCheckSql(const std::string& id) const override;
  std::string InsertSql(int32_t id, const std::string& code, int level) const override;
  std::string UpdateSql(int32_t id, const std::string& code) const override;
  std::vector<std::string> ParentBranchSql(const std::string& parent, int32_t newId) const override;
  std::string DeleteCheckSql(int32_t id) const override;
  bool IsCanDeleteInUse(int32_t id, const std::string& code) override;
  void DeleteDeclined() override;

 private:
  // Takes the kind of the unit in hand and names the code and name captions after it; any other
  // kind than 1 to 4 leaves the captions at "****", which refuses a save.
  void SetOrgType(int32_t kind);
  // Scans employees, document lines and document heads for the unit. False when a statement
  // failed; `used` is set when a row was found.
  bool IsCulterUse(int32_t id, bool& used);
  bool InUse(int32_t id);
  view::CheckBox* AddCheck(int index, const std::string& caption);
  std::string Flag(int index) const { return std::to_string(Chk(index).GetValue()); }
  std::string Attribute() const;

  int32_t m_OrgFilter = -1;  // the kind this page shows; below 1 for all
  int32_t m_OrgType = 0;     // the kind of the unit in hand
  view::Label* lblID = nullptr;
  view::Label* lblNb = nullptr;
  view::TextField* qnTxt = nullptr;
  view::Control* m_WarehouseFrame = nullptr;  // Fra(1)
  view::ControlArray<view::Label> lblType;
  view::ControlArray<view::TextField> Txt;
  view::ControlArray<view::CheckBox> Chk;
};

}  // namespace kmd
