#include "dictionaries/QMSCMItem.h"

namespace kmd {

QMSCMItem::QMSCMItem(view::Platform& platform)
    : QMSItemDictionary("QMSCMItem", platform, "KMDQMSCMItem", "KMDQMSCMItem", "外协进货检验项目", "外协检验项目") {}

}  // namespace kmd
