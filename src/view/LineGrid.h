#pragma once
#include <functional>
#include <string>
#include <vector>

#include "base/Value.h"
#include "view/Grid.h"
#include "view/Widgets.h"

namespace kmd::view {

// The settings of one column of a LineGrid. A form writes them at set-up; the grid itself acts on
// Editable, Visible, the lookup (HasLookup, LookupSql, IdField, NameField, LookupKey,
// LookupMessage), Format, Alignment and the colours, and keeps the others as written.
struct GridColumn {
  bool Editable = true;
  bool Marked = false;
  bool HasLookup = false;
  int Kind = 1;  // 4 numbering, 7 number
  int LookupKind = 0;
  bool LookupFlag = false;
  int LookupMode = 0;
  int ItemSize = 1;
  std::string LookupKey;
  std::string LookupMessage;  // the box of a typed text that finds no row
  std::string IdField;        // the looked-up row's column that the cell holds as its id
  std::string NameField;      // the looked-up row's column that the cell shows
  std::string LookupSql;      // every "@" stands for the typed text
  int ListWidth = 0;          // width of the lookup's list, twips
  int Alignment = 0;
  bool Visible = true;
  std::string Format;       // number format, as ColFormat wrote it
  int32_t BackColor = -1;   // -1: the grid's own colour
  int32_t ForeColor = -1;
};

// The editable line grid qnGrid: a Grid whose data rows the user types into, with an id held
// beside the text of each lookup cell and a settings object per column. Column 0 numbers the
// data rows by itself. Setting cells from the program raises nothing; the user's actions (User*)
// raise the grid's events, which the form answers:
//   RowDeleting(row, allow)    before a row goes; it goes when the form sets allow
//   RowAdded()                 after the user appended a row
//   CanAddRow(col, allow)      before the user appends one; allow starts true
//   CellLookup(probe, row, col) a lookup cell's typed text: `probe` is a reference field set up
//                              from the column, holding the text, for the host to resolve
//   CellKey(probe, key, row, col) the lookup key in a lookup cell: the host's browse window fills
//                              `probe`
//   CellChanged(row, col)      a cell took typed or looked-up text
class LineGrid : public Grid {
 public:
  explicit LineGrid(std::string name, int index = -1);

  void SetRows(int rows) override;
  void SetCols(int cols) override;
  // The grid inside, for its Rows and FixedRows.
  Grid& Inner() { return *this; }

  // Off during a mass change; the hosts draw the grid again when it is set back on.
  bool Redraw = true;
  // A second switch that the forms write at set-up; the grid keeps it.
  bool Option2 = true;
  // Whether the user may change cells, append and delete rows.
  bool Editable = true;

  // "行号|顺序号  |...": the titles (trimmed) go into row 0, each column as wide as its piece,
  // blanks included.
  void SetFormatString(const std::string& format);
  const std::string& FormatString() const { return m_FormatString; }
  void SetColFormat(int col, std::string format);
  // The column's settings; throws RuntimeError outside the grid.
  GridColumn& Col(int col);
  const GridColumn& Col(int col) const;

  // The last row with text in a cell outside column 0; FixedRows - 1 when there is none.
  int LastDataRow() const;
  // The cell's text, or with `text` false the id a lookup cell holds beside it ("" for none).
  std::string GetCell(int row, int col, bool text = true) const;
  const Value& CellId(int row, int col) const;
  void SetCell(int row, int col, std::string text);
  void SetCell(int row, int col, std::string text, Value id);
  // Empties every cell's text and id below the titles; the rows stay.
  void ClearGrid();

  std::function<void(int row, bool& allow)> RowDeleting;
  std::function<void()> RowAdded;
  std::function<void(int col, bool& allow)> CanAddRow;
  std::function<void(TextField& probe, int row, int col)> CellLookup;
  std::function<void(TextField& probe, const std::string& key, int row, int col)> CellKey;
  std::function<void(int row, int col)> CellChanged;

  // Whether the user can change the cell now: the grid is enabled and editable, the cell a data
  // cell of an editable, visible column.
  bool CellOpen(int row, int col) const;
  // The user types `text` into a cell: the cell takes it (a lookup cell loses its id), then
  // CellChanged. A cell that is not open ignores it.
  void UserType(int row, int col, const std::string& text);
  // The user types `text` into a lookup cell and leaves it: CellLookup resolves it. A row found
  // gives the cell its text and id, blank text empties both, and a text that finds no row is
  // refused (the host shows the column's message) and the cell keeps what it held. A cell that
  // took a text raises CellChanged. A plain cell takes the text as UserType does.
  void UserLookup(int row, int col, const std::string& text);
  // The lookup key in a lookup cell: CellKey; a row taken fills the cell, then CellChanged.
  void UserBrowse(int row, int col);
  // Appends a row when CanAddRow allows it, then RowAdded.
  void UserAddRow();
  // Removes the row when RowDeleting allows it; only while editable.
  void UserDeleteRow(int row);

  static constexpr int kTwipsPerColumn = 120;  // a format string's character, a CJK one counts 2

 private:
  void Renumber();
  // A reference field set up from the column's lookup, holding the cell's text.
  void SetUpProbe(TextField& probe, int row, int col) const;

  std::string m_FormatString;
  std::vector<GridColumn> m_Columns;
  std::vector<std::vector<Value>> m_Ids;
  int m_Col = 1;  // the current column
};

}  // namespace kmd::view
