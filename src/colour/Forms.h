#pragma once
#include "frame/FormRegistry.h"

namespace kmd {

// Registers the colour forms.
void RegisterColourForms(FormRegistry& registry);

}  // namespace kmd
