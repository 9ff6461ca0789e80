#include "hierarchies/CodeLevels.h"

#include "base/Text.h"

namespace kmd {

void AddCodeLevels(cTreeView& tv, const ICodeRule& codeRule, const std::string& rule, const std::string& code,
                   std::string_view name, const Value& id) {
  int level = codeRule.CodeLevel(code, rule);
  for (int l = 1; l <= level; ++l) {
    std::string prefix = text::Left(code, static_cast<size_t>(codeRule.LevelLength(l, rule)));
    // NodeKeyExists: the key compared exactly.
    if (tv.ctrl()->FindKey("k" + prefix)) continue;
    tv.NodeAdd(NodeRef("k" + codeRule.ParentCode(prefix, rule)), view::tvwChild, "k" + prefix,
               text::Concat({prefix, "  ", name}), Value(), Value(), id);
  }
}

}  // namespace kmd
