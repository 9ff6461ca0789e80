#include "currency/Forms.h"

#include "currency/BZ.h"
#include "currency/HL.h"

namespace kmd {

void RegisterCurrencyForms(FormRegistry& registry) {
  registry.Add<BZ>("BZ", "币种设置", "基础资料");
  registry.Add<HL>("HL", "每日汇率", "基础资料");
}

}  // namespace kmd
