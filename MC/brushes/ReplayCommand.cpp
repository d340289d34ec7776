// The stroke-script runner (see ReplayCommand.h).
#include "MC/brushes/ReplayCommand.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "ClassEngine/Log.h"
#include "ClassEngine/Threader.h"
#include "MC/adjust/AdjustReplay.h"
#include "MC/brushes/ReplayPicture.h"
#include "MC/brushes/SurfacePatch.h"
#include "MC/brushes/VolumePick.h"
#include "MC/brushes/VoxelStroke.h"
#include "MC/file/VolumeSceneFiles.h"
#include "MC/mcubes/MakeVolumeCommand.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "MC/objects/ObjectTools.h"
#include "MC/tree/VoxVisualTree.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/stroke/PaintReplay.h"
#include "MC/brushes/DrawnShapeTools.h"

namespace {
int ToolByWord(const std::string& w) {
  static const char* const kWords[] = {"grow", "smooth", "fill", "clay", "carve", "alphagrow", "build",
                                       "extrude", "sphere", "branch", "rasp", "plane", "pinch", "follow"};
  for (int i = 0; i < 14; ++i)
    if (w == kWords[i]) return i;
  char* end = nullptr;
  const long n = strtol(w.c_str(), &end, 10);
  if (end && !*end && !w.empty()) return (int)n;
  const int byName = VoxModeByName(w.c_str());
  return byName;
}

}  // namespace

ReplayResult RunReplayScript(const std::string& text, VolumeObject& volume, VoxVisualTree* tree) {
  ReplayResult result;
  GeneralPenSaver keepPen;
  const int savedThreads = ThreadOptions::MaxProcessorsToBeUsed;
  const bool savedMulti = ThreadOptions::UseMultiCore;
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  std::unique_ptr<BasicPenShape> pen = std::make_unique<SimplePen>();
  GeneralPen::CurrentPenPtr = pen.get();
  float radius = 10, pressure = 1, view[3] = {0, 0, -1};
  uint32_t seed = 1;
  std::istringstream in(text);
  std::string line;
  int lineNo = 0;
  auto fail = [&](const std::string& why) {
    if (result.Line == 0) result.Line = lineNo, result.Error = why;
  };
  while (std::getline(in, line) && result.Line == 0) {
    ++lineNo;
    if (size_t hash = line.find('#'); hash != std::string::npos) line.erase(hash);
    std::istringstream words(line);
    words.imbue(std::locale::classic());
    std::string cmd;
    if (!(words >> cmd)) continue;
    if (cmd == "sphere") {
      float r;
      if (!(words >> r) || !(r >= 1 && r <= 2000)) { fail("sphere needs a radius from 1 to 2000"); break; }
      volume.ClearVoxels();
      volume.Compact();
      FillVolume(volume, SphereShape(0, 0, 0, r));
      volume.UpdateSurface();
    } else if (cmd == "threads") {
      int n;
      if (!(words >> n) || n < 0) { fail("threads needs a count"); break; }
      ThreadOptions::UseMultiCore = n != 1;
      ThreadOptions::MaxProcessorsToBeUsed = n;
      stroke.Threads = n;
    } else if (cmd == "seed") {
      if (!(words >> seed)) fail("seed needs a number");
    } else if (cmd == "tool") {
      std::string w;
      words >> w;
      const int t = ToolByWord(w);
      if (!FindVoxMode(t)) { fail("unknown tool '" + w + "'"); break; }
      stroke.Tool = t;
    } else if (cmd == "radius") {
      if (!(words >> radius) || radius <= 0) fail("radius must be positive");
    } else if (cmd == "depth") {
      if (!(words >> GeneralPen::DeepDegree)) fail("depth needs a number");
    } else if (cmd == "pressure") {
      if (!(words >> pressure)) fail("pressure needs a number");
      pressure = std::fmin(std::fmax(pressure, 0.f), 1.f);
    } else if (cmd == "falloff") {
      if (!(words >> GeneralPen::Falloff)) fail("falloff needs a number");
    } else if (cmd == "pen") {
      std::string w;
      words >> w;
      auto p = MakeRadialPen(w);
      if (!p) { fail("unknown pen '" + w + "'"); break; }
      pen = std::move(p);
      GeneralPen::CurrentPenPtr = pen.get();
    } else if (cmd == "invert") {
      int b = 0;
      words >> b;
      stroke.InvertModifier = b != 0;
    } else if (cmd == "symmetry") {
      if (!(words >> GeneralPen::Symmetry)) fail("symmetry needs bits");
    } else if (cmd == "view") {
      if (!(words >> view[0] >> view[1] >> view[2])) { fail("view needs three numbers"); break; }
      const float l = std::sqrt(view[0] * view[0] + view[1] * view[1] + view[2] * view[2]);
      if (l <= 0) { fail("view must not be zero"); break; }
      for (float& c : view) c /= l;
    } else if (cmd == "surface") {
      int on = 0;
      if (!(words >> on)) { fail("surface needs 0 or 1"); break; }
      if (on) {
        volume.SurfaceMode = true;
      } else if (volume.SurfaceMode) {
        volume.SurfaceMode = false;
        volume.ApplyMC(true);
        volume.UpdateSurface();
      }
    } else if (cmd == "freeze") {
      std::string w;
      words >> w;
      if (w == "clear") ClearFreeze(volume);
      else if (w == "invert") InvertFreeze(volume);
      else { fail("freeze needs clear or invert"); break; }
      volume.UpdateSurface();
      volume.DropUndoCopies();
    } else if (cmd == "stroke") {
      std::vector<float> xyz;
      float f;
      while (words >> f) xyz.push_back(f);
      if (xyz.empty() || xyz.size() % 3) { fail("stroke needs x y z triples"); break; }
      // The stroke mirrors itself (GeneralPen::Symmetry); the pen picks as
      // the room's tool does: on the surface before the stroke for the tools
      // that raise it, so a long stroke neither climbs nor digs its own path.
      const bool live = PicksLiveSurface(stroke.Tool);
      bool begun = false;
      for (size_t i = 0; i < xyz.size(); i += 3) {
        const float p[3] = {xyz[i], xyz[i + 1], xyz[i + 2]};
        float o[3];
        for (int a = 0; a < 3; ++a) o[a] = p[a] - view[a] * 4000.f;
        SurfaceHit hit;
        if (!PickVolume(volume, o, view, hit, begun && !live)) continue;  // off the surface: no dab
        PenPoint pp;
        for (int a = 0; a < 3; ++a) pp.P[a] = hit.Pos[a], pp.N[a] = hit.Normal[a];
        pp.Radius = radius;
        pp.Pressure = pressure;
        if (!begun) {
          if (!stroke.Begin(volume, pp, seed)) { fail("tool: " + stroke.Message()); break; }
          begun = true;
        } else {
          stroke.MoveTo(pp);
        }
        volume.UpdateSurface();
        ++result.Frames;
      }
      stroke.End();
      volume.DropUndoCopies();  // the undo record of a stroke comes with the undo stack
      ++result.Strokes;
    } else if (std::string why; const int adjusted = RunAdjustReplay(cmd, words, volume, radius, why)) {
      if (adjusted < 0) fail(why);
      else ++result.Strokes;
    } else if (cmd == "shape") {
      int kind = 0;
      std::vector<float> xyz;
      float f;
      if (!(words >> kind)) { fail("shape needs a kind"); break; }
      while (words >> f) xyz.push_back(f);
      if (xyz.size() < 6 || xyz.size() % 3) { fail("shape needs x y z triples"); break; }
      std::string why;
      if (!ReplayDrawnShape(volume, stroke.Tool, kind, stroke.Inverted(), view, radius, xyz, stroke.Threads, &why, tree)) {
        fail("shape: " + why);
        break;
      }
      volume.UpdateSurface();
      ++result.Strokes;
    } else if (std::string error; int done = RunObjectReplayCommand(cmd, words, volume, error)) {
      fail(done < 0 ? "unknown command '" + cmd + "'" : error);
    }
  }
  ThreadOptions::MaxProcessorsToBeUsed = savedThreads;
  ThreadOptions::UseMultiCore = savedMulti;
  return result;
}

int RunReplayCommand(const std::vector<std::string>& args) {
  if (args.empty() || args.size() > 2) {
    fprintf(stderr, "usage: --replay SCRIPT [OUT-FOLDER]\n");
    return 2;
  }
  std::ifstream file(std::filesystem::absolute(args[0]), std::ios::binary);
  if (!file) {
    fprintf(stderr, "replay: cannot read %s\n", args[0].c_str());
    return 1;
  }
  std::stringstream text;
  text << file.rdbuf();
  // The output folder is made when it does not exist yet.
  if (args.size() > 1) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::absolute(args[1]), error);
    if (error) {
      fprintf(stderr, "replay: cannot make the folder %s: %s\n", args[1].c_str(), error.message().c_str());
      return 1;
    }
  }
  // A script that imports a mesh paints it; the others sculpt a volume.
  if (IsPaintScript(text.str())) return RunPaintReplayCommand(args[0], args.size() > 1 ? args[1] : ".");
  // A layer tree as the window has, for the tools that make layers.
  VoxVisualTree tree;
  VolumeObject& volume = *tree.AddVolume()->Volume;
  ReplayResult r = RunReplayScript(text.str(), volume, &tree);
  if (r.Line) {
    fprintf(stderr, "replay: %s:%d: %s\n", args[0].c_str(), r.Line, r.Error.c_str());
    return 1;
  }
  volume.UpdateSurface();
  WeldedMeshBuilder mesh;
  volume.ExtractWeldedAll(mesh);
  // Relative to the working folder, as a shell user means it (the file layer
  // would read a relative name against the program's own folder).
  const std::string folder = std::filesystem::absolute(args.size() > 1 ? args[1] : ".").lexically_normal().string();
  const std::string ply = folder + "/replay.ply";
  if (!SaveWeldedMesh(ply, mesh)) {
    fprintf(stderr, "replay: cannot write %s\n", ply.c_str());
    return 1;
  }
  printf("replay: %d strokes, %d frames, %d triangles written to %s\n", r.Strokes, r.Frames, mesh.TriangleCount(),
         ply.c_str());
  const std::string scene = folder + "/replay.mvn";
  std::string error;
  std::vector<VolumeObject*> layers;
  for (const std::unique_ptr<VolumeObject>& v : tree.VolumeList) layers.push_back(v.get());
  if (!SaveVolumesAsScene(scene, layers, &error)) {
    fprintf(stderr, "replay: %s\n", error.c_str());
    return 1;
  }
  printf("replay: scene written to %s\n", scene.c_str());
  // The picture is a bonus: without an offscreen context the mesh still stands.
  const std::string png = folder + "/replay.png";
  std::string why;
  if (WriteReplayPicture(volume, png, 800, 800, &why))
    printf("replay: picture written to %s\n", png.c_str());
  else
    printf("replay: no picture: %s\n", why.c_str());
  return 0;
}
