#include "db/Recordset.h"

#include "base/RuntimeError.h"
#include "db/Connection.h"
#include "base/Text.h"

namespace kmd::db {

Recordset::Recordset() = default;

Recordset::Recordset(std::vector<std::string> columns, std::vector<Row> rows)
    : m_Columns(std::move(columns)), m_Rows(std::move(rows)) {}

Recordset::Recordset(std::unique_ptr<Cursor> cursor, std::function<void(const std::string&)> failed)
    : m_Columns(cursor->Columns()), m_Cursor(std::move(cursor)), m_Failed(std::move(failed)), m_ForwardOnly(true) {
  m_Rows.emplace_back();
  if (m_Cursor->Next(m_Rows[0])) return;
  m_Rows.clear();
  std::string err = m_Cursor->Error();
  m_Cursor.reset();
  if (!err.empty() && m_Failed) m_Failed(err);
}

Recordset::~Recordset() = default;

void Recordset::Close() {
  m_Closed = true;
  m_Cursor.reset();
}

bool Recordset::Eof() const { return m_Pos >= m_Rows.size(); }
bool Recordset::Bof() const { return m_Rows.empty(); }

int Recordset::ColumnIndex(const std::string& name) const {
  // Loops read the same few names row after row: the name as written first, then without blanks
  // and Latin case, neither copying it.
  for (size_t i = 0; i < m_Columns.size(); ++i)
    if (m_Columns[i] == name) return static_cast<int>(i);
  std::string_view wanted(name);
  while (!wanted.empty() && wanted.front() == ' ') wanted.remove_prefix(1);
  while (!wanted.empty() && wanted.back() == ' ') wanted.remove_suffix(1);
  for (size_t i = 0; i < m_Columns.size(); ++i)
    if (text::EqualsNoCase(m_Columns[i], wanted)) return static_cast<int>(i);
  return -1;
}

void Recordset::CheckOpen() const {
  if (m_Closed) throw RuntimeError("Operation is not allowed when the object is closed.");
}

namespace {
const char* const kNoItem = "Item cannot be found in the collection corresponding to the requested name or ordinal.";
const char* const kNoRow =
    "Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a current record.";
const char* const kNotUpdatable = "Current Recordset does not support updating.";
}  // namespace

const Value& Recordset::Fields(const std::string& name) const {
  int i = ColumnIndex(name);
  if (i < 0) throw RuntimeError(kNoItem);
  return Fields(i);
}

const Value& Recordset::Fields(int index) const {
  CheckOpen();
  if (index < 0 || static_cast<size_t>(index) >= m_Columns.size()) throw RuntimeError(kNoItem);
  if (Eof()) throw RuntimeError(kNoRow);
  if (m_Cursor) m_Cursor->Read(static_cast<size_t>(index));
  return m_Rows[m_Pos][index];
}

void Recordset::SetField(const std::string& name, Value value) {
  int i = ColumnIndex(name);
  if (i < 0) throw RuntimeError(kNoItem);
  SetField(i, std::move(value));
}

void Recordset::SetField(int index, Value value) {
  Fields(index);  // the same checks as a read
  if (m_OriginalPos != m_Pos) {
    // The first write to a row read from the database keeps what it was, for the UPDATE's key.
    m_Original = m_Rows[m_Pos];
    m_OriginalPos = m_Pos;
    m_Written.clear();
  }
  m_Rows[m_Pos][static_cast<size_t>(index)] = std::move(value);
  for (int w : m_Written)
    if (w == index) return;
  m_Written.push_back(index);
}

void Recordset::MoveNext() {
  CheckOpen();
  if (Eof()) throw RuntimeError(kNoRow);
  if (!m_Cursor) {
    ++m_Pos;
    return;
  }
  m_Moved = true;
  if (m_Cursor->Next(m_Rows[0])) return;
  std::string err = m_Cursor->Error();
  m_Cursor.reset();
  m_Pos = 1;
  if (err.empty()) return;
  if (m_Failed) m_Failed(err);
  throw RuntimeError(err);
}

const std::vector<Row>& Recordset::Rows() const {
  if (m_Cursor) m_Cursor->ReadAll();
  return m_Rows;
}

void Recordset::MoveFirst() {
  CheckOpen();
  if (m_Moved) throw RuntimeError("Rowset does not support fetching backward.");
  m_Pos = 0;
}

std::vector<Row> Recordset::GetRows() {
  CheckOpen();
  if (m_ForwardOnly) {
    std::vector<Row> out;
    for (; !Eof(); MoveNext()) {
      m_Cursor->ReadAll();
      out.push_back(m_Rows[0]);
    }
    return out;
  }
  std::vector<Row> out(m_Rows.begin() + static_cast<long>(std::min(m_Pos, m_Rows.size())), m_Rows.end());
  m_Pos = m_Rows.size();
  return out;
}

void Recordset::SetWriter(std::string table, Writer writer, KeyReader keys) {
  m_Table = std::move(table);
  m_Writer = std::move(writer);
  m_Keys = std::move(keys);
}

void Recordset::AddNew() {
  CheckOpen();
  if (!m_Writer) throw RuntimeError(kNotUpdatable);
  m_Rows.emplace_back(m_Columns.size(), Value::Null());
  m_Pos = m_Rows.size() - 1;
  m_Adding = true;
  m_Original = m_Rows[m_Pos];
  m_OriginalPos = m_Pos;
  m_Written.clear();
}

void Recordset::Update() {
  CheckOpen();
  if (!m_Writer) throw RuntimeError(kNotUpdatable);
  if (m_Written.empty() || m_OriginalPos != m_Pos) {
    m_Adding = false;
    return;
  }
  std::string sql;
  std::vector<Value> params;
  if (m_Adding) {
    std::string names, marks;
    for (int c : m_Written) {
      names += (names.empty() ? "" : ",") + m_Columns[static_cast<size_t>(c)];
      marks += marks.empty() ? "?" : ",?";
      params.push_back(m_Rows[m_Pos][static_cast<size_t>(c)]);
    }
    sql = "INSERT INTO " + m_Table + " (" + names + ") VALUES (" + marks + ")";
  } else {
    std::vector<std::string> keys = m_Keys ? m_Keys() : std::vector<std::string>{};
    std::vector<int> keyCols;
    for (const auto& k : keys) {
      int i = ColumnIndex(k);
      if (i < 0) {
        keyCols.clear();
        break;
      }
      keyCols.push_back(i);
    }
    if (keyCols.empty()) throw RuntimeError("Insufficient key column information for updating or refreshing.");
    std::string sets, where;
    for (int c : m_Written) {
      sets += (sets.empty() ? "" : ",") + m_Columns[static_cast<size_t>(c)] + "=?";
      params.push_back(m_Rows[m_Pos][static_cast<size_t>(c)]);
    }
    for (int k : keyCols) {
      where += (where.empty() ? "" : " AND ") + m_Columns[static_cast<size_t>(k)] + "=?";
      params.push_back(m_Original[static_cast<size_t>(k)]);
    }
    sql = "UPDATE " + m_Table + " SET " + sets + " WHERE " + where;
  }
  std::string err = m_Writer(sql, params);
  if (!err.empty()) throw RuntimeError(err);
  m_Adding = false;
  m_Written.clear();
  m_Original = m_Rows[m_Pos];
}

std::string Str(const Recordset& rs, const std::string& column) { return rs.Fields(column).ToText(); }

double Num(const Recordset& rs, const std::string& column) { return text::Val(rs.Fields(column).ToText()); }

}  // namespace kmd::db
