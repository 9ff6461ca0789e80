#pragma once
#include "frame/FormRegistry.h"

namespace kmd {

// Registers the employee form.
void RegisterEmployeeForms(FormRegistry& registry);

}  // namespace kmd
