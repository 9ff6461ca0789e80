#pragma once
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "db/Database.h"
#include "frame/FormContext.h"
#include "view/Platform.h"

namespace kmd::host {

// A table that the host's picker window offers: the statement of its rows, the columns a typed
// text is matched against, and the fields of a chosen row with the columns they come from.
struct PickerTable {
  std::string Table;
  std::string Title;
  std::string Sql;         // the window's rows, in order
  std::string MatchSql;    // the rows whose code or name equals the one "?"
  std::string CodeColumn;  // what a user names a row by in a script
  std::vector<std::pair<std::string, std::string>> Fields;  // field name, column
};

// The table of Picker(name) (compared without Latin case); nullptr for none.
const PickerTable* FindPickerTable(const std::string& name);

// The host's picker over one table. Its reads are the host's own, straight from the connection,
// so that they never show in a statement trace.
class TablePicker : public IPicker {
 public:
  // Shows the window over `rows`: gives the 0-based rows the user takes, none for Cancel.
  using Window = std::function<std::vector<int>(const PickerTable& table, const std::string& mode,
                                                const db::Recordset& rows)>;
  // Without a window every Show is cancelled; without a platform no box is shown.
  TablePicker(const PickerTable& table, std::shared_ptr<db::Database> database, Window window, view::Platform* platform);

  const std::vector<std::string>& Columns() const override { return m_Columns; }
  // A failing read takes nothing and shows the database's error.
  void Show(const std::string& mode, const std::string& key) override;
  const PickerSelection& Selection() const override { return m_Selection; }
  void Lookup(const std::string& text, const std::string& message) override;
  // True while the table can be read.
  bool Prepare(int32_t programId) override;

 private:
  // Runs a read; false (with its box) when it failed.
  bool Read(const std::string& sql, const std::vector<Value>& args, db::QueryResult& out);
  void Take(const db::QueryResult& rows, const std::vector<int>& picked);

  const PickerTable& m_Table;
  std::shared_ptr<db::Database> m_Database;
  Window m_Window;
  view::Platform* m_Platform;
  std::vector<std::string> m_Columns;
  PickerSelection m_Selection;
};

}  // namespace kmd::host
