#pragma once
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "frame/FormRegistry.h"
#include "host/WebWindow.h"

namespace httplib {
class Server;
}

namespace kmd::host {

struct WebRequest {
  std::string method;  // "GET", "POST", "DELETE"
  std::string path;    // "/api/windows/<id>/action"
  std::map<std::string, std::string> query;
  std::string body;
};

// The browser host behind `kmd serve`: the page (built into the program) and its JSON API.
//   GET  /api/info                      user and database
//   GET  /api/forms                     the forms: class, title, subsystem
//   GET  /api/windows                   the open windows
//   POST /api/windows                   {"class": "JLDW"[, "program": id]} opens a window; its id
//                                       ("window") is random, 32 hex digits
//   GET  /api/windows/ID?first=&count=  its view model with those tree rows
//   POST /api/windows/ID/action         a user action (see PerformAction), {"rows": [first, count]}
//   POST /api/windows/ID/answer         {"dialog": n, "answer": ...}
//   POST /api/windows/ID/close          DoSaveFormStatus and Clear (also DELETE /api/windows/ID)
//   POST /api/windows/ID/ping           the page still shows the window
//   GET  /api/windows/ID/files/N        the file the form handed over as number N, as a download
//                                       (application/octet-stream, attachment)
//   GET  /api/journal?since=T&limit=N   the journal lines
// A refused request answers 4xx with {"error": "..."} and changes nothing. A body is one JSON
// value of at most 1 MiB (413 above), whole numbers within 32 bits; at most Options::maxWindows
// windows are open at once (429).
//
// Over HTTP the API acts only for the server's own page: a request whose Host does not name the
// address it came in on (or localhost on a loopback address), or whose Origin is not that host,
// is refused with 403; one that is no GET needs Content-Type application/json (415). A client
// that has not sent its whole request within Options::request is cut off. The page is served
// with a Content-Security-Policy that allows only its own files, and is not framed.
class WebHost {
 public:
  struct Options {
    std::string database;
    IUserInfo user;
    std::chrono::milliseconds wait{std::chrono::seconds(15)};
    // A window that no request has named for this long is closed as if its page had closed it:
    // the page that shows it pings it twice a minute, so only a page gone without a word (a
    // browser that crashed) leaves such a window.
    std::chrono::milliseconds idle{std::chrono::minutes(10)};
    size_t maxWindows = 64;
    // How long a client may take to send one request, from its first byte to its last.
    std::chrono::milliseconds request{std::chrono::seconds(5)};
    // The memory a closed window leaves goes back to the system this long after the close: a
    // window opened meanwhile (a page that reloads, a form closed and opened again) takes it
    // over instead of having it filled afresh.
    std::chrono::milliseconds release{std::chrono::seconds(2)};
  };
  static constexpr size_t kMaxBody = 1 << 20;
  explicit WebHost(Options options, const FormRegistry* forms = nullptr);
  // Closes every open window.
  ~WebHost();
  WebHost(const WebHost&) = delete;
  WebHost& operator=(const WebHost&) = delete;

  // The API without HTTP.
  WebReply Handle(const WebRequest& request);
  size_t WindowCount() const;
  // Closes every open window (DoSaveFormStatus and Clear).
  void CloseAll();
  // Gives the free memory that closed windows left back to the system now.
  static void ReleaseMemory();

  // Binds the address; port 0 takes a free port. Gives the port, or -1 when it cannot bind.
  int Bind(const std::string& address, int port);
  // Serves the page and the API until Stop. Requires: Bind succeeded.
  void Serve();
  void Stop();

 private:
  WebReply OpenWindow(const nlohmann::json& body);
  WebReply ForWindow(const std::string& id, const std::string& verb, const WebRequest& request);
  WebReply Journal(const WebRequest& request);
  std::shared_ptr<WebWindow> Find(const std::string& id) const;
  // Closes the windows idle for longer than Options::idle.
  void CloseIdle();
  // A window has closed: its memory is released Options::release from now, with that of the
  // windows that close meanwhile.
  void Closed();

  Options m_Options;
  const FormRegistry& m_Forms;
  mutable std::mutex m_Mutex;
  std::condition_variable m_Closed;
  int m_Closing = 0;  // windows saving their status just now
  std::map<std::string, std::shared_ptr<WebWindow>> m_Windows;
  size_t m_Opening = 0;  // windows being opened just now, counted against maxWindows
  std::unique_ptr<httplib::Server> m_Server;
  bool m_Stopping = false;
  // When the memory of closed windows is to be released; none while none is pending.
  std::optional<std::chrono::steady_clock::time_point> m_ReleaseAt;
  std::thread m_Reaper;  // closes idle windows and releases memory
};

// The page's files, built into the program: name ("index.html") and content.
struct WebAsset {
  const char* name;
  const char* content;
  size_t size;
};
const std::vector<WebAsset>& WebAssets();

}  // namespace kmd::host
