#pragma once
#include <cstdint>
#include <string>

namespace kmd {

// Arithmetic between colours as numbers, as red, green and blue parts and as hue, saturation and
// brightness. No state.
//
//   RGB long: red + green * 256 + blue * 65536 (the platform's colour number), parts 0 to 255.
//   HSB long: hue * 65536 + saturation * 256 + brightness; hue 0 to 359, the others 0 to 100.
//
// Whole numbers are rounded to the nearest, halves to even. The conversions keep the
// intermediates that are single precision in float, because the results depend on it.
// System colours (negative RGB longs) are split by bit masks like any other value.
class ColorConverter {
 public:
  static std::string RGBAsString(int32_t rgb);  // "r, g, b"
  static std::string HSBAsString(int32_t hsb);  // "h, s, b"

  // Each part is first constrained to its range.
  static int32_t RGBToLong(int32_t r, int32_t g, int32_t b);
  static int32_t HSBToLong(int32_t h, int32_t s, int32_t b);

  static int32_t Red(int32_t rgb);    // bits 0 to 7
  static int32_t Green(int32_t rgb);  // bits 8 to 15
  static int32_t Blue(int32_t rgb);   // bits 16 to 23
  static int32_t hue(int32_t hsb);         // hsb / 65536 rounded, constrained to 0..359
  static int32_t Saturation(int32_t hsb);  // bits 8 to 15, constrained to 0..100
  static int32_t brightness(int32_t hsb);  // bits 0 to 7, constrained to 0..100

  // The parts unconstrained.
  static void SplitRGB(int32_t rgb, int32_t& r, int32_t& g, int32_t& b);
  // The parts constrained as hue, Saturation and brightness do.
  static void SplitHSB(int32_t hsb, int32_t& h, int32_t& s, int32_t& b);

  static int32_t HSBToRGB(int32_t hsb);
  static int32_t RGBToHSB(int32_t rgb);

 private:
  // Raises a value under `low` to `low`, then lowers one over `high` to `high`; in place, and
  // gives the value back.
  static int32_t Constrain(int32_t& value, int32_t low, int32_t high);
};

}  // namespace kmd
