#pragma once
#include <functional>
#include <memory>
#include <string>

#include "db/Database.h"
#include "frame/FormContext.h"
#include "host/Lookups.h"
#include "view/Platform.h"

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
  ISubsystem Subsystem(const std::string&, int32_t) override { return {}; }

  std::shared_ptr<db::Database> GetDatabase() const { return m_Database; }
  // Shows a browse window: gives the 0-based row the user picks, or -1 for Cancel.
  using Browser = std::function<int(const LookupWindow& window, const db::Recordset& rows,
                                    const std::string& textColumn)>;
  // Where the context's own boxes and browse windows appear. Without them boxes are not shown
  // and every browse is cancelled.
  void SetWindows(view::Platform* platform, Browser browser);
  // Writes a setting; gives "" or the error.
  std::string SetOption(int32_t module, const std::string& key, const std::string& value);
  std::string SetParameter(int32_t module, const std::string& key, const std::string& value);

 private:
  ISetting Read(const char* table, int32_t module, const Value& key);
  std::string Write(const char* table, int32_t module, const std::string& key, const std::string& value);

  void RefuseLookup(view::TextField& field, const std::string& text, int style);

  std::shared_ptr<db::Database> m_Database;
  IUserInfo m_User;
  view::Platform* m_Platform = nullptr;
  Browser m_Browser;
};

}  // namespace kmd::host
