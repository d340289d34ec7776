// The widget of the layers below the interface tree: what the dispatcher asks
// of each registered object. Every operation has a harmless default.
#pragma once
#include <string>

namespace comms {

class cWidget {
 public:
  virtual ~cWidget() = default;
  virtual bool OnKeyDown(int /*key*/) { return false; }
  virtual bool OnKeyUp(int /*key*/) { return false; }
  virtual bool OnMouseMove() { return false; }
  virtual bool OnChar(int /*code*/, bool /*isKey*/) { return false; }
  virtual void OnRender() {}
  // True asks the layers to delete this widget.
  virtual bool IsFinished() { return false; }
  // True if the pointer is over this widget; alreadyTaken says a widget in
  // front has it.
  virtual bool OnHover(bool /*alreadyTaken*/) { return false; }
  // True if it sets the cursor (an index of the system cursors).
  virtual bool GetCursor(int& /*outId*/) { return false; }
  virtual bool GetHint(std::string& /*outText*/, float& /*outX*/, float& /*outY*/) { return false; }
  virtual void Reserved() {}
};

}  // namespace comms
