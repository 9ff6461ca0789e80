#pragma once
#include "frame/FormRegistry.h"

namespace kmd {

// Registers the currency forms: currencies and daily exchange rates.
void RegisterCurrencyForms(FormRegistry& registry);

}  // namespace kmd
