#pragma once
#include "frame/FormRegistry.h"

namespace kmd {

// Registers the flat dictionaries.
void RegisterDictionaryForms(FormRegistry& registry);

}  // namespace kmd
