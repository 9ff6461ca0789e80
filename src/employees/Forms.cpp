#include "employees/Forms.h"

#include "employees/GY.h"

namespace kmd {

void RegisterEmployeeForms(FormRegistry& registry) { registry.Add<GY>("GY", "员工档案设置", "基础资料"); }

}  // namespace kmd
