#pragma once
#include <CLI/CLI.hpp>

namespace kmd::apps {

// The host's own stores of a database, without SQL:
//   kmd rights get|set --db FILE USER PROGID [DETAIL ACTION]   a user's rights on a program (0 or 1)
//   kmd period get|set --db FILE [N]                           the current accounting period
//   kmd usersetting get|set --db FILE USER SECTION KEY [VALUE] a user's personal setting
// `get` prints what the context gives a form (rights as "DETAIL ACTION", both 1 when none are
// stored); `set` stores. AddHostStoreCommands registers them; RunHostStoreCommands runs the one
// that was parsed and gives its exit status, or -1 when none of them was.
void AddHostStoreCommands(CLI::App& app);
int RunHostStoreCommands();

}  // namespace kmd::apps
