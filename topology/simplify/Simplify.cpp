// The simplifier's loop: the cheapest collapse first, the collapse itself,
// and the lazy recomputation of the costs it disturbs (see HalfEdgeMesh.h).
#include <algorithm>
#include <chrono>

#include "ClassEngine/Log.h"
#include "ClassEngine/Progress.h"
#include "ClassEngine/TextLookup.h"
#include "ClassEngine/xml/CNumbers.h"
#include "topology/simplify/HalfEdgeMesh.h"

void HalfEdgeMesh::MarkDirty(int v) {
  Vertex& V = verts_[size_t(v)];
  heap_.Remove(v);
  V.best = -1;
  V.cost = 0;
  if (dirtyMark_[size_t(v)]) return;
  dirtyMark_[size_t(v)] = 1;
  dirty_.push_back(v);
}

void HalfEdgeMesh::FlushDirty() {
  ComputeCosts(dirty_);
  for (int v : dirty_) dirtyMark_[size_t(v)] = 0;
  dirty_.clear();
}

int HalfEdgeMesh::TakeCheapest() {
  const size_t alive = size_t(startVertices_ - collapses_);
  if (dirty_.size() > alive / 20) FlushDirty();
  for (;;) {
    if (heap_.Empty()) {
      if (dirty_.empty()) return -1;
      FlushDirty();
      continue;
    }
    const int v = heap_.Pop();
    Vertex& V = verts_[size_t(v)];
    if (V.edge < 0 || V.best < 0) continue;
    const HalfEdge& h = edges_[size_t(V.best)];
    if (h.vertex == v && faces_[size_t(h.face)].edge >= 0 && IsLegal(v, V.best)) return v;
    V.best = -1;  // out of date: it waits until its ring changes again
  }
}

int HalfEdgeMesh::WalkStart(int v, int any) const {
  if (!verts_[size_t(v)].boundary) return any;
  // Back round the vertex (twin, then next) to the half-edge with no twin.
  int g = any;
  for (int guard = 0; edges_[size_t(g)].twin >= 0 && guard <= 65536; ++guard) {
    g = edges_[size_t(edges_[size_t(g)].twin)].next;
    if (g == any) break;
  }
  return g;
}

void HalfEdgeMesh::Collapse(int v, int h) {
  const int w = Head(h), t = edges_[size_t(h)].twin;
  // Every half-edge out of v now leaves w.
  scratch_.clear();
  for (int g = verts_[size_t(v)].edge, guard = 0; g >= 0 && guard <= 65536; ++guard) {
    scratch_.push_back(g);
    edges_[size_t(g)].vertex = w;
    g = NextOut(g);
    if (g == verts_[size_t(v)].edge) break;
  }
  // Each removed triangle's two other edges become one: their outer twins
  // are joined, and the third vertex loses an edge.
  int third[2] = {-1, -1}, thirdOut[2] = {-1, -1};
  auto unlink = [&](int e, int slot) {
    const int e1 = edges_[size_t(e)].next, e2 = edges_[size_t(e1)].next;
    const int o1 = edges_[size_t(e1)].twin, o2 = edges_[size_t(e2)].twin;
    if (o1 >= 0) edges_[size_t(o1)].twin = o2;
    if (o2 >= 0) edges_[size_t(o2)].twin = o1;
    const int x = edges_[size_t(e2)].vertex;
    --verts_[size_t(x)].valence;
    third[slot] = x;
    // A half-edge out of x that stays: the far side of its edge to w, else
    // the next one round from the edge that came from v.
    thirdOut[slot] = o1 >= 0 ? o1 : o2 >= 0 ? edges_[size_t(o2)].next : -1;
    faces_[size_t(edges_[size_t(e)].face)].edge = -1;
    ++removedFaces_;
  };
  unlink(h, 0);
  if (t >= 0) unlink(t, 1);
  auto live = [&](int g) { return g >= 0 && faces_[size_t(edges_[size_t(g)].face)].edge >= 0; };
  if (Record) {
    // Half-edge 3t + k is corner k of triangle t.
    CollapseRecord r;
    r.from = v, r.to = w;
    r.removed[0] = edges_[size_t(h)].face;
    r.removed[1] = t >= 0 ? edges_[size_t(t)].face : -1;
    r.firstCorner = (int)Record->corners.size();
    for (int g : scratch_)
      if (live(g)) Record->corners.push_back(g);
    r.cornerCount = (int)Record->corners.size() - r.firstCorner;
    Record->records.push_back(r);
  }
  for (int s = 0; s < 2; ++s) {
    const int x = third[s];
    if (x < 0) continue;
    int g = live(verts_[size_t(x)].edge) ? verts_[size_t(x)].edge : thirdOut[s];
    if (g >= 0) verts_[size_t(x)].edge = WalkStart(x, g);
  }
  int g = live(verts_[size_t(w)].edge) ? verts_[size_t(w)].edge : -1;
  for (size_t i = 0; g < 0 && i < scratch_.size(); ++i)
    if (live(scratch_[i])) g = scratch_[i];
  verts_[size_t(w)].edge = g >= 0 ? WalkStart(w, g) : -1;
  verts_[size_t(v)].edge = -1;
  const int merged = int(verts_[size_t(w)].valence) + verts_[size_t(v)].valence - (t >= 0 ? 4 : 3);
  verts_[size_t(w)].valence = (uint16_t)std::clamp(merged, 0, 65535);
  heap_.Remove(v);
  verts_[size_t(v)].best = -1;
  // The ring of w and w itself cost anew.
  MarkDirty(w);
  const int start = verts_[size_t(w)].edge;
  int last = start;
  for (int r = start, guard = 0; r >= 0 && guard <= 65536; ++guard) {
    MarkDirty(Head(r));
    last = r;
    r = NextOut(r);
    if (r == start) {
      last = -1;
      break;
    }
  }
  if (last >= 0) MarkDirty(edges_[size_t(edges_[size_t(edges_[size_t(last)].next)].next)].vertex);
  ++collapses_;
}

bool HalfEdgeMesh::Simplify(float& ratio, bool ask) {
  stopped_ = false;
  if (!built_) return false;
  float share = ratio;
  if (ask) {
    params_.ReductionPercent = LastReductionRatio() * 100;
    params_.SetPolycount(LiveFaces());
    if (Ask && !Ask(params_, "REDUCTION_PARAMS")) return false;
    share = std::clamp(params_.ReductionPercent, 0.0f, 99.9f) / 100;
    if (share <= 0) return false;
    LastReductionRatio() = share;
  }
  share = std::clamp(share, 0.0f, 1.0f);
  ratio = share * 100;
  if (share <= 0) return false;

  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  auto progress = Progress ? Progress : [](const char* caption, int64_t done, int64_t total) {
    return ReportProgress(caption, done, total);
  };
  // The caption is ready-made text: '#' tells the text table so.
  char caption[200] = "#";
  const int half = LiveFaces() / 2;
  const int target = int(double(half) * share);
  for (int i = 0; i < target; ++i) {
    const int v = TakeCheapest();
    if (v < 0) break;
    Collapse(v, verts_[size_t(v)].best);
    if ((i & 0x1fff) == 1) {
      const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
      FormatC(caption, sizeof caption, "#%dk->%dk, (%.01fs) %s", half / 500, (half - i) / 500, seconds,
               LookupTextOr("EscToStop", "Press ESC to stop."));
    }
    if ((i & 0x3ff) == 1 && progress(caption, i, target)) {
      stopped_ = true;
      break;
    }
  }
  Log("Simp: %d ms", (int)std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count());
  return true;
}
