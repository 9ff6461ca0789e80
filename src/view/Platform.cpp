#include "view/Platform.h"

namespace kmd::view {

std::string IconName(int style) {
  switch (style & 0x70) {
    case vbCritical: return "critical";
    case vbQuestion: return "question";
    case vbExclamation: return "exclamation";
    case vbInformation: return "information";
    default: return "";
  }
}

int ButtonsOf(int style) { return style & 0x7; }

std::string AnswerName(int answer) {
  switch (answer) {
    case vbOK: return "OK";
    case vbCancel: return "Cancel";
    case vbAbort: return "Abort";
    case vbRetry: return "Retry";
    case vbIgnore: return "Ignore";
    case vbYes: return "Yes";
    case vbNo: return "No";
    default: return std::to_string(answer);
  }
}

}  // namespace kmd::view
