// Helpers of the relief and sketch tests: a mesh's topology through the
// welded-mesh checks, the area a figure's triangles cover and the net area
// its border encloses, and pictures drawn by ImageMagick.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "MC/MeshChecks.h"
#include "MC/objects/ExtrudedFigure.h"
#include "interchange/Mesh.h"
#include "interchange/TestFiles.h"

inline MeshTopology MeshShape(const comms::cMesh& mesh) {
  WeldedMeshBuilder m;
  for (const auto& p : mesh.positions) m.Positions.insert(m.Positions.end(), {p.x, p.y, p.z});
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    for (int k = 1; k + 1 < h.a; ++k)
      m.Indices.insert(m.Indices.end(), {uint32_t(c[0].a), uint32_t(c[k].a), uint32_t(c[k + 1].a)});
  });
  return Analyse(m);
}

// Twice the signed area of triangle (a, b, c) of a figure.
inline double FigureCross(const FlatFigure& f, int a, int b, int c) {
  const float* p = f.XY.data();
  return double(p[2 * b] - p[2 * a]) * (p[2 * c + 1] - p[2 * a + 1]) -
         double(p[2 * b + 1] - p[2 * a + 1]) * (p[2 * c] - p[2 * a]);
}

inline double TriangleArea(const FlatFigure& f) {
  double s = 0;
  for (size_t t = 0; t < f.Triangles.size(); t += 3)
    s += FigureCross(f, f.Triangles[t], f.Triangles[t + 1], f.Triangles[t + 2]) / 2;
  return s;
}

// The area inside the border: outer loops count, holes take away.
inline double BorderArea(const FlatFigure& f) {
  double s = 0;
  const float* p = f.XY.data();
  for (size_t e = 0; e < f.Boundary.size(); e += 2) {
    const int a = f.Boundary[e], b = f.Boundary[e + 1];
    s += (double(p[2 * a]) * p[2 * b + 1] - double(p[2 * b]) * p[2 * a + 1]) / 2;
  }
  return s;
}

// Whether (x, y) lies in a triangle of the figure.
inline bool FigureCovers(const FlatFigure& f, double x, double y) {
  const float* p = f.XY.data();
  for (size_t t = 0; t < f.Triangles.size(); t += 3) {
    const int v[3] = {f.Triangles[t], f.Triangles[t + 1], f.Triangles[t + 2]};
    bool in = true;
    for (int k = 0; k < 3 && in; ++k) {
      const int a = v[k], b = v[(k + 1) % 3];
      in = (p[2 * b] - p[2 * a]) * (y - p[2 * a + 1]) - (p[2 * b + 1] - p[2 * a + 1]) * (x - p[2 * a]) >= -1e-9;
    }
    if (in) return true;
  }
  return false;
}

// A picture drawn by ImageMagick into `folder` and read back; skips the test
// where ImageMagick is missing.
inline bool DrawPicture(const std::string& path, const std::string& drawing, comms::cImage& out) {
  return testfiles::HaveConvert() && testfiles::MagickImage(drawing, "-type TrueColor", path, out);
}
