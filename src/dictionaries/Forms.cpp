#include "dictionaries/Forms.h"

#include "dictionaries/BillType.h"
#include "dictionaries/CGY.h"
#include "dictionaries/HYFS.h"
#include "dictionaries/Item.h"
#include "dictionaries/JLDW.h"
#include "dictionaries/QMSCMItem.h"
#include "dictionaries/QMSPOItem.h"
#include "dictionaries/SKFS.h"
#include "dictionaries/WHCD.h"
#include "dictionaries/XSY.h"
#include "dictionaries/ZW.h"
#include "dictionaries/ZYLB.h"

namespace kmd {

void RegisterDictionaryForms(FormRegistry& registry) {
  registry.Add<JLDW>("JLDW", "计量单位", "基础资料");
  registry.Add<XSY>("XSY", "销售员", "基础资料");
  registry.Add<CGY>("CGY", "采购员", "基础资料");
  registry.Add<ZW>("ZW", "职务", "基础资料");
  registry.Add<WHCD>("WHCD", "文化程度", "基础资料");
  registry.Add<ZYLB>("ZYLB", "职员类别", "基础资料");
  registry.Add<SKFS>("SKFS", "结算方式", "基础资料");
  registry.Add<HYFS>("HYFS", "货运方式", "基础资料");
  registry.Add<BillType>("BillType", "票据类型", "基础资料");
  registry.Add<Item>("Item", "项目", "基础资料");
  registry.Add<QMSPOItem>("QMSPOItem", "采购进货检验项目", "基础资料");
  registry.Add<QMSCMItem>("QMSCMItem", "外协进货检验项目", "基础资料");
}

}  // namespace kmd
