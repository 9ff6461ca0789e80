#include <gtest/gtest.h>

#include "tree/Splitter.h"

using namespace kmd;

namespace {

// A surface 9000 by 6000 twips with a tree, a detail frame and the bar between them, declared in
// that order.
class SplitterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    surface = {9000, 6000, 9000, 6000};
    tree = controls.Add<view::Control>("TreeView", "TV", -1);
    frame = controls.Add<view::Control>("Frame", "fView", -1);
    sp = controls.Add<Splitter>();
    sp->Moving = [this](bool moved, int32_t offset) {
      events.push_back("Moving " + std::to_string(moved) + " " + std::to_string(offset));
    };
    sp->MoveUpIng = [this](bool moved, int32_t offset) {
      events.push_back("MoveUpIng " + std::to_string(moved) + " " + std::to_string(offset));
    };
    sp->SetParent(&surface);
    sp->SetControlName1("TV");
    sp->SetControlName2("fView");
    sp->SetTop(100);
    sp->SetHeight(5000);  // the bar's own size change records the surface
    sp->SetLeft(3000);
    sp->Resize();
    events.clear();
  }
  // "left top width height" of a control.
  static std::string Box(const view::Control* c) {
    return std::to_string(c->Left()) + " " + std::to_string(c->Top()) + " " + std::to_string(c->Width()) + " " +
           std::to_string(c->Height());
  }
  void Drag(float x) {
    sp->UserMouseDown(1, 0);
    sp->UserMouseMove(1, x);
  }
  Surface surface;
  view::Controls controls;
  view::Control* tree = nullptr;
  view::Control* frame = nullptr;
  Splitter* sp = nullptr;
  std::vector<std::string> events;
};

}  // namespace

TEST_F(SplitterTest, LayoutPutsTheControlsEitherSideOfTheBar) {
  EXPECT_EQ(Box(sp), "3000 100 75 5860");
  EXPECT_EQ(Box(tree), "0 70 3000 5860");
  EXPECT_EQ(Box(frame).substr(0, 14), "3075 100 5885 ");
  sp->SetWidth(500);  // held at SplitterWidth
  EXPECT_EQ(sp->Width(), 75);
}

TEST_F(SplitterTest, DragStaysWithinTheLimits) {
  Drag(79);  // too small a move does nothing
  EXPECT_EQ(sp->Left(), 3000);
  EXPECT_TRUE(events.empty());
  sp->UserMouseMove(1, 500);
  EXPECT_EQ(sp->Left(), 3500);
  EXPECT_EQ(tree->Width(), 3500);
  EXPECT_EQ(events, (std::vector<std::string>{"Moving 1 500"}));
  sp->UserMouseMove(1, -3200);  // left past MinLeft stops at 600
  EXPECT_EQ(sp->Left(), 600);
  EXPECT_EQ(sp->SavedLeft(), 600);
  // To the right the bound is the width of the control declared before the bar, the frame.
  frame->SetWidth(5000);
  sp->UserMouseMove(1, 4000);
  EXPECT_EQ(sp->Left(), 5000 - 600 - 75);
  sp->MinRight = 100;
  sp->SetLeft(3000);
  frame->SetWidth(5000);
  sp->UserMouseMove(1, 1000);
  EXPECT_EQ(sp->Left(), 4000);
  events.clear();
  sp->UserMouseUp(1, 0);
  EXPECT_EQ(events, (std::vector<std::string>{"Moving 0 0", "MoveUpIng 1 0"}));
  sp->UserMouseMove(1, 500);  // the button is up: no move
  EXPECT_EQ(sp->Left(), 4000);
}

TEST_F(SplitterTest, ResizeKeepsTheProportionWithinTheLimits) {
  surface = {18000, 6000, 18000, 6000};
  sp->Resize();
  EXPECT_EQ(sp->Left(), 6000);
  EXPECT_EQ(frame->Width(), 18000 - 6000 - 75 - 40);
  surface = {1800, 6000, 1800, 6000};
  sp->Resize();
  EXPECT_EQ(sp->Left(), 600);
  surface = {1000, 6000, 1000, 6000};  // 333 by proportion, raised to MinLeft, then the right room wins
  sp->Resize();
  EXPECT_EQ(sp->Left(), 1000 - 600 - 75);
  EXPECT_EQ(sp->SavedLeft(), 325);
  EXPECT_EQ(frame->Width(), 600);  // never narrower than MinRight
}

TEST_F(SplitterTest, HiddenSidesMoveTheBarOffTheEdgeAndBack) {
  auto state = [&] {
    return std::to_string(sp->Left()) + " " + std::to_string(tree->Width()) + " " + std::to_string(frame->Left()) + " " +
           std::to_string(frame->Width()) + (frame->Visible() ? "" : " hidden");
  };
  sp->SetControlVisible2(false);
  EXPECT_EQ(state().substr(0, 10), "9000 9000 ");
  EXPECT_TRUE(state().ends_with(" hidden"));
  sp->SetControlVisible2(true);
  EXPECT_EQ(state(), "3000 3000 3075 5885");
  sp->SetControlVisible1(false);
  EXPECT_EQ(state().substr(0, 4), "-75 ");
  EXPECT_TRUE(state().ends_with(" 0 9000"));
  EXPECT_FALSE(events.empty());
  sp->SetControlVisible1(true);
  EXPECT_EQ(sp->Left(), 3000);
}

