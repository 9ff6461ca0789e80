#include "view/TreeView.h"

#include <algorithm>
#include <cstddef>

#include "base/RuntimeError.h"

namespace kmd::view {

bool ImageList::HasKey(const std::string& key) const {
  return std::find(m_Keys.begin(), m_Keys.end(), key) != m_Keys.end();
}

// Memory for the nodes of one load. Nodes are allocated one after another, so that walks over a
// large tree read memory in order, and nothing is freed one by one: the blocks go together when
// the tree and every kept reference to its nodes have let the arena go.
class NodeArena {
 public:
  void* Allocate(size_t size, size_t align) {
    size_t at = (m_Used + align - 1) & ~(align - 1);
    while (m_Current < m_Blocks.size() && at + size > m_Blocks[m_Current].size) {
      ++m_Current;  // a block kept from an earlier load, or a new one
      at = 0;
    }
    if (m_Current == m_Blocks.size()) {
      size_t last = m_Blocks.empty() ? 0 : m_Blocks.back().size;
      size_t blockSize = std::max(size, std::min<size_t>(last ? last * 2 : 16 * 1024, 1024 * 1024));
      m_Blocks.push_back({std::unique_ptr<std::byte[]>(new std::byte[blockSize]), blockSize});
      at = 0;
    }
    m_Used = at + size;
    return m_Blocks[m_Current].data.get() + at;
  }
  // Starts over in the blocks already held, once no node of theirs is left: a tree loaded again
  // writes into memory it has touched before.
  void Reset() {
    m_Current = 0;
    m_Used = 0;
  }

 private:
  struct Block {
    std::unique_ptr<std::byte[]> data;
    size_t size;
  };
  std::vector<Block> m_Blocks;
  size_t m_Current = 0;
  size_t m_Used = 0;
};

namespace {

// The allocator of a node and its shared count; each keeps the arena alive.
template <class T>
struct ArenaAllocator {
  using value_type = T;
  std::shared_ptr<NodeArena> arena;
  explicit ArenaAllocator(std::shared_ptr<NodeArena> a) : arena(std::move(a)) {}
  template <class U>
  ArenaAllocator(const ArenaAllocator<U>& other) : arena(other.arena) {}
  T* allocate(size_t n) {
    static_assert(alignof(T) <= alignof(std::max_align_t));
    return static_cast<T*>(arena->Allocate(n * sizeof(T), alignof(T)));
  }
  void deallocate(T*, size_t) {}
  template <class U>
  bool operator==(const ArenaAllocator<U>& other) const { return arena == other.arena; }
};

NodePtr Share(Node* n) { return n ? n->shared_from_this() : nullptr; }

[[noreturn]] void NotFound() { throw RuntimeError(kErrElementNotFound, "TreeView", "Element not found"); }
}  // namespace

void Node::NotInTree() { throw RuntimeError("The node has been removed from its tree"); }

NodePtr Node::Parent() const { return Share(m_Parent); }
NodePtr Node::Child() const { return Share(m_FirstChild); }
int Node::Children() const { return m_ChildCount; }
NodePtr Node::Next() const { return Share(m_NextSib); }
NodePtr Node::Previous() const { return Share(m_PrevSib); }

NodePtr Node::FirstSibling() const {
  if (!m_Tree) return nullptr;
  const Node* n = this;
  while (n->m_PrevSib) n = n->m_PrevSib;
  return Share(const_cast<Node*>(n));
}

NodePtr Node::LastSibling() const {
  if (!m_Tree) return nullptr;
  const Node* n = this;
  while (n->m_NextSib) n = n->m_NextSib;
  return Share(const_cast<Node*>(n));
}

NodePtr Node::Root() const {
  if (!m_Tree) return nullptr;
  const Node* n = this;
  while (n->m_Parent) n = n->m_Parent;
  // The tree control answers with the first root of the tree.
  n = n->FirstSibling().get();
  return Share(const_cast<Node*>(n));
}

std::string Node::FullPath() const {
  std::string path = Text;
  for (const Node* p = m_Parent; p; p = p->m_Parent) path = p->Text + "\\" + path;
  return path;
}

void Node::SetParent(const NodePtr& parent) {
  if (!m_Tree) throw RuntimeError("The node has been removed from its tree");
  m_Tree->Reparent(this, parent.get());
}

void Node::SetExpanded(bool expanded, bool raiseEvent) {
  if (m_Expanded == expanded) return;
  m_Expanded = expanded;
  if (m_Tree) m_Tree->RowsChanged();
  if (!m_Tree || !raiseEvent) return;
  auto self = shared_from_this();
  if (expanded && m_Tree->Expand) m_Tree->Expand(self);
  if (!expanded && m_Tree->Collapse) m_Tree->Collapse(self);
}

bool Node::Selected() const { return m_Tree && m_Tree->SelectedItem().get() == this; }

void Node::SetSelected(bool selected) {
  if (!m_Tree) return;
  if (selected) m_Tree->SetSelectedItem(shared_from_this());
  else if (Selected()) m_Tree->SetSelectedItem(nullptr);
}

void Node::EnsureVisible() {
  if (m_Tree) m_Tree->EnsureVisible(this);
}

TreeView::TreeView(std::string name, int index)
    : Control("TreeView", std::move(name), index), m_Arena(std::make_shared<NodeArena>()) {
  SetWidth(3000);
  SetHeight(4800);
}

TreeView::~TreeView() {
  for (auto& n : m_All) n->m_Tree = nullptr;
}

void TreeView::Reserve(size_t count) {
  m_All.reserve(count);
  m_ByKey.reserve(count);
}

void TreeView::Link(Node* node, Node* relative, int relationship) {
  m_RowsValid = false;
  Node* parent = nullptr;
  Node* before = nullptr;  // insert before this sibling; null means at the end
  if (!relative) {
    parent = nullptr;
  } else if (relationship == tvwChild) {
    parent = relative;
  } else {
    parent = relative->m_Parent;
    if (relationship == tvwFirst) before = parent ? parent->m_FirstChild : m_FirstRoot;
    else if (relationship == tvwNext) before = relative->m_NextSib;
    else if (relationship == tvwPrevious) before = relative;
    // tvwLast: at the end.
  }
  Node*& first = parent ? parent->m_FirstChild : m_FirstRoot;
  Node*& last = parent ? parent->m_LastChild : m_LastRoot;
  node->m_Parent = parent;
  if (before) {
    node->m_NextSib = before;
    node->m_PrevSib = before->m_PrevSib;
    if (before->m_PrevSib) before->m_PrevSib->m_NextSib = node;
    else first = node;
    before->m_PrevSib = node;
  } else {
    node->m_PrevSib = last;
    node->m_NextSib = nullptr;
    if (last) last->m_NextSib = node;
    else first = node;
    last = node;
  }
  if (parent) ++parent->m_ChildCount;
}

void TreeView::Unlink(Node* node) {
  m_RowsValid = false;
  Node* parent = node->m_Parent;
  Node*& first = parent ? parent->m_FirstChild : m_FirstRoot;
  Node*& last = parent ? parent->m_LastChild : m_LastRoot;
  if (node->m_PrevSib) node->m_PrevSib->m_NextSib = node->m_NextSib;
  else first = node->m_NextSib;
  if (node->m_NextSib) node->m_NextSib->m_PrevSib = node->m_PrevSib;
  else last = node->m_PrevSib;
  if (parent) --parent->m_ChildCount;
  node->m_Parent = node->m_NextSib = node->m_PrevSib = nullptr;
}

NodePtr TreeView::Add(const NodeRef& relative, int relationship, const std::string& key, const std::string& text,
                      const Value& image, const Value& selectedImage) {
  Node* rel = nullptr;
  if (relative.node) {
    if (relative.node->m_Tree != this) NotFound();
    rel = relative.node.get();
  } else if (relative.byKey) {
    if (m_LastRelative && relative.key == m_LastRelativeKey) {
      rel = m_LastRelative;
    } else {
      auto it = m_ByKey.find(relative.key);
      if (it == m_ByKey.end()) NotFound();
      rel = it->second;
      m_LastRelativeKey = relative.key;
      m_LastRelative = rel;
    }
  }
  if (relationship < tvwFirst || relationship > tvwChild) throw RuntimeError("Invalid procedure call or argument");
  if (!key.empty() && m_ByKey.find(key) != m_ByKey.end())
    throw RuntimeError(kErrKeyNotUnique, "TreeView", "Key is not unique in collection");
  auto node = std::allocate_shared<Node>(ArenaAllocator<Node>(m_Arena));
  node->m_Tree = this;
  node->m_Key = key;
  node->Text = text;
  node->Image = image;
  node->SelectedImage = selectedImage;
  Link(node.get(), rel, relationship);
  // The new node ends the display order when neither it nor any of its ancestors has a next
  // sibling; else the order of addition no longer is the display order.
  for (const Node* n = node.get(); n && m_InAddOrder; n = n->m_Parent)
    if (n->m_NextSib) m_InAddOrder = false;
  m_All.push_back(node);
  node->m_Index = m_All.size();
  if (!key.empty()) m_ByKey.emplace(node->m_Key, node.get());
  return node;
}

void TreeView::Renumber() const {
  for (size_t i = m_StaleFrom - 1; i < m_All.size(); ++i) m_All[i]->m_Index = i + 1;
  m_StaleFrom = kNoneStale;
}

void TreeView::Remove(const NodePtr& node) {
  if (!node || node->m_Tree != this) NotFound();
  m_LastRelative = nullptr;
  m_RowsValid = false;
  // When the selection lies in the removed subtree, the next sibling, else the previous sibling,
  // else the parent takes its place.
  bool selectionGoes = false;
  for (Node* s = m_Selected.get(); s; s = s->m_Parent)
    if (s == node.get()) selectionGoes = true;
  Node* replacement = node->m_NextSib ? node->m_NextSib : node->m_PrevSib ? node->m_PrevSib : node->m_Parent;
  Unlink(node.get());
  // Mark the subtree as removed, and detach the links inside it so that a kept reference walks
  // nothing stale.
  std::vector<Node*> removed;
  std::vector<Node*> stack{node.get()};
  while (!stack.empty()) {
    Node* n = stack.back();
    stack.pop_back();
    n->m_Tree = nullptr;
    if (!n->m_Key.empty()) m_ByKey.erase(n->m_Key);
    for (Node* c = n->m_FirstChild; c; c = c->m_NextSib) stack.push_back(c);
    removed.push_back(n);
  }
  for (Node* n : removed) {
    n->m_Parent = n->m_FirstChild = n->m_LastChild = n->m_NextSib = n->m_PrevSib = nullptr;
    n->m_ChildCount = 0;
  }
  // The array closes up by comparing addresses only, so the nodes after the removed ones are not
  // read; their numbers are put right when somebody asks for one.
  std::sort(removed.begin(), removed.end());
  auto gone = [&removed](const NodePtr& n) { return std::binary_search(removed.begin(), removed.end(), n.get()); };
  auto first = std::find_if(m_All.begin(), m_All.end(), gone);
  m_StaleFrom = std::min(m_StaleFrom, static_cast<size_t>(first - m_All.begin()) + 1);
  m_All.erase(std::remove_if(first, m_All.end(), gone), m_All.end());
  if (selectionGoes) m_Selected = Share(replacement);
  if (m_DropHighlight && !m_DropHighlight->m_Tree) m_DropHighlight = nullptr;
  if (m_ScrollTarget && !m_ScrollTarget->m_Tree) m_ScrollTarget = nullptr;
}

void TreeView::RemoveAt(int index) { Remove(Item(index)); }

void TreeView::Clear() {
  m_ByKey.clear();
  m_LastRelative = nullptr;
  m_Selected = nullptr;
  m_DropHighlight = nullptr;
  m_ScrollTarget = nullptr;
  for (auto& n : m_All) {
    n->m_Tree = nullptr;
    n->m_Parent = n->m_FirstChild = n->m_LastChild = n->m_NextSib = n->m_PrevSib = nullptr;
    n->m_ChildCount = 0;
  }
  m_All.clear();
  // Nodes somebody still holds keep their arena; the tree then takes a new one.
  if (m_Arena.use_count() == 1) m_Arena->Reset();
  else m_Arena = std::make_shared<NodeArena>();
  m_RowsValid = false;
  m_FirstRoot = m_LastRoot = nullptr;
  m_InAddOrder = true;
  m_StaleFrom = kNoneStale;
  m_FirstRow = 0;
  m_InDrag = false;
}

NodePtr TreeView::Item(int index) const {
  if (index < 1 || static_cast<size_t>(index) > m_All.size()) throw RuntimeError("Index out of bounds");
  return m_All[static_cast<size_t>(index) - 1];
}

NodePtr TreeView::Item(const std::string& key) const {
  auto n = FindKey(key);
  if (!n) NotFound();
  return n;
}

NodePtr TreeView::FindKey(const std::string& key) const {
  auto it = m_ByKey.find(key);
  return it == m_ByKey.end() ? nullptr : Share(it->second);
}

std::vector<NodePtr> TreeView::Roots() const {
  std::vector<NodePtr> out;
  for (Node* n = m_FirstRoot; n; n = n->m_NextSib) out.push_back(Share(n));
  return out;
}

void TreeView::SetSelectedItem(const NodePtr& node) {
  if (node && node->m_Tree != this) throw RuntimeError("Element not found");
  m_Selected = node;
}

int TreeView::GetVisibleCount() const { return std::max(1, Height() / std::max(1, m_RowHeight)); }

const std::vector<Node*>& TreeView::VisibleRows() const {
  if (m_RowsValid) return m_Rows;
  m_Rows.clear();
  ++m_RowsStamp;
  std::vector<Node*> stack;
  for (Node* r = m_LastRoot; r; r = r->m_PrevSib) stack.push_back(r);
  while (!stack.empty()) {
    Node* n = stack.back();
    stack.pop_back();
    n->m_Row = static_cast<int>(m_Rows.size());
    n->m_RowStamp = m_RowsStamp;
    m_Rows.push_back(n);
    if (n->m_Expanded)
      for (Node* c = n->m_LastChild; c; c = c->m_PrevSib) stack.push_back(c);
  }
  m_RowsValid = true;
  return m_Rows;
}

std::vector<NodePtr> TreeView::ViewableRows() const {
  const auto& rows = VisibleRows();
  std::vector<NodePtr> out;
  out.reserve(rows.size());
  for (Node* n : rows) out.push_back(Share(n));
  return out;
}

int TreeView::RowOf(const Node* node) const {
  if (!node || node->m_Tree != this) return -1;
  VisibleRows();
  return node->m_RowStamp == m_RowsStamp ? node->m_Row : -1;
}

void TreeView::ResolveScroll() const {
  if (!m_ScrollTarget) return;
  NodePtr target = std::move(m_ScrollTarget);
  m_ScrollTarget = nullptr;
  int row = RowOf(target.get());
  if (row < 0) return;
  int count = GetVisibleCount();
  if (row < m_FirstRow) m_FirstRow = row;
  else if (row >= m_FirstRow + count) m_FirstRow = row - count + 1;
}

int TreeView::FirstVisibleRow() const {
  ResolveScroll();
  return m_FirstRow;
}

void TreeView::SetFirstVisibleRow(int row) {
  ResolveScroll();
  m_FirstRow = std::max(0, row);
}

void TreeView::EnsureVisible(Node* node) {
  for (Node* p = node->m_Parent; p; p = p->m_Parent) p->SetExpanded(true);
  // The scroll position is settled when somebody looks at the viewport, so that a load that
  // makes every added node visible stays linear.
  m_ScrollTarget = Share(node);
}

NodePtr TreeView::HitTest(float x, float y) const {
  if (x < 0 || y < 0 || y >= static_cast<float>(Height()) || x >= static_cast<float>(Width())) return nullptr;
  int row = FirstVisibleRow() + static_cast<int>(y) / std::max(1, m_RowHeight);
  const auto& rows = VisibleRows();
  if (row < 0 || static_cast<size_t>(row) >= rows.size()) return nullptr;
  return Share(rows[static_cast<size_t>(row)]);
}

void TreeView::Reparent(Node* node, Node* parent) {
  for (Node* p = parent; p; p = p->m_Parent)
    if (p == node) throw RuntimeError("Failed setting Parent property: the new parent is a descendant of the node");
  Unlink(node);
  Link(node, parent, parent ? tvwChild : tvwLast);
  m_InAddOrder = false;
}

void TreeView::UserExpand(const NodePtr& node) {
  if (!Enabled() || !node || node->m_Tree != this) return;
  if (!node->m_Expanded) RowsChanged();
  node->m_Expanded = true;
  if (Expand) Expand(node);
}

void TreeView::UserClick(const NodePtr& node) {
  if (!Enabled() || !node || node->m_Tree != this) return;
  m_Selected = node;
  if (NodeClick) NodeClick(node);
}

void TreeView::Drag(int action) {
  if (action == vbBeginDrag) {
    m_InDrag = true;
  } else if (action == vbEndDrag) {
    if (!m_InDrag) return;
    m_InDrag = false;
    if (DragDrop) DragDrop(m_LastX, m_LastY);
  } else {
    m_InDrag = false;
  }
}

void TreeView::UserMouseDown(int button, int shift, float x, float y) {
  if (!Enabled()) return;
  m_LastX = x;
  m_LastY = y;
  if (MouseDown) MouseDown(button, shift, x, y);
}

void TreeView::UserMouseMove(int button, int shift, float x, float y) {
  if (!Enabled()) return;
  m_LastX = x;
  m_LastY = y;
  if (m_InDrag) {
    if (DragOver) DragOver(x, y, 2);
  } else if (MouseMove) {
    MouseMove(button, shift, x, y);
  }
}

void TreeView::UserMouseUp(int button, int shift, float x, float y) {
  if (!Enabled()) return;
  m_LastX = x;
  m_LastY = y;
  if (m_InDrag) {
    m_InDrag = false;
    if (DragDrop) DragDrop(x, y);
  } else if (MouseUp) {
    MouseUp(button, shift, x, y);
  }
}

bool TreeView::UserDrag(const NodePtr& source, const NodePtr& target) {
  // The y of a node's row once it is scrolled to the middle of the view, or -1 when hidden.
  auto place = [this](const NodePtr& node) -> float {
    int row = RowOf(node.get());
    if (row < 0) return -1;
    SetFirstVisibleRow(std::max(0, row - GetVisibleCount() / 2));
    return static_cast<float>((row - FirstVisibleRow()) * m_RowHeight + m_RowHeight / 2);
  };
  constexpr float x = 10;
  float y = place(source);
  if (y < 0 || RowOf(target.get()) < 0) return false;
  UserMouseDown(vbLeftButton, 0, x, y);
  UserMouseMove(vbLeftButton, 0, x, y);
  y = place(target);
  UserMouseMove(vbLeftButton, 0, x, y);
  UserMouseUp(vbLeftButton, 0, x, y);
  return true;
}

std::string TreeView::ShownText() const { return m_Selected ? m_Selected->Text : ""; }

}  // namespace kmd::view
