// The focus moves of IFormHelper.NextField: Enter and Down forward, Up back, over the text fields
// that can take the focus, staying at either end.
#include <gtest/gtest.h>

#include "frame/Services.h"
#include "view/Widgets.h"

using namespace kmd;

TEST(NextField, EnterAndDownGoToTheNextUsableTextFieldUpToThePreviousAndTheEndsHold) {
  view::Controls controls;
  auto* code = controls.Add<view::TextField>("qnTxt", 0);
  controls.Add<view::Label>("Label1", -1, "外币名称");
  auto* locked = controls.Add<view::TextField>("qnTxt", 1);
  auto* hidden = controls.Add<view::TextBox>("Text1");
  auto* box = controls.Add<view::TextBox>("Text2");
  auto* rate = controls.Add<view::TextField>("qnTxt", 2);
  locked->SetEnabled(false);
  hidden->SetVisible(false);
  struct NoBoxes : view::Platform {
    int MsgBox(const std::string&, int, const std::string&) override { return view::vbOK; }
    std::string InputBox(const std::string&, const std::string&, const std::string&) override { return ""; }
  } platform;
  IFormHelper helper(platform);
  auto press = [&](int key) {
    helper.NextField(controls, 13, static_cast<int16_t>(key));
    return controls.Focused();
  };
  EXPECT_EQ(press(view::vbKeyReturn), code);  // nothing focused: the first field
  EXPECT_EQ(press(view::vbKeyReturn), box);
  EXPECT_EQ(press(view::vbKeyDown), rate);
  EXPECT_EQ(press(view::vbKeyDown), rate);
  EXPECT_EQ(press(9), rate);  // Tab is not the form's
  EXPECT_EQ(press(view::vbKeyUp), box);
  EXPECT_EQ(press(view::vbKeyUp), code);
  EXPECT_EQ(press(view::vbKeyUp), code);
}

TEST(NextField, AKeyInAFieldFocusesItThenRaisesKeyDownAndForEnterKeyPress) {
  view::Controls controls;
  auto* f = controls.Add<view::TextField>("qnTxt", 0);
  std::string heard;
  f->KeyDown = [&](int& code, int) { heard += "down" + std::to_string(code) + " "; };
  f->KeyPress = [&](int& ascii) { heard += "press" + std::to_string(ascii) + " "; };
  f->UserKey(view::vbKeyUp);
  f->UserKey(view::vbKeyReturn);
  EXPECT_EQ(heard, "down38 down13 press13 ");
  EXPECT_TRUE(f->HasFocus());
  f->SetEnabled(false);
  f->UserKey(view::vbKeyReturn);
  EXPECT_EQ(heard, "down38 down13 press13 ");
}
