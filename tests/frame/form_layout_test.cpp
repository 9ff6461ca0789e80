#include <gtest/gtest.h>

#include "support/SilentPlatform.h"

#include "frame/Form.h"

using namespace kmd;

namespace {

using kmd::test::SilentPlatform;

// A tree form with its detail frame and bar, as the forms build them.
class TreeForm : public Form {
 public:
  explicit TreeForm(view::Platform& p, bool withSplitter) : Form("TreeForm", p) {
    auto* tv = CreateTree();
    tv->SetLeft(120);
    tv->SetTop(300);
    tv->SetWidth(2500);
    if (withSplitter) CreateSplitter();
  }
  view::Control& Get(const std::string& name) { return *Controls().Find(name); }
};

}  // namespace

TEST(FormLayout, TreeBarAndFrameShareTheFormAndFollowTheBar) {
  SilentPlatform p;
  TreeForm f(p, true);
  f.Resize(9000, 6000);
  auto& tv = f.Get("TV");
  auto& frame = f.Get("fView");
  auto& sp = dynamic_cast<Splitter&>(f.Get("Sp"));
  EXPECT_EQ(tv.Height(), 6000 - 300 - 160);
  EXPECT_EQ(sp.Top(), 300);
  EXPECT_EQ(sp.Height(), tv.Height());
  EXPECT_EQ(frame.Height(), tv.Height() + 100);
  EXPECT_EQ(frame.Width(), 9000 - 2 * 120 - 2500 - 75 - 150);
  // Dragging the bar widens the tree and narrows the frame by the move.
  int frameWidth = frame.Width();
  sp.UserMouseDown(1, 0);
  sp.UserMouseMove(1, 400);
  sp.UserMouseUp(1, 0);
  EXPECT_EQ(tv.Width(), 2900);
  EXPECT_EQ(sp.Left(), 120 + 2900 + 10);
  EXPECT_EQ(frame.Left(), sp.Left() + 75 + 10);
  EXPECT_EQ(frame.Width(), frameWidth - 400);
  // A form without the bar sizes only its tree.
  TreeForm plain(p, false);
  plain.Resize(9000, 4000);
  EXPECT_EQ(plain.Tree()->Height(), 4000 - 300 - 160);
}
