#include "host/Picker.h"

#include "base/Text.h"

namespace kmd::host {

namespace {

const std::vector<PickerTable>& Tables() {
  static const std::vector<PickerTable> tables = {
      {"kmdcpml", "产品",
       "SELECT 产品ID, 物品编码, 物品名称, 规格, 库存单位 FROM KMDCPML ORDER BY 物品编码",
       "SELECT 产品ID, 物品编码, 物品名称, 规格, 库存单位 FROM KMDCPML WHERE 物品编码 = ? OR 物品名称 = ? "
       "ORDER BY 物品编码",
       "物品编码",
       {{"l产品ID", "产品ID"}, {"s物品编码", "物品编码"}, {"s物品名称", "物品名称"}, {"s规格", "规格"},
        {"n_s库存单位", "库存单位"}}},
  };
  return tables;
}

}  // namespace

const PickerTable* FindPickerTable(const std::string& name) {
  for (const auto& t : Tables())
    if (text::EqualsNoCase(t.Table, text::Trim(name))) return &t;
  return nullptr;
}

TablePicker::TablePicker(const PickerTable& table, std::shared_ptr<db::Database> database, Window window,
               view::Platform* platform)
    : m_Table(table), m_Database(std::move(database)), m_Window(std::move(window)), m_Platform(platform) {
  for (const auto& field : m_Table.Fields) m_Columns.push_back(field.first);
}

bool TablePicker::Read(const std::string& sql, const std::vector<Value>& args, db::QueryResult& out) {
  std::string err = m_Database->GetConnection().Run(sql, args, &out);
  if (err.empty()) return true;
  if (m_Platform) m_Platform->MsgBox("数据库操作错误，原因：" + err, view::vbCritical, m_Table.Title);
  return false;
}

void TablePicker::Take(const db::QueryResult& rows, const std::vector<int>& picked) {
  for (int at : picked) {
    if (at < 0 || at >= static_cast<int>(rows.rows.size())) continue;
    const db::Row& row = rows.rows[static_cast<size_t>(at)];
    PickedRow taken;
    for (const auto& [field, column] : m_Table.Fields) {
      Value v;
      for (size_t c = 0; c < rows.columns.size() && c < row.size(); ++c)
        if (text::EqualsNoCase(rows.columns[c], column)) v = row[c];
      taken.Fields.emplace_back(field, v);
    }
    m_Selection.Add(std::move(taken));
  }
}

void TablePicker::Show(const std::string& mode, const std::string&) {
  m_Selection.Clear();
  db::QueryResult rows;
  if (!Read(m_Table.Sql, {}, rows) || !m_Window) return;
  db::Recordset shown(rows.columns, rows.rows);
  std::vector<int> picked = m_Window(m_Table, mode, shown);
  if (text::EqualsNoCase(mode, "single") && picked.size() > 1) picked.resize(1);
  Take(rows, picked);
}

void TablePicker::Lookup(const std::string& typed, const std::string& message) {
  m_Selection.Clear();
  db::QueryResult rows;
  if (!Read(m_Table.MatchSql, {Value(typed), Value(typed)}, rows)) return;
  std::vector<int> all;
  for (size_t i = 0; i < rows.rows.size(); ++i) all.push_back(static_cast<int>(i));
  Take(rows, all);
  if (m_Selection.Count() == 0 && m_Platform) m_Platform->MsgBox(message, view::vbInformation, "提示：");
}

bool TablePicker::Prepare(int32_t) {
  db::QueryResult rows;
  return m_Database->GetConnection().Run(m_Table.Sql, {}, &rows).empty();
}

}  // namespace kmd::host
