#include "host/AllForms.h"

#include "catalogue/Forms.h"
#include "colour/Forms.h"
#include "currency/Forms.h"
#include "dictionaries/Forms.h"
#include "employees/Forms.h"
#include "hierarchies/Forms.h"
#include "process/Forms.h"

namespace kmd::host {

const FormRegistry& AllForms() {
  static const FormRegistry registry = [] {
    FormRegistry r;
    RegisterDictionaryForms(r);
    RegisterHierarchyForms(r);
    RegisterEmployeeForms(r);
    RegisterCatalogueForms(r);
    RegisterColourForms(r);
    RegisterCurrencyForms(r);
    RegisterProcessForms(r);
    return r;
  }();
  return registry;
}

}  // namespace kmd::host
