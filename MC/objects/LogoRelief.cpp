// The logo tool's relief from a picture (see LogoRelief.h).
#include "MC/objects/LogoRelief.h"

#include <algorithm>
#include <filesystem>

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/AtomicFileWriter.h"
#include "interchange/PictureGreen.h"
#include "interchange/IO.h"
#include "interchange/Mesh.h"
#include "interchange/MeshCodecs.h"
#include "interchange/MeshFile.h"

namespace {

constexpr int kPad = 2;
constexpr float kLevel = 128;
constexpr float kSlab = 8;

// Joins the corner vertices of the level grid and the crossings on its
// edges, so neighbouring squares share them.
class LevelVertices {
 public:
  LevelVertices(const std::vector<float>& levels, int w, int h, float level, float offset, FlatFigure& figure)
      : v_(levels),
        w_(w),
        level_(level),
        offset_(offset),
        fig_(figure),
        corner_(size_t(w) * h, -1),
        edge_(size_t(w) * h * 2, -1) {}
  int Corner(int x, int y) {
    int& id = corner_[size_t(y) * w_ + x];
    if (id < 0) id = fig_.AddVertex(float(x) - offset_, float(y) - offset_);
    return id;
  }
  // The crossing on the edge from (x, y) one step along `axis` (0 x, 1 y).
  int Crossing(int x, int y, int axis) {
    int& id = edge_[(size_t(y) * w_ + x) * 2 + axis];
    if (id >= 0) return id;
    const float a = At(x, y), b = axis ? At(x, y + 1) : At(x + 1, y);
    // Kept off the corners, so no wall has zero length.
    const float t = std::clamp((level_ - a) / (b - a), 1e-3f, 1 - 1e-3f);
    id = fig_.AddVertex(float(x) + (axis ? 0 : t) - offset_, float(y) + (axis ? t : 0) - offset_);
    return id;
  }
  float At(int x, int y) const { return v_[size_t(y) * w_ + x]; }

 private:
  const std::vector<float>& v_;
  int w_;
  float level_, offset_;
  FlatFigure& fig_;
  std::vector<int> corner_, edge_;
};

// Fans a convex polygon, counter-clockwise, into the figure; `cut[i]` marks
// the polygon's edge i -> i+1 as part of the level line.
void AddPolygon(FlatFigure& figure, const int* ids, const bool* cut, int n) {
  for (int i = 1; i + 1 < n; ++i) figure.Triangles.insert(figure.Triangles.end(), {ids[0], ids[i], ids[i + 1]});
  for (int i = 0; i < n; ++i)
    if (cut[i]) figure.Boundary.insert(figure.Boundary.end(), {ids[i], ids[(i + 1) % n]});
}

}  // namespace

bool LogoLevels(const comms::cImage& picture, std::vector<float>& levels, int& width, int& height) {
  if (!PictureReadable(picture)) return false;
  const int w = picture.width, h = picture.height;
  width = w + 2 * kPad, height = h + 2 * kPad;
  levels.assign(size_t(width) * height, 0.f);
  const float total = 1 + 4 * 0.5f + 4 / 3.f;
  for (int y = 1; y + 1 < h; ++y)
    for (int x = 1; x + 1 < w; ++x) {
      float s = 0;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) s += PictureGreen(picture, x + dx, y + dy) / float(dx * dx + dy * dy + 1);
      levels[size_t(y + kPad) * width + x + kPad] = s / total;
    }
  return true;
}

FlatFigure LevelFigure(const std::vector<float>& levels, int width, int height, float level, float offset) {
  FlatFigure figure;
  LevelVertices vx(levels, width, height, level, offset, figure);
  for (int y = 0; y + 1 < height; ++y)
    for (int x = 0; x + 1 < width; ++x) {
      // Corners counter-clockwise, and the edge leaving each one.
      const int cx[4] = {x, x + 1, x + 1, x}, cy[4] = {y, y, y + 1, y + 1};
      bool in[4];
      int count = 0;
      for (int k = 0; k < 4; ++k) count += in[k] = vx.At(cx[k], cy[k]) >= level;
      if (count == 0) continue;
      auto crossing = [&](int k) {
        // Edges 0 and 2 run along x, 1 and 3 along y; each from its lower corner.
        switch (k) {
          case 0:
            return vx.Crossing(x, y, 0);
          case 1:
            return vx.Crossing(x + 1, y, 1);
          case 2:
            return vx.Crossing(x, y + 1, 0);
          default:
            return vx.Crossing(x, y, 1);
        }
      };
      const bool saddle = count == 2 && in[0] == in[2];
      const float centre = (vx.At(x, y) + vx.At(x + 1, y) + vx.At(x + 1, y + 1) + vx.At(x, y + 1)) / 4;
      if (saddle && centre < level) {
        // Two separate corners: a triangle at each.
        for (int k = 0; k < 4; ++k) {
          if (!in[k]) continue;
          const int ids[3] = {vx.Corner(cx[k], cy[k]), crossing(k), crossing((k + 3) % 4)};
          const bool cut[3] = {false, true, false};
          AddPolygon(figure, ids, cut, 3);
        }
        continue;
      }
      int ids[8];
      bool cut[8];
      int n = 0;
      for (int k = 0; k < 4; ++k) {
        if (in[k]) ids[n] = vx.Corner(cx[k], cy[k]), cut[n++] = false;
        // Leaving the inside along this edge: the next edge of the polygon
        // runs along the level line to where the inside starts again.
        if (in[k] != in[(k + 1) % 4]) ids[n] = crossing(k), cut[n++] = in[k];
      }
      AddPolygon(figure, ids, cut, n);
    }
  return figure;
}

std::unique_ptr<comms::cMesh> LogoSlab(const comms::cImage& picture) {
  std::vector<float> levels;
  int w = 0, h = 0;
  if (!LogoLevels(picture, levels, w, h)) return nullptr;
  return ExtrudeFigure(LevelFigure(levels, w, h, kLevel, float(kPad)), kSlab);
}

void LayLogoFlat(comms::cMesh& mesh) {
  for (comms::cMeshVec3& p : mesh.positions) p = {p.x, p.z, -p.y};
}

std::unique_ptr<comms::cMesh> LoadLogoMesh(const std::string& path, const std::string& objPath, std::string* why) {
  comms::cImage picture;
  if (!comms::cIO::LoadImage(path, picture)) {
    if (why) *why = "cannot read the picture " + path;
    return nullptr;
  }
  std::unique_ptr<comms::cMesh> mesh = LogoSlab(picture);
  if (!mesh) {
    if (why) *why = "no part of " + path + " reaches the level 128 in green (or its format is not read)";
    return nullptr;
  }
  mesh->name = "logo";
  comms::cMeshFile obj(objPath);
  comms::cMeshObj().Encode(*mesh, obj);
  std::error_code ignored;
  const std::filesystem::path folder = std::filesystem::path(objPath).parent_path();
  if (!folder.empty()) std::filesystem::create_directories(folder, ignored);
  AtomicFileWriter out(objPath);
  out.Write(obj.Bytes().data(), (int64_t)obj.Bytes().size());
  if (!out.Commit()) Log("LoadLogoMesh(): cannot write %s: %s", objPath.c_str(), out.Error().c_str());
  LayLogoFlat(*mesh);
  return mesh;
}
