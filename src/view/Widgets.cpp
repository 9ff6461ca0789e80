#include "view/Widgets.h"

#include "base/Text.h"

namespace kmd::view {

TextField::TextField(std::string name, int index, std::string caption)
    : Control("qnTxt_S", std::move(name), index), m_Caption(std::move(caption)) {}

void TextField::UserType(const std::string& text) {
  if (!Enabled() || Locked) return;
  if (!text::IsStorableText(text)) throw InputRefused();
  m_Text = text;
  ErrorState = 0;
  if (Change) Change();
}

void TextField::UserLeave() {
  if (!Enabled()) return;
  if (m_Reference.IsReference && CheckRequest) CheckRequest();
}

void TextField::UserBrowse() {
  if (!Enabled()) return;
  if (m_Reference.IsReference && BrowseRequest) BrowseRequest();
}

void TextField::UserKey(int keyCode) {
  if (!Enabled()) return;
  SetFocus();
  if (KeyDown) KeyDown(keyCode, 0);
  int keyAscii = vbKeyReturn;
  if (keyCode == vbKeyReturn && KeyPress) KeyPress(keyAscii);
}

void TextBox::UserType(const std::string& text) {
  if (!Enabled()) return;
  if (!text::IsStorableText(text)) throw InputRefused();
  m_Text = text;
  if (Change) Change();
  if (KeyUp) KeyUp();
}

void TextBox::UserEnter() {
  if (!Enabled()) return;
  SetFocus();
  if (GotFocus) GotFocus();
}

void TextBox::UserLeave() {
  if (!Enabled()) return;
  if (LostFocus) LostFocus();
}

void PictureBox::UserClick(int x, int y) {
  if (!Enabled()) return;
  if (MouseDown) MouseDown(x, y);
  if (Click) Click();
}

void PictureBox::UserDblClick() {
  if (Enabled() && DblClick) DblClick();
}

void Image::UserDblClick() {
  if (Enabled() && DblClick) DblClick();
}

void Image::SetPicture(Picture picture) {
  m_Picture = std::move(picture);
  if (Stretch || m_Picture.IsEmpty()) return;
  SetWidth(m_Picture.Width * kTwipsPerPixel);
  SetHeight(m_Picture.Height * kTwipsPerPixel);
}

std::string Image::ShownText() const {
  if (m_Picture.IsEmpty()) return "";
  auto n = [](int v) { return std::to_string(v); };
  return m_Picture.Format + " " + n(m_Picture.Width) + "x" + n(m_Picture.Height) + " at " + n(Left()) + "," + n(Top()) +
         " " + n(Width()) + "x" + n(Height());
}

OptionButton::OptionButton(std::string name, int index, std::string caption, std::string group)
    : Control("OptionButton", std::move(name), index), m_Caption(std::move(caption)), m_Group(std::move(group)) {}

void OptionButton::SetValue(bool v) {
  m_Value = v;
  if (!v) return;
  // The other options of the same group go off.
  if (!Owner()) return;
  for (const auto& c : *Owner()) {
    auto* o = dynamic_cast<OptionButton*>(c.get());
    if (o && o != this && o->m_Group == m_Group) o->m_Value = false;
  }
}

void OptionButton::UserClick() {
  if (!Enabled()) return;
  SetValue(true);
  if (Click) Click();
}

void CheckBox::UserClick() {
  if (!Enabled()) return;
  m_Value = m_Value == 1 ? 0 : 1;
  if (Click) Click();
}

void DatePicker::UserPick(const std::string& date) {
  if (!Enabled()) return;
  m_Value = Value(date);
  if (Change) Change();
}

void ComboBox::UserType(const std::string& text) {
  if (!Enabled()) return;
  if (!text::IsStorableText(text)) throw InputRefused();
  m_Text = text;
  if (Change) Change();
}

void Button::UserClick() {
  if (!Enabled()) return;
  if (Click) Click();
}

int Toolbar::AddButton(std::string caption, std::string toolTip, int style, std::string key) {
  ToolbarButton b;
  b.Index = Count() + 1;
  b.Key = std::move(key);
  b.Caption = std::move(caption);
  b.ToolTipText = std::move(toolTip);
  b.Style = style;
  m_Buttons.push_back(std::move(b));
  return Count();
}

ToolbarButton& Toolbar::Button(int index) {
  if (index < 1 || index > Count()) throw RuntimeError("Index out of bounds");
  return m_Buttons[static_cast<size_t>(index) - 1];
}

const ToolbarButton& Toolbar::Button(int index) const { return const_cast<Toolbar*>(this)->Button(index); }

void Toolbar::UserClick(int index) {
  ToolbarButton& b = Button(index);
  if (!Enabled() || !Shown() || !b.Enabled || !b.Visible || b.Style == tbrSeparator) return;
  if (b.Style == tbrCheck) {
    b.Value = !b.Value;
  } else if (b.Style == tbrButtonGroup) {
    for (int i = index - 1; i >= 1 && Button(i).Style != tbrSeparator; --i)
      if (Button(i).Style == tbrButtonGroup) Button(i).Value = false;
    for (int i = index + 1; i <= Count() && Button(i).Style != tbrSeparator; ++i)
      if (Button(i).Style == tbrButtonGroup) Button(i).Value = false;
    b.Value = true;
  }
  if (ButtonClick) ButtonClick(b);
}

std::string Toolbar::ShownText() const {
  std::string pressed;
  for (const auto& b : m_Buttons)
    if (b.Value) pressed += (pressed.empty() ? "" : ",") + std::to_string(b.Index);
  return pressed;
}

}  // namespace kmd::view
