#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Value.h"

namespace kmd::db {

using Row = std::vector<Value>;

// The rows of one statement, read into memory, with the cursor operations the forms use
// (an ADODB-like recordset). Field names are found without regard to Latin case.
// An empty result has EOF and BOF both true (Eof and Bof here: EOF is a macro of the C library).
class Recordset {
 public:
  // Writes a row added by AddNew/Update; gives "" or an error description.
  using Inserter = std::function<std::string(const std::vector<std::string>& columns, const Row& row)>;

  Recordset() = default;
  Recordset(std::vector<std::string> columns, std::vector<Row> rows);

  bool Eof() const;
  bool Bof() const;
  int32_t RecordCount() const { return static_cast<int32_t>(m_Rows.size()); }
  const std::vector<std::string>& Columns() const { return m_Columns; }
  // Column position by name, -1 when absent.
  int ColumnIndex(const std::string& name) const;

  // Value of a column in the current row. Throws RuntimeError for an unknown name or when there
  // is no current row.
  Value& Fields(const std::string& name);
  Value& Fields(int index);

  void MoveNext();
  void MoveFirst();
  void Close() { m_Closed = true; }
  bool IsClosed() const { return m_Closed; }

  // All remaining rows, as GetRows gives them (rows here, not columns).
  std::vector<Row> GetRows();
  const std::vector<Row>& Rows() const { return m_Rows; }

  // Appends an empty row and makes it current; Update writes it through the inserter.
  void SetInserter(Inserter inserter) { m_Inserter = std::move(inserter); }
  void AddNew();
  // Requires: AddNew was called. Throws RuntimeError when the write fails.
  void Update();

 private:
  void CheckOpen() const;
  std::vector<std::string> m_Columns;
  std::vector<Row> m_Rows;
  size_t m_Pos = 0;
  bool m_Closed = false;
  bool m_Adding = false;
  Inserter m_Inserter;
};

using RecordsetPtr = std::shared_ptr<Recordset>;

}  // namespace kmd::db
