#include "process/Forms.h"

#include "process/GYZJ.h"
#include "process/GZZX.h"
#include "process/SR.h"
#include "process/SRLX.h"

namespace kmd {

void RegisterProcessForms(FormRegistry& registry) {
  registry.Add<SR>("SR", "工艺", "基础资料");
  registry.Add<GZZX>("GZZX", "工作中心", "基础资料");
  registry.Add<GYZJ>("GYZJ", "工艺质检", "基础资料");
  registry.Add<SRLX>("SRLX", "工艺路线", "基础资料");
}

}  // namespace kmd
