// The paint room's links to the window (see PaintRoom.h).
#include "shell/PaintRoom.h"

#include <algorithm>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "interface/RoomInterface.h"
#include "interface/TextTable.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneClasses.h"
#include "paint/scene/SceneView.h"
#include "paint/tools/PaintBrushTools.h"
#include "render/Viewer.h"
#include "shell/SceneCommands.h"
#include "shell/Shell.h"
#include "shell/Viewport.h"
#include "shell/tools/ToolTable.h"

using namespace comms;

namespace {
constexpr const char* kPaintRoom = "Paint";

void TellImportFailed(const std::string& path, const std::string& why) {
  SystemDialog d;
  d.title = Text("MORVANE_TITLE");
  d.text = std::string(Text("IMPORT_FAILED")) + "\n\n" + path + "\n\n" + why;
  d.kind = SystemDialog::Kind::Warning;
  d.buttons = {Text("OK")};
  Log("IMPORT_FAILED: %s: %s", path.c_str(), why.c_str());
  if (Shell* shell = TheShell()) shell->Ask(d);
  else ShowSystemDialog(d);
}
}  // namespace

bool PaintRoomIsCurrent(const ToolTable& tools) {
  const int room = tools.CurrentRoom();
  return room >= 0 && room < int(tools.Rooms().size()) && tools.Rooms()[room] == kPaintRoom;
}

void OpenPaintRoom(ToolTable& tools) {
  tools.BuildRooms();
  // The pen is the room's default tool; a table without it opens the first listed.
  BasicTool* pen = tools.FindTool("StdPen");
  if (pen && pen->IsAvailable() && pen->GetRoomName() == std::string(kPaintRoom)) {
    tools.SetCurrentTool("StdPen");
    return;
  }
  for (int i = 0; i < tools.Count(); ++i) {
    BasicTool* t = tools.At(i);
    if (std::string(t->GetRoomName()) == kPaintRoom && t->IsInToolList()) {
      tools.SetCurrentTool(t->Name.cpchar());
      return;
    }
  }
  const auto& rooms = tools.Rooms();
  auto it = std::find(rooms.begin(), rooms.end(), std::string(kPaintRoom));
  if (it != rooms.end()) tools.SwitchRoom(int(it - rooms.begin()));
}

PaintRoomLink::PaintRoomLink(PaintScene& scene) : scene_(scene) {}
PaintRoomLink::~PaintRoomLink() = default;

void PaintRoomLink::UseRenderer(cRender& render) {
  if (device_) return;
  device_ = std::make_unique<SceneDevice>(render, scene_);
  device_->Attach();
}

bool PaintRoomLink::Import(const std::string& path, PaintImportMode mode, ToolTable& tools, cFreeViewer& camera,
                           std::string* why) {
  const PaintImportResult r = ImportMeshFile(scene_, path, mode, DPSettings());
  if (!r.ok) {
    if (why) *why = r.message;
    return false;
  }
  scene_.FileName = "";
  OpenPaintRoom(tools);
  FramePaintScene(scene_, camera);
  Log("Paint room: %s imported, %d faces", path.c_str(), int(scene_.Faces.size()));
  return true;
}

bool PaintRoomLink::Draw(cRender& render, cFreeViewer& camera, ToolTable& tools) {
  if (!PaintRoomIsCurrent(tools)) return false;
  UseRenderer(render);
  device_->Draw(camera, ViewMode);
  if (auto* brush = dynamic_cast<PaintBrushTool*>(tools.CurrentTool())) brush->DrawBrushCursor(render);
  return true;
}

void PaintRoomLink::ConnectBrushTools(ToolTable& tools, const cFreeViewer& camera) {
  for (const char* name : {"StdPen", "EraserTool", "SmudgeTool"})
    if (PaintBrushTool* tool = FindPaintTool(tools, name)) tool->SetScene(&scene_, &camera);
}

void StartPaintRoom(PaintRoomLink& link, ViewportSeams& viewport) {
  if (comms::cRender* render = viewport.Renderer()) link.UseRenderer(*render);
  link.ConnectBrushTools(Tools(), viewport.Camera());
  TheSceneCommands().ImportMesh = [&link, &viewport](const std::string& path, CommandLineDecision::Action) {
    std::string why;
    if (link.Import(path, PaintImportMode::MicroVertex, Tools(), viewport.Camera(), &why)) {
      if (Shell* shell = TheShell()) shell->FrameIn(0);  // the new scene shows at once
      return true;
    }
    TellImportFailed(path, why);
    return false;
  };
  viewport.DrawRoomScene = [&link](comms::cRender& render, comms::cFreeViewer& camera) {
    return link.Draw(render, camera, Tools());
  };
}
