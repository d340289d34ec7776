// The slab of a flat figure (see ExtrudedFigure.h).
#include "MC/objects/ExtrudedFigure.h"

#include "interchange/Mesh.h"

std::unique_ptr<comms::cMesh> ExtrudeFigure(const FlatFigure& figure, float thickness) {
  const int n = figure.VertexCount();
  if (n == 0 || figure.Triangles.empty() || !(thickness > 0)) return nullptr;
  auto mesh = std::make_unique<comms::cMesh>();
  const float h = thickness / 2;
  // Vertices 0..n-1 are the front, n..2n-1 the back.
  mesh->positions.reserve(size_t(2 * n));
  for (int side = 0; side < 2; ++side)
    for (int i = 0; i < n; ++i) mesh->positions.push_back({figure.XY[2 * i], figure.XY[2 * i + 1], side ? -h : h});
  const int material = mesh->AddMaterial("Default");
  const int object = mesh->AddObject("Relief");
  auto triangle = [&](int a, int b, int c) {
    mesh->BeginPolygon(3, material, object);
    mesh->AddCorner(a, -1, -1);
    mesh->AddCorner(b, -1, -1);
    mesh->AddCorner(c, -1, -1);
  };
  for (size_t t = 0; t + 2 < figure.Triangles.size(); t += 3) {
    const int a = figure.Triangles[t], b = figure.Triangles[t + 1], c = figure.Triangles[t + 2];
    triangle(a, b, c);
    triangle(n + a, n + c, n + b);
  }
  // A boundary edge a -> b has the inside on its left: seen from outside the
  // wall runs a, b along the front and back under them.
  for (size_t e = 0; e + 1 < figure.Boundary.size(); e += 2) {
    const int a = figure.Boundary[e], b = figure.Boundary[e + 1];
    triangle(b, a, n + a);
    triangle(b, n + a, n + b);
  }
  return mesh;
}
