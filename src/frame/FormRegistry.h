#pragma once
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "frame/FormGuard.h"

namespace kmd {

// Creates forms by class name, as a host does. Each subsystem folder registers its forms with a
// Register...Forms function; the host calls them all once.
class FormRegistry {
 public:
  using Factory = std::function<std::unique_ptr<Form>(view::Platform&)>;
  struct Entry {
    std::string className;
    std::string title;      // shown by hosts in their form lists
    std::string subsystem;  // the group a host lists it under
    Factory factory;
  };

  template <class T>
  void Add(const std::string& className, const std::string& title, const std::string& subsystem) {
    Add(Entry{className, title, subsystem, [](view::Platform& p) { return std::make_unique<T>(p); }});
  }
  void Add(Entry entry);

  // Creates the form (running its InitProperties) behind a guard; null for an unknown class.
  // The class name is compared without Latin case. A form whose constructor fails throws
  // RuntimeError "cannot create form <Class>: <reason>".
  std::unique_ptr<FormGuard> Create(const std::string& className, view::Platform& platform) const;
  const Entry* FindEntry(const std::string& className) const;
  const std::vector<Entry>& Entries() const { return m_Entries; }

 private:
  std::vector<Entry> m_Entries;
};

}  // namespace kmd
