#include "files/mShellExecute.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "files/FilePaths.h"

namespace fs = std::filesystem;

namespace kmd::mShellExecute {

namespace {

constexpr int32_t kSuccess = 42;  // any answer above 32 means success
constexpr int32_t kOutOfMemory = 8, kFileNotFound = 2, kPathNotFound = 3, kAccessDenied = 5, kNoAssociation = 31;
// The application error base plus 1048: the number of a failure without a number of its own.
constexpr int32_t kDefaultErrorBase = -2147220456;

bool DesktopPresent() {
  const char* x = std::getenv("DISPLAY");
  const char* w = std::getenv("WAYLAND_DISPLAY");
  return (x && *x) || (w && *w);
}

// Starts the desktop's opener in a grandchild, so that nothing is left to reap, and waits a
// moment for its end: a quick failure (no handler, no such file) is then seen; an opener still
// running has started.
int DesktopOpen(const std::string& target, const std::string& folder) {
  if (!DesktopPresent()) return 3;  // as xdg-open answers when it finds no tool
  const std::string opener = "xdg-open";
  char* args[] = {const_cast<char*>(opener.c_str()), const_cast<char*>(target.c_str()), nullptr};
  const char* dir = folder.empty() ? nullptr : folder.c_str();
  const pid_t middle = ::fork();
  if (middle < 0) return -2;
  if (middle == 0) {
    const pid_t child = ::fork();
    if (child < 0) ::_exit(126);
    if (child == 0) {
      ::setsid();
      if (dir && ::chdir(dir) != 0) ::_exit(127);
      // Nothing of the started program reaches this process's terminal.
      const int nul = ::open("/dev/null", O_RDWR);
      if (nul >= 0) {
        ::dup2(nul, 0);
        ::dup2(nul, 1);
        ::dup2(nul, 2);
      }
      ::execvp(args[0], args);
      ::_exit(127);
    }
    const timespec pause{0, 50 * 1000 * 1000};
    for (int i = 0; i < 60; ++i) {
      int status = 0;
      if (::waitpid(child, &status, WNOHANG) == child) ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : 125);
      ::nanosleep(&pause, nullptr);
    }
    ::_exit(0);
  }
  int status = 0;
  pid_t waited;
  do {
    waited = ::waitpid(middle, &status, 0);
  } while (waited < 0 && errno == EINTR);
  if (waited < 0) return 0;  // already reaped elsewhere: the start went its way
  if (!WIFEXITED(status)) return -1;
  const int code = WEXITSTATUS(status);
  if (code == 126) return -2;
  if (code == 127) return -1;
  return code;
}

Opener& CurrentOpener() {
  thread_local Opener opener = DesktopOpen;
  return opener;
}

bool IsUrl(const std::string& s) {
  return s.find("://") != std::string::npos || text::StartsWithNoCase(s, "mailto:");
}

int32_t Open(const std::string& target, const std::string& folder) {
  switch (CurrentOpener()(target, folder)) {
    case 0: return kSuccess;
    case -2: return kOutOfMemory;
    case 2: return kFileNotFound;
    default: return kNoAssociation;  // no opener, no tool, no handler
  }
}

struct Failure {
  int32_t number;
  const char* text;
};

Failure FailureOf(int32_t result) {
  switch (result) {
    case 0:
    case 8: return {7, "Out of memory"};
    case 2: return {53, "File not found"};
    case 3: return {76, "Path not found"};
    case 5: return {75, "Path/file access error"};
    case 11: return {kDefaultErrorBase + result, "The executable file is invalid or corrupt"};
    case 26: return {75, "A sharing violation occurred."};
    case 27: return {kDefaultErrorBase + result, "This file type does not have a valid file association."};
    case 28: return {286, "The file could not be opened due to time out.  Please try again in a moment."};
    case 29:
      return {285, "The file could not be opened because the DDE transaction failed.  Please try again in a moment."};
    case 30:
      return {285,
              "The file could not be opened because the target application is busy.  Please try again in a moment."};
    case 31: return {kDefaultErrorBase + result, "No application is associated with this file type."};
    case 32: return {48, "The specified dynamic-link library was not found."};
    default:
      return {kDefaultErrorBase + result, "An error occurred occurred whilst trying to open or print the selected file."};
  }
}

}  // namespace

void SetOpener(Opener opener) { CurrentOpener() = opener ? std::move(opener) : Opener(DesktopOpen); }

int32_t ShellExecute(const std::string& verb, const std::string& file, const std::string& /*parameters*/,
                     const std::string& folder, int32_t /*show*/) {
  const std::string v = text::LCase(verb);
  if (!v.empty() && v != "open" && v != "explore") return kNoAssociation;
  const std::string dir = zpath::ToNative(folder);
  std::error_code ec;
  if (!dir.empty() && !fs::is_directory(dir, ec)) return kPathNotFound;
  if (file.empty()) return kFileNotFound;
  if (IsUrl(file)) return v == "explore" ? kNoAssociation : Open(file, dir);

  // A relative name is taken from the working folder when one is given.
  std::string native = zpath::ToNative(file);
  if (!dir.empty() && native.front() != '/') native = (fs::path(dir) / native).string();
  const auto st = fs::status(native, ec);
  if (!fs::exists(st)) {
    const fs::path parent = fs::path(native).parent_path();
    return parent.empty() || fs::is_directory(parent, ec) ? kFileNotFound : kPathNotFound;
  }
  if (::access(native.c_str(), R_OK) != 0) return kAccessDenied;
  const bool isFolder = fs::is_directory(st);
  if (v == "explore" && !isFolder) return kNoAssociation;
  // A program file is opened like any other: whether it runs is the desktop's decision.
  return Open(native, dir);
}

bool ShellOpen(const std::string& file, int32_t show, const std::string& parameters, const std::string& folder,
               std::string& verb, int32_t& /*window*/) {
  if (text::UCase(file).find(".EXE") != std::string::npos) show = 0;
  const int32_t result = !parameters.empty() || !folder.empty() ? ShellExecute(verb, file, parameters, folder, show)
                                                                  : ShellExecute(verb, file, "", "", 1);
  if (result > 32) return true;
  const Failure f = FailureOf(result);
  throw RuntimeError(f.number, "kmd.GShell", f.text);
}

bool ShellOpen(const std::string& file, int32_t show, const std::string& parameters, const std::string& folder) {
  std::string verb;
  int32_t window = 0;
  return ShellOpen(file, show, parameters, folder, verb, window);
}

}  // namespace kmd::mShellExecute
