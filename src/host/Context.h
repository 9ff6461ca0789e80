#pragma once
#include <memory>
#include <string>

#include "db/Database.h"
#include "frame/FormContext.h"

namespace kmd::host {

// The context of this machine: one database connection, options and parameters from the tables
// xt_options and xt_parameters, the current user with a home folder, and every right.
class Context : public IFormContext {
 public:
  Context(std::shared_ptr<db::Database> database, IUserInfo user);

  std::shared_ptr<db::IDatabase> Database() override { return m_Database; }
  IProgramRights ProgramRights(int32_t) override { return {}; }
  ISetting Option(int32_t module, const Value& key) override;
  ISetting Parameter(int32_t module, const Value& key) override;
  void LookupBrowse(view::TextField& field, const std::string& key) override;
  void LookupCheck(view::TextField& field, const Value& text) override;
  IUserInfo User() override { return m_User; }
  ISubsystem Subsystem(const std::string&, int32_t) override { return {}; }

  std::shared_ptr<db::Database> GetDatabase() const { return m_Database; }
  // Writes a setting; gives "" or the error.
  std::string SetOption(int32_t module, const std::string& key, const std::string& value);
  std::string SetParameter(int32_t module, const std::string& key, const std::string& value);

 private:
  ISetting Read(const char* table, int32_t module, const Value& key);
  std::string Write(const char* table, int32_t module, const std::string& key, const std::string& value);

  std::shared_ptr<db::Database> m_Database;
  IUserInfo m_User;
};

}  // namespace kmd::host
