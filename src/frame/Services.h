#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Value.h"
#include "db/Database.h"
#include "view/Control.h"
#include "view/Platform.h"

namespace kmd {

// Gives new ids for a table's key column through the database's id counter.
class IIdAllocator {
 public:
  bool SetDatabase(std::shared_ptr<db::IDatabase> database);
  // Puts a new id for the table's key column into `id`; the text result is not read.
  // Throws RuntimeError when no database is bound or the counter fails.
  std::string NextId(const std::string& table, const std::string& keyColumn, int32_t& id);
  // The name under which the allocator knows a table; it knows every table by its own name.
  std::string NameOf(const std::string& name) const { return name; }

 private:
  std::shared_ptr<db::IDatabase> m_Database;
};

// Empties the fields of a collection: text fields get "" and the value 0, text boxes and combo
// boxes "", check boxes 0 unless `checkBoxes` is false. Labels are left alone.
void ClearControlValues(view::Controls& controls, bool checkBoxes = true);

// Modal boxes and focus moves on behalf of a form.
class IFormHelper {
 public:
  explicit IFormHelper(view::Platform& platform) : m_Platform(platform) {}
  int32_t ShowMessage(const std::string& a, const std::string& b, const std::string& text, int32_t flags,
                      const std::string& title);
  // Empties all fields of a form: text fields, text boxes and combo boxes get "", reference values
  // 0, check boxes 0.
  void ClearControls(view::Controls& controls);
  void SetFocusTo(view::Control& control);
  // Moves the focus from the focused control to the next enabled text field in the order of
  // `controls` on `enterKey` (13, Enter) and Down, to the previous one on Up; other keys do
  // nothing, and at either end the focus stays.
  void NextField(view::Controls& controls, int32_t enterKey, int16_t keyCode);

 private:
  view::Platform& m_Platform;
};

// Conversions that accept Empty and Null, for raw node tags and field values.
class IValueHelper {
 public:
  std::string ToText(const Value& v) const { return v.ToText(); }
  int32_t ToLong(const Value& v) const { return v.ToLong(); }
  // A node tag to an id: a number as it is, a text by its numeric reading, Null and Empty 0.
  Value ToNumber(const Value& v) const;
  double ToDouble(const Value& v) const { return v.ToDouble(); }
  bool ToBoolean(const Value& v) const { return v.ToBool(); }
  std::string MidText(const Value& v, const Value& start, const Value& length) const;
};

// The parameter line of a program's row in xt_objects: "key=value" pairs separated by ";". A value
// runs to the next ";" and may hold commas; keys compare without Latin case.
class ICommandLine {
 public:
  struct Entry {
    bool Found = false;
    std::string Value;
  };
  void Parse(const std::string& line);
  Entry Item(const std::string& key) const;

 private:
  std::vector<std::pair<std::string, std::string>> m_Pairs;
};

}  // namespace kmd
