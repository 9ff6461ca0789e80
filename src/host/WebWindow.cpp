#include "host/WebWindow.h"

#include <filesystem>
#include <fstream>
#include <map>

#include "base/Text.h"
#include "colour/frmMain.h"
#include "db/Connection.h"
#include "files/mShellExecute.h"
#include "host/Journal.h"
#include "host/WebFiles.h"

namespace kmd::host {

using nlohmann::json;

WebReply WebReply::Error(int status, const std::string& message) { return {status, {{"error", message}}}; }

WebWindow::WebWindow(std::string id, const FormRegistry& forms, const FormRegistry::Entry& entry,
                     std::optional<int32_t> programId, Options options)
    : m_Id(std::move(id)), m_Forms(forms), m_Entry(entry), m_ProgramId(programId), m_Options(std::move(options)) {
  m_Thread = std::thread([this] { Loop(); });
}

WebWindow::~WebWindow() {
  bool open;
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    open = !m_Closing;
  }
  if (open) Close();
  if (m_Thread.joinable()) m_Thread.join();
}

// ---- the page's side -------------------------------------------------------------------------

WebReply WebWindow::Open(const RowRange& rows) {
  std::unique_lock<std::mutex> lock(m_Mutex);
  return Submit(
      [this] {
        auto database = std::make_shared<db::Database>(db::Open(m_Options.database));
        m_Context = std::make_shared<Context>(database, m_Options.user);
        m_Context->SetWindows(this, [this](const LookupWindow& w, const db::Recordset& r, const std::string& c) {
          return Browse(w, r, c);
        });
        // A picker shows as a browse window over its table's rows; the row taken is the selection.
        m_Context->SetPickerWindow([this](const PickerTable& t, const std::string&, const db::Recordset& r) {
          LookupWindow window{t.Table, t.Title, t.Sql, t.CodeColumn, {}};
          for (const auto& field : t.Fields)
            if (field.first.rfind("l", 0) != 0) window.Columns.push_back(field.second);  // ids are not shown
          int picked = Browse(window, r, t.CodeColumn);
          return picked < 0 ? std::vector<int>{} : std::vector<int>{picked};
        });
        m_Form = m_Forms.Create(m_Entry.className, *this);
        if (!m_Form) throw ActionError{404, "unknown form class " + m_Entry.className};
        m_Form->SetEventSink(this);
        int32_t program = m_ProgramId ? *m_ProgramId : 0;
        if (!m_ProgramId) {
          db::QueryResult r;
          database->GetConnection().Run(
              "SELECT ProgID FROM xt_objects WHERE ClassName = ? COLLATE NOCASE ORDER BY ProgID LIMIT 1",
              {Value(m_Entry.className)}, &r);
          if (!r.rows.empty()) program = r.rows[0][0].ToLong();
        }
        bool ok = m_Form->Init(m_Context.get(), program, 0) && m_Form->Refresh();
        m_Form->DoGetFormStatus();
        return json{{"result", ok}};
      },
      rows, true, lock);
}

WebReply WebWindow::View(const RowRange& rows) {
  std::unique_lock<std::mutex> lock(m_Mutex);
  switch (m_State) {
    case State::Closed: return WebReply::Error(404, "the window is closed");
    case State::Running: return Await(m_Published, lock);
    case State::Asking: return Reply();
    case State::Idle: break;
  }
  return Submit([] { return json(); }, rows, false, lock);
}

WebReply WebWindow::Act(const json& action, const RowRange& rows) {
  std::unique_lock<std::mutex> lock(m_Mutex);
  if (!action.is_object() || !action.contains("kind") || !action["kind"].is_string())
    return WebReply::Error(400, "the action needs a \"kind\"");
  if (auto v = action.find("version"); v != action.end() && m_State == State::Idle) {
    if (!v->is_number_integer()) return WebReply::Error(400, "\"version\" is no number");
    if (v->get<int64_t>() != m_Version)
      return WebReply::Error(409, "stale request: the window is at version " + std::to_string(m_Version));
  }
  return Submit([this, action] { return PerformAction(*m_Form, action); }, rows, true, lock);
}

namespace {

// Why an answer does not fit the dialog; "" when it does.
std::string CheckAnswer(const json& dialog, const json& answer) {
  std::string kind = dialog.value("kind", "");
  if (kind == "msgbox") {
    if (answer.is_number_integer())
      for (const auto& b : dialog["buttons"])
        if (b["answer"] == answer) return "";
    return "the box has no button " + answer.dump();
  }
  if (kind == "input") return answer.is_null() || answer.is_string() ? "" : "an input box takes a text or null";
  if (kind == "color") {
    if (answer.is_null()) return "";
    if (answer.is_object() && answer.contains("control") && answer["control"].is_string() && answer.contains("kind") &&
        answer["kind"].is_string())
      return "";
    std::string s = answer.is_string() ? answer.get<std::string>() : "";
    bool ok = s.size() == 7 && s[0] == '#' && s.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    return ok ? "" : "a colour is #RRGGBB, an action on the picker or null";
  }
  if (kind == "browse") {
    if (answer.is_null()) return "";
    int rows = static_cast<int>(dialog["rows"].size());
    if (answer.is_number_integer() && answer.get<int>() >= -1 && answer.get<int>() < rows) return "";
    return "the browse window has no row " + answer.dump();
  }
  if (kind == "open") return answer.is_null() ? "" : "the box of a file takes null";
  if (kind == "file") {
    if (answer.is_null()) return "";
    if (answer.is_object() && answer.contains("dir") && answer["dir"].is_string()) return "";
    if (answer.is_object() && answer.contains("files") && answer["files"].is_array() && !answer["files"].empty()) {
      for (const auto& f : answer["files"])
        if (!f.is_string() || f.get<std::string>().empty()) return "a file is a name";
      if (answer["files"].size() > 1 && !dialog.value("multi", false)) return "the dialog takes one file";
      return "";
    }
    return "a file dialog takes {\"dir\"}, {\"files\"} or null";
  }
  return "unknown dialog";
}

}  // namespace

WebReply WebWindow::Answer(const json& body, const RowRange& rows) {
  std::unique_lock<std::mutex> lock(m_Mutex);
  if (!body.is_object() || !body.contains("dialog") || !body.contains("answer"))
    return WebReply::Error(400, "an answer needs \"dialog\" and \"answer\"");
  if (m_Closing) return WebReply::Error(404, "the window is closed");
  if (m_State != State::Asking) return WebReply::Error(409, "no dialog waits for an answer");
  if (body["dialog"] != m_Dialog["id"]) return WebReply::Error(409, "stale answer: another dialog waits");
  if (std::string why = CheckAnswer(m_Dialog, body["answer"]); !why.empty()) return WebReply::Error(400, why);
  m_Rows = rows;
  m_Answer = body["answer"];
  uint64_t before = m_Published;
  m_Cv.notify_all();
  return Await(before, lock);
}

WebReply WebWindow::Close() {
  std::unique_lock<std::mutex> lock(m_Mutex);
  if (m_State == State::Closed || m_Closing) return WebReply::Error(404, "the window is closed");
  // Dialogs answer Cancel from now on, so that work under way comes to its end; new work is refused.
  m_Closing = true;
  m_Cv.notify_all();
  m_Cv.wait(lock, [this] { return m_State == State::Idle; });
  m_Task = [this] {
    if (m_Form) {
      m_Form->DoSaveFormStatus();
      m_Form->Clear();
    }
    return json{{"result", true}};
  };
  m_State = State::Running;
  uint64_t before = m_Published;
  m_Cv.notify_all();
  m_Cv.wait(lock, [&] { return m_Published > before; });
  m_Stop = true;
  m_State = State::Closed;
  m_Cv.notify_all();
  lock.unlock();
  if (m_Thread.joinable()) m_Thread.join();
  return {200, {{"closed", m_Id}}};
}

WebReply WebWindow::Submit(Task task, const RowRange& rows, bool isAction, std::unique_lock<std::mutex>& lock) {
  if (m_Closing) return WebReply::Error(404, "the window is closed");
  switch (m_State) {
    case State::Closed: return WebReply::Error(404, "the window is closed");
    case State::Asking: return WebReply::Error(409, "a dialog waits for its answer");
    case State::Running: return WebReply::Error(409, "the form is at work");
    case State::Idle: break;
  }
  m_Rows = rows;
  m_Task = [this, task = std::move(task), isAction] {
    json result = task();
    if (isAction && !result.contains("error")) {
      std::lock_guard<std::mutex> guard(m_Mutex);
      ++m_Version;
    }
    return result;
  };
  m_State = State::Running;
  m_Result = nullptr;
  uint64_t before = m_Published;
  m_Cv.notify_all();
  return Await(before, lock);
}

WebReply WebWindow::Await(uint64_t published, std::unique_lock<std::mutex>& lock) {
  bool done = m_Cv.wait_for(lock, m_Options.wait, [&] { return m_Published > published || m_State == State::Closed; });
  if (!done) return {200, {{"window", m_Id}, {"busy", true}, {"version", m_Version}}};
  return Reply();
}

WebReply WebWindow::Reply() {
  if (m_State == State::Idle && m_Result.is_object() && m_Result.contains("error"))
    return WebReply::Error(m_Result.value("status", 400), m_Result["error"].get<std::string>());
  json body = {{"window", m_Id},   {"class", m_Entry.className}, {"title", m_Entry.title},
               {"version", m_Version}, {"view", m_View},            {"dialog", m_Dialog},
               {"events", m_Events}};
  if (m_State == State::Idle && m_Result.is_object() && m_Result.contains("result")) body["result"] = m_Result["result"];
  m_Events = json::array();
  return {200, std::move(body)};
}

// ---- the window's thread ---------------------------------------------------------------------

void WebWindow::Loop() {
  // What the form opens goes to the page, never to this machine's desktop.
  mShellExecute::SetOpener([this](const std::string& target, const std::string&) { return OpenFile(target) ? 0 : 31; });
  std::unique_lock<std::mutex> lock(m_Mutex);
  for (;;) {
    m_Cv.wait(lock, [this] { return m_Task || m_Stop; });
    if (!m_Task) break;
    Task task = std::move(m_Task);
    m_Task = nullptr;
    lock.unlock();
    json result;
    try {
      result = task();
    } catch (const ActionError& e) {
      result = {{"error", e.message}, {"status", e.status}};
    } catch (const std::exception& e) {
      result = {{"error", e.what()}, {"status", 500}};
    }
    FlushJournal();
    json view = Snapshot();
    lock.lock();
    m_Result = std::move(result);
    m_View = std::move(view);
    m_State = State::Idle;
    ++m_Published;
    m_Cv.notify_all();
  }
  lock.unlock();
  // The form, its context and the connection end on the thread that used them.
  m_Form.reset();
  m_Context.reset();
}

json WebWindow::Snapshot() {
  if (!m_Form) return nullptr;
  RowRange rows;
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    rows = m_Rows;
  }
  try {
    json view = ViewModel(*m_Form, rows);
    view["status"] = m_Status;
    return view;
  } catch (const std::exception& e) {
    // A control that cannot be read must not end the window's thread.
    return {{"controls", json::array()}, {"toolbar", json::object()}, {"status", std::string("显示出错：") + e.what()}};
  }
}

json WebWindow::Ask(json dialog) {
  json view = Snapshot();
  std::unique_lock<std::mutex> lock(m_Mutex);
  if (m_Closing) return nullptr;
  dialog["id"] = ++m_DialogSerial;
  m_Dialog = std::move(dialog);
  m_View = std::move(view);
  m_State = State::Asking;
  ++m_Published;
  m_Cv.notify_all();
  m_Cv.wait(lock, [this] { return m_Answer.has_value() || m_Closing; });
  json answer = m_Answer ? *m_Answer : json();
  m_Answer.reset();
  m_Dialog = nullptr;
  m_State = State::Running;
  return answer;
}

namespace {

struct BoxButtons {
  std::vector<int> answers;
  int cancel;  // what Esc (and a closing window) answers
};

BoxButtons ButtonsFor(int style) {
  using namespace view;
  switch (ButtonsOf(style)) {
    case vbOKCancel: return {{vbOK, vbCancel}, vbCancel};
    case vbAbortRetryIgnore: return {{vbAbort, vbRetry, vbIgnore}, vbAbort};
    case vbYesNoCancel: return {{vbYes, vbNo, vbCancel}, vbCancel};
    case vbYesNo: return {{vbYes, vbNo}, vbNo};
    case vbRetryCancel: return {{vbRetry, vbCancel}, vbCancel};
    default: return {{vbOK}, vbOK};
  }
}

}  // namespace

int WebWindow::MsgBox(const std::string& text, int style, const std::string& title) {
  BoxButtons b = ButtonsFor(style);
  // The second or third button may be the default one (vbDefaultButton2 256, vbDefaultButton3 512).
  size_t def = std::min(static_cast<size_t>((style >> 8) & 3), b.answers.size() - 1);
  json buttons = json::array();
  for (int a : b.answers) buttons.push_back({{"answer", a}, {"name", view::AnswerName(a)}});
  json answer = Ask({{"kind", "msgbox"}, {"title", title}, {"text", text}, {"icon", view::IconName(style)},
                     {"buttons", buttons}, {"default", b.answers[def]}, {"cancel", b.cancel}});
  return answer.is_number_integer() ? answer.get<int>() : b.cancel;
}

std::string WebWindow::InputBox(const std::string& prompt, const std::string& title, const std::string& defaultText) {
  json answer = Ask({{"kind", "input"}, {"title", title}, {"prompt", prompt}, {"text", defaultText}});
  return answer.is_string() ? answer.get<std::string>() : "";
}

namespace {

// The picker as the page draws it: the current colour, the seven boxes, the picked point, the
// brightness strip and, with `withMap`, the map (six hex digits a cell, row by row).
json PickerModel(frmMain& d, bool withMap) {
  json boxes = json::object();
  for (auto* box : {d.txtHue, d.txtSat, d.txtBri, d.txtRed, d.txtGreen, d.txtBlue, d.txtHex})
    boxes[box->Name()] = box->Text();
  json strip = json::array();
  for (int32_t c : d.Strip()) strip.push_back(CssColour(c));
  json m = {{"kind", "color"},    {"title", d.Caption()}, {"color", CssColour(d.lblCurrColor->BackColor)},
            {"boxes", boxes},     {"strip", strip},       {"size", frmMain::kMapSize},
            {"selector", {{"x", d.selector->Left}, {"y", d.selector->Top}, {"visible", d.selector->Visible()}}}};
  if (withMap) {
    std::string map;
    map.reserve(static_cast<size_t>(frmMain::kMapSize) * frmMain::kMapSize * 6);
    for (int y = 0; y < frmMain::kMapSize; ++y)
      for (int x = 0; x < frmMain::kMapSize; ++x) map += CssColour(d.MapColor(x, y)).substr(1);
    m["map"] = std::move(map);
  }
  return m;
}

// One action of the page on the picker: a click on the map, the strip or a button, typing into a
// box, entering or leaving it. An action on no control of the picker does nothing.
void ActOnPicker(frmMain& d, const json& a) {
  auto* c = d.Controls().FindByDisplayName(a["control"].get<std::string>());
  if (!c) return;
  const std::string kind = a["kind"].get<std::string>();
  try {
    if (auto* box = dynamic_cast<view::TextBox*>(c)) {
      if (kind == "type") box->UserType(a.value("text", ""));
      else if (kind == "focus") box->UserEnter();
      else if (kind == "leave") box->UserLeave();
    } else if (auto* picture = dynamic_cast<view::PictureBox*>(c); picture && kind == "click") {
      picture->UserClick(a.value("x", 0), a.value("y", 0));
    } else if (auto* button = dynamic_cast<view::Button*>(c); button && kind == "click") {
      button->UserClick();
    }
  } catch (const RuntimeError&) {
    // Text that cannot be stored is not taken; the box keeps what it had.
  }
}

}  // namespace

// The picker dialog runs here, on the window's thread; each action of the page is an answer, and
// the dialog is asked again with the picker as it now stands until OK or Cancel closes it. An
// answer "#RRGGBB" types the hex box and takes OK at once.
bool WebWindow::ChooseColor(const std::string& title, int32_t& color) {
  PickerCall call{title, color, color};
  frmMain dialog(call);
  bool ok = false, first = true;
  while (dialog.Loaded()) {
    json answer = Ask(PickerModel(dialog, first));
    first = false;
    if (answer.is_null()) {
      dialog.cmdCancel->UserClick();
    } else if (answer.is_string()) {
      ActOnPicker(dialog, {{"control", "txtHex"}, {"kind", "type"}, {"text", answer.get<std::string>().substr(1)}});
      ActOnPicker(dialog, {{"control", "txtHex"}, {"kind", "leave"}});
      dialog.cmdOK->UserClick();
      ok = true;
    } else {
      ok = answer["control"] == "cmdOK" && answer["kind"] == "click";
      ActOnPicker(dialog, answer);
    }
  }
  if (ok) color = call.resultColour;
  return ok;
}

bool WebWindow::ChooseFile(view::FileChoice& choice) {
  namespace fs = std::filesystem;
  std::string dir = choice.initDir;
  int32_t filter = choice.filterIndex;
  for (;;) {
    json filters = json::array();
    for (const auto& [name, patterns] : choice.filters) filters.push_back({{"name", name}, {"patterns", patterns}});
    bool inRange = filter >= 1 && static_cast<size_t>(filter) <= choice.filters.size();
    std::string patterns = inRange ? choice.filters[static_cast<size_t>(filter) - 1].second : "";
    json folder = ListFolder(dir, patterns);
    bool multi = (choice.flags & view::FileChoice::kAllowMultiSelect) != 0;
    json answer = Ask({{"kind", "file"}, {"title", choice.title}, {"fileName", choice.fileName}, {"filters", filters},
                       {"filterIndex", filter}, {"multi", multi}, {"folder", folder}});
    if (!answer.is_object()) return false;
    if (auto f = answer.find("filterIndex"); f != answer.end() && f->is_number_integer()) filter = f->get<int32_t>();
    if (answer.contains("dir")) {
      dir = answer["dir"].get<std::string>();
      continue;
    }
    std::vector<std::string> files;
    bool missing = false;
    for (const auto& f : answer["files"]) {
      fs::path p(f.get<std::string>());
      if (p.is_relative()) p = fs::path(folder["dir"].get<std::string>()) / p;
      missing = missing || !fs::exists(p);
      files.push_back(p.lexically_normal().string());
    }
    // A file that must exist and does not: the dialog stays.
    if (missing && (choice.flags & view::FileChoice::kFileMustExist)) {
      dir = folder["dir"].get<std::string>();
      continue;
    }
    choice.files = std::move(files);
    choice.filterIndex = filter;
    if (answer.value("readOnly", false)) choice.flags |= view::FileChoice::kReadOnly;
    return true;
  }
}

bool WebWindow::OpenFile(const std::string& target) {
  namespace fs = std::filesystem;
  json box = {{"kind", "open"}, {"title", "打开"}};
  if (target.find("://") != std::string::npos || text::StartsWithNoCase(target, "mailto:")) {
    // Only addresses that a browser opens as a page or a mail, never a script.
    const std::string lower = text::LCase(target);
    if (lower.rfind("http://", 0) != 0 && lower.rfind("https://", 0) != 0 && lower.rfind("mailto:", 0) != 0)
      return false;
    box["name"] = target;
    box["address"] = target;
  } else {
    std::error_code ec;
    const auto size = fs::file_size(target, ec);
    if (ec || !fs::is_regular_file(target, ec) || size > kMaxFile) return false;
    auto bytes = std::make_shared<std::string>(size, '\0');
    std::ifstream in(target, std::ios::binary);
    if (!in.read(bytes->data(), static_cast<std::streamsize>(size))) return false;
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_File = std::move(bytes);
    m_FileName = fs::path(target).filename().string();
    box["name"] = m_FileName;
    box["size"] = size;
    box["url"] = "/api/windows/" + m_Id + "/files/" + std::to_string(++m_FileSerial);
  }
  Ask(std::move(box));
  return true;
}

WebReply WebWindow::File(const std::string& n) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  if (!m_File || n != std::to_string(m_FileSerial)) return WebReply::Error(404, "no such file " + n);
  WebReply reply{200, {{"file", m_FileName}}};
  reply.fileName = m_FileName;
  reply.file = m_File;
  return reply;
}

int WebWindow::Browse(const LookupWindow& window, const db::Recordset& rows, const std::string& textColumn) {
  std::vector<std::string> columns = window.Columns.empty() ? rows.Columns() : window.Columns;
  std::vector<int> at;
  for (const auto& c : columns) at.push_back(rows.ColumnIndex(c));
  json cells = json::array();
  for (const auto& row : rows.Rows()) {
    json line = json::array();
    for (int i : at) line.push_back(i < 0 ? std::string() : row[static_cast<size_t>(i)].ToText());
    cells.push_back(std::move(line));
  }
  json answer = Ask({{"kind", "browse"}, {"title", window.Title}, {"key", window.Key}, {"columns", columns},
                     {"textColumn", textColumn}, {"rows", cells}});
  return answer.is_number_integer() ? answer.get<int>() : -1;
}

void WebWindow::Message(const std::string& psMsg) {
  m_Status = psMsg;
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Events.push_back({{"event", "Message"}, {"text", psMsg}});
}

void WebWindow::ErrMessage(const std::string& psMsg, int32_t plLevel, const std::string& psTitle) {
  if (plLevel == kJournal || plLevel == kJournalFailure)
    m_Journal.push_back({{"level", plLevel}, {"title", psTitle}, {"text", psMsg}});
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Events.push_back({{"event", "ErrMessage"}, {"level", plLevel}, {"title", psTitle}, {"text", psMsg}});
}

void WebWindow::FormRefreshed() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Events.push_back({{"event", "FormRefreshed"}});
}

void WebWindow::Property(const std::string& name, const Value& value, bool autoUpdate) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Events.push_back({{"event", "Property"}, {"name", name}, {"value", value.ToText()}, {"autoUpdate", autoUpdate}});
}

void WebWindow::CommandEnded(bool committed) {
  if (committed) return;
  std::erase_if(m_Journal, [](const nlohmann::json& line) { return line["level"] == kJournal; });
}

// Journal lines are written at the end of the command that raised them, outside any transaction
// of the form, on the window's own connection.
void WebWindow::FlushJournal() {
  if (m_Journal.empty() || !m_Context) return;
  auto& connection = m_Context->GetDatabase()->GetConnection();
  if (connection.InTransaction()) return;
  for (const auto& line : m_Journal)
    WriteJournal(connection, {m_Options.user.Name, m_Entry.className, line["level"].get<int32_t>(),
                              line["title"].get<std::string>(), line["text"].get<std::string>(), ""});
  m_Journal.clear();
}

}  // namespace kmd::host
