// Controls in frames, and the toolbar's buttons.
#include <gtest/gtest.h>

#include "view/Widgets.h"

using namespace kmd;

TEST(ViewModel, AControlIsShownOnlyWhileItAndEveryFrameAroundItAreVisible) {
  view::Controls controls;
  auto* outer = controls.Add<view::Control>("Frame", "Frame1", 0);
  auto* inner = controls.Add<view::Control>("Frame", "Frame1", 1);
  auto* field = controls.Add<view::TextField>("qnT", 0);
  inner->SetContainer(outer);
  field->SetContainer(inner);
  EXPECT_TRUE(field->Shown());
  outer->SetVisible(false);
  EXPECT_FALSE(field->Shown());
  EXPECT_TRUE(field->Visible());  // its own property is kept
  field->SetFocus();
  EXPECT_FALSE(field->HasFocus());  // out of sight, out of the focus
  outer->SetVisible(true);
  field->SetFocus();
  EXPECT_TRUE(field->HasFocus());
}

TEST(ViewModel, ToolbarClicksPressCheckAndGroupButtonsThenRaiseButtonClick) {
  view::Toolbar bar("Toolbar1");
  bar.AddButton("基本", "基本信息", view::tbrButtonGroup);
  bar.AddButton("价格", "", view::tbrButtonGroup);
  bar.AddButton("", "", view::tbrSeparator);
  bar.AddButton("其他", "", view::tbrButtonGroup);
  bar.AddButton("锁定", "", view::tbrCheck);
  EXPECT_EQ(bar.Button(1).ToolTipText, "基本信息");
  std::vector<std::string> clicks;
  bar.ButtonClick = [&](view::ToolbarButton& b) { clicks.push_back(std::to_string(b.Index) + " " + bar.ShownText()); };
  bar.UserClick(1);
  bar.UserClick(4);  // another group beyond the separator: 1 stays pressed
  bar.UserClick(2);
  bar.UserClick(3);  // a separator takes no click
  bar.UserClick(5);
  bar.UserClick(5);
  bar.Button(2).Enabled = false;
  bar.UserClick(2);
  bar.SetVisible(false);
  bar.UserClick(1);
  EXPECT_EQ(clicks, (std::vector<std::string>{"1 1", "4 1,4", "2 2,4", "5 2,4,5", "5 2,4"}));
  EXPECT_THROW(bar.UserClick(6), RuntimeError);
}
