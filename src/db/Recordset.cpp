#include "db/Recordset.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd::db {

Recordset::Recordset(std::vector<std::string> columns, std::vector<Row> rows)
    : m_Columns(std::move(columns)), m_Rows(std::move(rows)) {}

bool Recordset::Eof() const { return m_Pos >= m_Rows.size(); }
bool Recordset::Bof() const { return m_Rows.empty(); }

int Recordset::ColumnIndex(const std::string& name) const {
  std::string wanted = text::UCase(text::Trim(name));
  for (size_t i = 0; i < m_Columns.size(); ++i)
    if (text::UCase(m_Columns[i]) == wanted) return static_cast<int>(i);
  return -1;
}

void Recordset::CheckOpen() const {
  if (m_Closed) throw RuntimeError("Operation is not allowed when the object is closed.");
}

Value& Recordset::Fields(const std::string& name) {
  int i = ColumnIndex(name);
  if (i < 0)
    throw RuntimeError("Item cannot be found in the collection corresponding to the requested name or ordinal.");
  return Fields(i);
}

Value& Recordset::Fields(int index) {
  CheckOpen();
  if (index < 0 || static_cast<size_t>(index) >= m_Columns.size())
    throw RuntimeError("Item cannot be found in the collection corresponding to the requested name or ordinal.");
  if (Eof())
    throw RuntimeError("Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a current record.");
  return m_Rows[m_Pos][index];
}

void Recordset::MoveNext() {
  CheckOpen();
  if (Eof())
    throw RuntimeError("Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a current record.");
  ++m_Pos;
}

void Recordset::MoveFirst() {
  CheckOpen();
  m_Pos = 0;
}

std::vector<Row> Recordset::GetRows() {
  CheckOpen();
  std::vector<Row> out(m_Rows.begin() + static_cast<long>(std::min(m_Pos, m_Rows.size())), m_Rows.end());
  m_Pos = m_Rows.size();
  return out;
}

void Recordset::AddNew() {
  CheckOpen();
  if (!m_Inserter) throw RuntimeError("Current Recordset does not support updating.");
  m_Rows.emplace_back(m_Columns.size(), Value::Null());
  m_Pos = m_Rows.size() - 1;
  m_Adding = true;
}

void Recordset::Update() {
  CheckOpen();
  if (!m_Adding) return;
  std::string err = m_Inserter(m_Columns, m_Rows[m_Pos]);
  if (!err.empty()) throw RuntimeError(err);
  m_Adding = false;
}

}  // namespace kmd::db
