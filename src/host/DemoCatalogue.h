#pragma once
#include <cstdint>

#include "db/Connection.h"

namespace kmd::host {

// A catalogue of a given size, for trying the deferred tree load and for benchmarks: `leaves`
// leaf categories over a three-level tree under the first-level codes 50 to 59 (rule "22222"), and
// `products` products spread evenly over the leaves, except that the first leaf holds
// `firstLeafProducts` of them when that is given. Codes and ids follow the rows already there, in
// one transaction. Gives the first leaf's category id. Throws RuntimeError on a failed statement.
struct CatalogueShape {
  int64_t products = 0;
  int leaves = 0;
  int64_t firstLeafProducts = 0;
};
int64_t FillCatalogue(db::Connection& connection, const CatalogueShape& shape);

}  // namespace kmd::host
