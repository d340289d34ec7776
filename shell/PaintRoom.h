// The paint room in the window: a mesh imported from the command line, a
// dropped file or Exchange/import.txt becomes the paint scene, the room opens
// with the camera on the mesh, and while the room is current the 3D view
// shows the composed scene (the voxel volume stays in its own room).
#pragma once
#include <memory>
#include <string>

#include "paint/scene/SceneDevice.h"
#include "paint/scene/SceneImport.h"

class PaintScene;
class ToolTable;
class ViewportSeams;
namespace comms {
class cRender;
class cFreeViewer;
}  // namespace comms

class PaintRoomLink {
 public:
  explicit PaintRoomLink(PaintScene& scene);
  ~PaintRoomLink();
  PaintRoomLink(const PaintRoomLink&) = delete;
  PaintRoomLink& operator=(const PaintRoomLink&) = delete;

  // Makes the device side of the scene on `render` (once).
  void UseRenderer(comms::cRender& render);
  // Imports the mesh; on success the paint room becomes current in `tools`
  // and `camera` frames the mesh. On failure the open scene stays as it was
  // and `why` says what went wrong in words for the user.
  bool Import(const std::string& path, PaintImportMode mode, ToolTable& tools, comms::cFreeViewer& camera,
              std::string* why);
  // Draws the scene when the paint room is current in `tools`; true when the
  // paint room is current (then the view belongs to it, even while empty).
  bool Draw(comms::cRender& render, comms::cFreeViewer& camera, ToolTable& tools);
  // The brush tools of `tools` paint this scene, picked through `camera`.
  void ConnectBrushTools(ToolTable& tools, const comms::cFreeViewer& camera);
  SceneDevice* Device() const { return device_.get(); }
  PaintViewMode ViewMode = PaintViewMode::Lit;

 private:
  PaintScene& scene_;
  std::unique_ptr<SceneDevice> device_;
};

// True when the current room of `tools` is the paint room.
bool PaintRoomIsCurrent(const ToolTable& tools);
// Makes the paint room current through its pen ("StdPen"), or its first
// listed tool when the pen is pending.
void OpenPaintRoom(ToolTable& tools);

// After start-up: mesh imports go to the program's paint scene and the view
// draws it while the paint room is current.
void StartPaintRoom(PaintRoomLink& link, ViewportSeams& viewport);
