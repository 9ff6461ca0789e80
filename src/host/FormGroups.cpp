#include "host/FormGroups.h"

#include <map>
#include <utility>

#include "base/Text.h"

namespace kmd::host {

FormGroupOf FormGroup(const std::string& className, const std::string& registered) {
  static const std::map<std::string, FormGroupOf> groups = [] {
    const std::pair<const char*, const char*> subsystems[] = {
        {"基础字典", "JLDW XSY CGY ZW WHCD ZYLB SKFS HYFS BILLTYPE ITEM QMSPOITEM QMSCMITEM"},
        {"分级编码", "BM CPLB DQ LXLX SRLB"},
        {"职员档案", "GY"},
        {"产品目录", "CPML"},
        {"币种汇率", "BZ HL"},
        {"工艺资料", "SR SRLX GZZX GYZJ SRLX1"},
        {"分配关系", "WLXSY WLCGY QMSPOCP"},
        {"颜色色号", "SH"}};
    std::map<std::string, FormGroupOf> m;
    int order = 0;
    for (const auto& [group, classes] : subsystems) {
      ++order;
      for (const auto& c : text::Split(classes, ' ')) m[c] = {order, group};
    }
    return m;
  }();
  auto it = groups.find(text::UCase(className));
  return it == groups.end() ? FormGroupOf{9, registered} : it->second;
}

}  // namespace kmd::host
