#include "host/Context.h"

#include "base/Text.h"

namespace kmd::host {

Context::Context(std::shared_ptr<db::Database> database, IUserInfo user)
    : m_Database(std::move(database)), m_User(std::move(user)) {}

ISetting Context::Read(const char* table, int32_t module, const Value& key) {
  db::QueryResult r;
  std::string err = m_Database->GetConnection().Run(
      std::string("SELECT value FROM ") + table + " WHERE module = ? AND key = ?",
      {Value(module), Value(text::Trim(key.ToText()))}, &r);
  if (!err.empty() || r.rows.empty()) return {};
  return {r.rows[0][0].ToText()};
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

void Context::LookupBrowse(view::TextField&, const std::string&) {}
void Context::LookupCheck(view::TextField&, const Value&) {}

}  // namespace kmd::host
