// Rows in view, scrolling, and the drag machinery of the tree wrapper.
#include "base/RuntimeError.h"
#include "tree/cTreeView.h"

namespace kmd {

namespace {

[[noreturn]] void NotSet() { throw RuntimeError("Object variable or With block variable not set"); }

// Probes for the first row in view step down the control from this point, in twips.
constexpr float kProbeX = 5;
constexpr int kProbeStep = 100;

}  // namespace

NodePtr cTreeView::NodeFirstViewable() const {
  if (!m_Tree) NotSet();
  // The probes stop at the control's width, not its height, as the suite has it.
  for (int y = kProbeStep; y <= m_Tree->Width(); y += kProbeStep)
    if (auto node = m_Tree->HitTest(kProbeX, static_cast<float>(y))) return node;
  return nullptr;
}

NodePtr cTreeView::LastViewableChild(const NodePtr& node) const {
  if (node->Children() > 0 && node->Expanded()) return LastViewableChild(node->Child()->LastSibling());
  return node;
}

NodePtr cTreeView::WalkViewable(const NodePtr& node, RowWalk& walk) const {
  if (node->Key() == walk.firstKey) walk.started = true;
  if (walk.started && ++walk.count == walk.target) return node;
  if (node->Children() > 0 && node->Expanded()) {
    NodePtr result;
    for (auto child = node->Child()->FirstSibling(); child; child = child->Next()) {
      result = WalkViewable(child, walk);
      if (walk.count == walk.target || child->Text == child->LastSibling()->Text) break;
    }
    return result;
  }
  return node;
}

NodePtr cTreeView::NodeViewableBelow(int offset) const {
  auto first = NodeFirstViewable();
  if (!first) NotSet();
  RowWalk walk;
  walk.firstKey = first->Key();
  walk.target = m_Tree->GetVisibleCount() + offset;
  NodePtr result;
  for (auto node = m_Tree->Item(1)->Root(); node; node = node->Next()) {
    result = WalkViewable(node, walk);
    if (walk.count == walk.target) break;
  }
  return result;
}

NodePtr cTreeView::NodeViewableAbove(int offset) const {
  auto node = NodeFirstViewable();
  if (!node) NotSet();
  for (int i = 0; i < offset; ++i) {
    if (node->Text != node->FirstSibling()->Text) {
      node = node->Previous();
      while (node->Children() > 0 && node->Expanded()) node = node->Child()->LastSibling();
    } else if (!IsRootNode(node)) {
      node = node->Parent();
    } else if (node->Text == node->Root()->Text) {
      break;
    }
  }
  return node;
}

void cTreeView::ScrollView(int Dir) {
  if (Dir < 0 || Dir > 5) return;
  if (!m_Tree) NotSet();
  int page = m_Tree->GetVisibleCount() - 1;
  NodePtr target;
  switch (Dir) {
    case 0: target = m_Tree->Item(1)->Root(); break;
    case 1: target = NodeViewableAbove(page); break;
    case 2: target = NodeViewableAbove(1); break;
    case 3: target = NodeViewableBelow(1); break;
    case 4: target = NodeViewableBelow(page); break;
    default: target = LastViewableChild(m_Tree->Item(1)->Root()->LastSibling()); break;
  }
  if (!target) NotSet();
  target->EnsureVisible();
}

void cTreeView::RaiseContextMenu(float x, float y) {
  m_Tree->SetSelectedItem(m_Tree->HitTest(x, y));
  if (ContextMenu) ContextMenu(m_Tree->SelectedItem(), x, y);
}

void cTreeView::OnMouseDown(int button, float x, float y) {
  if (DragEnabled && button == view::vbLeftButton) DragNode = m_Tree->HitTest(x, y);
  if (ContextMenuMode == 0 && button == view::vbRightButton) RaiseContextMenu(x, y);
}

void cTreeView::OnMouseUp(int button, float x, float y) {
  if (ContextMenuMode == 1 && button == view::vbRightButton) RaiseContextMenu(x, y);
}

void cTreeView::OnMouseMove(int button, float x, float y) {
  if (!DragEnabled || (button & view::vbLeftButton) == 0) return;
  try {
    if (!m_Tree->HitTest(x, y)) return;
    DragArmed = true;
    // The drag image is the dragged node's own; without a node under the first press there is
    // nothing to drag.
    if (!DragNode) NotSet();
    m_Tree->DragIcon = DragNode->Text;
    m_Tree->Drag(view::vbBeginDrag);
    if (StartDrag) StartDrag(DragNode);
    IsDragging = true;
  } catch (const std::exception&) {
    // A failed start leaves no drag behind and reports nothing.
  }
}

void cTreeView::OnDragOver(float x, float y) {
  try {
    if (!DragEnabled || !IsDragging || !DragArmed) return;
    m_Tree->SetDropHighlight(m_Tree->HitTest(x, y));
    // The two rows at either edge scroll instead of offering a target.
    float rows = static_cast<float>(RowHeight);
    if (y > static_cast<float>(m_Tree->GetVisibleCount() - 2) * rows) {
      if (auto below = NodeViewableBelow(1)) below->EnsureVisible();
    } else if (y < 2 * rows) {
      if (auto above = NodeViewableAbove(1)) above->EnsureVisible();
    } else if (auto target = m_Tree->DropHighlight()) {
      if (Dragging) Dragging(DragNode, target);
    }
  } catch (const std::exception&) {
  }
}

void cTreeView::OnDragDrop() {
  if (!DragEnabled) return;
  auto target = m_Tree->DropHighlight();
  auto source = DragNode;
  auto reset = [this] {
    m_Tree->SetDropHighlight(nullptr);
    DragNode = nullptr;
    DragArmed = false;
    IsDragging = false;
  };
  try {
    if (target && source && target->Text != source->Text && Dropped) Dropped(source, target);
  } catch (...) {
    reset();
    throw;
  }
  reset();
}

void cTreeView::OnNodeClick(const NodePtr& node) {
  if (DragEnabled) {
    IsDragging = false;
    DragArmed = false;
    m_Tree->SetDropHighlight(nullptr);
  }
  RaiseSelected(node);
}

}  // namespace kmd
