#pragma once
#include <functional>
#include <memory>
#include <string>

#include "db/Database.h"
#include "frame/FormContext.h"
#include "host/Lookups.h"
#include "host/Picker.h"
#include "view/Platform.h"

namespace kmd::host {

// The application name of the personal settings store that kmd run and kmd serve give the user.
inline constexpr const char* kSettingsApp = "kmd";

// The context of this machine: one database connection, options and parameters from the tables
// xt_options and xt_parameters (with names from xt_option_names), the current user with a home
// folder, rights per user and program (xt_rights), subsystem periods (xt_subsystems) and
// personal settings (xt_usersettings). Its own reads go straight to the connection, so that they
// never show in a statement trace; a read that fails (an older database without the table) gives
// the default.
class Context : public IFormContext {
 public:
  Context(std::shared_ptr<db::Database> database, IUserInfo user);

  std::shared_ptr<db::IDatabase> Database() override { return m_Database; }
  // The current user's rights on the program; both granted when none are stored.
  IProgramRights ProgramRights(int32_t programId) override;
  ISetting Option(int32_t module, const Value& key) override;
  ISetting Parameter(int32_t module, const Value& key) override;
  // Opens the browse window of the key (see Lookups) over the rows of its statement; the row the
  // user picks fills the field as a resolution does. Cancel leaves the field as it is.
  // Throws RuntimeError for a key that has no window.
  void LookupBrowse(view::TextField& field, const std::string& key) override;
  // Runs the field's SelectSql with every "@" replaced by `text`. A row found sets Text from the
  // TextColumn and Value from the ValueColumn; none shows the box with ErrorText; a failing
  // statement shows the database's error. After either box Value is empty and the field keeps the
  // focus. Blank text empties Text and Value without a statement.
  void LookupCheck(view::TextField& field, const Value& text) override;
  IUserInfo User() override { return m_User; }
  // The subsystem's current accounting period; 0 when none is stored.
  ISubsystem Subsystem(const std::string& name, int32_t index) override;
  std::string UserSetting(const std::string& app, const std::string& section, const std::string& key,
                          const std::string& defaultValue) override;
  // The picker over a table that FindPickerTable knows, showing through the window of
  // SetPickerWindow; null for any other table.
  std::unique_ptr<IPicker> Picker(const std::string& table) override;

  std::shared_ptr<db::Database> GetDatabase() const { return m_Database; }
  // Shows a browse window: gives the 0-based row the user picks, or -1 for Cancel.
  using Browser = std::function<int(const LookupWindow& window, const db::Recordset& rows,
                                    const std::string& textColumn)>;
  // Where the context's own boxes and browse windows appear. Without them boxes are not shown
  // and every browse is cancelled.
  void SetWindows(view::Platform* platform, Browser browser);
  // Where picker windows appear; without one every picker is cancelled.
  void SetPickerWindow(TablePicker::Window window) { m_PickerWindow = std::move(window); }
  // Writes a setting; gives "" or the error.
  std::string SetOption(int32_t module, const std::string& key, const std::string& value);
  std::string SetParameter(int32_t module, const std::string& key, const std::string& value);
  std::string SetOptionName(int32_t module, const std::string& key, const std::string& name);
  std::string SetRights(const std::string& user, int32_t programId, bool detail, bool action);
  std::string SetPeriod(const std::string& subsystem, int32_t index, int32_t period);
  std::string SetUserSetting(const std::string& user, const std::string& app, const std::string& section,
                             const std::string& key, const std::string& value);

 private:
  ISetting Read(const char* table, int32_t module, const Value& key);
  std::string Write(const char* table, int32_t module, const std::string& key, const std::string& value);
  // The first value of a statement of the host's own; Empty when there is no row or it failed.
  Value ReadOne(const std::string& sql, const std::vector<Value>& args);

  void RefuseLookup(view::TextField& field, const std::string& text, int style);

  std::shared_ptr<db::Database> m_Database;
  IUserInfo m_User;
  view::Platform* m_Platform = nullptr;
  Browser m_Browser;
  TablePicker::Window m_PickerWindow;
};

}  // namespace kmd::host
