#pragma once
#include <nlohmann/json.hpp>
#include <string>

#include "frame/FormGuard.h"

namespace kmd::host {

// The rows of a tree the page draws: `count` rows of the expanded rows from `first` on.
struct RowRange {
  int first = 0;
  int count = 100;
  static constexpr int kMaxCount = 2000;
};

// "#rrggbb" of a colour number (BBGGRR in its bytes); a system colour (negative) shows as the grey
// of a button face.
std::string CssColour(int32_t colour);

// The view model of a form, which the page draws without knowing the form: every control in
// declaration order with its type name, a kind ("text", "textbox", "label", "option", "check",
// "combo", "date", "button", "picture", "image", "tree", "list", "grid" or "other"), its state and its
// content; a tree gives its number of expanded rows and the rows of `rows` with their depth; the
// toolbar gives which commands the edit state allows; "tools" the form's own tools, on or off.
nlohmann::json ViewModel(FormGuard& form, const RowRange& rows);

// A user action on the form's controls or a contract command, as the page sends it:
//   {"kind": "type", "control": "qnT(0)", "text": "..."}   typing into a field (whole text)
//   {"kind": "leave" | "focus" | "browse" | "click" | "dblclick", "control": ...}
//   {"kind": "pick" | "expand" | "collapse", "control": "TV", "key": "k1"}   a tree node
//   {"kind": "pick", "control": "LV", "index": 1}          a list row (1-based)
//   {"kind": "key", "control": "qnT(0)", "key": "Enter"}    Enter, Up or Down in a text field
//                                                           whose form hears its keys ("keys")
//   {"kind": "seek", "control": "TV", "text": "K"}         type-ahead: next row starting so
//   {"kind": "command", "command": "FileNew"}               an operation of the contract
//   {"kind": "resize", "width": W, "height": H[, "treeWidth": T]}   the window's size in twips
//                                                           (Form::Resize); T for a tree of no width
//   {"kind": "split", "control": "Sp", "phase": "down" | "move" | "up", "x": X}   the mouse on the
//                                                           form's splitter, X in twips from the bar
//   {"kind": "tool", "key": "autobm"}                        a form's own tool (IFormToolUI)
// Gives {"result": ...} for a command, {} for other actions. Throws ActionError for an action
// that names no control, a control of another kind, a locked control or an unknown command,
// before anything is changed.
struct ActionError {
  int status;
  std::string message;
};
nlohmann::json PerformAction(FormGuard& form, const nlohmann::json& action);

}  // namespace kmd::host
