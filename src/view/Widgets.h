#pragma once
#include <functional>
#include <string>
#include <vector>

#include "base/RuntimeError.h"
#include "view/Control.h"
#include "view/Picture.h"

namespace kmd::view {

// The system colour of buttons and dialog faces, the default BackColor of labels and pictures.
constexpr int32_t kButtonFace = static_cast<int32_t>(0x8000000Fu);

// Typed text that no field takes: a NUL byte or bytes that are not UTF-8. The field keeps its
// text; the host shows the reason in a box.
class InputRefused : public RuntimeError {
 public:
  InputRefused() : RuntimeError("输入的内容含有不能保存的字符（空字符或无效的编码），请重新输入") {}
};

// Configuration of a reference field: what its typed text must name, and how it is shown.
struct Reference {
  std::string ErrorText;
  std::string SelectSql;
  std::string LookupKey;
  std::string TextColumn;
  std::string ValueColumn;
  bool AutoSelect = false;
  int32_t MatchMode = 0;
  int32_t Source = 0;
  bool MultiSelect = false;
  bool CheckInput = false;
  bool IsReference = false;
};

// Key codes of the keys the forms handle in their fields.
constexpr int vbKeyReturn = 13;
constexpr int vbKeyUp = 38;
constexpr int vbKeyDown = 40;

// The text field qnTxt_S: plain, or a reference field through its Reference object.
// Setting Text or Value from the program raises no event; the user's typing raises Change
// (UserType), leaving a reference field raises CheckRequest (UserLeave), its browse button
// BrowseRequest (UserBrowse), a key pressed in it KeyDown and, for a key that gives a character
// (Enter), KeyPress (UserKey).
class TextField : public Control {
 public:
  TextField(std::string name, int index, std::string caption = "");
  const std::string& Text() const { return m_Text; }
  void SetText(std::string text) { m_Text = std::move(text); }
  const Value& GetValue() const { return m_Value; }
  void SetValue(Value v) { m_Value = std::move(v); }
  const std::string& Caption() const { return m_Caption; }
  void SetCaption(std::string c) { m_Caption = std::move(c); }
  Reference& GetReference() { return m_Reference; }
  const Reference& GetReference() const { return m_Reference; }
  int MaxLength = 0;
  // A locked field shows its text but takes no typing.
  bool Locked = false;
  // 1 while the field holds typed text that its lookup refused; 0 otherwise.
  int ErrorState = 0;
  // The field holds the focus.
  bool IsActive() const { return HasFocus(); }
  bool IsValid() const { return ErrorState == 0; }

  std::function<void()> Change;
  std::function<void()> CheckRequest;
  std::function<void()> BrowseRequest;
  // The key's code and the state of Shift, Ctrl and Alt; the character of the key.
  std::function<void(int& keyCode, int shift)> KeyDown;
  std::function<void(int& keyAscii)> KeyPress;
  // True when the form listens to the field's keys.
  bool HandlesKeys() const { return KeyDown || KeyPress; }

  void UserType(const std::string& text);
  void UserLeave();
  void UserBrowse();
  // The user presses the key `keyCode` in the field, which takes the focus first: KeyDown, then
  // KeyPress for Enter. A disabled field ignores it.
  void UserKey(int keyCode);
  std::string ShownText() const override { return m_Text; }

 private:
  std::string m_Text;
  Value m_Value;
  std::string m_Caption;
  Reference m_Reference;
};

// A plain text box; Change comes from user input only. The user's typing raises Change, then
// KeyUp; entering the box raises GotFocus, leaving it LostFocus.
class TextBox : public Control {
 public:
  TextBox(std::string name, int index = -1) : Control("TextBox", std::move(name), index) {}
  const std::string& Text() const { return m_Text; }
  void SetText(std::string text) { m_Text = std::move(text); }
  std::function<void()> Change;
  std::function<void()> KeyUp;
  std::function<void()> GotFocus;
  std::function<void()> LostFocus;
  // The selected part of the text, in characters.
  int SelStart = 0;
  int SelLength = 0;
  void UserType(const std::string& text);
  void UserEnter();
  void UserLeave();
  std::string ShownText() const override { return m_Text; }

 private:
  std::string m_Text;
};

class Label : public Control {
 public:
  Label(std::string name, int index = -1, std::string caption = "")
      : Control("Label", std::move(name), index), m_Caption(std::move(caption)) {}
  const std::string& Caption() const { return m_Caption; }
  void SetCaption(std::string c) { m_Caption = std::move(c); }
  int32_t BackColor = kButtonFace;
  std::string ShownText() const override { return m_Caption; }

 private:
  std::string m_Caption;
};

// A picture box that shows its BackColor (a colour number; negative for a system colour). A click
// carries the point under the mouse in the box's scale: MouseDown(x, y), then Click.
class PictureBox : public Control {
 public:
  PictureBox(std::string name, int index = -1) : Control("PictureBox", std::move(name), index) {}
  int32_t BackColor = kButtonFace;
  int ScaleWidth = 0;
  int ScaleHeight = 0;
  std::function<void(int x, int y)> MouseDown;
  std::function<void()> Click;
  std::function<void()> DblClick;
  void UserClick(int x = 0, int y = 0);
  void UserDblClick();
  // The picture the box holds (LoadPicture); the empty one at first.
  const Picture& GetPicture() const { return m_Picture; }
  void SetPicture(Picture picture) { m_Picture = std::move(picture); }
  std::string ShownText() const override { return std::to_string(BackColor); }

 private:
  Picture m_Picture;
};

// An option button; options of one group exclude each other. Setting Value from the program
// raises no Click; the user's click does.
class OptionButton : public Control {
 public:
  OptionButton(std::string name, int index, std::string caption, std::string group = "");
  const std::string& Caption() const { return m_Caption; }
  bool GetValue() const { return m_Value; }
  void SetValue(bool v);
  std::function<void()> Click;
  void UserClick();
  const std::string& Group() const { return m_Group; }
  std::string ShownText() const override { return m_Value ? "True" : "False"; }

 private:
  std::string m_Caption;
  std::string m_Group;
  bool m_Value = false;
};

// A check box: Value 0 unchecked, 1 checked, 2 grey.
class CheckBox : public Control {
 public:
  CheckBox(std::string name, int index = -1, std::string caption = "")
      : Control("CheckBox", std::move(name), index), m_Caption(std::move(caption)) {}
  const std::string& Caption() const { return m_Caption; }
  int GetValue() const { return m_Value; }
  void SetValue(int v) { m_Value = v; }
  std::function<void()> Click;
  void UserClick();
  std::string ShownText() const override { return std::to_string(m_Value); }

 private:
  std::string m_Caption;
  int m_Value = 0;
};

class ComboBox : public Control {
 public:
  ComboBox(std::string name, int index = -1) : Control("ComboBox", std::move(name), index) {}
  const std::string& Text() const { return m_Text; }
  void SetText(std::string text) { m_Text = std::move(text); }
  std::vector<std::string> Items;
  std::function<void()> Change;
  void UserType(const std::string& text);
  std::string ShownText() const override { return m_Text; }

 private:
  std::string m_Text;
};

// A date picker (DTPicker, or gcDTP where a form uses that one): its Value is the date as text,
// or Null when the picker allows no date. The user's choice raises Change.
class DatePicker : public Control {
 public:
  DatePicker(std::string name, int index = -1, std::string typeName = "DTPicker")
      : Control(std::move(typeName), std::move(name), index) {}
  const Value& GetValue() const { return m_Value; }
  void SetValue(Value v) { m_Value = std::move(v); }
  std::function<void()> Change;
  void UserPick(const std::string& date);
  std::string ShownText() const override { return m_Value.ToText(); }

 private:
  Value m_Value;
};

class Button : public Control {
 public:
  Button(std::string name, int index = -1, std::string caption = "")
      : Control("Button", std::move(name), index), m_Caption(std::move(caption)) {}
  const std::string& Caption() const { return m_Caption; }
  std::function<void()> Click;
  void UserClick();
  std::string ShownText() const override { return m_Caption; }

 private:
  std::string m_Caption;
};

// An image control (Image): shows a picture; Stretch sizes it to the control.
class Image : public Control {
 public:
  Image(std::string name, int index = -1) : Control("Image", std::move(name), index) {}
  bool Stretch = false;
  std::function<void()> DblClick;
  void UserDblClick();
  // The picture shown. Without Stretch a picture sets the control's size to its own
  // (kTwipsPerPixel twips a pixel); the empty picture leaves the size alone.
  const Picture& GetPicture() const { return m_Picture; }
  void SetPicture(Picture picture);
  // "" without a picture; else its format and pixel size, and the control's place and size:
  // "png 3x2 at 0,600 4800x3200".
  std::string ShownText() const override;

 private:
  Picture m_Picture;
};

// A button of a Toolbar. Index is its 1-based place, separators included; Value is true while a
// check or group button is pressed.
struct ToolbarButton {
  int Index = 0;
  std::string Key;
  std::string Caption;
  std::string ToolTipText;
  int Style = 0;  // tbrDefault, tbrCheck, tbrButtonGroup, tbrSeparator
  bool Value = false;
  bool Enabled = true;
  bool Visible = true;
};

constexpr int tbrDefault = 0;
constexpr int tbrCheck = 1;
constexpr int tbrButtonGroup = 2;
constexpr int tbrSeparator = 3;

// A toolbar of buttons. The user's click on a button (UserClick) presses or releases a check
// button, presses a group button and releases the other buttons of its group (the group buttons
// between two separators), then raises ButtonClick. Setting Value from the program raises nothing.
class Toolbar : public Control {
 public:
  Toolbar(std::string name, int index = -1) : Control("Toolbar", std::move(name), index) {}
  // Adds a button at the end; gives its index.
  int AddButton(std::string caption, std::string toolTip = "", int style = tbrDefault, std::string key = "");
  int Count() const { return static_cast<int>(m_Buttons.size()); }
  // By 1-based index; throws RuntimeError when there is none.
  ToolbarButton& Button(int index);
  const ToolbarButton& Button(int index) const;
  std::function<void(ToolbarButton&)> ButtonClick;
  // Nothing happens on a disabled or hidden toolbar, or on a separator, disabled or hidden button.
  // Throws RuntimeError for an index without a button.
  void UserClick(int index);
  // The indexes of the pressed buttons, separated by ",".
  std::string ShownText() const override;

 private:
  std::vector<ToolbarButton> m_Buttons;
};

}  // namespace kmd::view
