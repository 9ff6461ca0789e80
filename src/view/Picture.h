#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kmd::view {

// A picture as an Image or a PictureBox holds it: the file's bytes, untouched, and what its
// header says: the format and the size in pixels. The empty picture has no format.
struct Picture {
  std::string Format;  // "bmp", "gif", "jpeg", "png", "wmf"; "" for the empty picture
  int Width = 0;       // pixels (a metafile: at 96 per inch)
  int Height = 0;
  std::shared_ptr<const std::vector<unsigned char>> Bytes;  // null for the empty picture
  bool IsEmpty() const { return Format.empty(); }
};

// Twips a pixel takes on the screen the forms are laid out for (96 per inch).
constexpr int kTwipsPerPixel = 15;

// Reads the header of a BMP, GIF, JPEG, PNG or placeable WMF file. Anything else, or a picture
// of no width or height, raises RuntimeError 481 "Invalid picture".
Picture PictureFromBytes(std::vector<unsigned char> bytes);

// The picture of a file (a native path); "" gives the empty picture. A missing file raises
// RuntimeError 53 "File not found", one that is no picture as PictureFromBytes.
Picture LoadPicture(const std::string& path);

// Where a picture of the given size goes in a box so that it fills it in one direction, keeping
// its proportions, and is centred in the other: a picture flatter than the box takes the box's
// width, any other its height. All in one unit (twips).
struct Placement {
  int Left = 0;
  int Top = 0;
  int Width = 0;
  int Height = 0;
};
Placement FitPicture(int pictureWidth, int pictureHeight, int boxWidth, int boxHeight);

}  // namespace kmd::view
