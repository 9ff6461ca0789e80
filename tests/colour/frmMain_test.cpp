#include "colour/frmMain.h"

#include <gtest/gtest.h>

#include "colour/ColorConverter.h"

using kmd::ColorConverter;
using kmd::frmMain;
using kmd::PickerCall;

namespace {

const int32_t kOrange = ColorConverter::RGBToLong(255, 128, 0);

// The seven boxes in one line: hue sat bri | red green blue | hex.
std::string Boxes(const frmMain& f) {
  return f.txtHue->Text() + " " + f.txtSat->Text() + " " + f.txtBri->Text() + " | " + f.txtRed->Text() + " " +
         f.txtGreen->Text() + " " + f.txtBlue->Text() + " | " + f.txtHex->Text();
}

void Type(kmd::view::TextBox* box, const std::string& text) {
  box->UserEnter();
  box->UserType(text);
}

class Dialog : public ::testing::Test {
 protected:
  PickerCall call{"选颜色", kOrange, 77};
  frmMain f{call};
};

}  // namespace

TEST_F(Dialog, LoadsOnTheCallersTitleAndColour) {
  EXPECT_EQ(f.Caption(), "选颜色");
  EXPECT_EQ(f.lblCurrColor->BackColor, kOrange);
  // Full hue and saturation at the top left, no saturation (white) along the bottom.
  EXPECT_EQ(f.MapColor(0, 0), ColorConverter::RGBToLong(255, 0, 0));
  EXPECT_EQ(f.MapColor(frmMain::kMapSize - 1, frmMain::kMapSize - 1), 0xFFFFFF);
  // The strip runs from the colour at full brightness down to black.
  ASSERT_EQ(f.Strip().size(), static_cast<size_t>(frmMain::kStripHeight));
  EXPECT_EQ(f.Strip().front(), kOrange);
  EXPECT_EQ(f.Strip().back(), 0);
}

TEST_F(Dialog, HsbBoxesRewriteRgbAndHexOnly) {
  Type(f.txtSat, "100");
  Type(f.txtBri, "100");
  f.txtHue->SetText("stale");
  Type(f.txtHue, "120");
  EXPECT_EQ(Boxes(f), "120 100 100 | 0 255 0 | 00FF00");
  EXPECT_EQ(f.lblCurrColor->BackColor, ColorConverter::RGBToLong(0, 255, 0));

  // 360 is the box's limit and stays; the converter holds it at 359.
  Type(f.txtHue, "360");
  EXPECT_EQ(Boxes(f), "360 100 100 | 255 0 4 | FF0004");
  Type(f.txtHue, "400");
  EXPECT_EQ(f.txtHue->Text(), "360");
  Type(f.txtSat, "250");
  EXPECT_EQ(f.txtSat->Text(), "100");
  // Text that is no number is left as it stands and reads 0.
  Type(f.txtBri, "abc");
  EXPECT_EQ(Boxes(f), "360 100 abc | 0 0 0 | 000000");
}

TEST_F(Dialog, RgbBoxesRewriteHsbAndHexOnly) {
  Type(f.txtRed, "255");
  Type(f.txtGreen, "0");
  f.txtHex->SetText("stale");
  Type(f.txtBlue, "999");
  EXPECT_EQ(f.txtBlue->Text(), "255");
  EXPECT_EQ(Boxes(f), "300 100 100 | 255 0 255 | FF00FF");
  EXPECT_EQ(f.lblCurrColor->BackColor, ColorConverter::RGBToLong(255, 0, 255));
}

TEST_F(Dialog, HexBoxRewritesTheOtherSixAndPadsOnlyOnLeaving) {
  Type(f.txtHex, "#FF8000");
  EXPECT_EQ(Boxes(f), "30 100 100 | 255 128 0 | #FF8000");
  Type(f.txtHex, "FF8000");
  EXPECT_EQ(f.lblCurrColor->BackColor, kOrange);
  Type(f.txtHex, "junk#0000FF");
  EXPECT_EQ(f.lblCurrColor->BackColor, ColorConverter::RGBToLong(0, 0, 255));

  Type(f.txtHex, "F80");
  EXPECT_EQ(f.txtHex->Text(), "F80");
  EXPECT_EQ(f.lblCurrColor->BackColor, ColorConverter::RGBToLong(0xF8, 0, 0));
  f.txtHex->UserLeave();
  EXPECT_EQ(f.txtHex->Text(), "000F80");
  EXPECT_EQ(f.lblCurrColor->BackColor, ColorConverter::RGBToLong(0xF8, 0, 0));  // colour unchanged

  // Entering a box selects its whole text.
  f.txtHex->UserEnter();
  EXPECT_TRUE(f.txtHex->SelStart == 0 && f.txtHex->SelLength == 6);
}

TEST_F(Dialog, ClicksOnMapAndStrip) {
  const int x = 60, y = 30;
  f.pc->UserClick(x, y);
  EXPECT_TRUE(f.selector->Left == x && f.selector->Top == y && f.selector->Visible());
  const int32_t picked = f.MapColor(x, y);
  EXPECT_EQ(f.lblCurrColor->BackColor, picked);
  EXPECT_EQ(f.Strip().front(), picked);  // repainted for the new colour
  EXPECT_EQ(f.txtHex->Text(), frmMain::ColourToHex(picked));
  EXPECT_EQ(f.txtRed->Text(), std::to_string(ColorConverter::Red(picked)));
  EXPECT_EQ(f.txtHue->Text(), std::to_string(ColorConverter::hue(ColorConverter::RGBToHSB(picked))));

  // The strip sets the colour and the boxes but is not repainted itself.
  const auto strip = f.Strip();
  f.picBrightness->UserClick(0, frmMain::kStripHeight / 2);
  EXPECT_EQ(f.lblCurrColor->BackColor, strip[frmMain::kStripHeight / 2]);
  EXPECT_EQ(f.Strip(), strip);
  EXPECT_EQ(f.txtHex->Text(), frmMain::ColourToHex(strip[frmMain::kStripHeight / 2]));
  EXPECT_EQ(f.selector->Left, x);
}

TEST_F(Dialog, OkTakesTheColourAndCancelLeavesTheCallAlone) {
  Type(f.txtHex, "102030");
  f.cmdCancel->UserClick();
  EXPECT_FALSE(f.Loaded());
  EXPECT_EQ(call.resultColour, 77);

  frmMain again(call);
  Type(again.txtHex, "102030");
  again.cmdOK->UserClick();
  EXPECT_FALSE(again.Loaded());
  EXPECT_EQ(call.resultColour, ColorConverter::RGBToLong(0x10, 0x20, 0x30));
  EXPECT_EQ(again.Color(), call.resultColour);
}

TEST(ColourHex, BytesComeOutAsRrggbb) {
  EXPECT_EQ(frmMain::ColourToHex(kOrange) + frmMain::ColourToHex(16) + frmMain::ColourToHex(0), "FF8000100000000000");
  EXPECT_EQ(frmMain::HexToColour("#0a0B0c"), ColorConverter::RGBToLong(10, 11, 12));
  EXPECT_EQ(frmMain::HexToColour(""), 0);
  EXPECT_EQ(frmMain::HexToColour("zz80"), ColorConverter::RGBToLong(0, 128, 0));
}
