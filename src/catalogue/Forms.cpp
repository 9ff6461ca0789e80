#include "catalogue/Forms.h"

#include "catalogue/CPML.h"

namespace kmd {

void RegisterCatalogueForms(FormRegistry& registry) { registry.Add<CPML>("CPML", "产品目录", "基础资料"); }

}  // namespace kmd
