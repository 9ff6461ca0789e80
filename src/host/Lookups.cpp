#include "host/Lookups.h"

#include "base/Text.h"

namespace kmd::host {

namespace {

// Every lookup key of the forms, in one place. A form that brings a new key adds its window here.
const std::vector<LookupWindow>& Windows() {
  static const std::vector<LookupWindow> windows = {
      {"gy_jldw", "计量单位", "Select 单位ID,代码,名称 From KMDjldw order by 代码", "代码", {"代码", "名称"}},
  };
  return windows;
}

}  // namespace

const LookupWindow* FindLookupWindow(const std::string& key) {
  for (const auto& w : Windows())
    if (text::EqualsNoCase(w.Key, text::Trim(key))) return &w;
  return nullptr;
}

}  // namespace kmd::host
