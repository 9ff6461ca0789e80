#pragma once
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/RuntimeError.h"
#include "base/Value.h"

namespace kmd::view {

class Controls;

// A control of a form's view: a plain object with a type name ("qnTxt_S", "Label", ...), a name
// and, for an element of a control array, an index. Hosts draw it; tests drive it.
class Control {
 public:
  Control(std::string typeName, std::string name, int index);
  virtual ~Control() = default;
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  const std::string& TypeName() const { return m_TypeName; }
  const std::string& Name() const { return m_Name; }
  bool IsArrayElement() const { return m_Index >= 0; }
  // The index in its control array. Throws RuntimeError for a control that is no array element.
  int Index() const;
  // "qnT(0)" or "TV": how scripts and pages name the control.
  std::string DisplayName() const;

  bool Enabled() const { return m_Enabled; }
  virtual void SetEnabled(bool enabled) { m_Enabled = enabled; }
  bool Visible() const { return m_Visible; }
  void SetVisible(bool visible) { m_Visible = visible; }
  // The frame the control lies in; null for one on the form itself.
  Control* Container() const { return m_Container; }
  void SetContainer(Control* frame) { m_Container = frame; }
  // Within a user's sight: Visible, and so is every frame around it.
  bool Shown() const;
  // The hint shown while the mouse rests on the control.
  std::string ToolTipText;

  // Place and size in the container's units (twips). A change of the size calls Resized.
  int Left() const { return m_Left; }
  void SetLeft(int left) { m_Left = left; }
  int Top() const { return m_Top; }
  void SetTop(int top) { m_Top = top; }
  int Width() const { return m_Width; }
  void SetWidth(int width);
  int Height() const { return m_Height; }
  void SetHeight(int height);

  // Puts the focus here; a disabled control or one not Shown does not take it.
  void SetFocus();
  bool HasFocus() const;

  // The control's shown content for transcripts and pages (text, caption or value).
  virtual std::string ShownText() const { return ""; }

  void AttachTo(Controls* owner) { m_Owner = owner; }

 protected:
  Controls* Owner() const { return m_Owner; }
  // After the control's Width or Height changed.
  virtual void Resized() {}

 private:
  std::string m_TypeName;
  std::string m_Name;
  int m_Index;
  bool m_Enabled = true;
  bool m_Visible = true;
  int m_Left = 0;
  int m_Top = 0;
  int m_Width = 0;
  int m_Height = 0;
  Controls* m_Owner = nullptr;
  Control* m_Container = nullptr;
};

// A form's controls in declaration order, with focus tracking.
class Controls {
 public:
  // Adds a control at the end; gives it back typed.
  template <class T, class... Args>
  T* Add(Args&&... args) {
    auto c = std::make_unique<T>(std::forward<Args>(args)...);
    T* raw = c.get();
    raw->AttachTo(this);
    m_Items.push_back(std::move(c));
    return raw;
  }

  size_t Count() const { return m_Items.size(); }
  Control& At(size_t i) const { return *m_Items.at(i); }
  auto begin() const { return m_Items.begin(); }
  auto end() const { return m_Items.end(); }
  // By name and index (-1 for no array); nullptr when absent. The name ignores Latin case.
  Control* Find(const std::string& name, int index = -1) const;
  // By a display name such as "qnT(0)" or "TV".
  Control* FindByDisplayName(const std::string& displayName) const;

  Control* Focused() const { return m_Focus; }
  void SetFocused(Control* c) { m_Focus = c; }

 private:
  std::vector<std::unique_ptr<Control>> m_Items;
  Control* m_Focus = nullptr;
};

// A control array such as qnT: element by index; a missing index is a run-time error.
template <class T>
class ControlArray {
 public:
  void Set(int index, T* control) { m_Items[index] = control; }
  T& operator()(int index) const {
    auto it = m_Items.find(index);
    if (it == m_Items.end()) throw RuntimeError("Control array element '" + std::to_string(index) + "' doesn't exist");
    return *it->second;
  }
  bool Has(int index) const { return m_Items.count(index) > 0; }

 private:
  std::map<int, T*> m_Items;
};

}  // namespace kmd::view
