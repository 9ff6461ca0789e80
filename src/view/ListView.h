#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Value.h"
#include "view/Control.h"

namespace kmd::view {

class ListView;

// A row of a ListView: its text (the first column), the texts of the further columns, a tag and a
// key. Index is 1-based in the list's order and closes up when a row before it is removed.
struct ListItem {
  std::string Key;
  std::string Text;
  std::vector<std::string> SubItems;  // columns 2, 3, ...
  Value Tag;
  int Index = 0;
  // Sub-item n (1-based, the list's column n + 1); "" where none was set.
  std::string SubItem(int n) const;
  // Sets sub-item n, adding empty ones before it where needed. Throws RuntimeError for n < 1.
  void SetSubItem(int n, std::string text);
};
using ListItemPtr = std::shared_ptr<ListItem>;

// The list control: column headers, rows and one selected row. Setting the selection from the
// program raises no event; the user's click raises ItemClick.
class ListView : public Control {
 public:
  explicit ListView(std::string name = "LV", int index = -1) : Control("ListView", std::move(name), index) {}

  std::vector<std::string> ColumnHeaders;

  ListItemPtr Add(const std::string& key, const std::string& text);
  // Removes the row at the 1-based index. Throws RuntimeError when there is none.
  void Remove(int index);
  void Clear();
  int Count() const { return static_cast<int>(m_Items.size()); }
  // By 1-based index; throws RuntimeError when absent.
  ListItemPtr Item(int index) const;
  const std::vector<ListItemPtr>& Items() const { return m_Items; }

  ListItemPtr SelectedItem() const { return m_Selected; }
  // Selects the row (null clears the selection).
  void SetSelectedItem(const ListItemPtr& item) { m_Selected = item; }
  // The row scrolled into view last, by EnsureVisible.
  ListItemPtr VisibleItem() const { return m_Visible; }
  void EnsureVisible(const ListItemPtr& item) { m_Visible = item; }

  // The first row from the 1-based `start` on whose text, or with `subItems` one of whose
  // sub-items, begins with `text` (`partial`) or equals it, Latin case ignored; null when none.
  // The search does not wrap round.
  ListItemPtr FindItem(const std::string& text, bool subItems, int start = 1, bool partial = true) const;

  std::function<void(const ListItemPtr&)> ItemClick;
  // The user clicks a row: it is selected and ItemClick is raised. A disabled list ignores it.
  void UserClick(const ListItemPtr& item);

  std::string ShownText() const override;

 private:
  std::vector<ListItemPtr> m_Items;
  ListItemPtr m_Selected;
  ListItemPtr m_Visible;
};

}  // namespace kmd::view
