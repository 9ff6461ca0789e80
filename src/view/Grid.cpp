#include "view/Grid.h"

#include <algorithm>

#include "base/RuntimeError.h"

namespace kmd::view {

Grid::Grid(std::string name, int index, std::string typeName) : Control(std::move(typeName), std::move(name), index) {
  SetCols(2);
  SetRows(2);
}

void Grid::SetRows(int rows) {
  m_Cells.resize(static_cast<size_t>(std::max(0, rows)), std::vector<std::string>(static_cast<size_t>(m_Cols)));
}

void Grid::SetCols(int cols) {
  m_Cols = std::max(0, cols);
  m_Widths.resize(static_cast<size_t>(m_Cols), kDefaultWidth);
  for (auto& row : m_Cells) row.resize(static_cast<size_t>(m_Cols));
}

void Grid::Check(int row, int col) const {
  if (row < 0 || row >= Rows() || col < 0 || col >= m_Cols) throw RuntimeError("Subscript out of range");
}

const std::string& Grid::TextMatrix(int row, int col) const {
  Check(row, col);
  return m_Cells[static_cast<size_t>(row)][static_cast<size_t>(col)];
}

void Grid::SetTextMatrix(int row, int col, std::string text) {
  Check(row, col);
  m_Cells[static_cast<size_t>(row)][static_cast<size_t>(col)] = std::move(text);
}

int Grid::ColWidth(int col) const {
  Check(0, col);
  return m_Widths[static_cast<size_t>(col)];
}

void Grid::SetColWidth(int col, int width) {
  Check(0, col);
  m_Widths[static_cast<size_t>(col)] = width;
}

}  // namespace kmd::view
