#pragma once
#include <cstdint>
#include <functional>
#include <string>

#include "db/Database.h"
#include "hierarchies/CodeRule.h"
#include "tree/cTreeView.h"

namespace kmd::OrganisationTree {

// The company's units (kmdbm) as a tree: one root for each kind of unit (组织类型 1 to 4, keys
// "R1" to "R4", tagged with the kind), each first-level unit under the root of its kind, each
// deeper unit under the node of its parent code ("k" and the code). The organisation form and the
// employee form build it alike.

// The text of the root of a kind 1 to 4; "" for any other.
std::string RootText(int32_t kind);

// The key of the root selected after a load: "R1", or "R" and the filter.
std::string FirstRootKey(int32_t filter);

// A failure of the load, in its text; the caller reports it at level 8 under its own title.
using Report = std::function<void(const std::string&)>;

// Empties the tree and adds the roots and the units, read by level and code. `filter` is the kind
// the page shows: below 1 all four kinds, else only that kind's root and units (none for a kind
// outside 1 to 4). A failed read is reported with its description and gives false. A first-level
// unit whose kind has no root is reported and left out, and with it its children. A unit whose
// parent is missing is left out silently.
bool Load(cTreeView& tv, db::IDatabase& db, const ICodeRule& codeRule, const std::string& rule, int32_t filter,
          const Report& report);

}  // namespace kmd::OrganisationTree
