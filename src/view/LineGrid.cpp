#include "view/LineGrid.h"

#include "base/Text.h"

namespace kmd::view {

LineGrid::LineGrid(std::string name, int index) : Grid(std::move(name), index, "qnGrid") {
  // The base set its first size before this grid's own storage existed.
  SetCols(Cols());
  SetRows(Rows());
}

void LineGrid::SetRows(int rows) {
  Grid::SetRows(rows);
  m_Ids.resize(static_cast<size_t>(Rows()), std::vector<Value>(static_cast<size_t>(Cols())));
  Renumber();
}

void LineGrid::SetCols(int cols) {
  Grid::SetCols(cols);
  m_Columns.resize(static_cast<size_t>(Cols()));
  for (auto& row : m_Ids) row.resize(static_cast<size_t>(Cols()));
  Renumber();
}

void LineGrid::Renumber() {
  if (Cols() == 0) return;
  for (int r = FixedRows; r < Rows(); ++r) SetTextMatrix(r, 0, std::to_string(r - FixedRows + 1));
}

void LineGrid::SetFormatString(const std::string& format) {
  m_FormatString = format;
  auto pieces = text::Split(format, '|');
  if (static_cast<int>(pieces.size()) > Cols()) SetCols(static_cast<int>(pieces.size()));
  for (size_t c = 0; c < pieces.size(); ++c) {
    int columns = 0;
    for (unsigned char ch : pieces[c])
      if (ch < 0x80) columns += 1;
      else if ((ch & 0xC0) != 0x80) columns += 2;  // the first byte of a wide character
    int col = static_cast<int>(c);
    if (FixedRows > 0) SetTextMatrix(0, col, text::Trim(pieces[c]));
    SetColWidth(col, columns * kTwipsPerColumn);
  }
}

void LineGrid::SetColFormat(int col, std::string format) { Col(col).Format = std::move(format); }

GridColumn& LineGrid::Col(int col) {
  if (col < 0 || col >= Cols()) throw RuntimeError("Subscript out of range");
  return m_Columns[static_cast<size_t>(col)];
}

const GridColumn& LineGrid::Col(int col) const { return const_cast<LineGrid*>(this)->Col(col); }

int LineGrid::LastDataRow() const {
  for (int r = Rows() - 1; r >= FixedRows; --r)
    for (int c = 1; c < Cols(); ++c)
      if (!TextMatrix(r, c).empty()) return r;
  return FixedRows - 1;
}

const Value& LineGrid::CellId(int row, int col) const {
  TextMatrix(row, col);  // the bounds
  return m_Ids[static_cast<size_t>(row)][static_cast<size_t>(col)];
}

std::string LineGrid::GetCell(int row, int col, bool text) const {
  return text ? TextMatrix(row, col) : CellId(row, col).ToText();
}

void LineGrid::SetCell(int row, int col, std::string text) { SetTextMatrix(row, col, std::move(text)); }

void LineGrid::SetCell(int row, int col, std::string text, Value id) {
  SetTextMatrix(row, col, std::move(text));
  m_Ids[static_cast<size_t>(row)][static_cast<size_t>(col)] = std::move(id);
}

void LineGrid::ClearGrid() {
  for (int r = FixedRows; r < Rows(); ++r)
    for (int c = 0; c < Cols(); ++c) SetCell(r, c, "", Value());
  Renumber();
}

bool LineGrid::CellOpen(int row, int col) const {
  if (!Enabled() || !Editable || row < FixedRows || row >= Rows() || col < FixedCols || col >= Cols()) return false;
  const GridColumn& c = Col(col);
  return c.Editable && c.Visible;
}

void LineGrid::UserType(int row, int col, const std::string& text) {
  if (!CellOpen(row, col)) return;
  if (!text::IsStorableText(text)) throw InputRefused();
  m_Col = col;
  SetCell(row, col, text, Value());
  if (CellChanged) CellChanged(row, col);
}

void LineGrid::SetUpProbe(TextField& probe, int row, int col) const {
  const GridColumn& c = Col(col);
  probe.SetCaption(FixedRows > 0 ? TextMatrix(0, col) : "");
  auto& ref = probe.GetReference();
  ref.IsReference = true;
  ref.MatchMode = 1;
  ref.Source = 1;
  ref.ErrorText = c.LookupMessage;
  ref.ValueColumn = c.IdField;
  ref.TextColumn = c.NameField;
  ref.SelectSql = c.LookupSql;
  ref.LookupKey = c.LookupKey;
  probe.SetText(TextMatrix(row, col));
}

void LineGrid::UserLookup(int row, int col, const std::string& text) {
  if (!CellOpen(row, col)) return;
  if (!Col(col).HasLookup) return UserType(row, col, text);
  if (!text::IsStorableText(text)) throw InputRefused();
  m_Col = col;
  TextField probe(Name(), -1);
  SetUpProbe(probe, row, col);
  probe.SetText(text);
  if (CellLookup) CellLookup(probe, row, col);
  // A refused text leaves the probe without an id; blank text is no refusal.
  bool blank = text::Trim(text).empty();
  if (!blank && probe.GetValue().IsEmpty()) return;
  SetCell(row, col, blank ? "" : probe.Text(), blank ? Value() : probe.GetValue());
  if (CellChanged) CellChanged(row, col);
}

void LineGrid::UserBrowse(int row, int col) {
  if (!CellOpen(row, col) || !Col(col).HasLookup) return;
  m_Col = col;
  TextField probe(Name(), -1);
  SetUpProbe(probe, row, col);
  if (CellKey) CellKey(probe, Col(col).LookupKey, row, col);
  // Cancel leaves the probe without an id.
  if (probe.GetValue().IsEmpty()) return;
  SetCell(row, col, probe.Text(), probe.GetValue());
  if (CellChanged) CellChanged(row, col);
}

void LineGrid::UserAddRow() {
  if (!Enabled() || !Editable) return;
  bool allow = true;
  if (CanAddRow) CanAddRow(m_Col, allow);
  if (!allow) return;
  SetRows(Rows() + 1);
  if (RowAdded) RowAdded();
}

void LineGrid::UserDeleteRow(int row) {
  if (!Enabled() || !Editable || row < FixedRows || row >= Rows()) return;
  bool allow = !RowDeleting;
  if (RowDeleting) RowDeleting(row, allow);
  if (!allow) return;
  // The rows below move up; the last row goes.
  for (int r = row; r + 1 < Rows(); ++r)
    for (int c = 1; c < Cols(); ++c) SetCell(r, c, TextMatrix(r + 1, c), CellId(r + 1, c));
  SetRows(Rows() - 1);
}

}  // namespace kmd::view
