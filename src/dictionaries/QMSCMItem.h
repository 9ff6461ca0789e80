#pragma once
#include "dictionaries/QMSPOItem.h"

namespace kmd {

// Outsourced inspection items (KMDQMSCMItem): the purchase inspection form on its own table.
class QMSCMItem : public QMSItemDictionary {
 public:
  explicit QMSCMItem(view::Platform& platform);
};

}  // namespace kmd
