// The headless paint import: load, import in the asked mode, report what the
// scene holds and write the picture.
#include "paint/scene/PaintImportCommand.h"

#include <cctype>
#include <cstdio>

#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneImport.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/ScenePicture.h"

namespace {
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
    fprintf(stderr, "usage: morvane --paint-import MESH micro|per-pixel OUT.png\n");
    return 2;
  }
  if (EndsWith(args[2], ".mvn")) {
    fprintf(stderr, "paint-import: scene files (.mvn) cannot be written yet; give an OUT ending in .png\n");
    return 2;
  }
  if (!EndsWith(args[2], ".png")) {
    fprintf(stderr, "paint-import: OUT must end in .png\n");
    return 2;
  }
  PaintScene& scene = ThePaintScene();
  DPSettings settings;  // the import dialogs will edit these; their defaults hold
  const PaintImportMode mode = args[1] == "micro" ? PaintImportMode::MicroVertex : PaintImportMode::PerPixel;
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
  std::string why;
  if (!WriteScenePicture(scene, args[2], 800, 800, &why)) {
    fprintf(stderr, "paint-import: %s\n", why.c_str());
    return 1;
  }
  printf("  picture: %s\n", args[2].c_str());
  return 0;
}
