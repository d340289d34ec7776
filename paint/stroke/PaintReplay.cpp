// The paint script runner and its command.
#include "paint/stroke/PaintReplay.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/Threader.h"
#include "interchange/IO.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/PixelMap.h"
#include "paint/raster/TargetColorMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneClasses.h"
#include "paint/scene/SceneImport.h"
#include "paint/scene/ScenePicture.h"
#include "paint/stroke/PaintDabs.h"
#include "paint/stroke/ScenePick.h"

using comms::cVec3;

namespace {

// Numbers in the C locale whatever the process's locale says.
bool Number(std::istringstream& in, float& v) {
  std::string w;
  if (!(in >> w)) return false;
  char* end = nullptr;
  v = strtof(w.c_str(), &end);
  return end && !*end;
}

// The first word of the first line that is not blank or a comment.
std::string FirstCommand(const std::string& text) {
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string w;
    if (words >> w) return w;
  }
  return "";
}

}  // namespace

bool IsPaintScript(const std::string& text) { return FirstCommand(text) == "import"; }

PaintReplayResult RunPaintReplayScript(const std::string& text, PaintScene& scene) {
  PaintReplayResult result;
  GeneralPenSaver keepPen;
  const int savedThreads = ThreadOptions::MaxProcessorsToBeUsed;
  const bool savedMulti = ThreadOptions::UseMultiCore;
  std::unique_ptr<BasicPenShape> pen = std::make_unique<SimplePen>();
  GeneralPen::CurrentPenPtr = pen.get();
  GeneralPen::PenRadius = 1;  // radii in the script are world units: one "pixel" is one unit
  PaintDabs dabs(scene);
  float radius = 0.1f, pressure = 1;
  cVec3 view(0, 0, -1);
  uint32_t seed = 1;
  bool imported = false;
  std::istringstream in(text);
  std::string line;
  auto fail = [&](int n, const std::string& why) {
    result.Line = n, result.Error = why;
  };
  for (int n = 1; std::getline(in, line) && !result.Line; n++) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string cmd;
    if (!(words >> cmd)) continue;
    float a = 0, b = 0, c = 0;
    std::string w;
    if (cmd == "import") {
      std::string path, mode;
      if (!(words >> path >> mode) || (mode != "micro" && mode != "per-pixel")) {
        fail(n, "import PATH micro|per-pixel [N]");
        break;
      }
      const bool perPixel = mode == "per-pixel";
      DPSettings settings;
      settings.InitialSubdivision = 3;
      if (Number(words, a)) {
        if (perPixel)
          scene.RtSizeX = scene.RtSizeY = std::max(16, (int)a);
        else
          settings.InitialSubdivision = std::clamp((int)a, 0, 8);
      } else if (perPixel) {
        scene.RtSizeX = scene.RtSizeY = 1024;
      }
      const PaintImportResult r = ImportMeshFile(scene, path, perPixel ? PaintImportMode::PerPixel : PaintImportMode::MicroVertex, settings);
      if (!r.ok) {
        fail(n, "cannot import " + path + ": " + r.message);
        break;
      }
      for (int t = 0; t < scene.RenderTargets.GetAmount(); t++)
        if (PixelMap* m = scene.GetPixelMap(t)) m->Update();
      imported = true;
    } else if (!imported) {
      fail(n, "the script must begin with import");
    } else if (cmd == "threads" && Number(words, a)) {
      ThreadOptions::UseMultiCore = a != 1;
      ThreadOptions::MaxProcessorsToBeUsed = (int)a;
    } else if (cmd == "seed" && Number(words, a)) {
      seed = (uint32_t)a;
    } else if (cmd == "layer" && words >> w && w == "new") {
      scene.NewLayer(true);
    } else if (cmd == "tool" && words >> w) {
      if (w == "pen") dabs.Kind = PaintKind::Paint;
      else if (w == "eraser") dabs.Kind = PaintKind::Erase;
      else if (w == "smudge") dabs.Kind = PaintKind::Smudge;
      else fail(n, "unknown tool " + w);
    } else if (cmd == "pen" && words >> w) {
      std::unique_ptr<BasicPenShape> p = MakeRadialPen(w);
      if (!p) fail(n, "unknown pen " + w);
      else pen = std::move(p), GeneralPen::CurrentPenPtr = pen.get();
    } else if (cmd == "radius" && Number(words, a) && a > 0) {
      radius = a;
    } else if (cmd == "depth" && Number(words, a)) {
      GeneralPen::DeepDegree = a;
    } else if (cmd == "opacity" && Number(words, a)) {
      GeneralPen::ColorOpacity = std::clamp(a, 0.0f, 1.0f);
    } else if (cmd == "specular" && Number(words, a)) {
      GeneralPen::SpecularDegree = std::clamp(a, 0.0f, 1.0f);
    } else if (cmd == "falloff" && Number(words, a)) {
      GeneralPen::Falloff = a;
    } else if (cmd == "color" && Number(words, a) && Number(words, b) && Number(words, c)) {
      GeneralPen::Color[0] = a, GeneralPen::Color[1] = b, GeneralPen::Color[2] = c;
    } else if (cmd == "draw" && words >> w && Number(words, a)) {
      if (w == "depth") GeneralPen::DrawDepth = a != 0;
      else if (w == "color") GeneralPen::DrawColor = a != 0;
      else if (w == "specular") GeneralPen::DrawSpecular = a != 0;
      else fail(n, "draw depth|color|specular 0|1");
    } else if (cmd == "mode" && Number(words, a)) {
      GeneralPen::StrokeMode = (int)a;
    } else if (cmd == "pressure" && Number(words, a)) {
      pressure = std::clamp(a, 0.0f, 1.0f);
    } else if (cmd == "view" && Number(words, a) && Number(words, b) && Number(words, c)) {
      view = cVec3(a, b, c);
      if (view.Length() == 0) fail(n, "the view needs a direction");
      view = view.Normalized();
    } else if (cmd == "stroke") {
      std::vector<cVec3> points;
      while (Number(words, a) && Number(words, b) && Number(words, c)) points.push_back(cVec3(a, b, c));
      if (points.empty()) {
        fail(n, "stroke X Y Z ...");
        break;
      }
      const cVec3 extent(scene.Bounds.Max[0] - scene.Bounds.Min[0], scene.Bounds.Max[1] - scene.Bounds.Min[1],
                         scene.Bounds.Max[2] - scene.Bounds.Min[2]);
      const float far = std::max(1.0f, extent.Length()) * 2;
      dabs.Begin(seed);
      auto dabAt = [&](const cVec3& p) {
        SurfaceHit hit;
        if (!PickPaintSurface(scene, p - view * far, view, hit)) return;
        PenHit h;
        h.Pos = cVec3(hit.Pos[0], hit.Pos[1], hit.Pos[2]);
        h.Face = hit.Face, h.WorldRadius = radius, h.Pressure = pressure, h.ViewDir = view;
        dabs.Dab(h);
      };
      dabAt(points[0]);
      for (size_t i = 1; i < points.size(); i++) {
        const int steps = std::max(1, (int)std::ceil((points[i] - points[i - 1]).Length() / (radius * 0.5f)));
        for (int k = 1; k <= steps; k++) dabAt(points[i - 1] + (points[i] - points[i - 1]) * ((float)k / steps));
      }
      result.Dabs += dabs.Dabs();
      dabs.End();
      result.Strokes++;
    } else {
      fail(n, "cannot read: " + line);
    }
  }
  if (!result.Line && !imported) fail(1, "the script must begin with import");
  for (int t = 0; t < scene.RenderTargets.GetAmount(); t++)
    if (PixelMap* m = scene.GetPixelMap(t)) m->Update();
  ThreadOptions::MaxProcessorsToBeUsed = savedThreads;
  ThreadOptions::UseMultiCore = savedMulti;
  return result;
}

int RunPaintReplayCommand(const std::string& script, const std::string& outFolder) {
  // The image writer reads a relative name against the program's own folder.
  const std::string folder = std::filesystem::absolute(outFolder).string();
  std::ifstream file(script, std::ios::binary);
  if (!file) {
    fprintf(stderr, "replay: cannot read %s\n", script.c_str());
    return 1;
  }
  std::stringstream text;
  text << file.rdbuf();
  PaintScene scene;
  const PaintReplayResult r = RunPaintReplayScript(text.str(), scene);
  if (r.Line) {
    fprintf(stderr, "replay: %s:%d: %s\n", script.c_str(), r.Line, r.Error.c_str());
    return 1;
  }
  printf("replay: %d strokes, %d dabs on %zu faces\n", r.Strokes, r.Dabs, scene.Faces.size());
  for (int t = 0; t < scene.RenderTargets.GetAmount(); t++) {
    comms::cImage map;
    // A target the import left unnamed goes by its UV set's name, or its number.
    std::string name = scene.RenderTargets[t]->Name.cpchar();
    if (name.empty() && t < scene.UVSets.GetAmount()) name = scene.UVSets[t]->Name.cpchar();
    if (name.empty()) name = "Target" + std::to_string(t);
    const std::string path = folder + "/" + name + "_color.png";
    if (!ComposedColorMap(scene, t, map) || !comms::cIO::SaveImage(path, map)) {
      fprintf(stderr, "replay: cannot write %s\n", path.c_str());
      return 1;
    }
    printf("replay: colour map written to %s\n", path.c_str());
  }
  const std::string png = folder + "/replay.png";
  std::string why;
  if (!WriteScenePicture(scene, png, 800, 800, &why)) {
    fprintf(stderr, "replay: %s\n", why.c_str());
    return 1;
  }
  printf("replay: picture written to %s\n", png.c_str());
  return 0;
}

std::string PaintHeadlessScene(const std::string& folder) {
  const std::string script = comms::DataFilePath("Replays/paint_bunny.txt");
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  if (RunPaintReplayCommand(script, folder) != 0) {
    Log("PaintHeadlessScene(): %s did not paint (see above)", script.c_str());
    return "";
  }
  return std::filesystem::absolute(folder).string() + "/replay.png";
}
