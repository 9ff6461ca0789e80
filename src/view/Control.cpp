#include "view/Control.h"

#include "base/Text.h"

namespace kmd::view {

Control::Control(std::string typeName, std::string name, int index)
    : m_TypeName(std::move(typeName)), m_Name(std::move(name)), m_Index(index) {}

int Control::Index() const {
  if (m_Index < 0) throw RuntimeError("Object not an array");
  return m_Index;
}

std::string Control::DisplayName() const {
  if (m_Index < 0) return m_Name;
  return m_Name + "(" + std::to_string(m_Index) + ")";
}

void Control::SetWidth(int width) {
  if (width == m_Width) return;
  m_Width = width;
  Resized();
}

void Control::SetHeight(int height) {
  if (height == m_Height) return;
  m_Height = height;
  Resized();
}

bool Control::Shown() const {
  for (const Control* c = this; c; c = c->m_Container)
    if (!c->m_Visible) return false;
  return true;
}

void Control::SetFocus() {
  if (!m_Enabled || !Shown() || !m_Owner) return;
  m_Owner->SetFocused(this);
}

bool Control::HasFocus() const { return m_Owner && m_Owner->Focused() == this; }

Control* Controls::Find(const std::string& name, int index) const {
  for (const auto& c : m_Items) {
    int ci = c->IsArrayElement() ? c->Index() : -1;
    if (ci == index && text::EqualsNoCase(c->Name(), name)) return c.get();
  }
  return nullptr;
}

Control* Controls::FindByDisplayName(const std::string& displayName) const {
  std::string name = displayName;
  int index = -1;
  auto open = displayName.find('(');
  if (open != std::string::npos && displayName.back() == ')') {
    name = displayName.substr(0, open);
    std::string num = displayName.substr(open + 1, displayName.size() - open - 2);
    if (num.empty() || !text::IsNumeric(num)) return nullptr;
    index = static_cast<int>(text::Val(num));
  }
  return Find(name, index);
}

}  // namespace kmd::view
