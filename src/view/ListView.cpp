#include "view/ListView.h"

#include "base/RuntimeError.h"

namespace kmd::view {

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

void ListView::UserClick(const ListItemPtr& item) {
  if (!Enabled()) return;
  m_Selected = item;
  if (ItemClick) ItemClick(item);
}

std::string ListView::ShownText() const { return m_Selected ? m_Selected->Text : ""; }

}  // namespace kmd::view
