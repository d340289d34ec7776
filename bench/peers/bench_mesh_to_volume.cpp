// Side by side with OpenVDB: the same triangle meshes into a narrow-band
// volume at the same voxel size and band, two threads each. Ours is the
// triangle collector and MergeIntoVolume into a new volume; OpenVDB's is
// openvdb::tools::meshToLevelSet. Prints a summary with the ratio after the
// benchmarks.
#include <benchmark/benchmark.h>
#include <openvdb/openvdb.h>
#include <openvdb/tools/MeshToVolume.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"

namespace {
constexpr int kThreads = 2;
constexpr int kBand = 4;  // our field ramps over 4 voxels: a half width of 2 in OpenVDB's terms
const char* kBunny = "/usr/share/glmark2/models/bunny.obj";

struct Input {
  std::string name;
  std::vector<float> positions;  // lattice units
  std::vector<uint32_t> indices;
  size_t Triangles() const { return indices.size() / 3; }
};

// Inputs 0..2: marching-cubes spheres of radius 100, 200, 400 (0.38M, 1.5M,
// 6M triangles); 3..5: the bunny with its largest extent 128, 256, 512 voxels.
const Input& GetInput(int which) {
  static std::map<int, Input> made;
  auto it = made.find(which);
  if (it != made.end()) return it->second;
  Input in;
  if (which < 3) {
    const int r = 100 << which;
    VolumeObject v;
    FillVolume(v, SphereShape(0.31f, -0.17f, 0.12f, (float)r));
    v.UpdateSurface();
    WeldedMeshBuilder m;
    v.ExtractWeldedAll(m);
    in.name = "sphere r" + std::to_string(r);
    in.positions = m.Positions;
    in.indices = m.Indices;
  } else {
    const int size = 128 << (which - 3);
    in.name = "bunny " + std::to_string(size) + " voxels";
    std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(kBunny));
    if (mesh) {
      float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
      for (const auto& p : mesh->positions) {
        const float q[3] = {p.x, p.y, p.z};
        for (int a = 0; a < 3; ++a) lo[a] = std::min(lo[a], q[a]), hi[a] = std::max(hi[a], q[a]);
      }
      const float s = size / std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]});
      for (const auto& p : mesh->positions)
        in.positions.insert(in.positions.end(), {(p.x - lo[0]) * s + 0.3f, (p.y - lo[1]) * s - 0.2f, (p.z - lo[2]) * s});
      mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
        for (int k = 1; k + 1 < h.a; ++k) in.indices.insert(in.indices.end(), {(uint32_t)c[0].a, (uint32_t)c[k].a, (uint32_t)c[k + 1].a});
      });
    }
  }
  return made.emplace(which, std::move(in)).first->second;
}

struct Figures {
  double oursMs = 0, vdbMs = 0;
  size_t triangles = 0;
  long long oursCells = 0, vdbLeaves = 0;
};
std::map<int, Figures> gFigures;

void BM_OursMeshToVolume(benchmark::State& state) {
  const int which = (int)state.range(0);
  const Input& in = GetInput(which);
  if (in.indices.empty()) {
    state.SkipWithError("input mesh not installed (scripts/deps.sh --tests)");
    return;
  }
  ThreadOptions::MaxProcessorsToBeUsed = kThreads;
  long long cells = 0;
  for (auto _ : state) {
    VolumeObject v;
    v.BandWidth = kBand;
    TriangleCollector collector;
    const float* p = in.positions.data();
    for (size_t t = 0; t < in.indices.size(); t += 3)
      collector.AddTriangle(p + in.indices[t] * 3, p + in.indices[t + 1] * 3, p + in.indices[t + 2] * 3);
    MergeIntoVolume(collector, v, kMergeUnion, false);
    cells = v.CellCount();
  }
  gFigures[which].triangles = in.Triangles();
  gFigures[which].oursCells = cells;
  state.counters["Mtri/s"] = benchmark::Counter(in.Triangles() * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_OpenVDBMeshToLevelSet(benchmark::State& state) {
  const int which = (int)state.range(0);
  const Input& in = GetInput(which);
  if (in.indices.empty()) {
    state.SkipWithError("input mesh not installed (scripts/deps.sh --tests)");
    return;
  }
  tbb::global_control limit(tbb::global_control::max_allowed_parallelism, kThreads);
  std::vector<openvdb::Vec3s> points(in.positions.size() / 3);
  for (size_t i = 0; i < points.size(); ++i)
    points[i] = openvdb::Vec3s(in.positions[i * 3], in.positions[i * 3 + 1], in.positions[i * 3 + 2]);
  std::vector<openvdb::Vec3I> triangles(in.Triangles());
  for (size_t t = 0; t < triangles.size(); ++t)
    triangles[t] = openvdb::Vec3I(in.indices[t * 3], in.indices[t * 3 + 1], in.indices[t * 3 + 2]);
  auto xform = openvdb::math::Transform::createLinearTransform(1.0);
  long long leaves = 0;
  for (auto _ : state) {
    auto grid = openvdb::tools::meshToLevelSet<openvdb::FloatGrid>(*xform, points, triangles, kBand / 2.0f);
    leaves = (long long)grid->tree().leafCount();
  }
  gFigures[which].vdbLeaves = leaves;
  state.counters["Mtri/s"] = benchmark::Counter(in.Triangles() * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

// Records the mean real time of each run for the summary.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const std::string name = run.benchmark_name();
      const size_t slash = name.find('/');
      if (slash == std::string::npos) continue;
      const int which = std::atoi(name.c_str() + slash + 1);
      const double ms = run.GetAdjustedRealTime();
      if (name.find("Ours") != std::string::npos) gFigures[which].oursMs = ms;
      if (name.find("OpenVDB") != std::string::npos) gFigures[which].vdbMs = ms;
    }
    ConsoleReporter::ReportRuns(runs);
  }
};
}  // namespace

BENCHMARK(BM_OursMeshToVolume)->DenseRange(0, 5)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenVDBMeshToLevelSet)->DenseRange(0, 5)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
  openvdb::initialize();
  benchmark::Initialize(&argc, argv);
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printf("\nMesh to volume, %d threads each, voxel size 1, band %d voxels (OpenVDB half width %g)\n", kThreads, kBand,
         kBand / 2.0);
  printf("%-20s %10s | %9s %8s %8s | %9s %8s %8s | %s\n", "input", "triangles", "ours ms", "Mtri/s", "cells",
         "VDB ms", "Mtri/s", "leaves", "ratio ours/meshToLevelSet");
  for (auto& [which, f] : gFigures) {
    if (!f.oursMs || !f.vdbMs) continue;
    printf("%-20s %10zu | %9.1f %8.2f %8lld | %9.1f %8.2f %8lld | %.2fx\n", GetInput(which).name.c_str(), f.triangles,
           f.oursMs, f.triangles / f.oursMs / 1e3, f.oursCells, f.vdbMs, f.triangles / f.vdbMs / 1e3, f.vdbLeaves,
           f.vdbMs / f.oursMs);
  }
  benchmark::Shutdown();
  return 0;
}
