#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Opening a file with its default application, or running a program, as the shell's open command
// does; failures are run-time errors with the numbers and English texts the suite gives them.
namespace kmd::mShellExecute {

// How a file is opened here: a program file (one that may be executed) runs by itself with the
// parameters split at blanks (double quotes group); anything else goes to "xdg-open" when a
// desktop is present (DISPLAY or WAYLAND_DISPLAY set). The verbs "" and "open" open; "explore"
// opens a folder; others have no application on this platform.
//
// The answer is a number in the shell's own terms: above 32 for success, else 0 or 8 out of
// memory, 2 file not found, 3 path not found, 5 access denied, 31 no application.
// `show` is 0 for hidden, 1 for normal.
int32_t ShellExecute(const std::string& verb, const std::string& file, const std::string& parameters,
                     const std::string& folder, int32_t show);

// What starts a process: argv, its working folder ("" for the current one), hidden or not. Gives
// the process's exit status, or -1 when it could not be started; a process still running after a
// moment counts as started (status 0). Tests put a recorder here.
using Launcher = std::function<int(const std::vector<std::string>& argv, const std::string& folder, bool hidden)>;
void SetLauncher(Launcher launcher);  // an empty function restores the real one

// Opens `file`. A file name holding ".EXE" (any case) is run hidden. With parameters or a folder
// they and `show` are used; with neither the file opens normally.
// True on success; otherwise raises a RuntimeError with source "kmd.GShell" and the number and
// description of the failure.
bool ShellOpen(const std::string& file, int32_t show, const std::string& parameters, const std::string& folder,
               std::string& verb, int32_t& window);
bool ShellOpen(const std::string& file, int32_t show = 1, const std::string& parameters = "",
               const std::string& folder = "");

}  // namespace kmd::mShellExecute
