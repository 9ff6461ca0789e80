#include "host/WebHost.h"

#include <httplib.h>

#include <algorithm>
#include <charconv>
#include <vector>

#include "base/Text.h"
#include "db/Connection.h"
#include "host/AllForms.h"
#include "host/Journal.h"

namespace kmd::host {

using nlohmann::json;

namespace {

std::vector<std::string> Segments(const std::string& path) {
  std::vector<std::string> out;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    if (end > start) out.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return out;
}

// A whole number from the text, or nothing.
std::optional<int> Number(const std::string& s) {
  int v = 0;
  auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
  if (ec != std::errc() || p != s.data() + s.size() || s.empty()) return std::nullopt;
  return v;
}

// The tree rows a request asks for: ?first=&count= or "rows": [first, count] in its body.
std::optional<RowRange> RowsOf(const WebRequest& request, const json& body) {
  RowRange rows;
  if (body.is_object() && body.contains("rows")) {
    const json& r = body["rows"];
    if (!r.is_array() || r.size() != 2 || !r[0].is_number_integer() || !r[1].is_number_integer()) return std::nullopt;
    rows.first = r[0].get<int>();
    rows.count = r[1].get<int>();
  } else {
    for (auto [key, field] : {std::pair{"first", &rows.first}, std::pair{"count", &rows.count}}) {
      auto it = request.query.find(key);
      if (it == request.query.end()) continue;
      auto n = Number(it->second);
      if (!n) return std::nullopt;
      *field = *n;
    }
  }
  if (rows.first < 0 || rows.count < 0 || rows.count > RowRange::kMaxCount) return std::nullopt;
  return rows;
}

std::string MimeOf(const std::string& name) {
  static const std::map<std::string, std::string> types = {
      {".html", "text/html; charset=utf-8"},  {".js", "text/javascript; charset=utf-8"},
      {".css", "text/css; charset=utf-8"},    {".svg", "image/svg+xml"},
      {".json", "application/json"},          {".png", "image/png"}};
  auto dot = name.rfind('.');
  auto it = dot == std::string::npos ? types.end() : types.find(name.substr(dot));
  return it == types.end() ? "application/octet-stream" : it->second;
}

}  // namespace

WebHost::WebHost(Options options, const FormRegistry* forms)
    : m_Options(std::move(options)), m_Forms(forms ? *forms : AllForms()) {
  auto every = std::clamp(m_Options.idle / 2, std::chrono::milliseconds(10), std::chrono::milliseconds(30000));
  m_Reaper = std::thread([this, every] {
    std::unique_lock<std::mutex> lock(m_Mutex);
    while (!m_Closed.wait_for(lock, every, [this] { return m_Stopping; })) {
      lock.unlock();
      CloseIdle();
      lock.lock();
    }
  });
}

WebHost::~WebHost() {
  Stop();
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Stopping = true;
  }
  m_Closed.notify_all();
  m_Reaper.join();
  CloseAll();
}

void WebHost::CloseIdle() {
  auto limit = std::chrono::steady_clock::now() - m_Options.idle;
  std::vector<std::shared_ptr<WebWindow>> idle;
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    for (auto it = m_Windows.begin(); it != m_Windows.end();) {
      if (it->second->Seen() < limit) {
        idle.push_back(it->second);
        it = m_Windows.erase(it);
        ++m_Closing;
      } else {
        ++it;
      }
    }
  }
  for (auto& w : idle) {
    w->Close();
    std::lock_guard<std::mutex> lock(m_Mutex);
    --m_Closing;
    m_Closed.notify_all();
  }
}

size_t WebHost::WindowCount() const {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Windows.size();
}

void WebHost::CloseAll() {
  std::map<int, std::shared_ptr<WebWindow>> windows;
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    windows.swap(m_Windows);
  }
  for (auto& [id, window] : windows) window->Close();
}

std::shared_ptr<WebWindow> WebHost::Find(int id) const {
  std::lock_guard<std::mutex> lock(m_Mutex);
  auto it = m_Windows.find(id);
  return it == m_Windows.end() ? nullptr : it->second;
}

WebReply WebHost::Handle(const WebRequest& request) {
  auto parts = Segments(request.path);
  if (parts.empty() || parts[0] != "api") return WebReply::Error(404, "no such page " + request.path);
  const std::string& m = request.method;
  if (parts.size() == 2 && parts[1] == "info" && m == "GET")
    return {200, {{"user", m_Options.user.Name}, {"database", m_Options.database}}};
  if (parts.size() == 2 && parts[1] == "forms" && m == "GET") {
    json forms = json::array();
    for (const auto& e : m_Forms.Entries())
      forms.push_back({{"class", e.className}, {"title", e.title}, {"subsystem", e.subsystem}});
    return {200, {{"forms", forms}}};
  }
  if (parts.size() == 2 && parts[1] == "journal" && m == "GET") return Journal(request);
  if (parts.size() == 2 && parts[1] == "windows") {
    if (m == "GET") {
      json list = json::array();
      std::lock_guard<std::mutex> lock(m_Mutex);
      for (const auto& [id, w] : m_Windows)
        list.push_back({{"window", id}, {"class", w->Entry().className}, {"title", w->Entry().title}});
      return {200, {{"windows", list}}};
    }
    if (m == "POST") {
      json body = json::parse(request.body, nullptr, false);
      if (body.is_discarded() || !body.is_object()) return WebReply::Error(400, "the body is no JSON object");
      return OpenWindow(body);
    }
  }
  if (parts.size() == 3 && parts[1] == "windows") {
    if (m == "GET") return ForWindow(parts[2], "view", request);
    if (m == "DELETE") return ForWindow(parts[2], "close", request);
  }
  if (parts.size() == 4 && parts[1] == "windows" && m == "POST") return ForWindow(parts[2], parts[3], request);
  return WebReply::Error(404, "no such request " + m + " " + request.path);
}

WebReply WebHost::OpenWindow(const json& body) {
  auto cls = body.find("class");
  if (cls == body.end() || !cls->is_string()) return WebReply::Error(400, "the body needs a \"class\"");
  const FormRegistry::Entry* entry = m_Forms.FindEntry(cls->get<std::string>());
  if (!entry) return WebReply::Error(404, "unknown form class " + cls->get<std::string>());
  auto rows = RowsOf({}, body);
  if (!rows) return WebReply::Error(400, "\"rows\" is [first, count]");
  int32_t program = 0;
  if (auto p = body.find("program"); p != body.end()) {
    if (!p->is_number_integer()) return WebReply::Error(400, "\"program\" is no number");
    program = p->get<int32_t>();
  } else {
    // The program id of the form's row in the program table, if it has one.
    try {
      db::QueryResult r;
      db::Open(m_Options.database)
          ->Run("SELECT ProgID FROM xt_objects WHERE ClassName = ? COLLATE NOCASE ORDER BY ProgID LIMIT 1",
                {Value(entry->className)}, &r);
      if (!r.rows.empty()) program = r.rows[0][0].ToLong();
    } catch (const std::exception& e) {
      return WebReply::Error(500, e.what());
    }
  }
  int id;
  {
    // A page that reloads closes its windows and opens them again at once: the new window reads
    // the status the old one is saving, so it waits (a little) for closes under way.
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Closed.wait_for(lock, std::chrono::seconds(2), [this] { return m_Closing == 0; });
    id = m_NextId++;
  }
  auto window = std::make_shared<WebWindow>(id, m_Forms, *entry, program,
                                            WebWindow::Options{m_Options.database, m_Options.user, m_Options.wait});
  WebReply reply = window->Open(*rows);
  if (reply.status != 200) {
    window->Close();
    return reply;
  }
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Windows[id] = window;
  return reply;
}

WebReply WebHost::ForWindow(const std::string& idText, const std::string& verb, const WebRequest& request) {
  auto id = Number(idText);
  if (!id) return WebReply::Error(400, "no window number: " + idText);
  json body;
  if (!request.body.empty()) {
    body = json::parse(request.body, nullptr, false);
    if (body.is_discarded()) return WebReply::Error(400, "the body is no JSON");
  }
  auto rows = RowsOf(request, body);
  if (!rows) return WebReply::Error(400, "the tree rows are first and count, 0 to " + std::to_string(RowRange::kMaxCount));
  std::shared_ptr<WebWindow> window;
  if (verb == "close") {
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto it = m_Windows.find(*id);
    if (it != m_Windows.end()) {
      window = it->second;
      m_Windows.erase(it);
      ++m_Closing;
    }
  } else {
    window = Find(*id);
  }
  if (!window) return WebReply::Error(404, "unknown window " + idText);
  window->Touch();
  if (verb == "ping") return {200, {{"window", *id}}};
  if (verb == "view") return window->View(*rows);
  if (verb == "action") return window->Act(body, *rows);
  if (verb == "answer") return window->Answer(body, *rows);
  if (verb == "close") {
    WebReply reply = window->Close();
    std::lock_guard<std::mutex> lock(m_Mutex);
    --m_Closing;
    m_Closed.notify_all();
    return reply;
  }
  return WebReply::Error(404, "no such request " + verb);
}

WebReply WebHost::Journal(const WebRequest& request) {
  std::string since;
  int limit = 200;
  if (auto it = request.query.find("since"); it != request.query.end()) since = it->second;
  if (auto it = request.query.find("limit"); it != request.query.end()) {
    auto n = Number(it->second);
    if (!n || *n < 0) return WebReply::Error(400, "limit is a number");
    limit = *n;
  }
  try {
    json lines = json::array();
    for (const auto& l : ReadJournal(*db::Open(m_Options.database), since, limit))
      lines.push_back({{"time", l.time}, {"user", l.user}, {"form", l.form}, {"level", l.level}, {"title", l.title},
                       {"text", l.message}});
    return {200, {{"lines", lines}}};
  } catch (const std::exception& e) {
    return WebReply::Error(500, e.what());
  }
}

// ---- HTTP ------------------------------------------------------------------------------------

int WebHost::Bind(const std::string& address, int port) {
  m_Server = std::make_unique<httplib::Server>();
  auto api = [this](const httplib::Request& req, httplib::Response& res) {
    WebRequest request{req.method, req.path, {}, req.body};
    for (const auto& [k, v] : req.params) request.query[k] = v;
    WebReply reply = Handle(request);
    res.status = reply.status;
    res.set_header("Cache-Control", "no-store");
    res.set_content(reply.body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json; charset=utf-8");
  };
  auto page = [](const httplib::Request& req, httplib::Response& res) {
    std::string name = req.path == "/" ? "index.html" : req.path.substr(1);
    for (const auto& a : WebAssets()) {
      if (name != a.name) continue;
      res.set_header("Cache-Control", "no-cache");
      res.set_content(a.content, a.size, MimeOf(name).c_str());
      return;
    }
    res.status = 404;
    res.set_content("not found", "text/plain");
  };
  m_Server->Get("/api/.*", api);
  m_Server->Post("/api/.*", api);
  m_Server->Delete("/api/.*", api);
  m_Server->Get("/.*", page);
  if (port == 0) return m_Server->bind_to_any_port(address.c_str());
  return m_Server->bind_to_port(address.c_str(), port) ? port : -1;
}

void WebHost::Serve() { m_Server->listen_after_bind(); }

void WebHost::Stop() {
  if (m_Server) m_Server->stop();
}

}  // namespace kmd::host
