#include "colour/frmMain.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "base/Text.h"
#include "colour/ColorConverter.h"

namespace kmd {

frmMain::frmMain(PickerCall& call) : m_Call(call) {
  pc = m_Controls.Add<view::PictureBox>("pc");
  pc->ScaleWidth = kMapSize;
  pc->ScaleHeight = kMapSize;
  selector = m_Controls.Add<SelectorShape>("selector");
  selector->SetVisible(false);
  picBrightness = m_Controls.Add<view::PictureBox>("picBrightness");
  picBrightness->ScaleWidth = 1;
  picBrightness->ScaleHeight = kStripHeight;
  lblCurrColor = m_Controls.Add<view::Label>("lblCurrColor");
  txtHue = AddBox("txtHue");
  txtSat = AddBox("txtSat");
  txtBri = AddBox("txtBri");
  txtRed = AddBox("txtRed");
  txtGreen = AddBox("txtGreen");
  txtBlue = AddBox("txtBlue");
  txtHex = AddBox("txtHex");
  cmdOK = m_Controls.Add<view::Button>("cmdOK", -1, "确定");
  cmdCancel = m_Controls.Add<view::Button>("cmdCancel", -1, "取消");

  pc->MouseDown = [this](int x, int y) { pc_MouseDown(x, y); };
  picBrightness->MouseDown = [this](int x, int y) { picBrightness_MouseDown(x, y); };
  auto hsbKey = [this](view::TextBox* box, int32_t limit) {
    box->KeyUp = [this, box, limit] {
      CheckLimit(*box, limit);
      FromHSB();
    };
  };
  // The hue box takes 360; the converter holds it at 359.
  hsbKey(txtHue, 360);
  hsbKey(txtSat, 100);
  hsbKey(txtBri, 100);
  for (auto* box : {txtRed, txtGreen, txtBlue}) {
    box->KeyUp = [this, box] {
      CheckLimit(*box, 255);
      FromRGB();
    };
  }
  txtHex->KeyUp = [this] { FromHex(); };
  txtHex->LostFocus = [this] {
    std::string t = txtHex->Text();
    while (text::Len(t) < 6) t = "0" + t;
    txtHex->SetText(t);
  };
  cmdOK->Click = [this] { cmdOK_Click(); };
  cmdCancel->Click = [this] { cmdCancel_Click(); };

  // Form_Load.
  selector->Left = 0;
  selector->Top = 0;
  PaintMap();
  m_Caption = m_Call.title;
  lblCurrColor->BackColor = m_Call.startColour;
  PaintBrightness();
}

view::TextBox* frmMain::AddBox(const std::string& name) {
  auto* box = m_Controls.Add<view::TextBox>(name);
  box->GotFocus = [box] {
    box->SelStart = 0;
    box->SelLength = static_cast<int>(text::Len(box->Text()));
  };
  return box;
}

void frmMain::PaintMap() {
  m_Map.assign(static_cast<size_t>(kMapSize) * kMapSize, 0);
  for (int y = 0; y < kMapSize; ++y) {
    const int32_t sat = 100 - y * 100 / (kMapSize - 1);
    for (int x = 0; x < kMapSize; ++x) {
      const int32_t h = x * 360 / kMapSize;
      m_Map[static_cast<size_t>(y) * kMapSize + static_cast<size_t>(x)] =
          ColorConverter::HSBToRGB(ColorConverter::HSBToLong(h, sat, 100));
    }
  }
}

void frmMain::PaintBrightness() {
  const int32_t hsb = ColorConverter::RGBToHSB(lblCurrColor->BackColor);
  const int32_t h = ColorConverter::hue(hsb), s = ColorConverter::Saturation(hsb);
  const int lines = picBrightness->ScaleHeight;
  m_Strip.assign(static_cast<size_t>(lines), 0);
  for (int y = 0; y < lines; ++y) {
    const int32_t bri = lines > 1 ? 100 - y * 100 / (lines - 1) : 100;
    m_Strip[static_cast<size_t>(y)] = ColorConverter::HSBToRGB(ColorConverter::HSBToLong(h, s, bri));
  }
}

void frmMain::pc_MouseDown(int x, int y) {
  if (x < 0 || y < 0 || x >= kMapSize || y >= kMapSize) return;
  selector->Left = x;
  selector->Top = y;
  selector->SetVisible(true);
  lblCurrColor->BackColor = MapColor(x, y);
  PaintBrightness();
  ShowAll();
}

void frmMain::picBrightness_MouseDown(int, int y) {
  if (y < 0 || y >= static_cast<int>(m_Strip.size())) return;
  lblCurrColor->BackColor = m_Strip[static_cast<size_t>(y)];
  ShowAll();
}

void frmMain::CheckLimit(view::TextBox& box, int32_t limit) {
  if (text::IsNumeric(box.Text()) && text::Val(box.Text()) > limit) box.SetText(std::to_string(limit));
}

int32_t frmMain::Number(const view::TextBox& box) {
  const double v = text::RoundHalfEven(text::Val(box.Text()));
  return static_cast<int32_t>(std::clamp<double>(v, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

void frmMain::ShowRGB(int32_t rgb) {
  txtRed->SetText(std::to_string(ColorConverter::Red(rgb)));
  txtGreen->SetText(std::to_string(ColorConverter::Green(rgb)));
  txtBlue->SetText(std::to_string(ColorConverter::Blue(rgb)));
}

void frmMain::ShowHSB(int32_t rgb) {
  const int32_t hsb = ColorConverter::RGBToHSB(rgb);
  txtHue->SetText(std::to_string(ColorConverter::hue(hsb)));
  txtSat->SetText(std::to_string(ColorConverter::Saturation(hsb)));
  txtBri->SetText(std::to_string(ColorConverter::brightness(hsb)));
}

void frmMain::ShowAll() {
  const int32_t rgb = lblCurrColor->BackColor;
  ShowHSB(rgb);
  ShowRGB(rgb);
  txtHex->SetText(ColourToHex(rgb));
}

void frmMain::FromHSB() {
  const int32_t rgb =
      ColorConverter::HSBToRGB(ColorConverter::HSBToLong(Number(*txtHue), Number(*txtSat), Number(*txtBri)));
  lblCurrColor->BackColor = rgb;
  ShowRGB(rgb);
  txtHex->SetText(ColourToHex(rgb));
}

void frmMain::FromRGB() {
  const int32_t rgb = ColorConverter::RGBToLong(Number(*txtRed), Number(*txtGreen), Number(*txtBlue));
  lblCurrColor->BackColor = rgb;
  ShowHSB(rgb);
  txtHex->SetText(ColourToHex(rgb));
}

void frmMain::FromHex() {
  const int32_t rgb = HexToColour(txtHex->Text());
  lblCurrColor->BackColor = rgb;
  ShowHSB(rgb);
  ShowRGB(rgb);
}

std::string frmMain::ColourToHex(int32_t rgb) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%X", static_cast<unsigned>(rgb));
  std::string h = buf;
  while (h.size() < 6) h = "0" + h;
  return h.substr(4, 2) + h.substr(2, 2) + h.substr(0, 2);
}

int32_t frmMain::HexToColour(const std::string& hex) {
  std::string t = hex;
  if (size_t at = text::InStr(t, "#"); at > 0) t = text::Mid(t, at + 1);
  auto pair = [&](size_t start) { return static_cast<int32_t>(text::Val("&H" + text::Mid(t, start, 2))); };
  return ColorConverter::RGBToLong(pair(1), pair(3), pair(5));
}

void frmMain::cmdOK_Click() {
  m_Color = lblCurrColor->BackColor;
  m_Call.resultColour = m_Color;
  m_Loaded = false;
}

void frmMain::cmdCancel_Click() { m_Loaded = false; }

}  // namespace kmd
