#pragma once
#include <CLI/CLI.hpp>
#include <string>

namespace kmd::apps {

// `kmd serve` (the browser host) and `kmd journal` (the operation journal). AddServeCommands
// registers them with the default home folder and user; RunServeCommands runs the one that was
// parsed and gives its exit status, or -1 when none of them was; `argv` is the program's, with which
// the server may start itself again (see host::UseServerMemorySettings).
void AddServeCommands(CLI::App& app, const std::string& home, const std::string& user);
int RunServeCommands(char** argv);

}  // namespace kmd::apps
