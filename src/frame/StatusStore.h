#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "view/Control.h"

namespace kmd {

class IFormContext;

// A sectioned key and value store in a UTF-8 text file:
//   [Section]
//   Key=Value
// The value is everything after the first "=", kept as it is (it may hold "=", ";" and "#");
// there is no comment syntax. Sections and keys compare without Latin case. Every write goes to
// the file at once, unless the store holds its writes for one Flush; lines of other sections and
// keys are kept. A value cannot span lines: line breaks in a written value become blanks.
// The file is replaced whole (a temporary file beside it, renamed over it), so that a failed or
// broken-off write leaves the old file as it was; a failed write throws RuntimeError naming the
// file and the reason.
class IStatusStore {
 public:
  explicit IStatusStore(bool holdWrites = false) : m_HoldWrites(holdWrites) {}
  // Reads the file; a missing or unreadable file is an empty store that later writes create.
  void Open(const std::string& path);
  // The stored value as a 16-bit number; `def` (read the same way) when the key is absent.
  // Throws RuntimeError when the value is no whole number or does not fit 16 bits.
  int16_t ReadInteger(const std::string& section, const std::string& key, const std::string& def);
  std::string ReadString(const std::string& section, const std::string& key, const std::string& def);
  void WriteInteger(const std::string& section, const std::string& key, int16_t value);
  void WriteString(const std::string& section, const std::string& key, const std::string& value);
  // "True"/"False" (any case) or a number, non-zero being true; `def` when absent.
  // Throws RuntimeError for anything else.
  bool ReadBoolean(const std::string& section, const std::string& key, bool def);
  // Writes "True" or "False".
  void WriteBoolean(const std::string& section, const std::string& key, bool value);
  // Writes the file with every line the store holds.
  void Flush() const;

 private:
  // Index of the line holding the key in the section, -1 when absent.
  int FindKey(const std::string& section, const std::string& key) const;

  bool m_HoldWrites = false;
  std::string m_Path;
  std::vector<std::string> m_Lines;
};

// The status file of a form for the context's user: <HomeFolder>/selfbb/<name>.txt. Creates the
// folder when it is missing, ignoring errors (the write reports them). A user without a home
// folder keeps no status: the path is "".
std::string GetStatusFile(const std::string& name, IFormContext& context);

// One string of a store file, read or written in a single call. Errors give `def` or are ignored.
std::string GetProfileValue(const std::string& path, const std::string& section, const std::string& key,
                            const std::string& def);
void SetProfileValue(const std::string& path, const std::string& section, const std::string& key,
                     const std::string& value);

// The key of a control in a status file: its type name in capitals, "_" and its Name, and for an
// element of a control array "_" and its Index ("QNTXT_S_qnT_1").
std::string StatusKey(const view::Control& control);

// The walking routines: every control of the collection is loaded from (saved to) the section
// "Form" of the file by its type: a text field's trimmed Value and Text (key_Value, key_Text), the
// Value of check boxes, option buttons and date pickers, the trimmed Text of text and combo boxes,
// the text of a tree's selected node (restored on the first node of that text, ignoring Latin
// case), the Index of a list's selected row, and the widths of a qnGrid's columns from 1 on
// (key_Col1, ...). Other controls are left out. A control whose value cannot be read or set is left as it is,
// and the walk goes on; nothing is reported. The flag is there for callers and not read. An empty
// path reads and writes nothing. SaveStatus writes the file once, at the end, and throws
// RuntimeError when that fails (the old file is then left as it was).
void GetStatus(view::Controls& controls, const std::string& path, bool flag);
void SaveStatus(view::Controls& controls, const std::string& path, bool flag);

}  // namespace kmd
