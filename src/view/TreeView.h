#pragma once
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Value.h"
#include "view/NodeKeys.h"
#include "view/Control.h"

namespace kmd::view {

class TreeView;
class Node;
class NodeArena;
using NodePtr = std::shared_ptr<Node>;

// The numbers of the collection's run-time errors.
constexpr int32_t kErrElementNotFound = 35601;
constexpr int32_t kErrKeyNotUnique = 35602;

enum TreeRelationship : int { tvwFirst = 0, tvwLast = 1, tvwNext = 2, tvwPrevious = 3, tvwChild = 4 };

// An image list: images by 1-based index or key. The view keeps only keys; a host draws them.
class ImageList {
 public:
  explicit ImageList(std::vector<std::string> keys) : m_Keys(std::move(keys)) {}
  int Count() const { return static_cast<int>(m_Keys.size()); }
  bool HasKey(const std::string& key) const;
  const std::vector<std::string>& Keys() const { return m_Keys; }

 private:
  std::vector<std::string> m_Keys;
};

// A node of a TreeView. A reference to a node stays valid after the node is removed; the removed
// node keeps its Text, Key and Tag but belongs to no tree (Index then is a run-time error).
// Nodes live in their tree's arena, and a reference shares the arena's count: it keeps every node of
// that load alive, and no node has a count of its own.
class alignas(64) Node {
 private:
  friend class TreeView;
  friend class NodeArena;
  // Nodes start on a line of memory: the links and the flags fill the first line and the text
  // begins the second, so that a walk over a large tree reads two lines per node at most; a node
  // takes three lines in all.
  TreeView* m_Tree = nullptr;
  Node* m_Parent = nullptr;
  Node* m_FirstChild = nullptr;
  Node* m_NextSib = nullptr;
  Node* m_LastChild = nullptr;
  Node* m_PrevSib = nullptr;
  uint32_t m_Index = 0;
  int m_ChildCount = 0;
  uint32_t m_Image = 0;
  bool m_Expanded = false;

 public:
  bool Bold = false;
  bool Checked = false;
  // The ghosted look of a node marked for cutting.
  bool Cut = false;
  std::string Text;
  Value Tag;
  int32_t ForeColor = 0;
  int32_t BackColor = 0;

  // The images by index or key into the tree's image list; Empty when none was given. A tree's
  // nodes share a few images, so a node keeps only their numbers in its arena's list.
  const Value& Image() const;
  const Value& SelectedImage() const;
  const Value& ExpandedImage() const;
  void SetImage(const Value& image);
  void SetSelectedImage(const Value& image);
  void SetExpandedImage(const Value& image);

  const std::string& Key() const { return m_Key; }
  // A reference to this node.
  NodePtr Ptr() const;
  // 1-based position in the collection's order of addition; closes up after a removal.
  inline int Index() const;
  bool InTree() const { return m_Tree != nullptr; }
  TreeView* Tree() const { return m_Tree; }

  NodePtr Parent() const;
  // Re-parents the node (and its subtree) as the last child of `parent`; null makes it a root.
  // Throws RuntimeError when `parent` is the node itself or one of its descendants.
  void SetParent(const NodePtr& parent);
  NodePtr Child() const;
  // The first child and the next sibling as plain links (null at the end), for walks that keep
  // no reference to the nodes they pass.
  const Node* FirstChildLink() const { return m_FirstChild; }
  const Node* ParentLink() const { return m_Parent; }
  const Node* NextLink() const { return m_NextSib; }
  int Children() const;
  NodePtr Next() const;
  NodePtr Previous() const;
  NodePtr FirstSibling() const;
  NodePtr LastSibling() const;
  NodePtr Root() const;
  // Texts from the root down to this node, joined by "\".
  std::string FullPath() const;

  bool Expanded() const { return m_Expanded; }
  // The program's expansion raises no event, unless `raiseEvent` (the bulk expand and collapse of
  // the tree wrapper); the user's expansion is TreeView::UserExpand.
  void SetExpanded(bool expanded, bool raiseEvent = false);
  bool Selected() const;
  void SetSelected(bool selected);
  // Expands the ancestors (raising no Expand) and scrolls the node into view.
  void EnsureVisible();

 private:
  [[noreturn]] static void NotInTree();
  uint32_t m_SelectedImage = 0;
  uint32_t m_ExpandedImage = 0;
  NodeArena* m_Arena = nullptr;
  std::string m_Key;
};

// How a relative node is named to Nodes.Add: by node, by key, or not at all.
struct NodeRef {
  NodeRef() = default;
  NodeRef(std::nullptr_t) {}
  NodeRef(NodePtr n) : node(std::move(n)) {}
  NodeRef(const char* k) : key(k), byKey(true) {}
  NodeRef(std::string k) : key(std::move(k)), byKey(true) {}
  bool IsNone() const { return !node && !byKey; }
  NodePtr node;
  std::string key;
  bool byKey = false;
};

// The tree control: the Nodes collection, the selection, and a viewport of rows so that hit tests,
// scrolling and drag bands can be computed. Sizes are in twips (1/1440 inch).
class TreeView : public Control {
 public:
  // Lists of a tree's nodes; a large tree's lists are each mapped whole (see LargeMemory.h), so
  // that a new window's first load does not fault them in page by page as they grow.
  using NodeList = std::vector<Node*, LargeAllocator<Node*>>;

  explicit TreeView(std::string name = "TV", int index = -1);
  ~TreeView() override;

  // Nodes collection.
  // Throws RuntimeError for a duplicate key (kErrKeyNotUnique, "Key is not unique in collection")
  // or a relative that is not in this tree (kErrElementNotFound, "Element not found"); nothing is
  // added then. Key lookups and the duplicate test take constant time.
  NodePtr Add(const NodeRef& relative, int relationship, std::string key, std::string text,
              const Value& image = Value(), const Value& selectedImage = Value());
  // Removes the node and its subtree. Throws RuntimeError when it is not in this tree.
  void Remove(const NodePtr& node);
  void RemoveAt(int index);
  // Removes every node at once.
  void Clear();
  int Count() const { return static_cast<int>(m_All.size()); }
  // By 1-based index or by key; throws RuntimeError when absent (kErrElementNotFound for a key).
  NodePtr Item(int index) const;
  NodePtr Item(const std::string& key) const;
  NodePtr FindKey(const std::string& key) const;  // null when absent
  const NodeList& AllNodes() const { return m_All; }
  std::vector<NodePtr> Roots() const;
  // Whether AllNodes is in display order (every node was added after the ones above it and nothing
  // moved since the last Clear), so that a walk in display order may run down the array.
  bool InAddOrder() const { return m_InAddOrder; }

  NodePtr SelectedItem() const { return m_Selected ? m_Selected->Ptr() : nullptr; }
  // Selects the node (null clears the selection). Raises no event.
  void SetSelectedItem(const NodePtr& node);
  NodePtr DropHighlight() const { return m_DropHighlight; }
  void SetDropHighlight(const NodePtr& node) { m_DropHighlight = node; }

  // Viewport: the control's Height over the row height gives the rows in view.
  int SingleRowHeight() const { return m_RowHeight; }
  // Rows that fit the height; at least 1.
  int GetVisibleCount() const;
  int Indentation = 0;
  bool Scroll = true;
  std::string DragIcon;
  std::shared_ptr<ImageList> GetImageList() const { return m_ImageList; }
  void SetImageList(std::shared_ptr<ImageList> list) { m_ImageList = std::move(list); }

  // The expanded rows in display order, and the first row in view (0-based).
  std::vector<NodePtr> ViewableRows() const;
  // The same rows as plain pointers, kept until the tree's nodes or expansions change.
  const NodeList& VisibleRows() const;
  int FirstVisibleRow() const;
  void SetFirstVisibleRow(int row);
  // Row of a node among ViewableRows, -1 when it is hidden under a collapsed parent.
  int RowOf(const Node* node) const;
  // Node under a point of the control (x, y in twips from its top left), or null.
  NodePtr HitTest(float x, float y) const;

  // Events of the control.
  std::function<void(const NodePtr&)> NodeClick;
  std::function<void(const NodePtr&)> Expand;
  std::function<void(const NodePtr&)> Collapse;
  std::function<void(int button, int shift, float x, float y)> MouseDown;
  std::function<void(int button, int shift, float x, float y)> MouseMove;
  std::function<void(int button, int shift, float x, float y)> MouseUp;
  std::function<void(float x, float y, int state)> DragOver;
  std::function<void(float x, float y)> DragDrop;

  // The user expands a node (a click on its plus sign): it is expanded and Expand is raised, also
  // when it was expanded already or has no children. A disabled tree ignores it.
  void UserExpand(const NodePtr& node);
  // The user clicks a node: it is selected and NodeClick is raised. A disabled tree ignores it.
  void UserClick(const NodePtr& node);

  // The manual drag of the control: begin (1), end with a drop where the mouse last was (2), or
  // cancel (0). While a drag lasts, the user's mouse moves arrive as DragOver (state 2, over) and
  // the release as DragDrop, not as MouseMove and MouseUp.
  void Drag(int action);
  bool InDrag() const { return m_InDrag; }
  // The user's mouse on the control: x and y in twips from its top left; button 1 is the left
  // button, 2 the right one. A disabled tree ignores them.
  void UserMouseDown(int button, int shift, float x, float y);
  void UserMouseMove(int button, int shift, float x, float y);
  void UserMouseUp(int button, int shift, float x, float y);
  // The user drags `source` onto `target` with the left button: each is scrolled to the middle of
  // the view, then pressed, moved over and released on as a user would. False when either is
  // hidden under a collapsed parent.
  bool UserDrag(const NodePtr& source, const NodePtr& target);

  // Used by Node.
  void EnsureVisible(Node* node);
  void Reparent(Node* node, Node* parent);
  // A node's expansion changed: the visible rows are built again when next asked for.
  void RowsChanged() { m_RowsValid = false; }

  std::string ShownText() const override;

 private:
  friend class Node;
  void Link(Node* node, Node* relative, int relationship);
  void Unlink(Node* node);
  // Numbers the nodes from the first whose number is stale.
  void Renumber() const;
  static constexpr size_t kNoneStale = static_cast<size_t>(-1);
  void ResolveScroll() const;

  NodeList m_All;
  mutable NodeList m_Rows;  // VisibleRows, valid while m_RowsValid
  mutable bool m_RowsValid = false;
  mutable uint64_t m_RowsStamp = 0;
  // The last row RowOf found, while the rows are those of m_RowOfStamp: a rebuild of the rows
  // writes nothing into the nodes, and the few rows asked for are looked up.
  mutable const Node* m_RowOfNode = nullptr;
  mutable int m_RowOfRow = -1;
  mutable uint64_t m_RowOfStamp = 0;
  // The relative named by key in the last Add: loads add many children to one parent in a row.
  std::string m_LastRelativeKey;
  Node* m_LastRelative = nullptr;
  // The keyed nodes, looked up by key text.
  struct KeyOf {
    const std::string& operator()(const Node* node) const { return node->Key(); }
  };
  NodeKeys<Node, KeyOf> m_ByKey;
  // Where the nodes are allocated: one arena per load, freed in one piece once its last node goes.
  std::shared_ptr<NodeArena> m_Arena;
  bool m_InAddOrder = true;
  // Nodes at this 1-based position or later may hold an old number (after a removal).
  mutable size_t m_StaleFrom = kNoneStale;
  Node* m_FirstRoot = nullptr;
  Node* m_LastRoot = nullptr;
  // The selected node; it stays in the arena until Clear, which forgets it.
  Node* m_Selected = nullptr;
  NodePtr m_DropHighlight;
  std::shared_ptr<ImageList> m_ImageList;
  int m_RowHeight = 240;
  mutable int m_FirstRow = 0;
  // The node to scroll into view when the viewport is next looked at. The arena keeps a removed
  // node, so the pointer stays readable until Clear, which drops it.
  mutable const Node* m_ScrollTarget = nullptr;
  bool m_InDrag = false;
  float m_LastX = 0;
  float m_LastY = 0;
};

int Node::Index() const {
  if (!m_Tree) NotInTree();
  if (m_Index >= m_Tree->m_StaleFrom) m_Tree->Renumber();
  return static_cast<int>(m_Index);
}

constexpr int vbLeftButton = 1;
constexpr int vbRightButton = 2;
constexpr int vbCancelDrag = 0;
constexpr int vbBeginDrag = 1;
constexpr int vbEndDrag = 2;

}  // namespace kmd::view
