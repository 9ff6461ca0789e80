#pragma once
#include <CLI/CLI.hpp>

namespace kmd::apps {

// kmd demo-catalogue --db FILE --products N [--categories L] [--first-leaf M]: adds N products over
// L leaf categories (default: one per 500 products, 1 to 2000) to a database made by kmd init, the
// first leaf holding M of them when given. RunDemoCommands gives the exit status, -1 when the
// command was not given.
void AddDemoCommands(CLI::App& app);
int RunDemoCommands();

}  // namespace kmd::apps
