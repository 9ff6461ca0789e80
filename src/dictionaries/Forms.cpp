#include "dictionaries/Forms.h"

#include "dictionaries/JLDW.h"

namespace kmd {

void RegisterDictionaryForms(FormRegistry& registry) {
  registry.Add<JLDW>("JLDW", "计量单位", "基础资料");
}

}  // namespace kmd
