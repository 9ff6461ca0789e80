#include "host/Context.h"

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "view/Widgets.h"

namespace kmd::host {

Context::Context(std::shared_ptr<db::Database> database, IUserInfo user)
    : m_Database(std::move(database)), m_User(std::move(user)) {}

Value Context::ReadOne(const std::string& sql, const std::vector<Value>& args) {
  db::QueryResult r;
  std::string err = m_Database->GetConnection().Run(sql, args, &r);
  if (!err.empty() || r.rows.empty() || r.rows[0].empty()) return Value();
  return r.rows[0][0];
}

ISetting Context::Read(const char* table, int32_t module, const Value& key) {
  std::vector<Value> args{Value(module), Value(text::Trim(key.ToText()))};
  Value value = ReadOne(std::string("SELECT value FROM ") + table + " WHERE module = ? AND key = ?", args);
  if (value.IsEmpty()) return {};
  ISetting setting{value.ToText(), ""};
  if (std::string(table) == "xt_options")
    setting.Name = ReadOne("SELECT name FROM xt_option_names WHERE module = ? AND key = ?", args).ToText();
  return setting;
}

std::string Context::Write(const char* table, int32_t module, const std::string& key, const std::string& value) {
  return m_Database->GetConnection().Run(
      std::string("INSERT INTO ") + table + " (module, key, value) VALUES (?, ?, ?) "
      "ON CONFLICT(module, key) DO UPDATE SET value = excluded.value",
      {Value(module), Value(text::Trim(key)), Value(value)}, nullptr);
}

ISetting Context::Option(int32_t module, const Value& key) { return Read("xt_options", module, key); }
ISetting Context::Parameter(int32_t module, const Value& key) { return Read("xt_parameters", module, key); }

std::string Context::SetOption(int32_t module, const std::string& key, const std::string& value) {
  return Write("xt_options", module, key, value);
}

std::string Context::SetParameter(int32_t module, const std::string& key, const std::string& value) {
  return Write("xt_parameters", module, key, value);
}

std::string Context::SetOptionName(int32_t module, const std::string& key, const std::string& name) {
  return m_Database->GetConnection().Run(
      "INSERT INTO xt_option_names (module, key, name) VALUES (?, ?, ?) "
      "ON CONFLICT(module, key) DO UPDATE SET name = excluded.name",
      {Value(module), Value(text::Trim(key)), Value(name)}, nullptr);
}

IProgramRights Context::ProgramRights(int32_t programId) {
  db::QueryResult r;
  std::string err = m_Database->GetConnection().Run(
      "SELECT detailright, actionright FROM xt_rights WHERE username = ? AND progid = ?",
      {Value(m_User.Name), Value(programId)}, &r);
  if (!err.empty() || r.rows.empty() || r.rows[0].size() < 2) return {};
  return {r.rows[0][0].ToLong() != 0, r.rows[0][1].ToLong() != 0};
}

ISubsystem Context::Subsystem(const std::string& name, int32_t index) {
  Value period = ReadOne("SELECT period FROM xt_subsystems WHERE name = ? AND idx = ?", {Value(name), Value(index)});
  return {period.IsEmpty() ? 0 : period.ToLong()};
}

std::string Context::UserSetting(const std::string& app, const std::string& section, const std::string& key,
                                 const std::string& defaultValue) {
  if (app.empty()) return defaultValue;
  Value value = ReadOne("SELECT value FROM xt_usersettings WHERE username = ? AND app = ? AND section = ? AND key = ?",
                        {Value(m_User.Name), Value(app), Value(section), Value(key)});
  return value.IsEmpty() || value.IsNull() ? defaultValue : value.ToText();
}

std::string Context::SetRights(const std::string& user, int32_t programId, bool detail, bool action) {
  return m_Database->GetConnection().Run(
      "INSERT INTO xt_rights (username, progid, detailright, actionright) VALUES (?, ?, ?, ?) "
      "ON CONFLICT(username, progid) DO UPDATE SET detailright = excluded.detailright, "
      "actionright = excluded.actionright",
      {Value(user), Value(programId), Value(detail ? 1 : 0), Value(action ? 1 : 0)}, nullptr);
}

std::string Context::SetPeriod(const std::string& subsystem, int32_t index, int32_t period) {
  return m_Database->GetConnection().Run(
      "INSERT INTO xt_subsystems (name, idx, period) VALUES (?, ?, ?) "
      "ON CONFLICT(name, idx) DO UPDATE SET period = excluded.period",
      {Value(subsystem), Value(index), Value(period)}, nullptr);
}

std::string Context::SetUserSetting(const std::string& user, const std::string& app, const std::string& section,
                                    const std::string& key, const std::string& value) {
  return m_Database->GetConnection().Run(
      "INSERT INTO xt_usersettings (username, app, section, key, value) VALUES (?, ?, ?, ?, ?) "
      "ON CONFLICT(username, app, section, key) DO UPDATE SET value = excluded.value",
      {Value(user), Value(app), Value(section), Value(key), Value(value)}, nullptr);
}

std::unique_ptr<IPicker> Context::Picker(const std::string& table) {
  const PickerTable* found = FindPickerTable(table);
  if (!found) return nullptr;
  return std::make_unique<TablePicker>(*found, m_Database, m_PickerWindow, m_Platform);
}

void Context::SetWindows(view::Platform* platform, Browser browser) {
  m_Platform = platform;
  m_Browser = std::move(browser);
}

namespace {

// Step 4 of a resolution: the current row fills the field.
void FillReference(view::TextField& field, db::Recordset& rs) {
  const auto& ref = field.GetReference();
  Value shown = ref.TextColumn.empty() ? Value(field.Text()) : rs.Fields(ref.TextColumn);
  Value held = ref.ValueColumn.empty() ? field.GetValue() : rs.Fields(ref.ValueColumn);
  field.SetText(shown.ToText());
  field.SetValue(held);
  field.ErrorState = 0;
}

const char* const kStatementError = "数据库操作错误，原因：";

}  // namespace

void Context::RefuseLookup(view::TextField& field, const std::string& text, int style) {
  if (m_Platform) m_Platform->MsgBox(text, style, "提示：");
  field.SetValue(Value());
  field.ErrorState = 1;
  field.SetFocus();
}

void Context::LookupCheck(view::TextField& field, const Value& text) {
  std::string typed = text.ToText();
  if (text::Trim(typed).empty()) {
    field.SetText("");
    field.SetValue(Value());
    return;
  }
  const auto& ref = field.GetReference();
  try {
    auto rs = m_Database->CreateCommand(text::Replace(ref.SelectSql, "@", text::Lit(typed)), 1)->OpenRecordset();
    std::string err = m_Database->LastError().Description();
    if (!err.empty()) return RefuseLookup(field, kStatementError + err, view::vbCritical);
    if (rs->Eof()) return RefuseLookup(field, ref.ErrorText, view::vbExclamation);
    FillReference(field, *rs);
  } catch (const RuntimeError& e) {
    RefuseLookup(field, kStatementError + e.Description(), view::vbCritical);
  }
}

void Context::LookupBrowse(view::TextField& field, const std::string& key) {
  const LookupWindow* window = FindLookupWindow(key);
  if (!window) throw RuntimeError("no browse window has the key " + key);
  auto rs = m_Database->CreateCommand(window->Sql, 1)->OpenRecordset();
  std::string err = m_Database->LastError().Description();
  if (!err.empty()) {
    if (m_Platform) m_Platform->MsgBox(kStatementError + err, view::vbCritical, window->Title);
    return;
  }
  int pick = m_Browser ? m_Browser(*window, *rs, field.GetReference().TextColumn) : -1;
  if (pick < 0 || pick >= rs->RecordCount()) return;
  rs->MoveFirst();
  for (int i = 0; i < pick; ++i) rs->MoveNext();
  try {
    FillReference(field, *rs);
  } catch (const RuntimeError& e) {
    RefuseLookup(field, kStatementError + e.Description(), view::vbCritical);
  }
}

}  // namespace kmd::host
