#include "hierarchies/Forms.h"

#include "hierarchies/BM.h"
#include "hierarchies/CPLB.h"
#include "hierarchies/DQ.h"
#include "hierarchies/SRLB.h"
#include "hierarchies/lxlx.h"

namespace kmd {

void RegisterHierarchyForms(FormRegistry& registry) {
  registry.Add<DQ>("DQ", "地区设置", "基础资料");
  registry.Add<lxlx>("lxlx", "联系类型设置", "基础资料");
  registry.Add<SRLB>("SRLB", "工艺类别", "基础资料");
  registry.Add<CPLB>("CPLB", "产品类别设置", "基础资料");
  registry.Add<BM>("BM", "公司组织设置", "基础资料");
}

}  // namespace kmd
