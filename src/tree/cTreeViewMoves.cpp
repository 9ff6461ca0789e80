// Expanding, collapsing, kinship, copy, move and rename of the tree wrapper.
#include <vector>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "tree/cTreeView.h"

namespace kmd {

namespace {

[[noreturn]] void NotSet() { throw RuntimeError("Object variable or With block variable not set"); }

}  // namespace

void cTreeView::SetExpandedBelow(const NodePtr& node, bool expanded) {
  if (node->Children() > 0) node->SetExpanded(expanded, true);
  for (auto child = node->Child(); child; child = child->Next()) SetExpandedBelow(child, expanded);
}

void cTreeView::CollapseAll() {
  if (!m_Tree) NotSet();
  Redraw(false);
  // A Collapse handler may change the collection: walk a copy of it.
  std::vector<NodePtr> nodes;
  for (const view::Node* node : m_Tree->AllNodes()) nodes.push_back(node->Ptr());
  for (const auto& node : nodes)
    if (node->Children() > 0) node->SetExpanded(false, true);
  Redraw(true);
}

void cTreeView::CollapseChildNodes(const NodePtr& node) {
  if (!node) NotSet();
  Redraw(false);
  SetExpandedBelow(node, false);
  Redraw(true);
}

void cTreeView::ExpandAll() {
  if (!m_Tree) NotSet();
  Redraw(false);
  try {
    // An Expand handler that loads children on demand changes the collection under the walk;
    // the walk then starts over, and nodes already expanded raise nothing the second time.
    bool changed = true;
    while (changed) {
      changed = false;
      const auto& nodes = m_Tree->AllNodes();
      for (size_t i = 0; i < nodes.size(); ++i) {
        size_t before = nodes.size();
        NodePtr node = nodes[i]->Ptr();
        if (node->Children() > 0) node->SetExpanded(true, true);
        if (nodes.size() != before) {
          changed = true;
          break;
        }
      }
    }
  } catch (const std::exception&) {
    // Any other failure ends the walk silently.
  }
  Redraw(true);
}

void cTreeView::ExpandChildNodes(const NodePtr& node) {
  if (!node) NotSet();
  Redraw(false);
  SetExpandedBelow(node, true);
  Redraw(true);
}

void cTreeView::CutIconState(bool SetState) {
  if (!m_Tree) NotSet();
  if (auto node = m_Tree->SelectedItem()) node->Cut = SetState;
}

std::string cTreeView::ParentNodeText(const NodePtr& TestNode) const {
  if (!TestNode) NotSet();
  if (IsRootNode(TestNode)) return "";
  auto parent = TestNode->Parent();
  if (!parent) NotSet();
  return parent->Text;
}

bool cTreeView::IsChildNode(const NodePtr& TestNode, const NodePtr& ParentNode, bool NodeDepth) const {
  if (!TestNode || !ParentNode) NotSet();
  if (NodeDepth) return IsParentNode(TestNode, ParentNode);
  if (ParentNode->Children() == 0 || IsRootNode(TestNode)) return false;
  auto parent = TestNode->Parent();
  return parent && parent->Text == ParentNode->Text;
}

bool cTreeView::IsParentNode(const NodePtr& ChildNode, const NodePtr& ParentNode) const {
  if (!ChildNode || !ParentNode) NotSet();
  if (ParentNode->Children() == 0) return false;
  int target = ChildNode->Index();
  auto child = ParentNode->Child();
  int last = child->LastSibling()->Index();
  for (; child; child = child->Next()) {
    if (child->Index() == target || IsParentNode(ChildNode, child)) return true;
    if (child->Index() == last) break;
  }
  return false;
}

bool cTreeView::NodeCopy(const NodePtr& DestNode, const NodePtr& SrcNode, bool IncludeChildren) {
  if (!DestNode || !SrcNode) NotSet();
  if (DestNode->Text == SrcNode->Text) {
    IsCancelled = true;
    return false;
  }
  SrcNode->SetExpanded(true);
  DestNode->SetExpanded(true);
  if (CopyNode) CopyNode(DestNode, SrcNode);
  if (IsCancelled) return false;
  if (IncludeChildren && SrcNode->Children() > 0) {
    for (auto child = SrcNode->Child()->FirstSibling(); child; child = child->Next()) {
      // The copy the handler has just made is the destination's last child.
      auto destChild = DestNode->Child();
      if (!destChild) NotSet();
      if (!NodeCopy(destChild->LastSibling(), child, IncludeChildren)) return false;
      if (child->Text == child->LastSibling()->Text) break;
    }
  }
  return true;
}

bool cTreeView::NodeFindTag(const NodePtr& /*node*/, const Value& NodeTag, std::string& NodeKey) const {
  if (!m_Tree) NotSet();
  std::string wanted = text::UCase(NodeTag.ToText());
  for (const auto& node : m_Tree->AllNodes()) {
    if (text::UCase(node->Tag.ToText()) == wanted) {
      NodeKey = node->Key();
      return true;
    }
  }
  return false;
}

bool cTreeView::NodeMove(const NodePtr& DestNode, const NodePtr& SrcNode, bool bSelect) {
  if (!DestNode || !SrcNode) NotSet();
  if (DestNode->Text == SrcNode->Text) return false;
  if (IsParentNode(DestNode, SrcNode)) {
    // Dropped on its own descendant: the node goes under it alone, its children move up a level.
    if (IsRootNode(SrcNode)) return false;
    auto parent = SrcNode->Parent();
    int children = SrcNode->Children();
    for (int i = 0; i < children; ++i) SrcNode->Child()->SetParent(parent);
  }
  DestNode->SetExpanded(true);
  SrcNode->SetParent(DestNode);
  if (bSelect) {
    SrcNode->EnsureVisible();
    SrcNode->SetSelected(bSelect);
  }
  return true;
}

bool cTreeView::NodeRename(const NodePtr& node, const std::string& NewNodeText, bool bSelect) {
  if (NewNodeText.empty()) return false;
  if (!node) NotSet();
  node->Text = NewNodeText;
  if (!IsRootNode(node)) {
    node->EnsureVisible();
    node->SetSelected(bSelect);
  }
  return true;
}

}  // namespace kmd
