#include "host/AllForms.h"

#include "dictionaries/Forms.h"

namespace kmd::host {

const FormRegistry& AllForms() {
  static const FormRegistry registry = [] {
    FormRegistry r;
    RegisterDictionaryForms(r);
    return r;
  }();
  return registry;
}

}  // namespace kmd::host
