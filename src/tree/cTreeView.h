#pragma once
#include <functional>
#include <memory>
#include <string>

#include "base/Text.h"
#include "base/Value.h"
#include "view/Platform.h"
#include "view/TreeView.h"

namespace kmd {

using view::NodePtr;
using view::NodeRef;

// Every form's way to its tree: adds, finds, deletes and moves nodes, turns the control's raw
// events into the wrapper's events, and walks the selection from node to node. Node identity is
// the node's text, and a root is a node whose FullPath equals its Text, as the suite has it.
class cTreeView {
 public:
  explicit cTreeView(view::Platform& platform);
  ~cTreeView();
  cTreeView(const cTreeView&) = delete;
  cTreeView& operator=(const cTreeView&) = delete;

  int32_t ContextMenuMode = 1;
  bool DragEnabled = false;
  bool IsDragging = false;
  bool DragArmed = false;
  int32_t RowHeight = 0;
  NodePtr NextNode;
  NodePtr DragNode;
  bool IsCancelled = false;

  // Events, handled by the form before the raising operation goes on.
  std::function<void(const NodePtr&)> StartDrag;
  std::function<void(const NodePtr& source, const NodePtr& targetParent)> Dragging;
  std::function<void(const NodePtr& source, const NodePtr& targetParent)> Dropped;
  std::function<void(const NodePtr&, float x, float y)> ContextMenu;
  std::function<void(const NodePtr&)> Selected;
  std::function<void(const NodePtr& dest, const NodePtr& src)> CopyNode;

  // Adds a node and sets its properties in one call; the new node is always selected and made
  // visible. A failure (duplicate key, bad relative) gives null, silently. An Empty image or a
  // negative relationship means "not given".
  NodePtr NodeAdd(const NodeRef& vRelative = {}, int eRelationship = -1, std::string sKey = "",
                  std::string sText = "", const Value& vImage = Value(), const Value& vSelectedImage = Value(),
                  const Value& vTag = Value(), bool bBold = false, bool bChecked = false, bool bEnsureVisible = false,
                  bool bExpanded = false, bool bSelected = false, bool bVisible = true, int32_t lForeColor = 0,
                  int32_t lBackColor = 0, const Value& vExpandedImage = Value());
  void ClearTreeView();
  // Inverted, as the suite has it: false turns drawing on, true turns it off.
  void Redraw(bool enabled);
  view::TreeView* ctrl() const { return m_Tree; }
  // Attaches the wrapper to a control; reports a failure in a box and stays hooked.
  void HookCtrl(view::TreeView* ctrl, std::shared_ptr<view::ImageList> oImgList);
  void UnHookCtrl();
  bool IsRootNode(const NodePtr& node) const;
  bool NodeDelete(const NodePtr& node, bool bSelect = true);
  // Searches by text (asking for it when empty) or by key; see the tree wrapper's rules.
  bool NodeFind(NodePtr& oResultNode, std::string& NodeText, const std::string& NodeKey = "", bool bSelect = true);
  bool NodeFindNext(NodePtr& oResultNode, const std::string& NodeText, int FromNodeIndex, bool bSelect = true);
  bool IsSelected() const;
  void MoveNodeNext();
  void MoveNodePrevious();
  bool ReSelectItem(const NodePtr& poNode = nullptr);

  // Expanding and collapsing. ExpandAll starts over when an Expand handler adds or removes nodes
  // during the walk; a failure of the walk ends it silently.
  void CollapseAll();
  void CollapseChildNodes(const NodePtr& node);
  void ExpandAll();
  void ExpandChildNodes(const NodePtr& node);
  // The ghosted cut look of the selected node's icon, on or off.
  void CutIconState(bool SetState);

  // Kinship. Node identity is the text, except in IsParentNode, which compares indexes.
  // The parent's text, or "" for a root.
  std::string ParentNodeText(const NodePtr& TestNode) const;
  // With NodeDepth: IsParentNode. Without: TestNode is a direct child of a node whose text is
  // ParentNode's (ParentNode must have children).
  bool IsChildNode(const NodePtr& TestNode, const NodePtr& ParentNode, bool NodeDepth) const;
  // ChildNode lies at any depth under ParentNode; never true for a node and itself.
  bool IsParentNode(const NodePtr& ChildNode, const NodePtr& ParentNode) const;

  // Stops a NodeCopy in progress; meant for a CopyNode handler. The flag is never reset here.
  void CancelCopy(bool cancelled) { IsCancelled = cancelled; }
  // Raises CopyNode(DestNode, SrcNode), whose handler adds the copy as DestNode's last child, then
  // with IncludeChildren copies SrcNode's children under that copy, depth first. False when the
  // texts are equal (which also sets IsCancelled) or when a handler cancelled.
  // Requires: the handler adds a child to DestNode unless it cancels.
  bool NodeCopy(const NodePtr& DestNode, const NodePtr& SrcNode, bool IncludeChildren);
  // The first node in collection order whose tag equals NodeTag without Latin case gives its key.
  bool NodeFindTag(const NodePtr& node, const Value& NodeTag, std::string& NodeKey) const;
  // Makes SrcNode DestNode's last child. A node moved under its own descendant first hands its
  // children to its parent; a root cannot be. False for equal texts and for that root case.
  bool NodeMove(const NodePtr& DestNode, const NodePtr& SrcNode, bool bSelect = true);
  // Sets the text; a non-root node is also made visible and its selection set to bSelect.
  // False for an empty text.
  bool NodeRename(const NodePtr& node, const std::string& NewNodeText, bool bSelect = true);

  // Scrolling: 0 top, 1 page up, 2 line up, 3 line down, 4 page down, 5 bottom; others nothing.
  void ScrollView(int Dir);
  // The first row in view, found by probing the control; null when none is hit.
  NodePtr NodeFirstViewable() const;
  // The last row in view, or the last row of the tree when it ends before the view does.
  NodePtr NodeLastViewable() const { return NodeViewableBelow(0); }

  view::Platform& GetPlatform() const { return m_Platform; }

 private:
  // Row walks over expanded nodes; collapsed branches count no rows.
  NodePtr LastViewableChild(const NodePtr& node) const;
  NodePtr NodeViewableBelow(int offset) const;
  NodePtr NodeViewableAbove(int offset) const;
  struct RowWalk {
    std::string firstKey;
    int target = 0;
    int count = 0;
    bool started = false;
  };
  NodePtr WalkViewable(const NodePtr& node, RowWalk& walk) const;
  void SetExpandedBelow(const NodePtr& node, bool expanded);

  // The control's mouse and drag events, turned into the wrapper's events.
  void OnMouseDown(int button, float x, float y);
  void OnMouseUp(int button, float x, float y);
  void OnMouseMove(int button, float x, float y);
  void OnDragOver(float x, float y);
  void OnDragDrop();
  void OnNodeClick(const NodePtr& node);
  void RaiseContextMenu(float x, float y);

  // `upper` is the text to find, upper-cased once by the caller.
  static const view::Node* NodeFindFrom(const view::Node* node, const text::NoCaseFinder& finder, int fromIndex,
                                        bool& passed);
  // The outer walk of NodeFind and NodeFindNext: from the first node in collection order over its
  // later siblings.
  NodePtr FindFromFirst(const std::string& text, int fromIndex, bool passed) const;
  void RaiseSelected(const NodePtr& node);
  void FocusTree();

  view::Platform& m_Platform;
  std::shared_ptr<view::ImageList> oImgList;
  view::TreeView* m_Tree = nullptr;  // oTree
};

}  // namespace kmd
