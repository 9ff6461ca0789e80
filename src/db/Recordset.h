#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Value.h"

namespace kmd::db {

using Row = std::vector<Value>;
class Cursor;

// The rows of one statement, read into memory, with the cursor operations the forms use
// (an ADODB-like recordset). Field names are found without regard to Latin case.
// An empty result has EOF and BOF both true (Eof and Bof here: EOF is a macro of the C library).
//
// A recordset of a single-table SELECT is updatable: AddNew starts a new row, SetField writes a
// field of the current row, and Update sends the written fields as one parameterised statement
// (an INSERT naming the columns in the order they were written, or an UPDATE of the written
// columns keyed by the table's primary key), so that binary values travel as parameters.
class Recordset {
 public:
  // Runs one statement with "?" parameters; gives "" or an error description.
  using Writer = std::function<std::string(const std::string& sql, const std::vector<Value>& params)>;
  // The primary key columns of the table, in key order; empty when it has none.
  using KeyReader = std::function<std::vector<std::string>()>;

  Recordset();
  Recordset(std::vector<std::string> columns, std::vector<Row> rows);
  // A forward-only recordset over a running statement: it holds the current row only, so a loop
  // over many rows keeps no copy of them. RecordCount is -1, MoveFirst after a move is an error,
  // and it is not updatable. A failure while reading is raised by MoveNext, and `failed` is told.
  Recordset(std::unique_ptr<Cursor> cursor, std::function<void(const std::string&)> failed);
  ~Recordset();
  Recordset(const Recordset&) = delete;
  Recordset& operator=(const Recordset&) = delete;

  bool Eof() const;
  bool Bof() const;
  int32_t RecordCount() const { return m_ForwardOnly ? -1 : static_cast<int32_t>(m_Rows.size()); }
  const std::vector<std::string>& Columns() const { return m_Columns; }
  // Column position by name, -1 when absent.
  int ColumnIndex(const std::string& name) const;

  // Value of a column in the current row. Throws RuntimeError for an unknown name or when there
  // is no current row.
  const Value& Fields(const std::string& name) const;
  const Value& Fields(int index) const;
  // Writes a field of the current row, for Update. Same errors as Fields.
  void SetField(const std::string& name, Value value);
  void SetField(int index, Value value);

  void MoveNext();
  void MoveFirst();
  void Close();
  bool IsClosed() const { return m_Closed; }

  // All remaining rows, as GetRows gives them (rows here, not columns).
  std::vector<Row> GetRows();
  const std::vector<Row>& Rows() const;

  // Makes the recordset updatable over `table`.
  void SetWriter(std::string table, Writer writer, KeyReader keys);
  // Appends an empty row and makes it current. Throws RuntimeError when not updatable.
  void AddNew();
  // Writes the fields set since AddNew or the last Update; nothing when none was. Throws
  // RuntimeError when the recordset is not updatable, when an existing row's table has no primary
  // key, or when the statement fails.
  void Update();

 private:
  void CheckOpen() const;
  std::vector<std::string> m_Columns;
  std::vector<Row> m_Rows;  // a forward-only recordset's current row is m_Rows[0]
  std::unique_ptr<Cursor> m_Cursor;
  std::function<void(const std::string&)> m_Failed;
  bool m_ForwardOnly = false;
  bool m_Moved = false;  // a forward-only recordset has left its first row
  size_t m_Pos = 0;
  bool m_Closed = false;
  bool m_Adding = false;
  std::vector<int> m_Written;  // columns set since AddNew or the last Update, in order
  Row m_Original;              // the current row as it was read, for the key of an UPDATE
  size_t m_OriginalPos = static_cast<size_t>(-1);
  std::string m_Table;
  Writer m_Writer;
  KeyReader m_Keys;
};

using RecordsetPtr = std::shared_ptr<Recordset>;

// A field of the current row as the forms read it: its text (Null is ""), or its number as Val
// reads that text (Null and texts that are no number are 0). Same errors as Fields.
std::string Str(const Recordset& rs, const std::string& column);
double Num(const Recordset& rs, const std::string& column);

}  // namespace kmd::db
