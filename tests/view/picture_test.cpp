// The picture header reader, the fitting rule and the Image control's picture.
#include <gtest/gtest.h>

#include <string>

#include "base/RuntimeError.h"
#include "view/Picture.h"
#include "view/Widgets.h"

namespace kmd::view {
namespace {

std::vector<unsigned char> B(const std::string& s) { return {s.begin(), s.end()}; }

std::string Le32(uint32_t v) {
  return std::string{static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
                     static_cast<char>(v >> 24)};
}
std::string Le16(uint16_t v) { return std::string{static_cast<char>(v), static_cast<char>(v >> 8)}; }
std::string Be16(uint16_t v) { return std::string{static_cast<char>(v >> 8), static_cast<char>(v)}; }

std::string Size(const Picture& p) { return p.Format + " " + std::to_string(p.Width) + "x" + std::to_string(p.Height); }

int ErrorNumber(const std::string& bytes) {
  try {
    PictureFromBytes(B(bytes));
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.Description(), "Invalid picture");
    return e.Number();
  }
  return 0;
}

TEST(PictureHeader, ReadsTheSizeOfEachFormat) {
  std::string bmp = "BM" + Le32(0) + Le32(0) + Le32(54) + Le32(40) + Le32(640) + Le32(static_cast<uint32_t>(-480));
  EXPECT_EQ(Size(PictureFromBytes(B(bmp))), "bmp 640x480");  // rows top down: a negative height
  std::string core = "BM" + Le32(0) + Le32(0) + Le32(26) + Le32(12) + Le16(32) + Le16(16) + Le16(1) + Le16(24);
  EXPECT_EQ(Size(PictureFromBytes(B(core))), "bmp 32x16");
  EXPECT_EQ(Size(PictureFromBytes(B("GIF89a" + Le16(300) + Le16(200) + "rest"))), "gif 300x200");
  std::string png = std::string("\x89PNG\r\n\x1a\n", 8) + Le32(0x0d000000) + "IHDR" + std::string("\0\0\x01\x2c", 4) +
                    std::string("\0\0\0\xc8", 4);
  EXPECT_EQ(Size(PictureFromBytes(B(png))), "png 300x200");
  // A JPEG: an APP0 segment and a fill byte before the frame header (height, then width).
  std::string jpeg = std::string("\xFF\xD8\xFF\xE0") + Be16(6) + "JFIF" + "\xFF\xFF\xC2" + Be16(11) + "\x08" + Be16(120) + Be16(160) +
                     "\x03";
  EXPECT_EQ(Size(PictureFromBytes(B(jpeg))), "jpeg 160x120");
  // A placeable metafile 2 by 1 inches at 1440 units an inch is 192 by 96 pixels.
  std::string wmf = "\xD7\xCD\xC6\x9A" + Le16(0) + Le16(100) + Le16(50) + Le16(100 + 2880) + Le16(50 + 1440) +
                    Le16(1440) + Le32(0) + Le16(0);
  Picture p = PictureFromBytes(B(wmf));
  EXPECT_EQ(Size(p), "wmf 192x96");
  EXPECT_EQ(p.Bytes->size(), wmf.size());  // the bytes stay as the file holds them
}

TEST(PictureHeader, AnythingElseIsNoPicture) {
  EXPECT_EQ(ErrorNumber("a drawing in another format"), 481);
  EXPECT_EQ(ErrorNumber(""), 481);
  EXPECT_EQ(ErrorNumber(std::string("\x89PNG\r\n\x1a\n", 8) + "short"), 481);
  EXPECT_EQ(ErrorNumber("GIF89a" + Le16(0) + Le16(10)), 481);  // no width
  // A JPEG whose image data begin before any frame header.
  EXPECT_EQ(ErrorNumber(std::string("\xFF\xD8\xFF\xDA", 4) + Be16(4) + "xx"), 481);
  EXPECT_EQ(ErrorNumber("\xD7\xCD\xC6\x9A" + std::string(18, '\0')), 481);  // a metafile of no inch
  EXPECT_TRUE(LoadPicture("").IsEmpty());
}

TEST(FitPicture, AWidePictureTakesTheWidthAndATallOneTheHeight) {
  // The box is 4800 x 3600 (3:4); a 4:1 picture fills the width and sits in the middle.
  Placement wide = FitPicture(400, 100, 4800, 3600);
  EXPECT_EQ(wide.Left, 0);
  EXPECT_EQ(wide.Width, 4800);
  EXPECT_EQ(wide.Height, 1200);
  EXPECT_EQ(wide.Top, 1200);
  Placement tall = FitPicture(100, 400, 4800, 3600);
  EXPECT_EQ(tall.Top, 0);
  EXPECT_EQ(tall.Height, 3600);
  EXPECT_EQ(tall.Width, 900);
  EXPECT_EQ(tall.Left, 1950);
  // The box's own proportions fill it.
  Placement same = FitPicture(4, 3, 4800, 3600);
  EXPECT_EQ(same.Width, 4800);
  EXPECT_EQ(same.Height, 3600);
}

TEST(ImagePicture, WithoutStretchThePictureSizesTheImage) {
  Image img("imgCpml");
  img.SetWidth(4800);
  img.SetHeight(1200);
  std::string gif = "GIF87a" + Le16(40) + Le16(10);
  img.Stretch = true;
  img.SetPicture(PictureFromBytes(B(gif)));
  EXPECT_EQ(img.ShownText(), "gif 40x10 at 0,0 4800x1200");
  img.Stretch = false;
  img.SetPicture(PictureFromBytes(B(gif)));
  EXPECT_EQ(img.ShownText(), "gif 40x10 at 0,0 600x150");
  img.SetPicture({});
  EXPECT_EQ(img.ShownText(), "");
  EXPECT_EQ(img.Width(), 600);
}

}  // namespace
}  // namespace kmd::view
