#include "tree/cTreeView.h"

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace kmd {

cTreeView::cTreeView(view::Platform& platform) : m_Platform(platform) {}

cTreeView::~cTreeView() { UnHookCtrl(); }

namespace {
// The images a node gets when none is named: the first two of a list of three or more.
const Value kFirstImage(1), kSecondImage(2);
}  // namespace

NodePtr cTreeView::NodeAdd(const NodeRef& vRelative, int eRelationship, std::string sKey, std::string sText,
                           const Value& vImage, const Value& vSelectedImage, const Value& vTag, bool bBold,
                           bool bChecked, bool bEnsureVisible, bool bExpanded,
                           bool bSelected, bool /*bVisible*/, int32_t lForeColor, int32_t lBackColor,
                           const Value& vExpandedImage) {
  if (!m_Tree) return nullptr;
  NodePtr result;
  try {
    const bool defaults = oImgList && oImgList->Count() >= 3;
    const Value& image = defaults && vImage.IsEmpty() ? kFirstImage : vImage;
    const Value& selectedImage = defaults && vSelectedImage.IsEmpty() ? kSecondImage : vSelectedImage;
    const Value& expandedImage = defaults && vExpandedImage.IsEmpty() ? kFirstImage : vExpandedImage;
    int relationship = eRelationship;
    if (relationship < 0) relationship = view::tvwNext;
    auto node = m_Tree->Add(vRelative, relationship, std::move(sKey), std::move(sText), image, selectedImage);
    if (!vTag.IsEmpty()) node->Tag = vTag;
    node->Bold = bBold;
    node->Checked = bChecked;
    if (bEnsureVisible) node->EnsureVisible();
    node->SetExpanded(bExpanded);
    if (bSelected) node->SetSelected(true);
    node->ForeColor = lForeColor == 0 ? static_cast<int32_t>(0x80000008u) : lForeColor;
    node->BackColor = lBackColor == 0 ? static_cast<int32_t>(0x80000005u) : lBackColor;
    if (!expandedImage.IsEmpty()) node->SetExpandedImage(expandedImage);
    m_Tree->SetSelectedItem(node);
    node->EnsureVisible();
    result = std::move(node);
  } catch (const std::exception&) {
    // A failed add reports nothing: the caller tests the result.
  }
  return result;
}

void cTreeView::ClearTreeView() {
  if (!m_Tree) return;
  Redraw(false);
  m_Tree->Clear();
  Redraw(true);
}

void cTreeView::Redraw(bool enabled) {
  if (!m_Tree) return;
  // The flag acts against its name: false turns painting on, true turns it off. Painting is the
  // host's matter; the view keeps no state for it.
  (void)enabled;
}

void cTreeView::HookCtrl(view::TreeView* ctrl, std::shared_ptr<view::ImageList> imgList) {
  m_Tree = ctrl;
  if (!m_Tree) return;
  m_Tree->Indentation = 100;
  m_Tree->NodeClick = [this](const NodePtr& node) { OnNodeClick(node); };
  m_Tree->MouseDown = [this](int button, int, float x, float y) { OnMouseDown(button, x, y); };
  m_Tree->MouseUp = [this](int button, int, float x, float y) { OnMouseUp(button, x, y); };
  m_Tree->MouseMove = [this](int button, int, float x, float y) { OnMouseMove(button, x, y); };
  m_Tree->DragOver = [this](float x, float y, int) { OnDragOver(x, y); };
  m_Tree->DragDrop = [this](float, float) { OnDragDrop(); };
  try {
    oImgList = std::move(imgList);
    if (oImgList) {
      m_Tree->SetImageList(oImgList);
      if (!oImgList->HasKey("DRAGICON")) throw RuntimeError("Element not found");
      m_Tree->DragIcon = "DRAGICON";
    }
    bool scroll = m_Tree->Scroll;
    m_Tree->Scroll = false;
    int count = m_Tree->GetVisibleCount();
    if (count == 0) throw RuntimeError("Division by zero");
    RowHeight = m_Tree->Height() / count;
    m_Tree->Scroll = scroll;
  } catch (const std::exception& e) {
    m_Platform.MsgBox(std::string("cTreeView") + "-->" + e.what(), view::vbExclamation, "错误：");
  }
}

void cTreeView::UnHookCtrl() {
  if (m_Tree) {
    m_Tree->NodeClick = nullptr;
    m_Tree->MouseDown = m_Tree->MouseUp = m_Tree->MouseMove = nullptr;
    m_Tree->DragOver = nullptr;
    m_Tree->DragDrop = nullptr;
  }
  m_Tree = nullptr;
  oImgList = nullptr;
}

bool cTreeView::IsRootNode(const NodePtr& node) const { return node && node->FullPath() == node->Text; }

void cTreeView::RaiseSelected(const NodePtr& node) {
  if (Selected) Selected(node);
}

void cTreeView::FocusTree() {
  if (m_Tree) m_Tree->SetFocus();
}

bool cTreeView::NodeDelete(const NodePtr& node, bool /*bSelect*/) {
  if (!m_Tree) throw RuntimeError("Object variable or With block variable not set");
  NextNode = node->Next();
  if (!NextNode && m_Tree->SelectedItem()) NextNode = m_Tree->SelectedItem()->Child();
  m_Tree->SetSelectedItem(NextNode ? NextNode : node);
  auto selected = m_Tree->SelectedItem();
  if (node->Text != (selected ? selected->Text : std::string())) RaiseSelected(NextNode);
  if (auto s = m_Tree->SelectedItem()) s->EnsureVisible();
  m_Tree->Remove(node);
  FocusTree();
  return true;
}

const view::Node* cTreeView::NodeFindFrom(const view::Node* node, const text::NoCaseFinder& finder, int fromIndex,
                                          bool& passed) {
  bool match = finder.In(node->Text);
  int index = node->Index();
  if (match) {
    if (index != fromIndex && passed) return node;
    if (index == fromIndex) passed = true;
  } else if (index == fromIndex) {
    passed = true;
  }
  for (const view::Node* child = node->FirstChildLink(); child; child = child->NextLink())
    if (const view::Node* found = NodeFindFrom(child, finder, fromIndex, passed)) return found;
  return nullptr;
}

NodePtr cTreeView::FindFromFirst(const std::string& text, int fromIndex, bool passed) const {
  text::NoCaseFinder finder(text);
  if (m_Tree->InAddOrder()) {
    // The same walk down the array of nodes, one root's subtree after another, reading ahead so
    // that a large tree's texts are in the cache when they are compared.
    const auto& all = m_Tree->AllNodes();
    constexpr size_t ahead = 16;
    for (const view::Node* root = all.front(); root; root = root->NextLink()) {
      bool walkPassed = passed;
      size_t end = root->NextLink() ? static_cast<size_t>(root->NextLink()->Index() - 1) : all.size();
      for (size_t i = static_cast<size_t>(root->Index() - 1); i < end; ++i) {
        if (i + 2 * ahead < end) __builtin_prefetch(&all[i + 2 * ahead]->Text);
        if (i + ahead < end) __builtin_prefetch(all[i + ahead]->Text.data());
        int index = static_cast<int>(i + 1);
        if (index != fromIndex && walkPassed && finder.In(all[i]->Text)) return all[i]->Ptr();
        if (index == fromIndex) walkPassed = true;
      }
    }
    return nullptr;
  }
  for (const view::Node* node = m_Tree->Item(1).get(); node; node = node->NextLink()) {
    bool walkPassed = passed;
    if (const view::Node* found = NodeFindFrom(node, finder, fromIndex, walkPassed))
      return found->Ptr();
  }
  return nullptr;
}

bool cTreeView::NodeFind(NodePtr& oResultNode, std::string& NodeText, const std::string& NodeKey, bool bSelect) {
  if (NodeText.empty()) NodeText = m_Platform.InputBox("输入要查找的节点名称:", "查找记录", "");
  if (!m_Tree) return false;
  NodePtr found;
  if (!NodeKey.empty()) {
    found = m_Tree->FindKey(NodeKey);
    if (!found) return false;
    if (bSelect) {
      m_Tree->SetSelectedItem(found);
      found->EnsureVisible();
    }
    oResultNode = found;
  } else {
    if (m_Tree->Count() == 0) return false;
    found = FindFromFirst(NodeText, -1, true);
    if (!found) return false;
    if (bSelect) {
      m_Tree->SetSelectedItem(found);
      found->EnsureVisible();
    }
    oResultNode = found;
  }
  RaiseSelected(oResultNode);
  FocusTree();
  return true;
}

bool cTreeView::NodeFindNext(NodePtr& oResultNode, const std::string& NodeText, int FromNodeIndex, bool bSelect) {
  if (NodeText.empty() || !m_Tree || m_Tree->Count() == 0) return false;
  NodePtr found = FindFromFirst(NodeText, FromNodeIndex, false);
  if (!found) return false;
  if (bSelect) {
    m_Tree->SetSelectedItem(found);
    found->EnsureVisible();
  }
  oResultNode = found;
  RaiseSelected(oResultNode);
  FocusTree();
  return true;
}

bool cTreeView::IsSelected() const {
  if (!m_Tree || !m_Tree->SelectedItem()) return false;
  return !IsRootNode(m_Tree->SelectedItem());
}

void cTreeView::MoveNodeNext() {
  if (!m_Tree) throw RuntimeError("Object variable or With block variable not set");
  auto former = m_Tree->SelectedItem();
  if (!former) return;
  NodePtr target = former->Next();
  if (!target) target = former->Child();
  if (!target) target = former;
  NextNode = target;
  m_Tree->SetSelectedItem(target);
  FocusTree();
  if (former->Text != target->Text) RaiseSelected(NextNode);
}

void cTreeView::MoveNodePrevious() {
  if (!m_Tree) throw RuntimeError("Object variable or With block variable not set");
  auto former = m_Tree->SelectedItem();
  if (!former) return;
  NodePtr target = former->Previous();
  if (!target) target = former->Parent();
  if (!target) target = former;
  NextNode = target;
  m_Tree->SetSelectedItem(target);
  FocusTree();
  if (former->Text != target->Text) RaiseSelected(NextNode);
}

bool cTreeView::ReSelectItem(const NodePtr& poNode) {
  try {
    RaiseSelected(poNode ? poNode : (m_Tree ? m_Tree->SelectedItem() : nullptr));
    FocusTree();
  } catch (const std::exception&) {
    // Errors are ignored here, as the forms expect.
  }
  return false;
}

}  // namespace kmd
