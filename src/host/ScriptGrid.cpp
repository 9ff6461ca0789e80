// The script host's line-grid commands and its picker window.
#include <sstream>

#include "base/Text.h"
#include "host/ScriptHost.h"
#include "view/LineGrid.h"

namespace kmd::host {

namespace {

std::string Join(const std::vector<std::string>& items) {
  std::string s;
  for (size_t i = 0; i < items.size(); ++i) s += (i ? " | " : "") + items[i];
  return s;
}

}  // namespace

void ScriptHost::RunGridCommand(const std::string& cmd, const std::string& args) {
  std::istringstream in(args);
  std::string name;
  in >> name;
  auto* grid = dynamic_cast<view::LineGrid*>(&ControlNamed(name));
  if (!grid) throw ScriptError{name + " is no line grid"};
  if (cmd == "addrow") {
    CurrentForm().Run([&] { grid->UserAddRow(); });
    return;
  }
  auto number = [&](const std::string& what) {
    std::string word;
    if (!(in >> word) || word.find_first_not_of("0123456789") != std::string::npos)
      throw ScriptError{cmd + " takes GRID ROW" + (cmd == "delrow" ? "" : " COL") + ": " + what + " is missing"};
    return static_cast<int>(text::Val(word));
  };
  int row = number("the row");
  if (row < grid->FixedRows || row >= grid->Rows()) throw ScriptError{name + " has no data row " + std::to_string(row)};
  if (cmd == "delrow") {
    CurrentForm().Run([&] { grid->UserDeleteRow(row); });
    return;
  }
  int col = number("the column");
  if (col >= grid->Cols()) throw ScriptError{name + " has no column " + std::to_string(col)};
  // A column out of sight is out of the user's reach.
  if (!grid->Col(col).Visible) throw ScriptError{"cannot reach column " + std::to_string(col) + " of " + name + ": it is hidden"};
  std::string typed;
  std::getline(in, typed);
  if (!typed.empty() && typed[0] == ' ') typed.erase(0, 1);
  if (cmd == "cell") {
    CurrentForm().Run([&] { grid->UserType(row, col, typed); });
  } else if (cmd == "celllookup") {
    CurrentForm().Run([&] { grid->UserLookup(row, col, typed); });
  } else {
    m_PendingCellBrowse = [grid, row, col] { grid->UserBrowse(row, col); };
    if (!m_Answers.empty()) RunPendingBrowse();
  }
}

void ScriptHost::ShowGrid(const std::string& name) {
  auto* grid = dynamic_cast<view::LineGrid*>(&ControlNamed(name));
  if (!grid) throw ScriptError{name + " is no line grid"};
  std::vector<std::string> titles;
  for (int c = 0; c < grid->Cols(); ++c) {
    std::string title = grid->FixedRows > 0 ? grid->TextMatrix(0, c) : std::to_string(c);
    titles.push_back(grid->Col(c).Visible ? title : title + " (hidden)");
  }
  m_Out << "cols " << Join(titles) << "\n";
  for (int r = grid->FixedRows; r <= grid->LastDataRow(); ++r) {
    std::vector<std::string> cells;
    for (int c = 0; c < grid->Cols(); ++c) {
      std::string cell = grid->GetCell(r, c);
      if (grid->Col(c).HasLookup) cell += " [" + grid->GetCell(r, c, false) + "]";
      cells.push_back(cell);
    }
    m_Out << r << " " << Join(cells) << "\n";
  }
}

std::vector<int> ScriptHost::Pick(const PickerTable& table, const std::string& mode, const db::Recordset& rows) {
  std::string answer = m_Answers.empty() ? "Cancel" : TakeAnswer();
  m_Out << "picker " << table.Table << " -> " << answer << "\n";
  std::vector<int> picked;
  if (answer == "Cancel") return picked;
  // One row a name; in a window of several rows the names are separated by ",".
  std::vector<std::string> wanted = text::EqualsNoCase(mode, "single") ? std::vector<std::string>{answer}
                                                                         : text::Split(answer, ',');
  for (const auto& w : wanted) {
    int code = rows.ColumnIndex(table.CodeColumn);
    for (size_t i = 0; i < rows.Rows().size(); ++i) {
      const auto& row = rows.Rows()[i];
      bool named = code >= 0 && row[static_cast<size_t>(code)].ToText() == text::Trim(w);
      for (size_t c = 0; c < row.size() && !named; ++c) named = row[c].ToText() == text::Trim(w);
      if (named) {
        picked.push_back(static_cast<int>(i));
        break;
      }
    }
  }
  return picked;
}

}  // namespace kmd::host
