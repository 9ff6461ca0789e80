#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "view/Widgets.h"

namespace kmd {

// What one call of the picker carries between the control and its dialog: the title, the start
// colour, and the colour chosen last (left as it is by Cancel).
struct PickerCall {
  std::string title;
  int32_t startColour = 0;
  int32_t resultColour = 0;
};

// The mark of the picked point on the map.
class SelectorShape : public view::Control {
 public:
  explicit SelectorShape(std::string name) : Control("Shape", std::move(name), -1) {}
  int Left = 0;
  int Top = 0;
};

// The colour picker dialog as a view: a hue and saturation map and a brightness strip as grids of
// colour numbers that a host draws, the current colour in lblCurrColor.BackColor, and seven boxes
// (hue, saturation, brightness, red, green, blue, hex RRGGBB) kept in step with it.
//
// The map is kMapSize x kMapSize cells: hue grows from left (0) to right, saturation falls from
// the top (100) to the bottom (0), brightness is full. The strip has kStripHeight lines from full
// brightness at the top to black at the bottom, in the hue and saturation of the colour it was
// painted for. Clicks on pc and picBrightness carry the cell or line under the mouse.
//
// A dialog is made for one call (the constructor is the load) and is finished by cmdOK, which
// writes the current colour to the call, or by cmdCancel.
class frmMain {
 public:
  static constexpr int kMapSize = 198;
  static constexpr int kStripHeight = 198;

  explicit frmMain(PickerCall& call);
  frmMain(const frmMain&) = delete;
  frmMain& operator=(const frmMain&) = delete;

  view::Controls& Controls() { return m_Controls; }
  const std::string& Caption() const { return m_Caption; }
  // False once OK or Cancel has closed the dialog.
  bool Loaded() const { return m_Loaded; }
  // The colour taken by OK (the form's own field); 0 before.
  int32_t Color() const { return m_Color; }

  // Requires: 0 <= x, y < kMapSize.
  int32_t MapColor(int x, int y) const { return m_Map[static_cast<size_t>(y) * kMapSize + static_cast<size_t>(x)]; }
  // One colour per line of picBrightness, top first.
  const std::vector<int32_t>& Strip() const { return m_Strip; }

  // RRGGBB of a colour number (BBGGRR in its bytes).
  static std::string ColourToHex(int32_t rgb);
  // The colour of a text RRGGBB; anything up to the first "#" is cut off, and a pair that is no
  // hexadecimal number reads 0.
  static int32_t HexToColour(const std::string& text);

  view::PictureBox* pc;
  SelectorShape* selector;
  view::PictureBox* picBrightness;
  view::Label* lblCurrColor;
  view::TextBox* txtHue;
  view::TextBox* txtSat;
  view::TextBox* txtBri;
  view::TextBox* txtRed;
  view::TextBox* txtGreen;
  view::TextBox* txtBlue;
  view::TextBox* txtHex;
  view::Button* cmdOK;
  view::Button* cmdCancel;

 private:
  view::TextBox* AddBox(const std::string& name);
  void PaintMap();
  void PaintBrightness();
  void pc_MouseDown(int x, int y);
  void picBrightness_MouseDown(int x, int y);
  // A numeric text above `limit` becomes the limit; any other text stays.
  static void CheckLimit(view::TextBox& box, int32_t limit);
  static int32_t Number(const view::TextBox& box);
  // The four routines that keep the boxes in step with the current colour.
  void ShowAll();
  void FromHSB();
  void FromRGB();
  void FromHex();
  void ShowRGB(int32_t rgb);
  void ShowHSB(int32_t rgb);
  void cmdOK_Click();
  void cmdCancel_Click();

  PickerCall& m_Call;
  view::Controls m_Controls;
  std::string m_Caption = "颜色拾取器";
  bool m_Loaded = true;
  int32_t m_Color = 0;
  std::vector<int32_t> m_Map;
  std::vector<int32_t> m_Strip;
};

}  // namespace kmd
