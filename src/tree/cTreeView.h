#pragma once
#include <functional>
#include <memory>
#include <string>

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
  NodePtr NodeAdd(const NodeRef& vRelative = {}, int eRelationship = -1, const std::string& sKey = "",
                  const std::string& sText = "", const Value& vImage = Value(), const Value& vSelectedImage = Value(),
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

  view::Platform& GetPlatform() const { return m_Platform; }

 private:
  NodePtr NodeFindFrom(const NodePtr& node, const std::string& text, int fromIndex, bool& passed) const;
  void RaiseSelected(const NodePtr& node);
  void FocusTree();

  view::Platform& m_Platform;
  std::shared_ptr<view::ImageList> oImgList;
  view::TreeView* m_Tree = nullptr;  // oTree
};

}  // namespace kmd
