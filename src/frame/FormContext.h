#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "base/Value.h"
#include "db/Database.h"

namespace kmd {

namespace view {
class TextField;
}

// A system option or module parameter; an unset key has the Value "" and the Name "".
struct ISetting {
  std::string Value;
  std::string Name = "";
};

struct IUserInfo {
  std::string Name;
  std::string HomeFolder;
  // The application name under which the user's personal settings are kept; "" for none.
  std::string SettingsApp;
};

struct IProgramRights {
  bool DetailRight = true;
  bool ActionRight = true;
};

struct ISubsystem {
  int32_t Period = 0;
};

// The host's context, handed to a form by Init. Everything a form gets from it is fetched at
// each use and released at once.
class IFormContext {
 public:
  virtual ~IFormContext() = default;
  virtual std::shared_ptr<db::IDatabase> Database() = 0;
  virtual IProgramRights ProgramRights(int32_t programId) = 0;
  virtual ISetting Option(int32_t module, const Value& key) = 0;
  virtual ISetting Parameter(int32_t module, const Value& key) = 0;
  // Opens the browse window of a reference field; the field chosen fills its Text and Value.
  virtual void LookupBrowse(view::TextField& field, const std::string& key) = 0;
  // Resolves the typed text of a reference field by its SelectSql.
  virtual void LookupCheck(view::TextField& field, const Value& text) = 0;
  virtual IUserInfo User() = 0;
  virtual ISubsystem Subsystem(const std::string& name, int32_t index) = 0;
  // The current user's personal setting under `app` (User().SettingsApp), or `defaultValue` when
  // none is stored. A context without a personal store gives `defaultValue`.
  virtual std::string UserSetting(const std::string& app, const std::string& section, const std::string& key,
                                  const std::string& defaultValue) {
    (void)app, (void)section, (void)key;
    return defaultValue;
  }
};

}  // namespace kmd
