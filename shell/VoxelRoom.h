// The voxel room in the window: hands the scene's volume and camera to the
// voxel tool with the tablet (or the mouse) as its pen pressure, draws the
// brush circle on the surface under the pointer (and its mirrored copies), and sculpts the headless
// start scene with the shipped stroke script so a run without a display
// still shows a sculpted head.
#pragma once
#include <memory>

class VolumeObject;
class VoxelSculptTool;
struct PenPoint;
class TabletReader;
class ToolTable;
class TabletPenPressure;
class ViewportSeams;
namespace comms {
class cRender;
class cViewer;
}  // namespace comms

class VoxelRoomLink {
 public:
  VoxelRoomLink();
  ~VoxelRoomLink();
  // Gives the voxel tool of `table` its scene; with `pressure` (the tablet,
  // or null for the mouse's full pressure in a window), also the pen's
  // pressure. False when the table has no voxel tool.
  bool Connect(ToolTable& table, VolumeObject* volume, const comms::cViewer* camera, TabletReader* tablet,
               bool window);
  // The brush circle (pen radius at the surface, in the surface's plane)
  // where the pointer is over the volume, while the voxel tool is current.
  // Returns whether one was drawn.
  bool DrawBrushCursor(comms::cRender& render, const comms::cViewer& camera, ToolTable& table);

 private:
  std::unique_ptr<TabletPenPressure> pressure_;
};

// With the pen's mirrors or axial copies on, a fainter ring where each copy of
// the pen (`pen`, as the tool found it under the pointer) lands, on the side
// of the model that faces the camera.
void DrawMirroredRings(comms::cRender& render, const comms::cViewer& camera, VoxelSculptTool& tool,
                       const PenPoint& pen);

// Runs the shipped stroke script ("Replays/sphere.txt" in the data folder) on
// `volume`; false (logged) when it is missing or stops at an error.
bool SculptHeadlessScene(VolumeObject& volume);

// After start-up: links the program's voxel tool to the viewport's volume and
// camera, with the tablet (or the mouse) as the pen's pressure, draws the
// brush circle over the volume, and with `sculptHead` (the headless run)
// sculpts the start scene first.
void StartVoxelRoom(VoxelRoomLink& link, ViewportSeams& viewport, TabletReader* tablet, bool sculptHead);
