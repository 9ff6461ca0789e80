#pragma once
#include "frame/FormRegistry.h"

namespace kmd {

// The product catalogue's forms.
void RegisterCatalogueForms(FormRegistry& registry);

}  // namespace kmd
