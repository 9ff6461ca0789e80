#pragma once
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>

#include "frame/FormGuard.h"
#include "frame/FormRegistry.h"
#include "host/Context.h"
#include "host/WebView.h"
#include "view/Platform.h"

namespace kmd::host {

// What a request of the page gets back: an HTTP status and a JSON body ({"error": ...} for a
// refused request, which changed nothing).
struct WebReply {
  WebReply(int status = 200, nlohmann::json body = nullptr) : status(status), body(std::move(body)) {}
  int status = 200;
  nlohmann::json body;
  // A file to go to the browser as a download instead of the body: its name and bytes.
  std::string fileName;
  std::shared_ptr<const std::string> file;
  static WebReply Error(int status, const std::string& message);
};

// One form window of the browser host. All form code of the window runs on the window's own
// thread: the requests of the page hand their work to it and wait for the moment the form is
// done or asks the user something (a box, an input box, a browse window, the colour dialog);
// then the reply carries the view model, the events since the last reply and the pending
// dialog. The answer to the dialog resumes the form where it stopped. The window has its own
// database connection and context, made on its thread and closed with it.
class WebWindow : public view::Platform, public IFormEvents {
 public:
  struct Options {
    std::string database;  // address of the database, opened by the window
    IUserInfo user;
    // How long a request waits for the form before it answers "busy" (the page asks again).
    std::chrono::milliseconds wait{std::chrono::seconds(15)};
  };

  // Starts the window's thread; Open makes the form.
  // Without a program id, the window takes that of the form's row in the program table, if any.
  WebWindow(std::string id, const FormRegistry& forms, const FormRegistry::Entry& entry,
            std::optional<int32_t> programId, Options options);
  // Closes the window if Close was not called.
  ~WebWindow() override;
  WebWindow(const WebWindow&) = delete;
  WebWindow& operator=(const WebWindow&) = delete;

  const std::string& Id() const { return m_Id; }
  // The page named the window in a request; Seen gives when it last did.
  void Touch() { m_Seen = std::chrono::steady_clock::now().time_since_epoch().count(); }
  std::chrono::steady_clock::time_point Seen() const {
    return std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(m_Seen.load()));
  }
  const FormRegistry::Entry& Entry() const { return m_Entry; }

  // Creates the form by class name, then Init with the program id, Refresh, DoGetFormStatus.
  WebReply Open(const RowRange& rows);
  // The view model with the tree rows of `rows`; waits while the form is at work.
  WebReply View(const RowRange& rows);
  // A user action ({"kind": "type" | "leave" | "focus" | "click" | "pick" | "expand" | "collapse"
  // | "seek" | "browse" | "command", ...}); see WebAction.
  WebReply Act(const nlohmann::json& action, const RowRange& rows);
  // The answer to the pending dialog: {"dialog": id, "answer": ...}.
  WebReply Answer(const nlohmann::json& answer, const RowRange& rows);
  // DoSaveFormStatus and Clear, then the thread ends and the connection is closed. A pending
  // dialog is cancelled first. Requires: called once, with no other request of this window
  // under way or to come.
  WebReply Close();

  // Platform, on the window's thread: each waits for the page's answer.
  int MsgBox(const std::string& text, int style, const std::string& title) override;
  std::string InputBox(const std::string& prompt, const std::string& title, const std::string& defaultText) override;
  bool ChooseColor(const std::string& title, int32_t& color) override;
  // The open-file dialog over this machine's folders; each change of folder is a new dialog.
  bool ChooseFile(view::FileChoice& choice) override;
  // A file (or an http, https or mailto address) goes to the page: a box that offers it as a
  // download link (`/api/windows/<id>/files/<n>`) and waits until the user closes it. Each
  // window keeps only the last file; one larger than kMaxFile, a folder or another kind of
  // address is refused (false). The window's thread hands mShellExecute's opening to this.
  bool OpenFile(const std::string& target) override;
  static constexpr size_t kMaxFile = size_t(64) << 20;
  // The file handed over as number `n`, as a download; 404 when it is no longer kept.
  WebReply File(const std::string& n);
  // The browse window of a reference field: the page picks a row.
  int Browse(const LookupWindow& window, const db::Recordset& rows, const std::string& textColumn);

  // Events of the form, on the window's thread.
  void Message(const std::string& psMsg) override;
  void ErrMessage(const std::string& psMsg, int32_t plLevel, const std::string& psTitle) override;
  // A rolled-back command journals its failures, not the changes it undid.
  void CommandEnded(bool committed) override;
  void FormRefreshed() override;
  void Property(const std::string& name, const Value& value, bool autoUpdate) override;

 private:
  enum class State { Idle, Running, Asking, Closed };
  using Task = std::function<nlohmann::json()>;

  // Hands `task` to the window's thread and waits for its end or its first dialog.
  WebReply Submit(Task task, const RowRange& rows, bool isAction, std::unique_lock<std::mutex>& lock);
  // Waits until the thread publishes after `published`, then builds the reply.
  WebReply Await(uint64_t published, std::unique_lock<std::mutex>& lock);
  WebReply Reply();
  void Loop();
  // On the window's thread: publishes `dialog` with the current view and waits for its answer.
  // Gives null when the window closes instead.
  nlohmann::json Ask(nlohmann::json dialog);
  nlohmann::json Snapshot();
  void FlushJournal();
  void Publish(nlohmann::json view);

  const std::string m_Id;
  const FormRegistry& m_Forms;
  const FormRegistry::Entry m_Entry;
  const std::optional<int32_t> m_ProgramId;
  const Options m_Options;

  // Owned by the window's thread.
  std::shared_ptr<Context> m_Context;
  std::unique_ptr<FormGuard> m_Form;
  std::vector<nlohmann::json> m_Journal;  // lines waiting for the end of a transaction

  std::mutex m_Mutex;
  std::condition_variable m_Cv;
  State m_State = State::Idle;
  Task m_Task;
  bool m_Stop = false;
  bool m_Closing = false;
  uint64_t m_Published = 0;  // counts the moments the thread handed the page something
  int64_t m_Version = 0;     // counts finished actions
  int m_DialogSerial = 0;
  RowRange m_Rows;
  nlohmann::json m_View;
  nlohmann::json m_Result;
  nlohmann::json m_Dialog;
  int m_FileSerial = 0;  // the number of the file kept, 0 for none
  std::string m_FileName;
  std::shared_ptr<const std::string> m_File;
  std::optional<nlohmann::json> m_Answer;
  nlohmann::json m_Events = nlohmann::json::array();
  std::string m_Status;
  std::atomic<std::chrono::steady_clock::rep> m_Seen{std::chrono::steady_clock::now().time_since_epoch().count()};
  std::thread m_Thread;
};

}  // namespace kmd::host
