#include "view/Picture.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "base/RuntimeError.h"

namespace kmd::view {

namespace {

using Bytes = std::vector<unsigned char>;

uint32_t Le(const Bytes& b, size_t at, int n) {
  uint32_t v = 0;
  for (int i = n - 1; i >= 0; --i) v = (v << 8) | b[at + static_cast<size_t>(i)];
  return v;
}

uint32_t Be(const Bytes& b, size_t at, int n) {
  uint32_t v = 0;
  for (int i = 0; i < n; ++i) v = (v << 8) | b[at + static_cast<size_t>(i)];
  return v;
}

bool StartsWith(const Bytes& b, const char* sig, size_t n) {
  return b.size() >= n && std::memcmp(b.data(), sig, n) == 0;
}

struct Size {
  const char* format = nullptr;
  int64_t width = 0;
  int64_t height = 0;
};

Size BmpSize(const Bytes& b) {
  if (b.size() < 26) return {};
  // An old OS/2 header holds 16-bit sizes; every later one 32-bit, the height negative when the
  // rows run top down.
  if (Le(b, 14, 4) == 12) return {"bmp", Le(b, 18, 2), Le(b, 20, 2)};
  return {"bmp", static_cast<int32_t>(Le(b, 18, 4)), std::llabs(static_cast<int32_t>(Le(b, 22, 4)))};
}

Size JpegSize(const Bytes& b) {
  size_t p = 2;
  while (p + 4 <= b.size()) {
    if (b[p] != 0xFF) return {};
    unsigned char marker = b[p + 1];
    if (marker == 0xFF) {  // fill byte
      ++p;
      continue;
    }
    if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) {  // markers without a length
      p += 2;
      continue;
    }
    if (marker == 0xD9 || marker == 0xDA) return {};  // the image ends or its data begin: no frame
    size_t length = Be(b, p + 2, 2);
    bool frame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (frame) {
      if (p + 9 > b.size()) return {};
      return {"jpeg", Be(b, p + 7, 2), Be(b, p + 5, 2)};
    }
    if (length < 2) return {};
    p += 2 + length;
  }
  return {};
}

Size WmfSize(const Bytes& b) {
  if (b.size() < 22) return {};
  auto s16 = [&](size_t at) { return static_cast<int16_t>(Le(b, at, 2)); };
  int64_t inch = Le(b, 14, 2);
  if (inch == 0) return {};
  auto pixels = [&](int64_t units) { return static_cast<int64_t>(std::llround(std::llabs(units) * 96.0 / inch)); };
  return {"wmf", pixels(s16(10) - s16(6)), pixels(s16(12) - s16(8))};
}

Size SizeOf(const Bytes& b) {
  if (StartsWith(b, "BM", 2)) return BmpSize(b);
  if (StartsWith(b, "GIF87a", 6) || StartsWith(b, "GIF89a", 6))
    return b.size() >= 10 ? Size{"gif", Le(b, 6, 2), Le(b, 8, 2)} : Size{};
  if (StartsWith(b, "\x89PNG\r\n\x1a\n", 8))
    return b.size() >= 24 && std::memcmp(b.data() + 12, "IHDR", 4) == 0 ? Size{"png", Be(b, 16, 4), Be(b, 20, 4)}
                                                                          : Size{};
  if (StartsWith(b, "\xFF\xD8", 2)) return JpegSize(b);
  if (StartsWith(b, "\xD7\xCD\xC6\x9A", 4)) return WmfSize(b);
  return {};
}

}  // namespace

Picture PictureFromBytes(std::vector<unsigned char> bytes) {
  Size s = SizeOf(bytes);
  if (!s.format || s.width <= 0 || s.height <= 0 || s.width > INT32_MAX || s.height > INT32_MAX)
    throw RuntimeError(481, "", "Invalid picture");
  Picture p;
  p.Format = s.format;
  p.Width = static_cast<int>(s.width);
  p.Height = static_cast<int>(s.height);
  p.Bytes = std::make_shared<const Bytes>(std::move(bytes));
  return p;
}

Picture LoadPicture(const std::string& path) {
  if (path.empty()) return {};
  std::ifstream in(path, std::ios::binary);
  if (!in) throw RuntimeError(53, "", "File not found");
  Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return PictureFromBytes(std::move(bytes));
}

Placement FitPicture(int pictureWidth, int pictureHeight, int boxWidth, int boxHeight) {
  Placement p;
  if (pictureWidth <= 0 || pictureHeight <= 0 || boxWidth <= 0 || boxHeight <= 0) return p;
  double ratio = static_cast<double>(pictureHeight) / pictureWidth;
  auto round = [](double v) { return static_cast<int>(std::nearbyint(v)); };
  if (ratio < static_cast<double>(boxHeight) / boxWidth) {
    p.Width = boxWidth;
    p.Height = round(boxWidth * ratio);
    p.Top = round((boxHeight - p.Height) / 2.0);
  } else {
    p.Height = boxHeight;
    p.Width = round(boxHeight / ratio);
    p.Left = round((boxWidth - p.Width) / 2.0);
  }
  return p;
}

}  // namespace kmd::view
