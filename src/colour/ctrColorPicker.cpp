#include "colour/ctrColorPicker.h"

namespace kmd {

ctrColorPicker::ctrColorPicker(std::string name, view::Platform& platform)
    : Control("ctrColorPicker", std::move(name), -1), m_Platform(platform) {
  SetVisible(false);
}

int32_t ctrColorPicker::ShowColor(const std::string& title, int32_t colour) {
  m_Call.title = title;
  m_Call.startColour = colour;
  int32_t chosen = colour;
  if (m_Platform.ChooseColor(m_Call.title, chosen)) m_Call.resultColour = chosen;
  m_ReturnValue = m_Call.resultColour;
  return m_ReturnValue;
}

}  // namespace kmd
