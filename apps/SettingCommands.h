#pragma once
#include <CLI/CLI.hpp>

namespace kmd::apps {

// `kmd option get|set MODULE KEY [VALUE [NAME]] [--name NAME]` and `kmd parameter get|set MODULE KEY [VALUE]`:
// the system options and module parameters of a database, without SQL. `get` prints the value (an
// empty line for an unset key); `set` stores VALUE, the empty text when it is left out, and an
// option's NAME when one is given.
// AddSettingCommands registers them; RunSettingCommands runs the one that was parsed and gives its
// exit status, or -1 when none of them was.
void AddSettingCommands(CLI::App& app);
int RunSettingCommands();

}  // namespace kmd::apps
