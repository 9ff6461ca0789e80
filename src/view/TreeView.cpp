#include "view/TreeView.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include "base/RuntimeError.h"
#include "view/LargeMemory.h"

namespace kmd::view {

bool ImageList::HasKey(const std::string& key) const {
  return std::find(m_Keys.begin(), m_Keys.end(), key) != m_Keys.end();
}

// The nodes of one load, in blocks of slots one after another, so that walks over a large tree read
// memory in order. A reference to a node shares the arena's count; the nodes are destroyed
// together, when the tree starts a new load while nobody holds one of them, or when the last
// reference goes.
class NodeArena : public std::enable_shared_from_this<NodeArena> {
 public:
  NodeArena() = default;
  NodeArena(const NodeArena&) = delete;
  NodeArena& operator=(const NodeArena&) = delete;
  ~NodeArena() { DestroyAll(); }

  Node* New() {
    if (m_Current == m_Blocks.size() || m_Blocks[m_Current].used == m_Blocks[m_Current].slots.size()) {
      if (m_Current < m_Blocks.size()) ++m_Current;
      if (m_Current == m_Blocks.size()) {
        // Blocks grow from a few nodes, so that a small tree holds little, to a few thousand,
        // then take a huge page each.
        size_t capacity = m_Blocks.empty() ? 32 : m_Blocks.back().slots.size() * 2;
        if (capacity > 4096) capacity = kHugePage / sizeof(Slot);
        m_Blocks.push_back({Slots(capacity), 0, 0});
      }
    }
    Block& block = m_Blocks[m_Current];
    // A slot of an earlier load still holds its node: it is destroyed now, while the new node
    // is written there anyway, and the memory it frees is taken again by this load.
    if (block.used < block.built) At(block, block.used)->~Node();
    Node* node = new (&block.slots[block.used++]) Node();
    block.built = std::max(block.built, block.used);
    node->m_Arena = this;
    return node;
  }
  // Takes back the node made last (before anybody saw it); it stays in its slot, unused.
  void DropLast() { --m_Blocks[m_Current].used; }
  // The number of an image in the arena's list of them (0 is Empty), added when new.
  uint32_t ImageNumber(const Value& image) {
    if (image.IsEmpty()) return 0;
    if (image == m_Images[m_LastImage]) return m_LastImage;
    for (uint32_t i = 1; i < m_Images.size(); ++i)
      if (m_Images[i] == image) return m_LastImage = i;
    m_Images.push_back(image);
    return m_LastImage = static_cast<uint32_t>(m_Images.size() - 1);
  }
  const Value& ImageOf(uint32_t number) const { return m_Images[number]; }
  // Starts over in the blocks already held: a tree loaded again writes into memory it has touched
  // before. The old nodes are destroyed one by one as their slots are taken again (or with the
  // arena), not all at once here: a tree's Clear then costs nothing before its next load.
  void Reset() {
    for (Block& block : m_Blocks) block.used = 0;
    m_Current = 0;
  }

 private:
  // Room for a node; made without writing anything, so that a new block is only mapped.
  struct alignas(Node) Slot {
    Slot() {}
    std::byte bytes[sizeof(Node)];
  };
  using Slots = std::vector<Slot, LargeAllocator<Slot>>;
  struct Block {
    Slots slots;
    size_t used;   // the slots of this load's nodes
    size_t built;  // the slots that hold a node, of this load or of an earlier one
  };
  static Node* At(Block& block, size_t i) { return std::launder(reinterpret_cast<Node*>(&block.slots[i])); }
  void DestroyAll() {
    for (Block& block : m_Blocks) {
      for (size_t i = 0; i < block.built; ++i) At(block, i)->~Node();
      block.used = block.built = 0;
    }
    m_Current = 0;
  }
  std::vector<Block> m_Blocks;
  size_t m_Current = 0;
  std::vector<Value> m_Images{Value()};
  uint32_t m_LastImage = 0;
};

static_assert(sizeof(Node) == 192, "a node takes three lines of memory");

namespace {

NodePtr Share(const Node* n) { return n ? n->Ptr() : nullptr; }

[[noreturn]] void NotFound() { throw RuntimeError(kErrElementNotFound, "TreeView", "Element not found"); }
}  // namespace

void Node::NotInTree() { throw RuntimeError("The node has been removed from its tree"); }

const Value& Node::Image() const { return m_Arena->ImageOf(m_Image); }
const Value& Node::SelectedImage() const { return m_Arena->ImageOf(m_SelectedImage); }
const Value& Node::ExpandedImage() const { return m_Arena->ImageOf(m_ExpandedImage); }
void Node::SetImage(const Value& image) { m_Image = m_Arena->ImageNumber(image); }
void Node::SetSelectedImage(const Value& image) { m_SelectedImage = m_Arena->ImageNumber(image); }
void Node::SetExpandedImage(const Value& image) { m_ExpandedImage = m_Arena->ImageNumber(image); }

NodePtr Node::Ptr() const { return NodePtr(m_Arena->shared_from_this(), const_cast<Node*>(this)); }

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
  auto self = Ptr();
  if (expanded && m_Tree->Expand) m_Tree->Expand(self);
  if (!expanded && m_Tree->Collapse) m_Tree->Collapse(self);
}

bool Node::Selected() const { return m_Tree && m_Tree->m_Selected == this; }

void Node::SetSelected(bool selected) {
  if (!m_Tree) return;
  if (selected) m_Tree->SetSelectedItem(Ptr());
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
  // Nodes somebody still holds outlive the tree in their arena, belonging to no tree.
  m_Selected = nullptr;
  m_DropHighlight = nullptr;
  m_ScrollTarget = nullptr;
  if (m_Arena.use_count() > 1)
    for (Node* n : m_All) n->m_Tree = nullptr;
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

NodePtr TreeView::Add(const NodeRef& relative, int relationship, std::string key, std::string text,
                      const Value& image, const Value& selectedImage) {
  Node* rel = nullptr;
  if (relative.node) {
    if (relative.node->m_Tree != this) NotFound();
    rel = relative.node.get();
  } else if (relative.byKey) {
    if (m_LastRelative && relative.key == m_LastRelativeKey) {
      rel = m_LastRelative;
    } else {
      rel = m_ByKey.Find(relative.key);
      if (!rel) NotFound();
      m_LastRelativeKey = relative.key;
      m_LastRelative = rel;
    }
  }
  if (relationship < tvwFirst || relationship > tvwChild) throw RuntimeError("Invalid procedure call or argument");
  // The key's slot is fetched from memory while the node is made; a duplicate key then takes the
  // node back.
  size_t hash = 0;
  if (!key.empty()) {
    hash = m_ByKey.Hash(key);
    m_ByKey.Prefetch(hash);
  }
  Node* node = m_Arena->New();
  node->m_Key = std::move(key);
  node->Text = std::move(text);
  node->SetImage(image);
  node->SetSelectedImage(selectedImage);
  if (!node->m_Key.empty() && m_ByKey.Find(node->m_Key, hash)) {
    m_Arena->DropLast();
    throw RuntimeError(kErrKeyNotUnique, "TreeView", "Key is not unique in collection");
  }
  node->m_Tree = this;
  Link(node, rel, relationship);
  // The new node ends the display order when neither it nor any of its ancestors has a next
  // sibling; else the order of addition no longer is the display order.
  for (const Node* n = node; n && m_InAddOrder; n = n->m_Parent)
    if (n->m_NextSib) m_InAddOrder = false;
  m_All.push_back(node);
  node->m_Index = static_cast<uint32_t>(m_All.size());
  if (!node->m_Key.empty()) m_ByKey.Insert(node, hash);
  return NodePtr(m_Arena, node);
}

void TreeView::Renumber() const {
  for (size_t i = m_StaleFrom - 1; i < m_All.size(); ++i) m_All[i]->m_Index = static_cast<uint32_t>(i + 1);
  m_StaleFrom = kNoneStale;
}

void TreeView::Remove(const NodePtr& node) {
  if (!node || node->m_Tree != this) NotFound();
  m_LastRelative = nullptr;
  m_RowsValid = false;
  // When the selection lies in the removed subtree, the next sibling, else the previous sibling,
  // else the parent takes its place.
  bool selectionGoes = false;
  for (Node* s = m_Selected; s; s = s->m_Parent)
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
    if (!n->m_Key.empty()) m_ByKey.Erase(n);
    for (Node* c = n->m_FirstChild; c; c = c->m_NextSib) stack.push_back(c);
    removed.push_back(n);
  }
  for (Node* n : removed) {
    n->m_Parent = n->m_FirstChild = n->m_LastChild = n->m_NextSib = n->m_PrevSib = nullptr;
    n->m_ChildCount = 0;
  }
  // The array closes up without reading the nodes after the removed ones; their numbers are put
  // right when somebody asks for one. A removed node whose number is current names its place;
  // since nodes only move towards the front, a stale one is at its old place or before it, after
  // the last current number.
  if (removed.size() > 16 && m_StaleFrom != kNoneStale) Renumber();
  std::vector<size_t> at;
  at.reserve(removed.size());
  for (const Node* n : removed) {
    size_t i = size_t{n->m_Index} - 1;
    if (n->m_Index >= m_StaleFrom) {
      auto begin = m_All.begin() + static_cast<ptrdiff_t>(m_StaleFrom - 1);
      auto end = m_All.begin() + static_cast<ptrdiff_t>(std::min(i + 1, m_All.size()));
      auto it = std::find(begin, end, n);
      if (it == end) it = std::find(m_All.begin(), m_All.end(), n);
      i = static_cast<size_t>(it - m_All.begin());
    }
    at.push_back(i);
  }
  std::sort(at.begin(), at.end());
  size_t first = at.front(), to = first;
  for (size_t k = 0; k < at.size(); ++k) {
    size_t from = at[k] + 1, end = k + 1 < at.size() ? at[k + 1] : m_All.size();
    std::copy(m_All.begin() + static_cast<ptrdiff_t>(from), m_All.begin() + static_cast<ptrdiff_t>(end),
              m_All.begin() + static_cast<ptrdiff_t>(to));
    to += end - from;
  }
  m_All.resize(to);
  m_StaleFrom = std::min(m_StaleFrom, first + 1);
  if (selectionGoes) m_Selected = replacement;
  if (m_DropHighlight && !m_DropHighlight->m_Tree) m_DropHighlight = nullptr;
  if (m_ScrollTarget && !m_ScrollTarget->m_Tree) m_ScrollTarget = nullptr;
}

void TreeView::RemoveAt(int index) { Remove(Item(index)); }

void TreeView::Clear() {
  m_ByKey.Clear();
  m_LastRelative = nullptr;
  m_Selected = nullptr;
  m_DropHighlight = nullptr;
  m_ScrollTarget = nullptr;
  if (m_Arena.use_count() == 1) {
    // Nobody holds a node: they all go at once.
    m_Arena->Reset();
  } else {
    // Nodes somebody still holds keep their arena, detached from the tree and from each other;
    // the tree takes a new one.
    for (Node* n : m_All) {
      n->m_Tree = nullptr;
      n->m_Parent = n->m_FirstChild = n->m_LastChild = n->m_NextSib = n->m_PrevSib = nullptr;
      n->m_ChildCount = 0;
    }
    m_Arena = std::make_shared<NodeArena>();
  }
  m_All.clear();
  m_RowsValid = false;
  m_FirstRoot = m_LastRoot = nullptr;
  m_InAddOrder = true;
  m_StaleFrom = kNoneStale;
  m_FirstRow = 0;
  m_InDrag = false;
}

NodePtr TreeView::Item(int index) const {
  if (index < 1 || static_cast<size_t>(index) > m_All.size()) throw RuntimeError("Index out of bounds");
  return Share(m_All[static_cast<size_t>(index) - 1]);
}

NodePtr TreeView::Item(const std::string& key) const {
  auto n = FindKey(key);
  if (!n) NotFound();
  return n;
}

NodePtr TreeView::FindKey(const std::string& key) const {
  return Share(m_ByKey.Find(key));
}

std::vector<NodePtr> TreeView::Roots() const {
  std::vector<NodePtr> out;
  for (Node* n = m_FirstRoot; n; n = n->m_NextSib) out.push_back(Share(n));
  return out;
}

void TreeView::SetSelectedItem(const NodePtr& node) {
  if (node && node->m_Tree != this) throw RuntimeError("Element not found");
  m_Selected = node.get();
}

int TreeView::GetVisibleCount() const { return std::max(1, Height() / std::max(1, m_RowHeight)); }

const TreeView::NodeList& TreeView::VisibleRows() const {
  if (m_RowsValid) return m_Rows;
  m_Rows.clear();
  // Room for every node at once: the list does not grow through copies into fresh memory.
  m_Rows.reserve(m_All.size());
  ++m_RowsStamp;
  // Down to the first child of an expanded node, else on to the next sibling of the node or of
  // its nearest ancestor that has one: each node is read once, its siblings beside it in memory.
  for (Node* n = m_FirstRoot; n;) {
    m_Rows.push_back(n);
    if (n->m_Expanded && n->m_FirstChild) {
      n = n->m_FirstChild;
      continue;
    }
    while (n && !n->m_NextSib) n = n->m_Parent;
    if (n) n = n->m_NextSib;
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
  if (m_RowOfNode != node || m_RowOfStamp != m_RowsStamp) {
    auto it = std::find(m_Rows.begin(), m_Rows.end(), node);
    m_RowOfNode = node;
    m_RowOfRow = it == m_Rows.end() ? -1 : static_cast<int>(it - m_Rows.begin());
    m_RowOfStamp = m_RowsStamp;
  }
  return m_RowOfRow;
}

void TreeView::ResolveScroll() const {
  if (!m_ScrollTarget) return;
  const Node* target = m_ScrollTarget;
  m_ScrollTarget = nullptr;
  int row = RowOf(target);
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
  m_ScrollTarget = node;
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
  m_Selected = node.get();
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
