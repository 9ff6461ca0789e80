#include "frame/FormRegistry.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd {

void FormRegistry::Add(Entry entry) { m_Entries.push_back(std::move(entry)); }

const FormRegistry::Entry* FormRegistry::FindEntry(const std::string& className) const {
  for (const auto& e : m_Entries)
    if (text::EqualsNoCase(e.className, className)) return &e;
  return nullptr;
}

std::unique_ptr<FormGuard> FormRegistry::Create(const std::string& className, view::Platform& platform) const {
  const Entry* e = FindEntry(className);
  if (!e) return nullptr;
  std::string why;
  try {
    return std::make_unique<FormGuard>(e->factory, platform);
  } catch (const std::exception& ex) {
    why = ex.what();
  } catch (...) {
    why = "unknown error";
  }
  throw RuntimeError("cannot create form " + e->className + ": " + why);
}

}  // namespace kmd
