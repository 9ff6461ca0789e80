#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/Value.h"
#include "view/Control.h"

namespace kmd {

// The size of what a splitter bar lies on (a form): outer Width and Height, inner ScaleWidth and
// ScaleHeight, in twips.
struct Surface {
  int Width = 0;
  int Height = 0;
  int ScaleWidth = 0;
  int ScaleHeight = 0;
};

// Named values in the order they were written.
using PropertyBag = std::vector<std::pair<std::string, Value>>;

// The thin vertical bar between two controls of a form, in practice the tree and the detail
// frame. Dragging it moves the bar, lays the two controls out beside it and tells the form through
// Moving; either side can be hidden. The two controls are found by name in the bar's own control
// collection; the control declared just before the bar in that collection bounds a drag to the
// right. Units are the surface's (twips).
class Splitter : public view::Control {
 public:
  explicit Splitter(std::string name = "Sp", int index = -1);

  int16_t MinLeft = 600;   // least Left of the bar
  int16_t MinRight = 600;  // least room kept right of the bar
  int32_t BackColor = static_cast<int32_t>(0x8000000Fu);

  // Raised at every layout, with true while the bar is dragged, and the offset of the mouse move
  // in progress (0 outside a drag).
  std::function<void(bool bIsMoved, int32_t iOffset)> Moving;
  // Raised when the button comes up after a drag.
  std::function<void(bool bIsMoved, int32_t iOffset)> MoveUpIng;
  // The property-changed notice, with the property's name.
  std::function<void(const std::string&)> PropertyChanged;

  // Requires: the surface outlives the bar (or is unset first).
  void SetParent(const Surface* parent) { m_Parent = parent; }

  int16_t SplitterWidth() const { return m_SplitterWidth; }
  void SetSplitterWidth(int16_t width);
  const std::string& ControlName1() const { return m_ControlName1; }
  const std::string& ControlName2() const { return m_ControlName2; }
  // Stores the name and looks the control up; a name that matches nothing leaves it unresolved.
  void SetControlName1(const std::string& name);
  void SetControlName2(const std::string& name);
  view::Control* Control1() const { return m_Control1; }
  view::Control* Control2() const { return m_Control2; }
  bool ControlVisible1() const { return m_ControlVisible1; }
  bool ControlVisible2() const { return m_ControlVisible2; }
  // Shows or hides a side; a side shown again brings the bar back to where it was last moved.
  void SetControlVisible1(bool visible);
  void SetControlVisible2(bool visible);

  // New layout after the surface changed size: the bar keeps its proportion within the limits.
  // Throws RuntimeError while no surface width was recorded yet (division by zero).
  void Resize();

  // The user's mouse on the bar: x from the bar's left edge, button 1 the left one. A move of less
  // than 80 twips does nothing.
  void UserMouseDown(int button, float x);
  void UserMouseMove(int button, float x);
  void UserMouseUp(int button, float x);

  // The designer's stored properties: ControlName1, ControlName2, SplitterWidth, ControlVisible1,
  // ControlVisible2, in that order. Reading applies each that is present.
  void WriteProperties(PropertyBag& bag) const;
  void ReadProperties(const PropertyBag& bag);

  bool IsMoving() const { return m_IsMoving; }
  bool FirstLayout() const { return m_FirstLayout; }
  int16_t SavedLeft() const { return m_SavedLeft; }

 protected:
  // The bar itself was resized: its width is held, the surface's size and the height delta taken.
  void Resized() override;

 private:
  void Layout(int32_t offset);
  void ResolveControls();
  view::Control* FindControl(const std::string& name) const;
  view::Control* ControlBefore() const;
  void SetControlVisible(bool first, bool visible);

  const Surface* m_Parent = nullptr;
  int16_t m_SplitterWidth = 75;
  bool m_FirstLayout = true;
  int16_t m_LastParentWidth = 0;
  int16_t m_LastParentHeight = 0;
  int16_t m_HeightDelta = 0;
  int16_t m_SavedLeft = 0;
  int32_t m_LastOffset = 0;
  view::Control* m_Control1 = nullptr;
  view::Control* m_Control2 = nullptr;
  std::string m_ControlName1;
  std::string m_ControlName2;
  bool m_ControlVisible1 = true;
  bool m_ControlVisible2 = true;
  bool m_IsMoving = false;
  bool m_Busy = false;  // inside a layout or resize: a size change of the bar lays out nothing
};

}  // namespace kmd
