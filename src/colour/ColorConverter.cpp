#include "colour/ColorConverter.h"

#include <algorithm>
#include <cmath>

#include "base/Text.h"

namespace kmd {

namespace {

// Whole number of a value whose range the caller knows to fit: halves to even.
int32_t Whole(double v) { return static_cast<int32_t>(text::RoundHalfEven(v)); }

uint32_t Bits(int32_t v) { return static_cast<uint32_t>(v); }

}  // namespace

int32_t ColorConverter::Constrain(int32_t& value, int32_t low, int32_t high) {
  if (value < low) value = low;
  if (value > high) value = high;
  return value;
}

std::string ColorConverter::RGBAsString(int32_t rgb) {
  int32_t r, g, b;
  SplitRGB(rgb, r, g, b);
  return std::to_string(r) + ", " + std::to_string(g) + ", " + std::to_string(b);
}

std::string ColorConverter::HSBAsString(int32_t hsb) {
  int32_t h, s, b;
  SplitHSB(hsb, h, s, b);
  return std::to_string(h) + ", " + std::to_string(s) + ", " + std::to_string(b);
}

int32_t ColorConverter::RGBToLong(int32_t r, int32_t g, int32_t b) {
  Constrain(r, 0, 255);
  Constrain(g, 0, 255);
  Constrain(b, 0, 255);
  return r + g * 256 + b * 65536;
}

int32_t ColorConverter::HSBToLong(int32_t h, int32_t s, int32_t b) {
  Constrain(h, 0, 359);
  Constrain(s, 0, 100);
  Constrain(b, 0, 100);
  return h * 65536 + s * 256 + b;
}

int32_t ColorConverter::Red(int32_t rgb) { return static_cast<int32_t>(Bits(rgb) & 0xFFu); }
int32_t ColorConverter::Green(int32_t rgb) { return static_cast<int32_t>((Bits(rgb) & 0xFF00u) >> 8); }
int32_t ColorConverter::Blue(int32_t rgb) { return static_cast<int32_t>((Bits(rgb) & 0xFF0000u) >> 16); }

// A plain division taken to a whole number, as the other roundings: with a saturation and a
// brightness in range the fraction stays under one half, so this is the high part.
int32_t ColorConverter::hue(int32_t hsb) {
  int32_t h = Whole(hsb / 65536.0);
  return Constrain(h, 0, 359);
}

int32_t ColorConverter::Saturation(int32_t hsb) {
  int32_t s = static_cast<int32_t>((Bits(hsb) & 0xFF00u) >> 8);
  return Constrain(s, 0, 100);
}

int32_t ColorConverter::brightness(int32_t hsb) {
  int32_t b = static_cast<int32_t>(Bits(hsb) & 0xFFu);
  return Constrain(b, 0, 100);
}

void ColorConverter::SplitRGB(int32_t rgb, int32_t& r, int32_t& g, int32_t& b) {
  r = Red(rgb);
  g = Green(rgb);
  b = Blue(rgb);
}

void ColorConverter::SplitHSB(int32_t hsb, int32_t& h, int32_t& s, int32_t& b) {
  h = hue(hsb);
  s = Saturation(hsb);
  b = brightness(hsb);
}

int32_t ColorConverter::HSBToRGB(int32_t hsb) {
  int32_t h, s, b;
  SplitHSB(hsb, h, s, b);
  if (s < 1) {
    int32_t grey = Whole(b * 255 / 100.0);
    return RGBToLong(grey, grey, grey);
  }
  // Every step below is a single-precision value, rounded to float where it is made.
  const float hh = static_cast<float>(h / 60.0);
  const float v = static_cast<float>(b / 100.0);
  const float sat = static_cast<float>(s / 100.0);
  const int i = static_cast<int>(std::floor(hh));
  const float f = hh - static_cast<float>(i);
  const float p = (1.0f - sat) * v;
  const float q = (1.0f - sat * f) * v;
  const float t = (1.0f - (1.0f - f) * sat) * v;
  float red, green, blue;
  switch (i) {
    case 0: red = v, green = t, blue = p; break;
    case 1: red = q, green = v, blue = p; break;
    case 2: red = p, green = v, blue = t; break;
    case 3: red = p, green = q, blue = v; break;
    case 4: red = t, green = p, blue = v; break;
    default: red = v, green = p, blue = q; break;  // 5: h is at most 359
  }
  auto part = [](float x) {
    const float scaled = x * 255.0f;
    return Whole(scaled);
  };
  return RGBToLong(part(red), part(green), part(blue));
}

int32_t ColorConverter::RGBToHSB(int32_t rgb) {
  int32_t r, g, b;
  SplitRGB(rgb, r, g, b);
  const int32_t max = std::max({r, g, b});
  const int32_t min = std::min({r, g, b});
  const int32_t delta = max - min;
  const int32_t bri = Whole(max * 100 / 255.0);
  int32_t h = 0, s = 0;
  if (max > 0) {
    s = Whole(static_cast<double>(delta) / max * 100);
    if (delta >= 1) {
      // Red's formula wins a tie with green, green's a tie with blue.
      float x;
      if (max == r) x = static_cast<float>(static_cast<double>(g - b) / delta);
      else if (max == g) x = static_cast<float>(static_cast<double>(b - r) / delta + 2);
      else x = static_cast<float>(static_cast<double>(r - g) / delta + 4);
      const float degrees = x * 60.0f;
      h = Whole(degrees);
      if (h < 0) h += 360;
    }
  }
  return HSBToLong(h, s, bri);
}

}  // namespace kmd
