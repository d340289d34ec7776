// Building the half-edge mesh from triangle lists, and writing what is left
// of it back out (see HalfEdgeMesh.h).
#include "topology/simplify/HalfEdgeMesh.h"

#include <algorithm>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/WeldedMesh.h"
#include "interchange/Mesh.h"

namespace {

// One half-edge under its undirected edge, for pairing twins.
struct EdgeEnd {
  uint64_t key;  // lower vertex << 32 | higher vertex
  int halfEdge;
  bool operator<(const EdgeEnd& o) const { return key != o.key ? key < o.key : halfEdge < o.halfEdge; }
};

}  // namespace

float& LastReductionRatio() {
  static float ratio = 0.5f;
  return ratio;
}

void HalfEdgeMesh::AddSurface(const float* positions, int vertexCount, const uint32_t* indices, int indexCount,
                              const std::string& name) {
  if (built_ || vertexCount <= 0) return;
  const uint32_t base = (uint32_t)verts_.size();
  for (int i = 0; i < vertexCount; ++i) {
    Vertex v;
    v.id = (int)verts_.size();
    std::copy(positions + size_t(i) * 3, positions + size_t(i) * 3 + 3, v.pos);
    verts_.push_back(v);
  }
  surfaceFirstFace_.push_back((int)indices_.size() / 3);
  surfaceNames_.push_back(name);
  for (int t = 0; t + 2 < indexCount; t += 3) {
    const uint32_t a = indices[t], b = indices[t + 1], c = indices[t + 2];
    if (a == b || b == c || a == c || a >= (uint32_t)vertexCount || b >= (uint32_t)vertexCount ||
        c >= (uint32_t)vertexCount)
      continue;
    indices_.insert(indices_.end(), {a + base, b + base, c + base});
  }
}

void HalfEdgeMesh::AddSurface(const WeldedMeshBuilder& mesh, const std::string& name) {
  AddSurface(mesh.Positions.data(), mesh.VertexCount(), mesh.Indices.data(), (int)mesh.Indices.size(), name);
}

bool HalfEdgeMesh::Build() {
  const int nf = (int)indices_.size() / 3, nv = (int)verts_.size();
  if (built_ || nf == 0) return false;
  built_ = true;
  startVertices_ = nv;
  faces_.resize(size_t(nf));
  edges_.resize(size_t(nf) * 3);
  for (int t = 0; t < nf; ++t) {
    faces_[size_t(t)] = {t, 3 * t};
    for (int k = 0; k < 3; ++k) {
      HalfEdge& h = edges_[size_t(3 * t + k)];
      h.vertex = (int)indices_[size_t(3 * t + k)];
      h.next = 3 * t + (k + 1) % 3;
      h.face = t;
    }
  }
  fixed_.assign(size_t(nv), 0);
  // Twins: the two half-edges of an undirected edge, running opposite ways.
  // An edge of one face is a boundary; an edge of three or more, or of two
  // faces that disagree on their winding, is left open and its ends fixed.
  {
    std::vector<EdgeEnd> ends(edges_.size());
    for (int h = 0; h < (int)edges_.size(); ++h) {
      const uint64_t a = (uint64_t)edges_[size_t(h)].vertex, b = (uint64_t)Head(h);
      ends[size_t(h)] = {a < b ? a << 32 | b : b << 32 | a, h};
    }
    std::sort(ends.begin(), ends.end());
    for (size_t i = 0; i < ends.size();) {
      size_t j = i + 1;
      while (j < ends.size() && ends[j].key == ends[i].key) ++j;
      const int h = ends[i].halfEdge;
      if (j - i == 2 && edges_[size_t(h)].vertex != edges_[size_t(ends[i + 1].halfEdge)].vertex) {
        edges_[size_t(h)].twin = ends[i + 1].halfEdge;
        edges_[size_t(ends[i + 1].halfEdge)].twin = h;
      } else if (j - i > 1) {
        fixed_[size_t(edges_[size_t(h)].vertex)] = fixed_[size_t(Head(h))] = 1;
      }
      i = j;
    }
  }
  // Each vertex starts its walks at a boundary half-edge when it has one.
  std::vector<int> outgoing(size_t(nv), 0);
  std::vector<uint32_t> valence(size_t(nv), 0);
  for (int h = 0; h < (int)edges_.size(); ++h) {
    const HalfEdge& e = edges_[size_t(h)];
    Vertex& v = verts_[size_t(e.vertex)];
    ++outgoing[size_t(e.vertex)];
    ++valence[size_t(e.vertex)];
    if (v.edge < 0) v.edge = h;
    if (e.twin < 0) {
      v.edge = h;
      v.boundary = 1;
      verts_[size_t(Head(h))].boundary = 1;
      ++valence[size_t(Head(h))];
    }
  }
  // A vertex whose walk does not meet all its half-edges is no single fan.
  for (int v = 0; v < nv; ++v) {
    Vertex& r = verts_[size_t(v)];
    r.valence = (uint16_t)std::min<uint32_t>(valence[size_t(v)], 65535);
    if (r.edge < 0) continue;
    int seen = 0;
    for (int h = r.edge; h >= 0 && seen <= outgoing[size_t(v)];) {
      ++seen;
      h = NextOut(h);
      if (h == r.edge) break;
    }
    if (seen != outgoing[size_t(v)] || valence[size_t(v)] > 65535) fixed_[size_t(v)] = 1;
  }
  dirtyMark_.assign(size_t(nv), 0);
  dirty_.reserve(size_t(nv));
  heap_.Reserve(size_t(nv));
  scratch_.reserve(64);
  // The first costs, on all threads; then the heap, on this one.
  std::vector<int> all(static_cast<size_t>(nv));
  for (int v = 0; v < nv; ++v) all[size_t(v)] = v;
  ComputeCosts(all);
  return true;
}

void HalfEdgeMesh::ComputeCosts(const std::vector<int>& list) {
  ParallelRange(
      0, (int)list.size(),
      [&](int first, int last) {
        for (int i = first; i < last; ++i) FindBest(list[size_t(i)]);
      },
      Threads);
  for (int v : list)
    if (verts_[size_t(v)].edge >= 0 && verts_[size_t(v)].best >= 0 && verts_[size_t(v)].heapSlot < 0) heap_.Push(v);
}

void HalfEdgeMesh::Extract(comms::cMesh& out) const {
  out = comms::cMesh();
  out.AddMaterial("VoxMtl");
  std::vector<int> index(verts_.size(), -1);
  for (const Face& f : faces_)
    if (f.edge >= 0)
      for (int k = 0; k < 3; ++k) index[size_t(edges_[size_t(f.edge + k)].vertex)] = 0;
  for (size_t v = 0; v < verts_.size(); ++v) {
    if (index[v] < 0) continue;
    index[v] = (int)out.positions.size();
    out.positions.push_back({verts_[v].pos[0], verts_[v].pos[1], verts_[v].pos[2]});
  }
  for (size_t s = 0; s < surfaceNames_.size(); ++s) {
    const int object = out.AddObject(surfaceNames_[s]);
    const int first = surfaceFirstFace_[s];
    const int last = s + 1 < surfaceFirstFace_.size() ? surfaceFirstFace_[s + 1] : (int)faces_.size();
    for (int t = first; t < last; ++t) {
      if (faces_[size_t(t)].edge < 0) continue;
      out.BeginPolygon(3, 0, object);
      for (int k = 0; k < 3; ++k) out.AddCorner(index[size_t(edges_[size_t(3 * t + k)].vertex)], -1, -1);
    }
  }
}
