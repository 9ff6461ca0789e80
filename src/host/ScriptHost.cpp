#include "host/ScriptHost.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "base/Text.h"
#include "colour/frmMain.h"
#include "files/bGetTempFile.h"
#include "files/mShellExecute.h"
#include "files/zLibControl.h"
#include "host/AllForms.h"
#include "view/LineGrid.h"
#include "view/ListView.h"
#include "view/TreeView.h"
#include "view/Widgets.h"

namespace kmd::host {

namespace {

std::string Bool(bool b) { return b ? "True" : "False"; }
std::string Quote(const std::string& s) { return "\"" + s + "\""; }

// First word of `s` and the rest after one blank.
std::pair<std::string, std::string> SplitWord(const std::string& s) {
  auto p = s.find(' ');
  if (p == std::string::npos) return {s, ""};
  return {s.substr(0, p), s.substr(p + 1)};
}

// The temporary folder is written "$TMPDIR/" in scripts and transcripts, so that they read the
// same wherever it lies.
const char* const kTempToken = "$TMPDIR/";
std::string ExpandTemp(const std::string& s) { return text::Replace(s, kTempToken, bGetTempFile::GetTempDir()); }
std::string ShowTemp(const std::string& s) {
  std::string dir = bGetTempFile::GetTempDir();
  return dir.empty() ? s : text::Replace(s, dir, kTempToken);
}

}  // namespace

ScriptHost::ScriptHost(std::shared_ptr<Context> context, std::ostream& out, std::ostream& err,
                       const FormRegistry* forms)
    : m_Context(std::move(context)), m_Lines(out), m_Out(&m_Lines), m_Err(err), m_Forms(forms ? forms : &AllForms()) {
  // A file the forms open is printed, not opened.
  mShellExecute::SetOpener([this](const std::string& target, const std::string&) { return OpenFile(target) ? 0 : 31; });
  if (!m_Context) return;
  m_Context->SetWindows(this, [this](const LookupWindow& window, const db::Recordset& rows,
                                     const std::string& textColumn) { return Browse(window, rows, textColumn); });
  m_Context->SetPickerWindow([this](const PickerTable& table, const std::string& mode, const db::Recordset& rows) {
    return Pick(table, mode, rows);
  });
}

ScriptHost::~ScriptHost() {
  mShellExecute::SetOpener(nullptr);
  if (!m_Context) return;
  m_Context->SetWindows(nullptr, nullptr);
  m_Context->SetPickerWindow(nullptr);
  m_Context->GetDatabase()->SetTrace(nullptr);
}

int ScriptHost::Run(std::istream& script, const std::string& name) {
  std::string line;
  int number = 0;
  while (std::getline(script, line)) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::string trimmed = text::Trim(line);
    if (trimmed.empty() || trimmed[0] == '#') continue;
    // A browse window waits for the answer line; any other line cancels it first.
    if ((m_PendingBrowse || m_PendingCellBrowse) && trimmed.rfind("answer ", 0) != 0) RunPendingBrowse();
    m_Out << "> " << line << "\n";
    try {
      Execute(line);
      FlushJournal();
      if (!m_Out) throw ScriptError{"the transcript cannot be written"};
    } catch (const ScriptError& e) {
      m_Out.flush();
      m_Err << name << ":" << number << ": " << e.message << "\n";
      return 2;
    }
  }
  RunPendingBrowse();
  FlushJournal();
  m_Out.flush();
  return 0;
}

ScriptHost::LineFlush::int_type ScriptHost::LineFlush::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  char ch = traits_type::to_char_type(c);
  return xsputn(&ch, 1) == 1 ? c : traits_type::eof();
}

std::streamsize ScriptHost::LineFlush::xsputn(const char* s, std::streamsize n) {
  m_Pending.append(s, static_cast<size_t>(n));
  if (std::find(s, s + n, '\n') != s + n && sync() != 0) return 0;
  return n;
}

int ScriptHost::LineFlush::sync() {
  m_Pending = ShowTemp(m_Pending);
  m_Target.write(m_Pending.data(), static_cast<std::streamsize>(m_Pending.size()));
  m_Pending.clear();
  m_Target.flush();
  return m_Target ? 0 : -1;
}

FormGuard& ScriptHost::CurrentForm() {
  if (!m_Form) throw ScriptError{"no form is open"};
  // Clear has released the form's tree and controls: nothing of it may be reached any more.
  if (m_Form->Cleared()) throw ScriptError{"the form was cleared"};
  return *m_Form;
}

view::TreeView& ScriptHost::Tree() {
  auto* tree = CurrentForm().Inner().Tree();
  if (!tree) throw ScriptError{"the form has no tree"};
  return *tree;
}

view::NodePtr ScriptHost::NodeKeyed(const std::string& key) {
  auto node = Tree().FindKey(key);
  if (!node) throw ScriptError{"no node has the key " + key};
  return node;
}

view::Control& ScriptHost::ControlNamed(const std::string& name) {
  auto* c = CurrentForm().Controls().FindByDisplayName(name);
  if (!c) throw ScriptError{"unknown control " + name};
  return *c;
}

void ScriptHost::Execute(const std::string& line) {
  auto [cmd, rest] = SplitWord(text::LTrim(line));
  rest = ExpandTemp(rest);
  if (cmd == "open") {
    std::istringstream in(rest);
    std::string cls;
    in >> cls;
    m_ProgramId = 0;
    m_RecordId = 0;
    in >> m_ProgramId >> m_RecordId;
    // A later open releases the earlier form without any call on it.
    m_Form.reset();
    try {
      m_Form = m_Forms->Create(cls, *this);
    } catch (const std::exception& e) {
      throw ScriptError{e.what()};
    }
    if (!m_Form) throw ScriptError{"unknown form class " + cls};
    m_Form->SetEventSink(this);
  } else if (cmd == "type") {
    auto [name, textTyped] = SplitWord(rest);
    auto& c = ControlNamed(name);
    // A control out of sight is out of the user's reach.
    if (!c.Shown()) throw ScriptError{"cannot type into " + name + ": it is hidden"};
    if (auto* f = dynamic_cast<view::TextField*>(&c)) CurrentForm().Run([&] { f->UserType(textTyped); });
    else if (auto* t = dynamic_cast<view::TextBox*>(&c)) CurrentForm().Run([&] { t->UserType(textTyped); });
    else if (auto* cb = dynamic_cast<view::ComboBox*>(&c)) CurrentForm().Run([&] { cb->UserType(textTyped); });
    else throw ScriptError{"cannot type into " + name};
  } else if (cmd == "leave") {
    auto* f = dynamic_cast<view::TextField*>(&ControlNamed(text::Trim(rest)));
    if (!f) throw ScriptError{"cannot leave " + rest};
    CurrentForm().Run([&] { f->UserLeave(); });
  } else if (cmd == "lookup" || cmd == "browse") {
    auto [name, textTyped] = SplitWord(cmd == "browse" ? text::Trim(rest) : rest);
    auto* f = dynamic_cast<view::TextField*>(&ControlNamed(name));
    if (!f || !f->GetReference().IsReference) throw ScriptError{"no reference field " + name};
    if (cmd == "lookup") {
      CurrentForm().Run([&] {
        f->UserType(textTyped);
        f->UserLeave();
      });
    } else {
      m_PendingBrowse = f;
      if (!m_Answers.empty()) RunPendingBrowse();
    }
  } else if (cmd == "click") {
    auto [name, button] = SplitWord(text::Trim(rest));
    auto& c = ControlNamed(button.empty() ? text::Trim(rest) : name);
    if (auto* bar = dynamic_cast<view::Toolbar*>(&c)) {
      int index = text::IsNumeric(button) ? static_cast<int>(text::Val(button)) : 0;
      if (index < 1 || index > bar->Count()) throw ScriptError{name + " has no button " + button};
      CurrentForm().Run([&] { bar->UserClick(index); });
    } else if (!button.empty()) throw ScriptError{"unknown control " + rest};
    else if (auto* o = dynamic_cast<view::OptionButton*>(&c)) CurrentForm().Run([&] { o->UserClick(); });
    else if (auto* ch = dynamic_cast<view::CheckBox*>(&c)) CurrentForm().Run([&] { ch->UserClick(); });
    else if (auto* b = dynamic_cast<view::Button*>(&c)) CurrentForm().Run([&] { b->UserClick(); });
    else if (auto* p = dynamic_cast<view::PictureBox*>(&c)) CurrentForm().Run([&] { p->UserClick(); });
    else throw ScriptError{"cannot click " + rest};
  } else if (cmd == "item") {
    auto [name, index] = SplitWord(text::Trim(rest));
    auto* list = dynamic_cast<view::ListView*>(&ControlNamed(name));
    if (!list) throw ScriptError{name + " is no list"};
    int at = text::IsNumeric(index) ? static_cast<int>(text::Val(index)) : 0;
    if (at < 1 || at > list->Count()) throw ScriptError{name + " has no item " + index};
    CurrentForm().Run([&] { list->UserClick(list->Item(at)); });
  } else if (cmd == "key") {
    auto [name, key] = SplitWord(text::Trim(rest));
    static const std::map<std::string, int> codes = {
        {"Enter", view::vbKeyReturn}, {"Up", view::vbKeyUp}, {"Down", view::vbKeyDown}};
    auto code = codes.find(text::Trim(key));
    if (code == codes.end()) throw ScriptError{"key takes a control and Enter, Up or Down"};
    auto* f = dynamic_cast<view::TextField*>(&ControlNamed(name));
    if (!f) throw ScriptError{"cannot press a key in " + name};
    CurrentForm().Run([&] { f->UserKey(code->second); });
  } else if (cmd == "pick") {
    auto node = NodeKeyed(text::Trim(rest));
    CurrentForm().Run([&] { Tree().UserClick(node); });
  } else if (cmd == "expand") {
    auto node = NodeKeyed(text::Trim(rest));
    CurrentForm().Run([&] { Tree().UserExpand(node); });
  } else if (cmd == "drag") {
    std::istringstream in(rest);
    std::string sourceKey, targetKey;
    if (!(in >> sourceKey >> targetKey)) throw ScriptError{"drag takes SOURCEKEY TARGETKEY"};
    auto source = NodeKeyed(sourceKey), target = NodeKeyed(targetKey);
    // Both rows are brought into view (their parents expand as the program's, raising nothing),
    // then the user drags the one onto the other.
    CurrentForm().Run([&] {
      source->EnsureVisible();
      target->EnsureVisible();
      Tree().UserDrag(source, target);
    });
  } else if (cmd == "cell" || cmd == "celllookup" || cmd == "cellbrowse" || cmd == "addrow" || cmd == "delrow") {
    RunGridCommand(cmd, rest);
  } else if (cmd == "dblclick") {
    auto& c = ControlNamed(text::Trim(rest));
    if (auto* image = dynamic_cast<view::Image*>(&c)) CurrentForm().Run([&] { image->UserDblClick(); });
    else if (auto* p = dynamic_cast<view::PictureBox*>(&c)) CurrentForm().Run([&] { p->UserDblClick(); });
    else throw ScriptError{"cannot double-click " + rest};
  } else if (cmd == "write") {
    WriteFile(rest);
  } else if (cmd == "answer") {
    m_Answers.push_back(rest);
    RunPendingBrowse();
  } else if (cmd == "trace") {
    std::string mode = text::Trim(rest);
    if (mode == "on") m_Context->GetDatabase()->SetTrace([this](const std::string& sql) { m_Out << "sql " << sql << "\n"; });
    else if (mode == "off") m_Context->GetDatabase()->SetTrace(nullptr);
    else throw ScriptError{"trace takes on or off"};
  } else if (cmd == "show") {
    std::string what = text::Trim(rest);
    if (what == "tree") ShowTree();
    else if (what == "fields") ShowFields();
    else if (what.rfind("file ", 0) == 0) ShowFile(text::Trim(what.substr(5)));
    else if (what.rfind("list ", 0) == 0) ShowList(text::Trim(what.substr(5)));
    else if (what.rfind("grid ", 0) == 0) ShowGrid(text::Trim(what.substr(5)));
    else throw ScriptError{"show takes tree, fields, list LIST or grid GRID"};
  } else if (cmd == "sql") {
    RunSql(rest);
  } else if (cmd == "option" || cmd == "parameter") {
    std::istringstream in(rest);
    int32_t module = 0;
    std::string key;
    if (!(in >> module >> key)) throw ScriptError{cmd + " takes MODULE KEY VALUE"};
    std::string value;
    std::getline(in, value);
    value = text::LTrim(value);
    std::string err;
    if (cmd == "option") {
      // The value is one word; what follows it is the option's name.
      auto [word, name] = SplitWord(value);
      err = m_Context->SetOption(module, key, word);
      if (err.empty() && !text::Trim(name).empty()) err = m_Context->SetOptionName(module, key, text::Trim(name));
    } else {
      err = m_Context->SetParameter(module, key, value);
    }
    if (!err.empty()) m_Out << "error " << err << "\n";
  } else if (cmd == "rights" || cmd == "period" || cmd == "usersetting") {
    SetHostStore(cmd, rest);
  } else if (cmd == "Tools" || cmd == "Action") {
    RunTool(cmd, text::Trim(rest));
  } else if (!CallOperation(cmd, rest)) {
    throw ScriptError{"unknown command " + cmd};
  }
}

bool ScriptHost::CallOperation(const std::string& op, const std::string& args) {
  using Bool0 = bool (FormGuard::*)();
  static const std::map<std::string, Bool0> simple = {
      {"Clear", &FormGuard::Clear},           {"FileNew", &FormGuard::FileNew},
      {"FileNewNext", &FormGuard::FileNewNext}, {"FileEdit", &FormGuard::FileEdit},
      {"FileDelete", &FormGuard::FileDelete}, {"FileSave", &FormGuard::FileSave},
      {"FileCancel", &FormGuard::FileCancel}, {"FindNext", &FormGuard::FindNext},
      {"Refresh", &FormGuard::Refresh},       {"RecordTop", &FormGuard::RecordTop},
      {"RecordPrevious", &FormGuard::RecordPrevious}, {"RecordNext", &FormGuard::RecordNext},
      {"RecordBottom", &FormGuard::RecordBottom}, {"Check", &FormGuard::Check},
      {"UnCheck", &FormGuard::UnCheck},       {"PrintPreview", &FormGuard::PrintPreview},
      {"DoPrint", &FormGuard::DoPrint},       {"PrintSetup", &FormGuard::PrintSetup},
      {"Help", &FormGuard::Help},             {"IsDirty", &FormGuard::IsDirty},
  };
  auto it = simple.find(op);
  if (it != simple.end()) {
    bool r = (CurrentForm().*(it->second))();
    m_Out << "= " << Bool(r) << "\n";
    return true;
  }
  static const std::vector<std::string> withArgs = {"Init", "Find", "Filter", "DoSetStatus", "GetID",
                                                    "CheckStatus", "ReturnPrintName", "DoGetFormStatus",
                                                    "DoSaveFormStatus", "Attributes", "Parameters"};
  if (std::find(withArgs.begin(), withArgs.end(), op) == withArgs.end()) return false;
  FormGuard& f = CurrentForm();
  if (op == "Init") {
    { auto r = Bool(f.Init(m_Context.get(), m_ProgramId, m_RecordId)); m_Out << "= " << r << "\n"; }
  } else if (op == "Find") {
    { auto r = Bool(f.Find(Value(args))); m_Out << "= " << r << "\n"; }
  } else if (op == "Filter") {
    { auto r = Bool(f.Filter(Value(args))); m_Out << "= " << r << "\n"; }
  } else if (op == "DoSetStatus") {
    auto [s, v] = SplitWord(args);
    { auto r = Bool(f.DoSetStatus(s, static_cast<int32_t>(text::Val(v)))); m_Out << "= " << r << "\n"; }
  } else if (op == "GetID") {
    { auto r = f.GetID(); m_Out << "= " << r << "\n"; }
  } else if (op == "CheckStatus") {
    { auto r = Bool(f.CheckStatus(args)); m_Out << "= " << r << "\n"; }
  } else if (op == "ReturnPrintName") {
    { auto r = Quote(f.ReturnPrintName()); m_Out << "= " << r << "\n"; }
  } else if (op == "DoGetFormStatus") {
    f.DoGetFormStatus();
  } else if (op == "DoSaveFormStatus") {
    f.DoSaveFormStatus();
  } else if (op == "Attributes") {
    { auto r = Quote(f.Attributes(static_cast<int32_t>(text::Val(args)))); m_Out << "= " << r << "\n"; }
  } else if (op == "Parameters") {
    { auto r = (f.Parameters() ? "Object" : "Nothing"); m_Out << "= " << r << "\n"; }
  } else {
    return false;
  }
  return true;
}

void ScriptHost::SetHostStore(const std::string& cmd, const std::string& args) {
  std::istringstream in(args);
  std::vector<std::string> words;
  for (std::string w; in >> w;) words.push_back(w);
  auto number = [&](const std::string& w) {
    if (!text::IsNumeric(w) || w.find_first_not_of("-0123456789") != std::string::npos)
      throw ScriptError{cmd + ": " + w + " is no whole number"};
    return static_cast<int32_t>(text::Val(w));
  };
  IUserInfo user = m_Context->User();
  std::string err;
  if (cmd == "rights") {
    if (words.size() != 3 || (words[1] != "0" && words[1] != "1") || (words[2] != "0" && words[2] != "1"))
      throw ScriptError{"rights takes PROGID DETAIL ACTION, each right 0 or 1"};
    err = m_Context->SetRights(user.Name, number(words[0]), words[1] == "1", words[2] == "1");
  } else if (cmd == "period") {
    if (words.size() != 1) throw ScriptError{"period takes N"};
    err = m_Context->SetPeriod("system", 0, number(words[0]));
  } else {
    if (words.size() != 3) throw ScriptError{"usersetting takes SECTION KEY VALUE"};
    if (user.SettingsApp.empty()) throw ScriptError{"the user has no store of personal settings"};
    err = m_Context->SetUserSetting(user.Name, user.SettingsApp, words[0], words[1], words[2]);
  }
  if (!err.empty()) m_Out << "error " << err << "\n";
}

void ScriptHost::RunTool(const std::string& cmd, const std::string& key) {
  auto* tools = dynamic_cast<IFormToolUI*>(&CurrentForm().Inner());
  if (!tools) throw ScriptError{"the form has no tools"};
  if (cmd == "Tools") {
    for (const auto& t : tools->Tools()) m_Out << "tool " << t.Key << " " << t.Caption << " " << Bool(t.State) << "\n";
    return;
  }
  bool r = false;
  CurrentForm().Run([&] { r = tools->Action(key); });
  m_Out << "= " << Bool(r) << "\n";
}

void ScriptHost::ShowTree() {
  auto* tree = &Tree();
  std::function<void(const view::NodePtr&, int)> walk = [&](const view::NodePtr& n, int depth) {
    m_Out << std::string(static_cast<size_t>(depth) * 2, ' ') << n->Key() << " " << Quote(n->Text);
    std::string tag = n->Tag.ToText();
    if (!tag.empty()) m_Out << " " << tag;
    if (n->Selected()) m_Out << " *";
    m_Out << "\n";
    for (auto c = n->Child(); c; c = c->Next()) walk(c, depth + 1);
  };
  for (const auto& root : tree->Roots()) walk(root, 0);
}

void ScriptHost::ShowList(const std::string& name) {
  auto* list = dynamic_cast<view::ListView*>(&ControlNamed(name));
  if (!list) throw ScriptError{name + " is no list"};
  for (const auto& item : list->Items()) {
    m_Out << item->Index << " " << Quote(item->Text);
    for (const auto& s : item->SubItems) m_Out << " " << Quote(s);
    if (item == list->SelectedItem()) m_Out << " *";
    m_Out << "\n";
  }
}

void ScriptHost::ShowFields() {
  for (const auto& c : CurrentForm().Controls()) {
    // The tree is shown by its own command; the frame and the bar are layout, not fields.
    if (c->TypeName() == "TreeView" || c->TypeName() == "Frame" || c->TypeName() == "Splitter") continue;
    m_Out << c->DisplayName() << " " << c->TypeName() << " " << Quote(c->ShownText());
    if (auto* f = dynamic_cast<view::TextField*>(c.get()); f && f->GetReference().IsReference)
      m_Out << " value=" << f->GetValue().ToText();
    m_Out << (c->Enabled() ? " enabled" : " disabled");
    if (!c->Shown()) m_Out << " hidden";
    if (c->HasFocus()) m_Out << " focus";
    m_Out << "\n";
  }
}

void ScriptHost::RunSql(const std::string& sql) {
  db::QueryResult r;
  auto& connection = m_Context->GetDatabase()->GetConnection();
  // The script is the operator's own: a statement with a body of several (a trigger, say) runs
  // as a script, without rows.
  std::string err = db::RefusedStatement(sql).empty() ? connection.Run(sql, {}, &r) : connection.RunScript(sql);
  // What the script changes itself is no change made elsewhere: the shown record is read again.
  if (m_Form && !m_Form->Cleared()) m_Form->Inner().RetakeFingerprint();
  if (!err.empty()) {
    m_Out << "error " << err << "\n";
    return;
  }
  if (r.columns.empty()) {
    m_Out << "ok\n";
    return;
  }
  auto join = [&](const std::vector<std::string>& items) {
    std::string s;
    for (size_t i = 0; i < items.size(); ++i) s += (i ? " | " : "") + items[i];
    return s;
  };
  m_Out << join(r.columns) << "\n";
  for (const auto& row : r.rows) {
    std::vector<std::string> cells;
    for (const auto& v : row) cells.push_back(v.IsNull() ? "NULL" : v.ToText());
    m_Out << join(cells) << "\n";
  }
}

std::string ScriptHost::TakeAnswer() {
  if (m_Answers.empty()) return "";
  std::string a = text::Trim(m_Answers.front());
  m_Answers.pop_front();
  return a;
}

void ScriptHost::RunPendingBrowse() {
  view::TextField* f = m_PendingBrowse;
  m_PendingBrowse = nullptr;
  if (f && m_Form && !m_Form->Cleared()) m_Form->Run([&] { f->UserBrowse(); });
  auto cell = std::move(m_PendingCellBrowse);
  m_PendingCellBrowse = nullptr;
  if (cell && m_Form && !m_Form->Cleared()) m_Form->Run(cell);
}

int ScriptHost::Browse(const LookupWindow& window, const db::Recordset& rows, const std::string& textColumn) {
  std::string wanted = m_Answers.empty() ? "Cancel" : TakeAnswer();
  int shownAt = rows.ColumnIndex(textColumn);
  int codeAt = rows.ColumnIndex(window.CodeColumn);
  auto cell = [&](const db::Row& row, int at) { return at < 0 ? std::string() : row[static_cast<size_t>(at)].ToText(); };
  int picked = -1;
  for (size_t i = 0; i < rows.Rows().size() && picked < 0; ++i) {
    const auto& row = rows.Rows()[i];
    if ((shownAt >= 0 && cell(row, shownAt) == wanted) || (codeAt >= 0 && cell(row, codeAt) == wanted))
      picked = static_cast<int>(i);
  }
  std::string shown = picked < 0 ? "Cancel" : cell(rows.Rows()[static_cast<size_t>(picked)], shownAt);
  m_Out << "browse " << window.Key << " -> " << shown << "\n";
  return picked;
}

int ScriptHost::MsgBox(const std::string& text, int style, const std::string& title) {
  int buttons = view::ButtonsOf(style);
  static const std::map<int, std::vector<int>> offered = {
      {view::vbOKOnly, {view::vbOK}},
      {view::vbOKCancel, {view::vbOK, view::vbCancel}},
      {view::vbAbortRetryIgnore, {view::vbAbort, view::vbRetry, view::vbIgnore}},
      {view::vbYesNoCancel, {view::vbYes, view::vbNo, view::vbCancel}},
      {view::vbYesNo, {view::vbYes, view::vbNo}},
      {view::vbRetryCancel, {view::vbRetry, view::vbCancel}},
  };
  auto it = offered.find(buttons);
  const std::vector<int>& choices = it == offered.end() ? offered.at(view::vbOKOnly) : it->second;
  int answer = choices.size() == 1 ? view::vbOK : choices.back();
  if (buttons == view::vbYesNo) answer = view::vbNo;
  if (buttons == view::vbAbortRetryIgnore) answer = view::vbAbort;
  if (choices.size() > 1 && !m_Answers.empty()) {
    std::string wanted = TakeAnswer();
    for (int c : choices)
      if (text::EqualsNoCase(view::AnswerName(c), wanted)) answer = c;
  }
  // A box stays on one transcript line: its line breaks print as "\n".
  std::string shown = text::Replace(text::Replace(text::Replace(text, "\r\n", "\n"), "\r", "\n"), "\n", "\\n");
  m_Out << "box " << title << " [" << view::IconName(style) << "] " << shown << " -> " << view::AnswerName(answer)
        << "\n";
  return answer;
}

std::string ScriptHost::InputBox(const std::string& prompt, const std::string& title, const std::string&) {
  std::string answer = m_Answers.empty() ? "Cancel" : TakeAnswer();
  m_Out << "input " << title << " " << prompt << " -> " << answer << "\n";
  return answer == "Cancel" ? "" : answer;
}

bool ScriptHost::ChooseColor(const std::string& title, int32_t& color) {
  std::string answer = m_Answers.empty() ? "Cancel" : TakeAnswer();
  m_Out << "color " << title << " -> " << answer << "\n";
  PickerCall call{title, color, color};
  frmMain dialog(call);
  if (answer == "Cancel") {
    dialog.cmdCancel->UserClick();
    return false;
  }
  dialog.txtHex->UserEnter();
  dialog.txtHex->UserType(answer);
  dialog.txtHex->UserLeave();
  dialog.cmdOK->UserClick();
  color = call.resultColour;
  return true;
}

bool ScriptHost::ChooseFile(view::FileChoice& choice) {
  std::string answer = m_Answers.empty() ? "Cancel" : TakeAnswer();
  m_Out << "file " << choice.title << " -> " << answer << "\n";
  if (answer == "Cancel" || answer.empty()) return false;
  choice.files = {answer};
  return true;
}

bool ScriptHost::OpenFile(const std::string& target) {
  m_Out << "shell open " << target << "\n";
  return true;
}

void ScriptHost::WriteFile(const std::string& args) {
  std::istringstream in(args);
  std::string path, size, source;
  in >> path >> size >> source;
  if (path.empty() || !text::IsNumeric(size) || size.find_first_not_of("0123456789") != std::string::npos)
    throw ScriptError{"write takes PATH SIZE [SOURCE]"};
  std::string bytes;
  if (!source.empty()) {
    std::ifstream from(source, std::ios::binary);
    if (!from) throw ScriptError{"cannot read " + source};
    bytes.assign(std::istreambuf_iterator<char>(from), std::istreambuf_iterator<char>());
  }
  bytes.resize(static_cast<size_t>(text::Val(size)), '\0');
  std::ofstream to(path, std::ios::binary | std::ios::trunc);
  if (!to.write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) throw ScriptError{"cannot write " + path};
}

void ScriptHost::ShowFile(const std::string& path) {
  std::error_code ec;
  auto size = std::filesystem::file_size(path, ec);
  if (ec) {
    m_Out << "file " << path << " missing\n";
    return;
  }
  zLibControl z;
  char crc[9];
  std::snprintf(crc, sizeof crc, "%08X", static_cast<unsigned>(z.Calculate_Crc32(path)));
  m_Out << "file " << path << " " << size << " bytes crc " << crc << "\n";
}

void ScriptHost::Message(const std::string& psMsg) { m_Out << "event Message | " << psMsg << "\n"; }

void ScriptHost::ErrMessage(const std::string& psMsg, int32_t plLevel, const std::string& psTitle) {
  m_Out << "event ErrMessage " << plLevel << " " << psTitle << " | " << psMsg << "\n";
  if ((plLevel == kJournal || plLevel == kJournalFailure) && m_Context)
    m_Journal.push_back({m_Context->User().Name, m_Form ? m_Form->ClassName() : "", plLevel, psTitle, psMsg, ""});
}

void ScriptHost::CommandEnded(bool committed) {
  if (committed) return;
  std::erase_if(m_Journal, [](const JournalLine& line) { return line.level == kJournal; });
}

// Journal lines are written after the command that raised them, outside its transaction.
void ScriptHost::FlushJournal() {
  if (m_Journal.empty() || !m_Context) return;
  auto& connection = m_Context->GetDatabase()->GetConnection();
  if (connection.InTransaction()) return;
  for (const auto& line : m_Journal) WriteJournal(connection, line);
  m_Journal.clear();
}

void ScriptHost::FormRefreshed() { m_Out << "event FormRefreshed\n"; }

void ScriptHost::Property(const std::string& name, const Value& value, bool autoUpdate) {
  m_Out << "event Property " << name << " " << value.Display() << " " << Bool(autoUpdate) << "\n";
}

}  // namespace kmd::host
