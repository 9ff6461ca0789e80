#pragma once
#include <string>
#include <string_view>

#include "base/Value.h"
#include "hierarchies/CodeRule.h"
#include "tree/cTreeView.h"

namespace kmd {

// The load of a coded tree that survives gaps in the codes: for every level of `code` (by `rule`)
// whose node "k" + prefix does not exist yet, adds one under the node of the level above ("k"
// alone for the first level, which is the root of such a tree), with the text prefix, two blanks
// and `name`, and the tag `id`. A level without a row of its own therefore carries the name and id
// of the first deeper row that needs it; loads sort by level first, so that a row that has its own
// level comes before its descendants. A code that fits no level of the rule adds nothing.
void AddCodeLevels(cTreeView& tv, const ICodeRule& codeRule, const std::string& rule, const std::string& code,
                   std::string_view name, const Value& id);

}  // namespace kmd
