#pragma once
#include <CLI/CLI.hpp>

namespace kmd::apps {

// `kmd pack`, `kmd unpack` and `kmd list`: the compression container from the command line.
// AddPackCommands registers them; RunPackCommands runs the one that was parsed and gives its exit
// status, or -1 when none of them was.
void AddPackCommands(CLI::App& app);
int RunPackCommands();

}  // namespace kmd::apps
