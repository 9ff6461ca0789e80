#pragma once
#include <string>
#include <vector>

#include "view/Control.h"

namespace kmd::view {

// A grid of text cells (qnGrid, the editable line grid, or VSFlexGrid, the read-only one): Rows by
// Cols cells, the first FixedRows and FixedCols of them headings, and a width per column in twips.
class Grid : public Control {
 public:
  Grid(std::string name, int index = -1, std::string typeName = "qnGrid");

  int Rows() const { return static_cast<int>(m_Cells.size()); }
  int Cols() const { return m_Cols; }
  // Changing the size keeps the cells that remain; new cells are "", new columns kDefaultWidth wide.
  virtual void SetRows(int rows);
  virtual void SetCols(int cols);
  int FixedRows = 1;
  int FixedCols = 1;

  // Throw RuntimeError for a row or column outside the grid ("Subscript out of range").
  const std::string& TextMatrix(int row, int col) const;
  void SetTextMatrix(int row, int col, std::string text);
  int ColWidth(int col) const;
  void SetColWidth(int col, int width);

  static constexpr int kDefaultWidth = 960;

 private:
  void Check(int row, int col) const;

  int m_Cols = 0;
  std::vector<std::vector<std::string>> m_Cells;
  std::vector<int> m_Widths;
};

}  // namespace kmd::view
