#include "tree/Splitter.h"

#include <cmath>
#include <cstdlib>

#include "base/RuntimeError.h"

namespace kmd {

namespace {

// A 16-bit number as the bar keeps its sizes: rounded half to even, overflow an error.
int16_t ToInt16(double v) {
  double r = std::nearbyint(v);
  if (!(r >= -32768 && r <= 32767)) throw RuntimeError("Overflow");
  return static_cast<int16_t>(r);
}

// Least distance the mouse must travel before the bar follows it.
constexpr float kDragThreshold = 80;

}  // namespace

Splitter::Splitter(std::string name, int index) : Control("Splitter", std::move(name), index) {
  SetWidth(m_SplitterWidth);
}

void Splitter::SetSplitterWidth(int16_t width) {
  m_SplitterWidth = width;
  SetWidth(width);
}

view::Control* Splitter::FindControl(const std::string& name) const {
  if (!Owner() || name.empty()) return nullptr;
  for (const auto& c : *Owner())
    if (c->Name() == name) return c.get();
  return nullptr;
}

view::Control* Splitter::ControlBefore() const {
  if (!Owner()) return nullptr;
  view::Control* before = nullptr;
  for (const auto& c : *Owner()) {
    if (c.get() == this) return before;
    before = c.get();
  }
  return nullptr;
}

void Splitter::ResolveControls() {
  if (!m_Control1) m_Control1 = FindControl(m_ControlName1);
  if (!m_Control2) m_Control2 = FindControl(m_ControlName2);
}

void Splitter::SetControlName1(const std::string& name) {
  m_ControlName1 = name;
  m_Control1 = FindControl(name);
  if (PropertyChanged) PropertyChanged("ControlName1");
}

void Splitter::SetControlName2(const std::string& name) {
  m_ControlName2 = name;
  m_Control2 = FindControl(name);
  if (PropertyChanged) PropertyChanged("ControlName2");
}

void Splitter::SetControlVisible1(bool visible) { SetControlVisible(true, visible); }
void Splitter::SetControlVisible2(bool visible) { SetControlVisible(false, visible); }

void Splitter::SetControlVisible(bool first, bool visible) {
  (first ? m_ControlVisible1 : m_ControlVisible2) = visible;
  view::Control* c = first ? m_Control1 : m_Control2;
  if (c) c->SetVisible(visible);
  if (visible) SetLeft(m_SavedLeft);
  m_FirstLayout = false;
  try {
    Resize();
    if (Moving) Moving(m_IsMoving, m_LastOffset);
  } catch (const std::exception&) {
    // Showing or hiding a side reports nothing.
  }
}

void Splitter::Resize() {
  if (!m_Parent) return;
  int newLeft = Left();
  if (!m_ControlVisible1) newLeft = -m_SplitterWidth;
  if (!m_ControlVisible2) newLeft = m_Parent->Width;
  if (m_ControlVisible1 && m_ControlVisible2) {
    if (m_LastParentWidth == 0) throw RuntimeError("Division by zero");
    newLeft = ToInt16(static_cast<double>(m_Parent->Width) * Left() / m_LastParentWidth);
    if (newLeft < MinLeft) newLeft = MinLeft;
    if (m_Parent->ScaleWidth - newLeft - Width() < MinRight) newLeft = m_Parent->ScaleWidth - MinRight - Width();
    m_SavedLeft = ToInt16(newLeft);
  }
  m_Busy = true;
  SetLeft(newLeft);
  if (m_FirstLayout) {
    int height = m_Parent->Height - m_HeightDelta;
    SetHeight(height >= 1 ? height : 0);
  }
  m_Busy = false;
  m_FirstLayout = true;
  m_LastParentHeight = ToInt16(m_Parent->Height);
  m_LastParentWidth = ToInt16(m_Parent->Width);
  Layout(0);
}

void Splitter::Layout(int32_t offset) {
  if (!Owner() || !m_Parent) return;
  // The drag places the bar itself before it lays out; `offset` tells the form how far it went.
  (void)offset;
  try {
    m_Busy = true;
    SetHeight(m_Parent->ScaleHeight - Top() - 40);
    ResolveControls();
    if (!m_ControlVisible2 && m_ControlVisible1 && m_Control1) {
      m_Control1->SetWidth(m_Parent->ScaleWidth);
      m_Control1->SetHeight(Height());
    }
    if (m_ControlVisible2 && m_Control2) {
      int width = m_Parent->ScaleWidth - Left() - Width() - 40;
      if (width < MinRight) width = MinRight;
      m_Control2->SetWidth(width);
      m_Control2->SetLeft(Left() + Width());
      m_Control2->SetHeight(Height());
      m_Control2->SetTop(Top());
    }
    if (!m_ControlVisible1 && m_ControlVisible2 && m_Control2) {
      m_Control2->SetLeft(0);
      m_Control2->SetWidth(m_Parent->ScaleWidth);
      m_Control2->SetHeight(Height());
    }
    if (m_ControlVisible1 && m_Control1) {
      m_Control1->SetLeft(0);
      m_Control1->SetTop(Top() - 30);
      m_Control1->SetWidth(Left() - m_Control1->Left());
      m_Control1->SetHeight(Height());
    }
    m_Busy = false;
    if (Moving) Moving(m_IsMoving, m_LastOffset);
  } catch (const std::exception&) {
    // The layout is display work and goes on quietly.
  }
  m_Busy = false;
}

void Splitter::Resized() {
  try {
    SetWidth(m_SplitterWidth);
    if (!m_Parent) return;
    m_LastParentWidth = ToInt16(m_Parent->Width);
    m_LastParentHeight = ToInt16(m_Parent->Height);
    m_HeightDelta = ToInt16(Height() - m_Parent->Height);
    if (!m_Busy && m_Control1 && m_Control2) Layout(0);
  } catch (const std::exception&) {
  }
}

void Splitter::UserMouseDown(int button, float) {
  if (button == 1) m_IsMoving = true;
}

void Splitter::UserMouseMove(int, float x) {
  if (!m_IsMoving || std::fabs(x) < kDragThreshold) return;
  int32_t offset = static_cast<int32_t>(x);
  int target = Left() + offset;
  if (target < MinLeft) {
    target = MinLeft;
  } else if (view::Control* before = ControlBefore()) {
    // The bar keeps within the width of the control before it, not of the form.
    int limit = before->Width();
    if (limit - target - Width() < MinRight) target = limit - MinRight - Width();
  }
  SetLeft(target);
  m_SavedLeft = static_cast<int16_t>(target);
  m_LastOffset = offset;
  Layout(offset);
  m_LastOffset = 0;
}

void Splitter::UserMouseUp(int button, float) {
  if (button != 1) return;
  m_IsMoving = false;
  Layout(0);
  if (MoveUpIng) MoveUpIng(true, m_LastOffset);
}

void Splitter::WriteProperties(PropertyBag& bag) const {
  bag.emplace_back("ControlName1", Value(m_ControlName1));
  bag.emplace_back("ControlName2", Value(m_ControlName2));
  bag.emplace_back("SplitterWidth", Value(static_cast<int32_t>(m_SplitterWidth)));
  bag.emplace_back("ControlVisible1", Value(m_ControlVisible1));
  bag.emplace_back("ControlVisible2", Value(m_ControlVisible2));
}

void Splitter::ReadProperties(const PropertyBag& bag) {
  auto find = [&](const char* name) -> const Value* {
    for (const auto& [k, v] : bag)
      if (k == name) return &v;
    return nullptr;
  };
  if (auto* v = find("ControlName1")) SetControlName1(v->ToText());
  if (auto* v = find("ControlName2")) SetControlName2(v->ToText());
  if (auto* v = find("SplitterWidth")) SetSplitterWidth(static_cast<int16_t>(v->ToLong()));
  if (auto* v = find("ControlVisible1")) m_ControlVisible1 = v->ToBool();
  if (auto* v = find("ControlVisible2")) m_ControlVisible2 = v->ToBool();
}

}  // namespace kmd
