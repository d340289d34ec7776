// The voxel room's links to the window (see VoxelRoom.h).
#include "shell/VoxelRoom.h"

#include "interface/RoomInterface.h"

#include <cmath>
#include <fstream>
#include <sstream>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "MC/brushes/ReplayCommand.h"
#include "MC/brushes/Symmetry.h"
#include "paint/GeneralPen.h"
#include "interface/TextTable.h"
#include "MC/brushes/ReplayPicture.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "render/SurfaceRing.h"
#include "MC/mcubes/VolumeDraw.h"
#include "MC/mesh/MergePreview.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/TabletPenPressure.h"
#include "platform/Platform.h"
#include "render/Render.h"
#include "render/Viewer.h"
#include "shell/Shell.h"
#include "shell/Viewport.h"
#include "shell/tools/ToolTable.h"

using namespace comms;

VoxelRoomLink::VoxelRoomLink() = default;
VoxelRoomLink::~VoxelRoomLink() = default;

bool VoxelRoomLink::Connect(ToolTable& table, VolumeObject* volume, const cViewer* camera, TabletReader* tablet,
                            bool window) {
  VoxelSculptTool* tool = FindVoxelTool(table);
  if (!tool) return false;
  tool->SetScene(volume, camera);
  if (window && !pressure_) {
    pressure_ = std::make_unique<TabletPenPressure>(tablet);
    tool->SetPressureSource(pressure_.get());
  }
  return true;
}

bool VoxelRoomLink::DrawBrushCursor(cRender& render, const cViewer& camera, ToolTable& table) {
  VoxelSculptTool* tool = FindVoxelTool(table);
  if (!tool || table.CurrentTool() != tool) return false;
  if (tool->DrawOverlay(render, camera)) return true;
  // The merge tool shows the mesh it holds where a click would merge it.
  if (tool->Mode == SCULP_MERGE && tool->Merge.Mesh()) return DrawMergePreview(render, camera, tool->Merge) > 0;
  PenPoint pen;
  if (!tool->PenAt(Pointer().X, Pointer().Y, pen)) return false;
  DrawSurfaceRing(render, camera, cVec3(pen.P[0], pen.P[1], pen.P[2]), cVec3(pen.N[0], pen.N[1], pen.N[2]),
                  pen.Radius, 0xffffc040u);
  DrawMirroredRings(render, camera, *tool, pen);
  return true;
}

void DrawMirroredRings(cRender& render, const cViewer& camera, VoxelSculptTool& tool, const PenPoint& pen) {
  VolumeObject* volume = tool.Volume();
  const std::vector<SymmetryCopy> copies =
      SymmetryCopies(GeneralPen::Symmetry, tool.Settings.AxialSymmetry, tool.Settings.AxialAxis);
  if (!volume || copies.size() < 2) return;
  // The copies are made in the volume's own space, as the stroke makes them.
  float p[3], n[3];
  volume->PointToObject(pen.P, p);
  volume->VectorToObject(pen.N, n);
  for (const SymmetryCopy& copy : copies) {
    if (copy.Identity()) continue;
    float mp[3], mn[3], sp[3], sn[3];
    copy.Point(p, mp);
    copy.Point(n, mn);
    volume->PointToScene(mp, sp);
    volume->VectorToScene(mn, sn);
    const cVec3 at(sp[0], sp[1], sp[2]), normal(sn[0], sn[1], sn[2]);
    // A copy on the far side of the model is not shown.
    if (Dot(normal, camera.Pos - at) <= 0) continue;
    DrawSurfaceRing(render, camera, at, normal, pen.Radius, 0xa0ffc040u);
  }
}

bool SculptHeadlessScene(VolumeObject& volume) {
  const std::string path = comms::DataFilePath("Replays/sphere.txt");
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    Log("SculptHeadlessScene(): no script %s", path.c_str());
    return false;
  }
  std::stringstream text;
  text << file.rdbuf();
  const ReplayResult r = RunReplayScript(text.str(), volume);
  if (r.Line) {
    Log("SculptHeadlessScene(): %s:%d: %s", path.c_str(), r.Line, r.Error.c_str());
    return false;
  }
  volume.UpdateSurface();
  Log("SculptHeadlessScene(): %d strokes, %d frames from %s", r.Strokes, r.Frames, path.c_str());
  return true;
}

void StartVoxelRoom(VoxelRoomLink& link, ViewportSeams& viewport, TabletReader* tablet, bool sculptHead) {
  VolumeObject* volume = viewport.Volume();
  if (!volume) return;
  if (sculptHead && SculptHeadlessScene(*volume)) FrameVolume(*volume, viewport.Camera());
  // The tool list and its panel stand over the left of the view: the volume is
  // centred in what is left of it.
  viewport.Camera().ShiftX = RoomInterface::kToolListWidth + RoomInterface::kToolPanelWidth;
  link.Connect(Tools(), volume, &viewport.Camera(), tablet, true);
  if (VoxelSculptTool* tool = FindVoxelTool(Tools()))
    tool->ConfirmIncreaseResolution = [](uint64_t bytes) {
      SystemDialog d;
      d.title = Text("MORVANE_TITLE");
      char amount[64];
      snprintf(amount, sizeof(amount), "%.1f MB", bytes / 1048576.0);
      d.text = std::string(Text("NOT_UNDOABLE")) + "\n\n" + Text("NeedMemory") + ": " + amount;
      d.kind = SystemDialog::Kind::Question;
      d.buttons = {Text("YES"), Text("NO")};
      Shell* shell = TheShell();
      return (shell ? shell->Ask(d) : ShowSystemDialog(d)) == 0;
    };
  viewport.DrawOverVolume = [&link](comms::cRender& render, const comms::cViewer& camera) {
    link.DrawBrushCursor(render, camera, Tools());
  };
}
