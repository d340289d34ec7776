// The headless paint import: load, import in the asked mode, report what the
// scene holds and write the picture.
#include "paint/scene/PaintImportCommand.h"

#include <cctype>
#include <cstdio>
#include <memory>

#include "ClassEngine/DataFolder.h"
#include "paint/file/SceneFile.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneImport.h"
#include "paint/scene/ScenePicture.h"
#include "paint/scene/SceneView.h"
#include "render/EglContext.h"
#include "render/RenderGL.h"
#include "render/Viewer.h"

namespace {
constexpr int kPictureSide = 800;

// The window's drawing path without a window: a headless context, the
// renderer on it, and the scene's device side. Empty when no context can be
// made; the picture is then drawn on the processor.
struct HeadlessDevice {
  std::unique_ptr<comms::cEglContext> Context;
  std::unique_ptr<comms::cRenderGL> Render;
  std::unique_ptr<SceneDevice> Device;

  explicit HeadlessDevice(PaintScene& scene) {
    std::string why;
    Context = comms::cEglContext::Create(kPictureSide, kPictureSide, &why);
    if (!Context) return;
    Render = std::make_unique<comms::cRenderGL>();
    Render->DataFolder = comms::DataFolder();
    if (!Render->Init(Context.get(), 1)) {
      Render.reset();
      return;
    }
    Device = std::make_unique<SceneDevice>(*Render, scene);
    Device->Attach();
  }
  ~HeadlessDevice() {
    Device.reset();
    if (Render) Render->Release();
  }
};

bool EndsWith(const std::string& s, const char* tail) {
  std::string t(tail);
  if (s.size() < t.size()) return false;
  for (size_t i = 0; i < t.size(); i++)
    if (std::tolower((unsigned char)s[s.size() - t.size() + i]) != t[i]) return false;
  return true;
}
}  // namespace

int RunPaintImportCommand(const std::vector<std::string>& args) {
  if (args.size() != 3 || (args[1] != "micro" && args[1] != "per-pixel")) {
    fprintf(stderr, "usage: morvane --paint-import MESH micro|per-pixel OUT.png|OUT.mvn\n");
    return 2;
  }
  const bool sceneFile = EndsWith(args[2], ".mvn");
  if (!sceneFile && !EndsWith(args[2], ".png")) {
    fprintf(stderr, "paint-import: OUT must end in .png (a picture) or .mvn (the scene file)\n");
    return 2;
  }
  PaintScene& scene = ThePaintScene();
  DPSettings settings;  // the import dialogs will edit these; their defaults hold
  const PaintImportMode mode = args[1] == "micro" ? PaintImportMode::MicroVertex : PaintImportMode::PerPixel;
  // A picture is drawn the window's way; a scene file needs no device.
  std::unique_ptr<HeadlessDevice> device = sceneFile ? nullptr : std::make_unique<HeadlessDevice>(scene);
  PaintImportResult r = ImportMeshFile(scene, args[0], mode, settings);
  if (!r.ok) {
    fprintf(stderr, "paint-import: %s\n", r.message.c_str());
    if (mode == PaintImportMode::PerPixel && !r.message.empty() && r.message.find("texture") != std::string::npos)
      fprintf(stderr, "  try: morvane --paint-import %s micro %s\n", args[0].c_str(), args[2].c_str());
    return 1;
  }
  size_t mapped = 0;
  for (MRenderTarget* rt : scene.RenderTargets)
    if (rt->Pixels) mapped += rt->Pixels->Tiles.size();
  printf("paint-import: %zu faces, %zu vertices, %d micro-vertices, %d render targets, %zu tiles, %.1f MB\n",
         scene.Faces.size(), scene.Vertices.size(), scene.MicroVertexCount, scene.RenderTargets.GetAmount(),
         mapped, scene.MemoryBytes() / 1048576.0);
  if (r.warnings & WARN_SHARED_SURFACES) printf("  warning: WARN_SHARED_SURFACES\n");
  if (sceneFile) {
    const SceneFileResult saved = SaveSceneFile(scene, args[2], {});
    if (!saved.ok) {
      fprintf(stderr, "paint-import: %s\n", saved.error.c_str());
      return 1;
    }
    printf("  scene: %s\n", args[2].c_str());
    return 0;
  }
  std::string why;
  bool written = false;
  if (device && device->Device) {
    comms::cFreeViewer camera;
    camera.Fov = 50;
    FramePaintScene(scene, camera);
    written = RenderPaintSceneToPng(*device->Render, *device->Device, camera, kPictureSide, kPictureSide, args[2], &why);
  } else {
    written = WriteScenePicture(scene, args[2], kPictureSide, kPictureSide, &why);
  }
  if (!written) {
    fprintf(stderr, "paint-import: %s\n", why.c_str());
    return 1;
  }
  printf("  picture: %s\n", args[2].c_str());
  return 0;
}
