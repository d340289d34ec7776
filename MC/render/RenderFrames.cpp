// The render loop, numbered result files and the headless render command
// (see RenderFrames.h).
#include "MC/render/RenderFrames.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "MC/brushes/ReplayCommand.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/render/VolumeRender.h"
#include "MC/tree/VolumeTreeScene.h"
#include "MC/tree/VoxVisualTree.h"

int RenderFrames(VolumeRender& render, int maxFrames, const std::function<bool(int)>& stop) {
  int added = 0;
  while (render.Rays() < maxFrames) {
    render.RenderFrame();
    ++added;
    if (stop && stop(render.Rays())) break;
  }
  return added;
}

std::string RaysLine(int rays) {
  char text[64];
  snprintf(text, sizeof(text), "Press ESC to stop. Rays: %d", rays);
  return text;
}

std::string SequenceLine(int frame, int frames, int minutesLeft, int rays) {
  char text[128];
  snprintf(text, sizeof(text), "Frame %04d/%d (%d min left). Press ESC to stop. Rays: %d", frame, frames, minutesLeft,
           rays);
  return text;
}

int MinutesLeft(double elapsedMinutes, double done, int frames) {
  if (done <= 0 || frames <= 0) return 0;
  return std::max(0, (int)std::lround(elapsedMinutes * ((double)frames / done - 1.0)));
}

std::string NumberedFileName(const std::string& stem, const std::string& ext, bool dontOverwrite) {
  for (int n = 0;; ++n) {
    char number[16];
    snprintf(number, sizeof(number), "%06d", n);
    const std::string name = stem + number + "." + ext;
    struct stat st;
    if (!dontOverwrite || ::stat(name.c_str(), &st) != 0) return name;
  }
}

int RunRenderCommand(const std::vector<std::string>& args) {
  if (args.size() != 3 && args.size() != 5) {
    fprintf(stderr, "usage: --render IN OUT FRAMES [WIDTH HEIGHT]\n");
    return 2;
  }
  const int frames = std::atoi(args[2].c_str());
  const int width = args.size() == 5 ? std::atoi(args[3].c_str()) : 1280;
  const int height = args.size() == 5 ? std::atoi(args[4].c_str()) : 720;
  if (frames < 1 || width < 1 || height < 1 || width > 16384 || height > 16384) {
    fprintf(stderr, "render: bad frame count or size\n");
    return 2;
  }
  VoxVisualTree tree;
  const std::string& in = args[0];
  const std::string absolute = std::filesystem::absolute(in).string();
  if (in.size() > 4 && (in.compare(in.size() - 4, 4, ".mvn") == 0 || in.compare(in.size() - 4, 4, ".MVN") == 0)) {
    std::string error;
    if (!LoadTreeScene(absolute, tree, &error)) {
      fprintf(stderr, "render: %s: %s\n", in.c_str(), error.c_str());
      return 1;
    }
  } else {
    std::ifstream file(absolute, std::ios::binary);
    if (!file) {
      fprintf(stderr, "render: cannot read %s\n", in.c_str());
      return 1;
    }
    std::stringstream text;
    text << file.rdbuf();
    VoxTreeBranch* row = tree.AddVolume();
    const ReplayResult r = RunReplayScript(text.str(), *row->Volume, &tree);
    if (r.Line) {
      fprintf(stderr, "render: %s:%d: %s\n", in.c_str(), r.Line, r.Error.c_str());
      return 1;
    }
  }
  RenderParams params;
  VolumeRender render(params, width, height);
  const int triangles = render.SetScene(tree.VisibleVolumes());
  if (triangles == 0) {
    fprintf(stderr, "render: %s shows nothing\n", in.c_str());
    return 1;
  }
  render.SetEye(render.FramingEye());
  RenderFrames(render, frames);
  const std::string out = std::filesystem::absolute(args[1]).string();
  if (!render.Save(out, false)) {
    fprintf(stderr, "render: cannot write %s\n", out.c_str());
    return 1;
  }
  printf("render: %d triangles, %d rays, %d x %d written to %s\n", triangles, render.Rays(), width, height, out.c_str());
  return 0;
}
