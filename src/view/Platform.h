#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kmd::view {

// Message box buttons, icons and answers, with the values the suite uses.
enum MsgBoxStyle : int {
  vbOKOnly = 0, vbOKCancel = 1, vbAbortRetryIgnore = 2, vbYesNoCancel = 3, vbYesNo = 4, vbRetryCancel = 5,
  vbCritical = 16, vbQuestion = 32, vbExclamation = 48, vbInformation = 64, vbDefaultButton2 = 256,
};
enum MsgBoxResult : int { vbOK = 1, vbCancel = 2, vbAbort = 3, vbRetry = 4, vbIgnore = 5, vbYes = 6, vbNo = 7 };

// The open-file dialog: what is asked, and what the user chose.
struct FileChoice {
  // Flag bits of the dialog, as the suite passes them.
  static constexpr int32_t kReadOnly = 0x1, kHideReadOnly = 0x4, kAllowMultiSelect = 0x200,
                           kFileMustExist = 0x1000;
  std::string title;
  std::string initDir;
  std::string defaultExt;
  std::string fileName;  // the name proposed at the start
  // (name, patterns) pairs, e.g. ("Pictures", "*.bmp;*.jpg"); filterIndex counts from 1.
  std::vector<std::pair<std::string, std::string>> filters;
  int32_t filterIndex = 1;
  int32_t flags = 0;
  // The answer: the chosen files (one unless kAllowMultiSelect), the filter then in use, and the
  // flags with kReadOnly set when the user asked to open read-only.
  std::vector<std::string> files;
};

// What the forms ask of the user's screen: modal boxes and input boxes. The host gives each form
// one Platform when it creates it; the script host answers from its script, the web host asks
// the user in the browser, tests answer from a queue.
class Platform {
 public:
  virtual ~Platform() = default;
  // Shows a modal box; gives the answer (MsgBoxResult).
  virtual int MsgBox(const std::string& text, int style, const std::string& title) = 0;
  // Shows an input box; gives the typed text, or "" when the user cancels.
  virtual std::string InputBox(const std::string& prompt, const std::string& title, const std::string& defaultText) = 0;
  // Shows the modal colour dialog titled `title`, starting on `color` (a colour number). On OK
  // gives true with the chosen colour in `color`; on Cancel false, `color` untouched. A platform
  // without the dialog answers Cancel.
  virtual bool ChooseColor(const std::string& /*title*/, int32_t& /*color*/) { return false; }
  // Shows the modal open-file dialog that `choice` describes. On OK gives true with the choice
  // filled in (paths, filter index, flags); on Cancel false. A platform without the dialog
  // answers Cancel.
  virtual bool ChooseFile(FileChoice& /*choice*/) { return false; }
  // Hands a file (a native path) or an address to the user, to be opened where the user sits:
  // true when it was handed over. A platform that cannot hand one over answers false.
  virtual bool OpenFile(const std::string& /*target*/) { return false; }
};

// Names of a box's icon and buttons, as transcripts and pages show them.
std::string IconName(int style);
int ButtonsOf(int style);
std::string AnswerName(int answer);

}  // namespace kmd::view
