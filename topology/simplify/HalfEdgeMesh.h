// The simplifier of triangle surfaces (the voxel room's export and merge
// reduce the welded surface with it). Half-edges are collapsed, cheapest
// first, until a share of the triangles has gone or no legal collapse is
// left. The cost of collapsing v into its neighbour w is the error form of
// v (Quadric.h) applied to w - v, times a factor that grows with v's
// valence, so busy vertices go later. w does not move: the result keeps a
// subset of the input's vertices.
//
// Use: AddSurface for each triangle list, Build once, Simplify, Extract.
// The mesh only shrinks after Build; every record is made there, so the
// collapses allocate nothing.
//
// Costs are computed lazily: a collapse marks the ring it changed dirty,
// which takes those vertices out of the heap; once the dirty list outgrows a
// twentieth of the live vertices, all of it is recomputed in one parallel
// pass (each thread a contiguous slice) and entered into the heap by the
// calling thread in list order. The result is the same for any thread count.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "topology/simplify/DecimationParams.h"
#include "topology/simplify/Quadric.h"
#include "topology/simplify/SimpSlider.h"
#include "topology/simplify/VertexHeap.h"

namespace comms {
class cMesh;
}
class WeldedMeshBuilder;

class HalfEdgeMesh {
 public:
  HalfEdgeMesh() = default;
  HalfEdgeMesh(const HalfEdgeMesh&) = delete;
  HalfEdgeMesh& operator=(const HalfEdgeMesh&) = delete;

  struct Vertex {
    int heapSlot = -1;   // -1 while in no heap
    int id = 0;          // the vertex's index
    float pos[3] = {0, 0, 0};
    int best = -1;       // half-edge of the cheapest legal collapse, -1 none
    float cost = 0;      // the cost of `best`
    uint16_t valence = 0;
    int16_t boundary = 0;  // 1 on a boundary of the mesh
    int edge = -1;       // one outgoing half-edge; -1 once collapsed away
  };
  struct HalfEdge {
    int vertex = -1;  // origin
    int twin = -1;    // -1 on a boundary
    int next = -1;    // the next half-edge of the triangle
    int face = -1;
  };
  struct Face {
    int id = 0;
    int edge = -1;  // the first half-edge, -1 once removed
  };

  // 10 instead of 0.001 on the forms' diagonal: costs follow edge length
  // more and curvature less.
  bool StrongRegularisation = false;
  // Threads of the cost passes; 0: the program's worker count.
  int Threads = 0;
  // Told the progress caption and the collapses done and aimed at after
  // collapse 2, 1026, 2050, ...; true stops the run there (the shell's
  // handler: Esc held). The caption, "#%dk->%dk, (%.01fs) %s" with the
  // thousands of faces before and now, the seconds and the words of
  // "EscToStop", is renewed every 8192 collapses; its '#' tells the text
  // table it is ready-made. Empty: ReportProgress.
  std::function<bool(const char* caption, int64_t done, int64_t total)> Progress;
  // When set, every collapse is appended here, for a SimpSlider over
  // BuiltIndices().
  CollapseLog* Record = nullptr;
  // Shows the dialog of `params` under `titleKey`; false when declined.
  // Empty: Simplify(ratio, true) runs with the last share asked for.
  std::function<bool(BaseClass& params, const char* titleKey)> Ask;

  // Appends a triangle list (3 indices per triangle into `positions`, xyz
  // each); its indices are offset by the vertices already held. Triangles
  // with a repeated or out-of-range index are skipped. `name` names the
  // surface's object in Extract.
  void AddSurface(const float* positions, int vertexCount, const uint32_t* indices, int indexCount,
                  const std::string& name = {});
  void AddSurface(const WeldedMeshBuilder& mesh, const std::string& name = {});
  // Builds half-edges, valences and the first costs. False when no
  // triangle was added.
  bool Build();
  // Removes the fraction `ratio` of the faces (0..1), or with `ask` the
  // share the dialog gives (it offers the last share asked for; a zero share
  // or a declined dialog changes nothing). The run ends early when no legal
  // collapse is left or Progress says stop. On return ratio holds the share
  // in percent. False when nothing was run.
  bool Simplify(float& ratio, bool ask);
  // The surviving vertices and triangles, one object per added surface,
  // all with the one material "VoxMtl"; vertices are renumbered densely in
  // their old order. Replaces what `out` held.
  void Extract(comms::cMesh& out) const;

  // --- the state, for reading ---
  const std::vector<Vertex>& Vertices() const { return verts_; }
  const std::vector<HalfEdge>& HalfEdges() const { return edges_; }
  const std::vector<Face>& Faces() const { return faces_; }
  int Collapses() const { return collapses_; }
  // Three vertex indices per triangle, as built.
  const std::vector<uint32_t>& BuiltIndices() const { return indices_; }
  int LiveFaces() const { return (int)faces_.size() - removedFaces_; }
  // True when the last Simplify stopped because Progress said so.
  bool Stopped() const { return stopped_; }
  // The form of vertex v over the triangles round it now.
  Quadric FormOf(int v) const;
  // The cost of collapsing v along its outgoing half-edge h, legal or not.
  float CostOf(int v, int h) const;
  // May v collapse into the head w of its outgoing half-edge h? Both must
  // be on a boundary or both inside (and two boundary vertices only along
  // their boundary edge); the neighbours they share must be exactly the third
  // vertices of the edge's triangles, and no triangle across the outer rim
  // of v's fan may have w opposite (so a tetrahedron stays); each third
  // vertex, which loses an edge, must keep at least 3 (2 on a boundary);
  // and no triangle of v that stays may turn over.
  bool IsLegal(int v, int h) const;
  // The head of h (the origin of its next).
  int Head(int h) const { return edges_[edges_[h].next].vertex; }

 private:
  // The outgoing half-edge after h round its origin (next.next.twin), -1 at
  // a boundary.
  int NextOut(int h) const { return edges_[edges_[edges_[h].next].next].twin; }
  // Sets best and cost of v from its legal outgoing half-edges.
  void FindBest(int v);
  // Costs of `list` on all threads, then the vertices with a best go into
  // the heap, in list order.
  void ComputeCosts(const std::vector<int>& list);
  void MarkDirty(int v);
  void FlushDirty();
  // The cheapest live vertex with a legal best, or -1 when none is left.
  int TakeCheapest();
  // Collapses v along its outgoing half-edge h into the head.
  void Collapse(int v, int h);
  // The outgoing half-edge of v to start a walk from: its boundary one when
  // v is on a boundary.
  int WalkStart(int v, int any) const;
  // Vertices that are not one disk fan (pinches and edges of three faces in
  // the input) never move and never take another vertex.
  bool Fixed(int v) const { return fixed_[v] != 0; }

  std::vector<Vertex> verts_;
  std::vector<HalfEdge> edges_;
  std::vector<Face> faces_;
  std::vector<uint32_t> indices_;  // three per triangle, as built
  std::vector<int> surfaceFirstFace_;
  std::vector<std::string> surfaceNames_;
  std::vector<uint8_t> fixed_, dirtyMark_;
  std::vector<int> dirty_;
  std::vector<int> scratch_;  // the collapse's outgoing half-edges of v
  VertexHeap<Vertex> heap_{verts_};
  int collapses_ = 0, removedFaces_ = 0, startVertices_ = 0;
  bool built_ = false, stopped_ = false;
  DecimationParams params_;
};

// The share of faces that the last asked-for reduction removed, 0..1: the
// dialog offers it again.
float& LastReductionRatio();
