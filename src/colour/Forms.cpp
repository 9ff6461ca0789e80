#include "colour/Forms.h"

#include "colour/SH.h"

namespace kmd {

void RegisterColourForms(FormRegistry& registry) { registry.Add<SH>("SH", "色号", "基础资料"); }

}  // namespace kmd
