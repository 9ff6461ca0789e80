#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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

// One row chosen in a picker window: its fields by name, a type letter before the column
// ("l产品ID", "s物品编码").
struct PickedRow {
  std::vector<std::pair<std::string, Value>> Fields;
  // The field's value; Empty for a field the row lacks.
  Value Field(const std::string& name) const {
    for (const auto& [n, v] : Fields)
      if (n == name) return v;
    return Value();
  }
};

// The rows a picker window left chosen, in the order chosen.
class PickerSelection {
 public:
  int Count() const { return static_cast<int>(m_Rows.size()); }
  // The n-th row, 1-based. Requires: 1 <= n <= Count().
  const PickedRow& item(int n) const { return m_Rows.at(static_cast<size_t>(n - 1)); }
  void Add(PickedRow row) { m_Rows.push_back(std::move(row)); }
  void Clear() { m_Rows.clear(); }

 private:
  std::vector<PickedRow> m_Rows;
};

// The host's multi-row selection window over one table (Picker("kmdcpml") for products).
class IPicker {
 public:
  virtual ~IPicker() = default;
  // The fields of a chosen row, in the window's order.
  virtual const std::vector<std::string>& Columns() const = 0;
  // Opens the window; mode "single" takes one row, any other mode several. What the user takes
  // becomes the selection; Cancel leaves it empty. `key` names the field that asked.
  virtual void Show(const std::string& mode, const std::string& key) = 0;
  virtual const PickerSelection& Selection() const = 0;
  // Typed text: the selection becomes the rows whose code or name equals it; when none does the
  // host shows `message` in an information box titled "提示：".
  virtual void Lookup(const std::string& text, const std::string& message) = 0;
  // True when the window can be opened for the program.
  virtual bool Prepare(int32_t programId) = 0;
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
  // The picker window over `table`; null when the host has none for it.
  virtual std::unique_ptr<IPicker> Picker(const std::string& table) {
    (void)table;
    return nullptr;
  }
};

}  // namespace kmd
