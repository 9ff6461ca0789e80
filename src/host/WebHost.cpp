#include "host/WebHost.h"

#include <httplib.h>

#include <malloc.h>
#include <netdb.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "base/Text.h"
#include "db/Connection.h"
#include "host/AllForms.h"
#include "host/FormGroups.h"
#include "host/Journal.h"
#include "view/LargeMemory.h"

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

// Reads a body without building it, and stops at the first thing the API takes from no page: a
// nesting deeper than 32, or a number that is not a whole number of 32 bits.
class BodyCheck final : public nlohmann::json_sax<json> {
 public:
  bool tooDeep = false, badNumber = false;

  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t v) override {
    return Fits(v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max());
  }
  bool number_unsigned(number_unsigned_t v) override { return Fits(v <= uint64_t(std::numeric_limits<int32_t>::max())); }
  bool number_float(number_float_t, const string_t&) override { return Fits(false); }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return Enter(); }
  bool key(string_t&) override { return true; }
  bool end_object() override { return --m_Depth, true; }
  bool start_array(std::size_t) override { return Enter(); }
  bool end_array() override { return --m_Depth, true; }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

 private:
  bool Fits(bool fits) { return !(badNumber = !fits); }
  bool Enter() { return !(tooDeep = ++m_Depth > 32); }
  int m_Depth = 0;
};

// A request's body: one JSON value and nothing after it (see BodyCheck). Gives the reason when it
// is none.
std::optional<json> ParseBody(const std::string& text, std::string& why) {
  BodyCheck check;
  if (json::sax_parse(text, &check)) return json::parse(text);
  why = check.badNumber ? "a number in the body is no whole number of 32 bits"
        : check.tooDeep ? "the body is nested too deeply"
                        : "the body is no JSON";
  return std::nullopt;
}

// 128 random bits in hex: a window's id, which no other page can guess.
std::string NewId() {
  unsigned char bytes[16];
  for (size_t got = 0; got < sizeof bytes;) {
    ssize_t n = getrandom(bytes + got, sizeof bytes - got, 0);
    if (n > 0) got += size_t(n);
  }
  static const char digits[] = "0123456789abcdef";
  std::string id;
  for (unsigned char b : bytes) {
    id += digits[b >> 4];
    id += digits[b & 15];
  }
  return id;
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
  // Every thread allocates from one malloc arena: each window's thread would otherwise get an
  // arena of its own whose pages outlive the window, and the server would keep growing as windows
  // come and go. The threads' own caches of small blocks keep contention low.
  mallopt(M_ARENA_MAX, 1);
  // A closed window's large blocks wait for the release with the rest of its memory.
  view::KeepFreedBlocks();
  auto every = std::clamp(m_Options.idle / 2, std::chrono::milliseconds(10), std::chrono::milliseconds(30000));
  m_Reaper = std::thread([this, every] {
    std::unique_lock<std::mutex> lock(m_Mutex);
    auto idleCheck = std::chrono::steady_clock::now() + every;
    while (!m_Stopping) {
      m_Closed.wait_until(lock, m_ReleaseAt ? std::min(idleCheck, *m_ReleaseAt) : idleCheck);
      if (m_Stopping) break;
      auto now = std::chrono::steady_clock::now();
      if (m_ReleaseAt && now >= *m_ReleaseAt) {
        m_ReleaseAt.reset();
        lock.unlock();
        ReleaseMemory();
        lock.lock();
      }
      if (now >= idleCheck) {
        lock.unlock();
        CloseIdle();
        lock.lock();
        idleCheck = std::chrono::steady_clock::now() + every;
      }
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
  ReleaseMemory();
}

void WebHost::ReleaseMemory() {
  // A large tree leaves its memory in the malloc arena (the window thread's own cache of small
  // blocks goes back there when the thread ends) and its large blocks kept aside.
  view::ReleaseFreedBlocks();
  malloc_trim(0);
}

void WebHost::Closed() {
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (!m_ReleaseAt) m_ReleaseAt = std::chrono::steady_clock::now() + m_Options.release;
  }
  m_Closed.notify_all();
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
  if (!idle.empty()) Closed();
}

size_t WebHost::WindowCount() const {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Windows.size();
}

void WebHost::CloseAll() {
  std::map<std::string, std::shared_ptr<WebWindow>> windows;
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    windows.swap(m_Windows);
  }
  for (auto& [id, window] : windows) window->Close();
  if (!windows.empty()) Closed();
}

std::shared_ptr<WebWindow> WebHost::Find(const std::string& id) const {
  std::lock_guard<std::mutex> lock(m_Mutex);
  auto it = m_Windows.find(id);
  return it == m_Windows.end() ? nullptr : it->second;
}

WebReply WebHost::Handle(const WebRequest& request) {
  auto parts = Segments(request.path);
  if (parts.empty() || parts[0] != "api") return WebReply::Error(404, "no such page " + request.path);
  if (request.body.size() > kMaxBody)
    return WebReply::Error(413, "the body is larger than " + std::to_string(kMaxBody) + " bytes");
  const std::string& m = request.method;
  if (parts.size() == 2 && parts[1] == "info" && m == "GET")
    return {200, {{"user", m_Options.user.Name}, {"database", m_Options.database}}};
  if (parts.size() == 2 && parts[1] == "forms" && m == "GET") {
    // In the order of the subsystems, each form under its subsystem's group.
    std::vector<std::pair<FormGroupOf, const FormRegistry::Entry*>> listed;
    for (const auto& e : m_Forms.Entries()) listed.emplace_back(FormGroup(e.className, e.subsystem), &e);
    std::stable_sort(listed.begin(), listed.end(), [](const auto& a, const auto& b) { return a.first.order < b.first.order; });
    json forms = json::array();
    for (const auto& [group, e] : listed)
      forms.push_back({{"class", e->className}, {"title", e->title}, {"subsystem", group.name}});
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
      std::string why;
      auto body = ParseBody(request.body, why);
      if (!body) return WebReply::Error(400, why);
      if (!body->is_object()) return WebReply::Error(400, "the body is no JSON object");
      return OpenWindow(*body);
    }
  }
  if (parts.size() == 3 && parts[1] == "windows") {
    if (m == "GET") return ForWindow(parts[2], "view", request);
    if (m == "DELETE") return ForWindow(parts[2], "close", request);
  }
  if (parts.size() == 4 && parts[1] == "windows" && m == "POST") return ForWindow(parts[2], parts[3], request);
  if (parts.size() == 5 && parts[1] == "windows" && parts[3] == "files" && m == "GET") {
    auto window = Find(parts[2]);
    if (!window) return WebReply::Error(404, "unknown window " + parts[2]);
    window->Touch();
    return window->File(parts[4]);
  }
  return WebReply::Error(404, "no such request " + m + " " + request.path);
}

WebReply WebHost::OpenWindow(const json& body) {
  auto cls = body.find("class");
  if (cls == body.end() || !cls->is_string()) return WebReply::Error(400, "the body needs a \"class\"");
  const FormRegistry::Entry* entry = m_Forms.FindEntry(cls->get<std::string>());
  if (!entry) return WebReply::Error(404, "unknown form class " + cls->get<std::string>());
  auto rows = RowsOf({}, body);
  if (!rows) return WebReply::Error(400, "\"rows\" is [first, count]");
  std::optional<int32_t> program;  // else the window looks it up
  std::string id;
  {
    // A page that reloads closes its windows and opens them again at once: the new window reads
    // the status the old one is saving, so it waits (a little) for closes under way.
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Closed.wait_for(lock, std::chrono::seconds(2), [this] { return m_Closing == 0; });
    if (m_Windows.size() + m_Opening >= m_Options.maxWindows)
      return WebReply::Error(429, std::to_string(m_Options.maxWindows) +
                                      " windows are open, as many as this server keeps: close one first");
    ++m_Opening;
    do id = NewId();
    while (m_Windows.count(id));
  }
  std::shared_ptr<WebWindow> window;
  auto done = [&](WebReply reply) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    --m_Opening;
    if (window) m_Windows[id] = window;
    return reply;
  };
  if (auto p = body.find("program"); p != body.end()) {
    if (!p->is_number_integer()) return done(WebReply::Error(400, "\"program\" is no number"));
    program = p->get<int32_t>();
  }
  window = std::make_shared<WebWindow>(id, m_Forms, *entry, program,
                                       WebWindow::Options{m_Options.database, m_Options.user, m_Options.wait});
  WebReply reply = window->Open(*rows);
  if (reply.status != 200) {
    window->Close();
    window = nullptr;
    Closed();
  }
  return done(std::move(reply));
}

WebReply WebHost::ForWindow(const std::string& id, const std::string& verb, const WebRequest& request) {
  json body;
  if (!request.body.empty()) {
    std::string why;
    auto parsed = ParseBody(request.body, why);
    if (!parsed) return WebReply::Error(400, why);
    body = std::move(*parsed);
  }
  auto rows = RowsOf(request, body);
  if (!rows) return WebReply::Error(400, "the tree rows are first and count, 0 to " + std::to_string(RowRange::kMaxCount));
  std::shared_ptr<WebWindow> window;
  if (verb == "close") {
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto it = m_Windows.find(id);
    if (it != m_Windows.end()) {
      window = it->second;
      m_Windows.erase(it);
      ++m_Closing;
    }
  } else {
    window = Find(id);
  }
  if (!window) return WebReply::Error(404, "unknown window " + id);
  window->Touch();
  if (verb == "ping") return {200, {{"window", id}}};
  if (verb == "view") return window->View(*rows);
  if (verb == "action") return window->Act(body, *rows);
  if (verb == "answer") return window->Answer(body, *rows);
  if (verb == "close") {
    WebReply reply = window->Close();
    {
      std::lock_guard<std::mutex> lock(m_Mutex);
      --m_Closing;
    }
    Closed();
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

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Set on a connection's thread when the connection ends after the present request (a refused
// request, whose body may not have been read).
thread_local bool t_EndConnection = false;

// A connection's socket, read with a deadline for each request, so that a client that sends its
// request slowly is cut off when the deadline passes, however often it sends a byte.
class RequestStream final : public httplib::Stream {
 public:
  RequestStream(int sock, milliseconds writeWait) : m_Sock(sock), m_WriteWait(writeWait) {}

  void SetDeadline(Clock::time_point deadline) { m_Deadline = deadline; }
  // Waits up to `wait` for the next request's first byte, while `running` holds.
  bool AwaitRequest(milliseconds wait, const std::function<bool()>& running) const {
    auto end = Clock::now() + wait;
    while (m_Offset == m_Size) {
      auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
      if (left.count() <= 0 || !running()) return false;
      if (Wait(POLLIN, std::min(left, milliseconds(100)))) return true;
    }
    return true;
  }

  // Whether a read found the deadline passed: the connection is to end.
  bool TimedOut() const { return m_TimedOut; }

  bool is_readable() const override { return m_Offset < m_Size || Wait(POLLIN, Left()); }
  bool is_writable() const override { return Wait(POLLOUT, m_WriteWait); }
  ssize_t read(char* ptr, size_t size) override {
    if (m_Offset == m_Size) {
      if (Left().count() <= 0 || !Wait(POLLIN, Left())) {
        m_TimedOut = true;
        return -1;
      }
      ssize_t n = ::recv(m_Sock, m_Buffer, sizeof m_Buffer, 0);
      if (n <= 0) return n;
      m_Offset = 0;
      m_Size = size_t(n);
    }
    size_t n = std::min(size, m_Size - m_Offset);
    std::copy_n(m_Buffer + m_Offset, n, ptr);
    m_Offset += n;
    return ssize_t(n);
  }
  ssize_t write(const char* ptr, size_t size) override {
    if (!is_writable()) return -1;
    return ::send(m_Sock, ptr, size, MSG_NOSIGNAL);
  }
  void get_remote_ip_and_port(std::string& ip, int& port) const override { Address(::getpeername, ip, port); }
  void get_local_ip_and_port(std::string& ip, int& port) const override { Address(::getsockname, ip, port); }
  socket_t socket() const override { return m_Sock; }

 private:
  milliseconds Left() const {
    return std::max(milliseconds(0), std::chrono::duration_cast<milliseconds>(m_Deadline - Clock::now()));
  }
  bool Wait(short events, milliseconds wait) const {
    pollfd p{m_Sock, events, 0};
    int r;
    do r = ::poll(&p, 1, int(wait.count()));
    while (r < 0 && errno == EINTR);
    return r > 0;
  }
  // The numeric address, an IPv4 address mapped into IPv6 written as IPv4.
  void Address(int (*get)(int, sockaddr*, socklen_t*), std::string& ip, int& port) const {
    sockaddr_storage a{};
    socklen_t length = sizeof a;
    char host[NI_MAXHOST], service[NI_MAXSERV];
    if (get(m_Sock, reinterpret_cast<sockaddr*>(&a), &length) != 0 ||
        getnameinfo(reinterpret_cast<sockaddr*>(&a), length, host, sizeof host, service, sizeof service,
                    NI_NUMERICHOST | NI_NUMERICSERV) != 0)
      return;
    ip = host;
    if (ip.rfind("::ffff:", 0) == 0 && ip.find('.') != std::string::npos) ip.erase(0, 7);
    port = std::atoi(service);
  }

  int m_Sock;
  milliseconds m_WriteWait;
  Clock::time_point m_Deadline = Clock::now();
  char m_Buffer[4096];
  size_t m_Offset = 0, m_Size = 0;
  bool m_TimedOut = false;
};

// cpp-httplib's server with requests read through RequestStream.
class HttpServer final : public httplib::Server {
 public:
  explicit HttpServer(milliseconds requestTime) : m_RequestTime(requestTime) {}
  // cpp-httplib listens with a queue of 5 connections; a burst of clients gets a longer one.
  int Listening(int port) {
    if (port >= 0) ::listen(svr_sock_, SOMAXCONN);
    return port;
  }

 private:
  bool process_and_close_socket(socket_t sock) override {
    RequestStream stream(sock, std::chrono::seconds(write_timeout_sec_));
    t_EndConnection = false;
    bool ok = true;
    for (size_t left = keep_alive_max_count_; left > 0; --left) {
      if (!stream.AwaitRequest(std::chrono::seconds(keep_alive_timeout_sec_),
                               [this] { return svr_sock_ != INVALID_SOCKET; }))
        break;
      stream.SetDeadline(Clock::now() + m_RequestTime);
      bool closed = false;
      ok = process_request(stream, left == 1, closed, nullptr);
      if (!ok || closed || t_EndConnection || stream.TimedOut()) break;
    }
    if (t_EndConnection) {
      // The rest of a refused request is read and dropped for a moment, so that its client reads
      // the answer instead of a reset connection.
      ::shutdown(sock, SHUT_WR);
      stream.SetDeadline(Clock::now() + m_RequestTime);
      char sink[4096];
      while (stream.read(sink, sizeof sink) > 0) {
      }
    }
    ::shutdown(sock, SHUT_RDWR);
    ::close(sock);
    return ok;
  }

  milliseconds m_RequestTime;
};

// A Content-Disposition that saves a download under `name`: an ASCII stand-in, and the name
// itself in UTF-8, percent-encoded.
std::string Attachment(const std::string& name) {
  std::string plain, encoded;
  for (unsigned char c : name) {
    const bool safe = std::isalnum(c) || std::strchr("-._~", c);
    plain += safe || c == ' ' ? static_cast<char>(c) : '_';
    char hex[4];
    std::snprintf(hex, sizeof hex, "%%%02X", c);
    encoded += safe ? std::string(1, static_cast<char>(c)) : std::string(hex);
  }
  return "attachment; filename=\"" + plain + "\"; filename*=UTF-8''" + encoded;
}

// Whether `host` (a Host header, or an Origin without its scheme) names the address `local`
// that a request came in on, with its port; localhost names a loopback address.
bool IsOwnHost(std::string host, const std::string& local, int port) {
  host = text::LCase(host);
  std::vector<std::string> names = {local.find(':') == std::string::npos ? local : "[" + local + "]"};
  if (local.rfind("127.", 0) == 0 || local == "::1") names.push_back("localhost");
  for (const auto& name : names)
    if (host == name + ":" + std::to_string(port) || (port == 80 && host == name)) return true;
  return false;
}

// Why a request is refused before its body is read, or 0: a body without a length or longer than
// kMaxBody, for any path; for the API, a request from elsewhere than the server's own page.
std::pair<int, std::string> Refusal(const httplib::Request& req) {
  if (req.has_header("Transfer-Encoding")) return {411, "a body needs its Content-Length"};
  if (req.has_header("Content-Length")) {
    auto length = Number(req.get_header_value("Content-Length"));
    if (!length || size_t(*length) > WebHost::kMaxBody)
      return {413, "the body is larger than " + std::to_string(WebHost::kMaxBody) + " bytes"};
  }
  if (req.path != "/api" && req.path.rfind("/api/", 0) != 0) return {0, ""};
  if (!IsOwnHost(req.get_header_value("Host"), req.local_addr, req.local_port))
    return {403, "the request names another host than this server"};
  if (req.has_header("Origin")) {
    std::string origin = req.get_header_value("Origin");
    if (origin.rfind("http://", 0) != 0 || !IsOwnHost(origin.substr(7), req.local_addr, req.local_port))
      return {403, "the request comes from another site's page"};
  }
  if (req.method != "GET" && req.method != "HEAD") {
    std::string type = req.get_header_value("Content-Type");
    type = text::LCase(text::Trim(type.substr(0, type.find(';'))));
    if (type != "application/json") return {415, "the body is to be sent as application/json"};
  }
  return {0, ""};
}

}  // namespace

int WebHost::Bind(const std::string& address, int port) {
  auto server = std::make_unique<HttpServer>(m_Options.request);
  HttpServer& http = *server;
  m_Server = std::move(server);
  // Enough threads that clients which send slowly, until they are cut off, leave the page served
  // (cpp-httplib would take the number of cores, at least 8).
  m_Server->new_task_queue = [] { return new httplib::ThreadPool(64); };
  m_Server->set_payload_max_length(kMaxBody);
  // Answers leave at once instead of waiting for the client's delayed acknowledgement.
  m_Server->set_tcp_nodelay(true);
  m_Server->set_default_headers({
      {"Content-Security-Policy",
       "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
       "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
      {"X-Frame-Options", "DENY"},
      {"X-Content-Type-Options", "nosniff"},
      {"Referrer-Policy", "no-referrer"},
      {"Cross-Origin-Resource-Policy", "same-origin"},
  });
  auto reply = [](httplib::Response& res, const WebReply& r) {
    res.status = r.status;
    res.set_header("Cache-Control", "no-store");
    if (r.file) {
      // Always a download, never a page of this site: a file holding HTML runs no script here.
      res.set_header("Content-Disposition", Attachment(r.fileName));
      res.set_content_provider(r.file->size(), "application/octet-stream",
                               [file = r.file](size_t offset, size_t length, httplib::DataSink& sink) {
                                 return sink.write(file->data() + offset, length);
                               });
      return;
    }
    res.set_content(r.body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json; charset=utf-8");
  };
  m_Server->set_pre_routing_handler([reply](const httplib::Request& req, httplib::Response& res) {
    auto [status, why] = Refusal(req);
    if (status == 0) return httplib::Server::HandlerResponse::Unhandled;
    t_EndConnection = true;
    reply(res, WebReply::Error(status, why));
    res.set_header("Connection", "close");
    return httplib::Server::HandlerResponse::Handled;
  });
  auto api = [this, reply](const httplib::Request& req, httplib::Response& res) {
    WebRequest request{req.method, req.path, {}, req.body};
    for (const auto& [k, v] : req.params) request.query[k] = v;
    reply(res, Handle(request));
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
  if (port == 0) return http.Listening(m_Server->bind_to_any_port(address.c_str()));
  return http.Listening(m_Server->bind_to_port(address.c_str(), port) ? port : -1);
}

void WebHost::Serve() { m_Server->listen_after_bind(); }

void WebHost::Stop() {
  if (m_Server) m_Server->stop();
}

}  // namespace kmd::host
