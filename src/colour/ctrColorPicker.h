#pragma once
#include <cstdint>
#include <string>

#include "colour/frmMain.h"
#include "view/Platform.h"

namespace kmd {

// The invisible picker control of a form: opens the colour dialog through the host's Platform and
// keeps the colour chosen last.
class ctrColorPicker : public view::Control {
 public:
  ctrColorPicker(std::string name, view::Platform& platform);

  // Opens the dialog titled `title` on `colour`; gives ReturnValue, which Cancel leaves at the
  // colour chosen before (0 when none was).
  int32_t ShowColor(const std::string& title, int32_t colour);
  int32_t ReturnValue() const { return m_ReturnValue; }
  std::string ShownText() const override { return "ColorPicker"; }

 private:
  view::Platform& m_Platform;
  PickerCall m_Call;
  int32_t m_ReturnValue = 0;
};

}  // namespace kmd
