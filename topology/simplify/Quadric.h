// The error form of one vertex: the sum of n n^T over the unit normals of the
// triangles round it, plus a small diagonal. It weighs a displacement d of
// the vertex: d^T Q d grows with how far d leaves the planes of those
// triangles. It is no plane quadric in homogeneous form, and forms are never
// summed over merged vertices: each cost is computed afresh from the faces
// round the vertex as they are then.
#pragma once

struct Quadric {
  double xx = 0, xy = 0, xz = 0, yy = 0, yz = 0, zz = 0;

  // The diagonal form that keeps a flat neighbourhood's cost from being 0:
  // there the shortest edges go first.
  static Quadric Diagonal(double d) {
    Quadric q;
    q.xx = q.yy = q.zz = d;
    return q;
  }
  void AddNormal(double x, double y, double z) {
    xx += x * x, xy += x * y, xz += x * z;
    yy += y * y, yz += y * z, zz += z * z;
  }
  // d^T Q d.
  double Weigh(double x, double y, double z) const {
    return xx * x * x + yy * y * y + zz * z * z + 2 * (xy * x * y + xz * x * z + yz * y * z);
  }
};
