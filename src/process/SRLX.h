#pragma once
#include "dictionaries/FlatDictionary.h"
#include "view/LineGrid.h"

namespace kmd {

// Process routes (KMDSRLX): a flat tree of routes, each with its lines (KMDSRLXMX) in the line
// grid qnGrid, one operation a line with its workshop, work centre, hours and the wage a unit of
// the route's product (pagzde). The product comes from the host's product picker. A save writes
// header, lines, wages and the product's 工艺路线ID in one transaction; a line deleted in the grid
// is deleted at once, in its own transaction.
class SRLX : public FlatDictionary {
 public:
  explicit SRLX(view::Platform& platform);

  // Sets up the grid from the settings of the context (decimals, the work-centre column).
  bool Init(IFormContext* context, int32_t programId, int32_t recordId) override;
  bool FileNew() override;
  bool FileSave() override;
  bool FileDelete() override;
  // Select the first and the last route.
  bool RecordTop() override;
  bool RecordBottom() override;

 protected:
  void SetEnabled(bool editing) override;
  void ClearFields() override;
  void m_Tv_Selected(const NodePtr& node) override;
  void UpdateScreen(int32_t id) override;
  bool IsCanSave() override;
  std::string UpdateScreenSql(int32_t id) const override;
  void NewId(int32_t& id) override;
  std::string InsertSql(int32_t id) const override;
  std::string UpdateSql(int32_t id) const override;
  std::vector<std::string> DeleteSql() const override;

 private:
  void SetUpGrid();
  void ShowLines(db::IDatabase& db, int32_t id, int32_t productId);
  // Gives each line up to the last one that has no sequence its place: "0010", "0020", ...
  void NumberLines();
  // The product field's request: the picker's match of the typed text, or its window.
  void PickProduct(bool typed);
  void ShowProduct(const PickerSelection& selection);
  void qnGrid_RowDeleting(int row, bool& allow);
  // The statements of one line and its wage; "" or the failed statement's error.
  std::string SaveLine(db::IDatabase& db, int row, int32_t routeId, double productId);
  // Runs one statement of the save; "" or its error.
  static std::string Exec(db::IDatabase& db, const std::string& sql);
  bool HasLine(int row) const { return !qnGrid->GetCell(row, 2).empty(); }
  int32_t ProductId() const;
  void SelectRoute(const NodePtr& node);

  view::ControlArray<view::CheckBox> Chk;
  view::Label* lblName = nullptr;
  view::LineGrid* qnGrid = nullptr;
};

}  // namespace kmd
