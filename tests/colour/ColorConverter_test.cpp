#include "colour/ColorConverter.h"

#include <gtest/gtest.h>

using kmd::ColorConverter;

namespace {

// "r, g, b" of the colour that HSBToRGB makes of h, s, b.
std::string RgbOf(int h, int s, int b) {
  return ColorConverter::RGBAsString(ColorConverter::HSBToRGB(ColorConverter::HSBToLong(h, s, b)));
}

std::string HsbOf(int r, int g, int b) {
  return ColorConverter::HSBAsString(ColorConverter::RGBToHSB(ColorConverter::RGBToLong(r, g, b)));
}

}  // namespace

TEST(ColorConverter, PackingConstrainsEachPartAndSplittingUsesTheBytes) {
  EXPECT_EQ(ColorConverter::RGBToLong(300, -5, 128), ColorConverter::RGBToLong(255, 0, 128));
  EXPECT_EQ(ColorConverter::RGBToLong(255, 0, 128), 255 + 128 * 65536);
  EXPECT_EQ(ColorConverter::HSBToLong(360, 101, -1), 359 * 65536 + 100 * 256 + 0);

  // A system colour splits by its bytes, not by division.
  const int32_t buttonFace = static_cast<int32_t>(0x8000000Fu);
  EXPECT_EQ(ColorConverter::RGBAsString(buttonFace), "15, 0, 0");
  EXPECT_EQ(ColorConverter::Blue(static_cast<int32_t>(0x80AB0000u)), 0xAB);

  // The HSB parts are held to their ranges when read.
  const int32_t wild = 400 * 65536 + 200 * 256 + 150;
  EXPECT_EQ(ColorConverter::HSBAsString(wild), "359, 100, 100");
  EXPECT_EQ(ColorConverter::hue(-65536 * 3), 0);
  int32_t h, s, b;
  ColorConverter::SplitHSB(wild, h, s, b);
  EXPECT_EQ(h, 359);
  EXPECT_EQ(s, 100);
  EXPECT_EQ(b, 100);
}

// Greys round half to even (127.5 -> 128); a tie of red and green takes red's formula, of green and
// blue green's; a hue of -0.24 rounds to 0, -1.18 to -1 and comes round to 359. The last four of
// each list land on the other side of a half in double precision: single precision decides them.
TEST(ColorConverter, ConversionsBothWays) {
  struct Case {
    int a, b, c;
    const char* want;
  };
  for (const Case& t : std::initializer_list<Case>{
           {0, 0, 100, "255, 255, 255"}, {200, 0, 50, "128, 128, 128"}, {0, 0, 0, "0, 0, 0"},
           {0, 100, 100, "255, 0, 0"}, {120, 100, 100, "0, 255, 0"}, {240, 100, 100, "0, 0, 255"},
           {0, 25, 40, "102, 76, 76"}, {0, 60, 25, "64, 25, 25"}, {0, 90, 100, "255, 26, 26"}, {2, 60, 75, "191, 80, 76"}})
    EXPECT_EQ(RgbOf(t.a, t.b, t.c), t.want) << t.a << " " << t.b << " " << t.c;
  for (const Case& t : std::initializer_list<Case>{
           {0, 0, 0, "0, 0, 0"}, {255, 0, 0, "0, 100, 100"}, {0, 255, 0, "120, 100, 100"}, {0, 0, 255, "240, 100, 100"},
           {255, 255, 0, "60, 100, 100"}, {0, 255, 255, "180, 100, 100"}, {255, 0, 1, "0, 100, 100"},
           {255, 0, 5, "359, 100, 100"}, {0, 24, 1, "123, 100, 9"}, {0, 40, 3, "124, 100, 16"}, {0, 120, 1, "121, 100, 47"}})
    EXPECT_EQ(HsbOf(t.a, t.b, t.c), t.want) << t.a << " " << t.b << " " << t.c;
  for (int grey : {1, 77, 128, 254, 255}) EXPECT_EQ(HsbOf(grey, grey, grey).substr(0, 6), "0, 0, ") << grey;
}

TEST(ColorConverter, SweepStaysInRangeBothWays) {
  for (int h = 0; h <= 360; h += 7)
    for (int s = 0; s <= 100; s += 3)
      for (int b = 0; b <= 100; b += 3) {
        const int32_t rgb = ColorConverter::HSBToRGB(ColorConverter::HSBToLong(h, s, b));
        ASSERT_GE(rgb, 0);
        ASSERT_LE(rgb, 0xFFFFFF) << h << " " << s << " " << b;
        // Back again: a whole-number round trip is close, not exact.
        const int32_t hsb = ColorConverter::RGBToHSB(rgb);
        ASSERT_LE(ColorConverter::hue(hsb), 359);
        ASSERT_LE(ColorConverter::Saturation(hsb), 100);
        ASSERT_NEAR(ColorConverter::brightness(hsb), b, 1) << h << " " << s << " " << b;
      }
  for (int r = 0; r < 256; r += 5)
    for (int g = 0; g < 256; g += 5)
      for (int b = 0; b < 256; b += 5) {
        const int32_t hsb = ColorConverter::RGBToHSB(ColorConverter::RGBToLong(r, g, b));
        ASSERT_EQ(hsb, ColorConverter::HSBToLong(ColorConverter::hue(hsb), ColorConverter::Saturation(hsb),
                                                 ColorConverter::brightness(hsb)))
            << r << " " << g << " " << b;
        const int32_t back = ColorConverter::HSBToRGB(hsb);
        ASSERT_NEAR(ColorConverter::Red(back), r, 3) << r << " " << g << " " << b;
        ASSERT_NEAR(ColorConverter::Green(back), g, 3) << r << " " << g << " " << b;
        ASSERT_NEAR(ColorConverter::Blue(back), b, 3) << r << " " << g << " " << b;
      }
}
