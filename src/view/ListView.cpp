#include "view/ListView.h"

#include <algorithm>

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd::view {

std::string ListItem::SubItem(int n) const {
  return n >= 1 && n <= static_cast<int>(SubItems.size()) ? SubItems[static_cast<size_t>(n - 1)] : "";
}

void ListItem::SetSubItem(int n, std::string text) {
  if (n < 1) throw RuntimeError("Invalid property value");
  if (static_cast<int>(SubItems.size()) < n) SubItems.resize(static_cast<size_t>(n));
  SubItems[static_cast<size_t>(n - 1)] = std::move(text);
}

ListItemPtr ListView::Add(const std::string& key, const std::string& text) {
  auto item = std::make_shared<ListItem>();
  item->Key = key;
  item->Text = text;
  item->Index = Count() + 1;
  m_Items.push_back(item);
  return item;
}

void ListView::Remove(int index) {
  auto item = Item(index);
  m_Items.erase(m_Items.begin() + (index - 1));
  for (size_t i = static_cast<size_t>(index - 1); i < m_Items.size(); ++i) m_Items[i]->Index = static_cast<int>(i) + 1;
  if (m_Selected == item) m_Selected.reset();
  if (m_Visible == item) m_Visible.reset();
}

void ListView::Clear() {
  m_Items.clear();
  m_Selected.reset();
  m_Visible.reset();
}

ListItemPtr ListView::Item(int index) const {
  if (index < 1 || index > Count()) throw RuntimeError("Index out of bounds");
  return m_Items[static_cast<size_t>(index - 1)];
}

ListItemPtr ListView::FindItem(const std::string& text, bool subItems, int start, bool partial) const {
  auto matches = [&](const std::string& s) {
    return partial ? text::StartsWithNoCase(s, text) : text::EqualsNoCase(s, text);
  };
  for (int i = std::max(start, 1); i <= Count(); ++i) {
    const auto& item = m_Items[static_cast<size_t>(i - 1)];
    if (matches(item->Text)) return item;
    if (subItems && std::any_of(item->SubItems.begin(), item->SubItems.end(), matches)) return item;
  }
  return nullptr;
}

void ListView::UserClick(const ListItemPtr& item) {
  if (!Enabled()) return;
  m_Selected = item;
  if (ItemClick) ItemClick(item);
}

std::string ListView::ShownText() const { return m_Selected ? m_Selected->Text : ""; }

}  // namespace kmd::view
