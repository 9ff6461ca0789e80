#pragma once
#include "frame/FormRegistry.h"

namespace kmd::host {

// Every form of the library, by class name.
const FormRegistry& AllForms();

}  // namespace kmd::host
