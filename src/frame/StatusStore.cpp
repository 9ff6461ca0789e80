#include "frame/StatusStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <fstream>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "frame/FormContext.h"
#include "view/Grid.h"
#include "view/ListView.h"
#include "view/TreeView.h"
#include "view/Widgets.h"

namespace kmd {

namespace {

const char* const kSection = "Form";

bool IsHeader(const std::string& line, std::string* name) {
  std::string t = text::Trim(line);
  if (t.size() < 2 || t.front() != '[' || t.back() != ']') return false;
  if (name) *name = text::Trim(t.substr(1, t.size() - 2));
  return true;
}

std::string OneLine(std::string value) {
  for (auto& c : value)
    if (c == '\r' || c == '\n') c = ' ';
  return value;
}

// Replaces the file by one holding `content`: written to a temporary file in the same folder, then
// renamed over it, so that readers see the old file or the new one and never a part of either.
void ReplaceFile(const std::string& path, const std::string& content) {
  std::string tmp = path + ".XXXXXX";
  int fd = ::mkstemp(tmp.data());
  auto fail = [&](int err) {
    throw RuntimeError("cannot write " + path + ": " + std::generic_category().message(err));
  };
  if (fd < 0) fail(errno);
  struct stat old {};
  if (::stat(path.c_str(), &old) == 0 && S_ISREG(old.st_mode)) ::fchmod(fd, old.st_mode & 07777);
  int err = 0;
  for (size_t done = 0; done < content.size() && !err;) {
    ssize_t n = ::write(fd, content.data() + done, content.size() - done);
    if (n >= 0) done += static_cast<size_t>(n);
    else if (errno != EINTR) err = errno;
  }
  if (!err && ::fsync(fd) != 0) err = errno;
  if (::close(fd) != 0 && !err) err = errno;
  if (!err && ::rename(tmp.c_str(), path.c_str()) != 0) err = errno;
  if (err) {
    ::unlink(tmp.c_str());
    fail(err);
  }
}

int16_t ToInteger(const std::string& s) {
  std::string t = text::Trim(s);
  if (!text::IsNumeric(t)) throw RuntimeError("Type mismatch");
  double d = text::RoundHalfEven(text::Val(t));
  if (d < -32768 || d > 32767) throw RuntimeError("Overflow");
  return static_cast<int16_t>(d);
}

}  // namespace

void IStatusStore::Open(const std::string& path) {
  m_Path = path;
  m_Lines.clear();
  std::ifstream in(path, std::ios::binary);
  if (!in) return;
  std::string line;
  bool first = true;
  while (std::getline(in, line)) {
    if (first && line.rfind("\xEF\xBB\xBF", 0) == 0) line.erase(0, 3);
    first = false;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    m_Lines.push_back(line);
  }
}

int IStatusStore::FindKey(const std::string& section, const std::string& key) const {
  bool inSection = false;
  for (size_t i = 0; i < m_Lines.size(); ++i) {
    std::string name;
    if (IsHeader(m_Lines[i], &name)) {
      inSection = text::EqualsNoCase(name, section);
      continue;
    }
    if (!inSection) continue;
    auto eq = m_Lines[i].find('=');
    if (eq != std::string::npos && text::EqualsNoCase(text::Trim(m_Lines[i].substr(0, eq)), key))
      return static_cast<int>(i);
  }
  return -1;
}

std::string IStatusStore::ReadString(const std::string& section, const std::string& key, const std::string& def) {
  int i = FindKey(section, key);
  if (i < 0) return def;
  const std::string& line = m_Lines[static_cast<size_t>(i)];
  return line.substr(line.find('=') + 1);
}

int16_t IStatusStore::ReadInteger(const std::string& section, const std::string& key, const std::string& def) {
  return ToInteger(ReadString(section, key, def));
}

bool IStatusStore::ReadBoolean(const std::string& section, const std::string& key, bool def) {
  int i = FindKey(section, key);
  if (i < 0) return def;
  std::string v = text::Trim(ReadString(section, key, ""));
  if (text::EqualsNoCase(v, "True")) return true;
  if (text::EqualsNoCase(v, "False")) return false;
  if (!text::IsNumeric(v)) throw RuntimeError("Type mismatch");
  return text::Val(v) != 0;
}

void IStatusStore::WriteString(const std::string& section, const std::string& key, const std::string& value) {
  std::string line = key + "=" + OneLine(value);
  int found = FindKey(section, key);
  if (found >= 0) {
    m_Lines[static_cast<size_t>(found)] = line;
  } else {
    // After the last key of the section, or a new section at the end.
    int header = -1;
    for (size_t i = 0; i < m_Lines.size() && header < 0; ++i) {
      std::string name;
      if (IsHeader(m_Lines[i], &name) && text::EqualsNoCase(name, section)) header = static_cast<int>(i);
    }
    if (header < 0) {
      m_Lines.push_back("[" + section + "]");
      m_Lines.push_back(line);
    } else {
      size_t at = static_cast<size_t>(header) + 1;
      for (size_t i = at; i < m_Lines.size() && !IsHeader(m_Lines[i], nullptr); ++i)
        if (!text::Trim(m_Lines[i]).empty()) at = i + 1;
      m_Lines.insert(m_Lines.begin() + static_cast<std::ptrdiff_t>(at), line);
    }
  }
  if (!m_HoldWrites) Flush();
}

void IStatusStore::WriteInteger(const std::string& section, const std::string& key, int16_t value) {
  WriteString(section, key, std::to_string(value));
}

void IStatusStore::WriteBoolean(const std::string& section, const std::string& key, bool value) {
  WriteString(section, key, value ? "True" : "False");
}

void IStatusStore::Flush() const {
  std::string all;
  for (const auto& l : m_Lines) all += l + "\n";
  ReplaceFile(m_Path, all);
}

std::string GetStatusFile(const std::string& name, IFormContext& context) {
  std::string folder;
  try {
    folder = context.User().HomeFolder;
  } catch (...) {
  }
  if (folder.empty()) return "";
  folder += "/selfbb";
  std::error_code ec;
  if (!std::filesystem::is_directory(folder, ec)) std::filesystem::create_directories(folder, ec);
  return folder + "/" + name + ".txt";
}

std::string GetProfileValue(const std::string& path, const std::string& section, const std::string& key,
                            const std::string& def) {
  IStatusStore store;
  store.Open(path);
  return store.ReadString(section, key, def);
}

void SetProfileValue(const std::string& path, const std::string& section, const std::string& key,
                     const std::string& value) {
  try {
    IStatusStore store;
    store.Open(path);
    store.WriteString(section, key, value);
  } catch (const std::exception&) {
  }
}

std::string StatusKey(const view::Control& control) {
  std::string key = text::UCase(control.TypeName()) + "_" + control.Name();
  int index = -1;
  try {
    index = control.Index();
  } catch (const std::exception&) {
    index = -1;
  }
  if (index != -1) key += "_" + std::to_string(index);
  return key;
}

namespace {

bool TypeIs(const view::Control& c, const char* name) { return text::EqualsNoCase(c.TypeName(), name); }

// Runs one step of a walk; a failing step leaves its control as it is and the walk goes on.
template <class F>
void Step(F&& f) {
  try {
    f();
  } catch (const std::exception&) {
  }
}

void LoadTree(IStatusStore& store, view::TreeView& tv, const std::string& key) {
  std::string wanted = store.ReadString(kSection, key, "");
  if (wanted.empty()) return;
  wanted = text::UCase(wanted);
  for (const auto& node : tv.AllNodes()) {
    if (text::UCase(node->Text) != wanted) continue;
    tv.SetSelectedItem(node->Ptr());
    node->EnsureVisible();
    return;
  }
}

void LoadList(IStatusStore& store, view::ListView& lv, const std::string& key) {
  std::string wanted = store.ReadString(kSection, key, "");
  if (wanted.empty()) return;
  double index = text::Val(wanted);
  for (const auto& item : lv.Items()) {
    if (item->Index != index) continue;
    lv.SetSelectedItem(item);
    lv.EnsureVisible(item);
    return;
  }
}

void LoadControl(IStatusStore& store, view::Control& c) {
  const std::string key = StatusKey(c);
  if (TypeIs(c, "qnTxt_S")) {
    auto& f = dynamic_cast<view::TextField&>(c);
    Step([&] { f.SetValue(Value(text::Trim(store.ReadString(kSection, key + "_Value", f.GetValue().ToText())))); });
    Step([&] { f.SetText(text::Trim(store.ReadString(kSection, key + "_Text", f.Text()))); });
  } else if (TypeIs(c, "CheckBox")) {
    auto& ch = dynamic_cast<view::CheckBox&>(c);
    ch.SetValue(store.ReadInteger(kSection, key, std::to_string(ch.GetValue())));
  } else if (TypeIs(c, "TextBox")) {
    auto& t = dynamic_cast<view::TextBox&>(c);
    t.SetText(store.ReadString(kSection, key, t.Text()));
  } else if (TypeIs(c, "ComboBox")) {
    auto& cb = dynamic_cast<view::ComboBox&>(c);
    cb.SetText(store.ReadString(kSection, key, cb.Text()));
  } else if (TypeIs(c, "OptionButton")) {
    auto& o = dynamic_cast<view::OptionButton&>(c);
    o.SetValue(store.ReadBoolean(kSection, key, o.GetValue()));
  } else if (TypeIs(c, "DTPicker") || TypeIs(c, "gcDTP")) {
    auto& d = dynamic_cast<view::DatePicker&>(c);
    d.SetValue(Value(store.ReadString(kSection, key, d.GetValue().ToText())));
  } else if (TypeIs(c, "TreeView")) {
    LoadTree(store, dynamic_cast<view::TreeView&>(c), key);
  } else if (TypeIs(c, "ListView")) {
    LoadList(store, dynamic_cast<view::ListView&>(c), key);
  } else if (TypeIs(c, "qnGrid")) {
    // Column 0 keeps its designed width; each column stands alone.
    auto& g = dynamic_cast<view::Grid&>(c);
    for (int n = 1; n < g.Cols(); ++n)
      Step([&] {
        g.SetColWidth(n, store.ReadInteger(kSection, key + "_Col" + std::to_string(n), std::to_string(g.ColWidth(n))));
      });
  }
}

void SaveControl(IStatusStore& store, view::Control& c) {
  const std::string key = StatusKey(c);
  if (TypeIs(c, "qnTxt_S")) {
    auto& f = dynamic_cast<view::TextField&>(c);
    Step([&] { store.WriteString(kSection, key + "_Value", text::Trim(f.GetValue().ToText())); });
    Step([&] { store.WriteString(kSection, key + "_Text", text::Trim(f.Text())); });
  } else if (TypeIs(c, "CheckBox")) {
    store.WriteInteger(kSection, key, static_cast<int16_t>(dynamic_cast<view::CheckBox&>(c).GetValue()));
  } else if (TypeIs(c, "TextBox")) {
    store.WriteString(kSection, key, text::Trim(dynamic_cast<view::TextBox&>(c).Text()));
  } else if (TypeIs(c, "ComboBox")) {
    store.WriteString(kSection, key, text::Trim(dynamic_cast<view::ComboBox&>(c).Text()));
  } else if (TypeIs(c, "OptionButton")) {
    store.WriteBoolean(kSection, key, dynamic_cast<view::OptionButton&>(c).GetValue());
  } else if (TypeIs(c, "DTPicker") || TypeIs(c, "gcDTP")) {
    store.WriteString(kSection, key, dynamic_cast<view::DatePicker&>(c).GetValue().ToText());
  } else if (TypeIs(c, "TreeView")) {
    auto node = dynamic_cast<view::TreeView&>(c).SelectedItem();
    if (node) store.WriteString(kSection, key, node->Text);
  } else if (TypeIs(c, "ListView")) {
    auto item = dynamic_cast<view::ListView&>(c).SelectedItem();
    if (item) store.WriteInteger(kSection, key, static_cast<int16_t>(item->Index));
  } else if (TypeIs(c, "qnGrid")) {
    auto& g = dynamic_cast<view::Grid&>(c);
    for (int n = 1; n < g.Cols(); ++n)
      Step([&] { store.WriteString(kSection, key + "_Col" + std::to_string(n), std::to_string(g.ColWidth(n))); });
  }
}

}  // namespace

void GetStatus(view::Controls& controls, const std::string& path, bool) {
  if (path.empty()) return;
  IStatusStore store;
  try {
    store.Open(path);
  } catch (const std::exception&) {
  }
  for (const auto& c : controls) Step([&] { LoadControl(store, *c); });
}

void SaveStatus(view::Controls& controls, const std::string& path, bool) {
  if (path.empty()) return;
  IStatusStore store(true);
  try {
    store.Open(path);
  } catch (const std::exception&) {
  }
  for (const auto& c : controls) Step([&] { SaveControl(store, *c); });
  store.Flush();
}

}  // namespace kmd
