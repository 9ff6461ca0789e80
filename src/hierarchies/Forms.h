#pragma once
#include "frame/FormRegistry.h"

namespace kmd {

// Registers the coded hierarchies.
void RegisterHierarchyForms(FormRegistry& registry);

}  // namespace kmd
