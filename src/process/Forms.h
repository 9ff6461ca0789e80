#pragma once
#include "frame/FormRegistry.h"

namespace kmd {

// Registers the process data forms: operations, work centres, operation quality checks.
void RegisterProcessForms(FormRegistry& registry);

}  // namespace kmd
