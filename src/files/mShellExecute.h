#pragma once
#include <cstdint>
#include <functional>
#include <string>

// Opening a file with its default application, or running a program, as the shell's open command
// does; failures are run-time errors with the numbers and English texts the suite gives them.
namespace kmd::mShellExecute {

// How a file is opened here: every file, program or not, and every address go to the opener of
// the calling thread, by default the desktop's ("xdg-open", when DISPLAY or WAYLAND_DISPLAY is
// set). Nothing is ever executed by this module itself. The verbs "" and "open" open; "explore"
// opens a folder; others have no application on this platform. Parameters have no place with an
// opener and are not passed on.
//
// The answer is a number in the shell's own terms: above 32 for success, else 0 or 8 out of
// memory, 2 file not found, 3 path not found, 5 access denied, 31 no application.
int32_t ShellExecute(const std::string& verb, const std::string& file, const std::string& parameters,
                     const std::string& folder, int32_t show);

// What opens a file or an address for the user: gives 0 when it was handed over, 2 when the
// opener found no such file, -2 when it could not be started, any other value when nothing could
// open it. `folder` is the working folder ("" for the current one).
using Opener = std::function<int(const std::string& target, const std::string& folder)>;
// Sets the opener for the calling thread; an empty function restores the desktop's. A host that
// shows its forms on another screen sets one on each form's thread that hands the file to that
// screen, so that nothing opens on the machine that runs the host; tests set a recorder.
void SetOpener(Opener opener);

// Opens `file` through ShellExecute: with parameters or a folder they and `show` are given (a
// file name holding ".EXE", any case, with `show` 0), with neither the file opens normally.
// True on success; otherwise raises a RuntimeError with source "kmd.GShell" and the number and
// description of the failure.
bool ShellOpen(const std::string& file, int32_t show, const std::string& parameters, const std::string& folder,
               std::string& verb, int32_t& window);
bool ShellOpen(const std::string& file, int32_t show = 1, const std::string& parameters = "",
               const std::string& folder = "");

}  // namespace kmd::mShellExecute
