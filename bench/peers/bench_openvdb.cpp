// Side by side with OpenVDB: the same spheres from the same signed distance,
// full surface extraction with two threads in both, and memory per cell.
// Prints a summary with the ratio ours / OpenVDB after the benchmarks.
#include <benchmark/benchmark.h>
#include <openvdb/openvdb.h>
#include <openvdb/tools/LevelSetSphere.h>
#include <openvdb/tools/VolumeToMesh.h>
#include <tbb/global_control.h>

#include <chrono>
#include <cstdio>
#include <map>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"

namespace {
constexpr int kThreads = 2;

double MsSince(std::chrono::steady_clock::time_point t) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t).count();
}

struct Figures {
  double oursMs = 0, vdbMs = 0, oursColdMs = 0, vdbColdMs = 0;
  long long oursTris = 0, vdbTris = 0;
  double oursSurfaceVoxelBytes = 0, oursSurfaceCellBytes = 0, oursInteriorCellBytes = 0, vdbBytes = 0, vdbLeafBytes = 0;
  long long oursSurfaceCells = 0, oursInteriorCells = 0, vdbLeaves = 0;
};
std::map<int, Figures> gFigures;

long long OurTriangles(VolumeObject& v) {
  long long n = 0;
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->Surface) n += c->Surface->Indices.Count / 3;
  });
  return n;
}

// Bytes of our records: the cell record and its map slot for every cell, plus
// the voxel block and the surface record and lists for a surface cell.
void OurMemory(VolumeObject& v, Figures& f) {
  const double cellBytes = 16 + ((sizeof(VoxelCell) + 15) & ~15) + sizeof(CellKeyMap<VoxelCell*>::Entry);
  const double blockBytes = 16 + ((kCellVoxels * 2 + 15) & ~15);
  const double surfaceBytes = 16 + ((sizeof(CellSurface) + 15) & ~15);
  double surfaceTotal = 0;
  f.oursSurfaceCells = f.oursInteriorCells = 0;
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->Surface && c->Surface->Vertices.Count) {
      ++f.oursSurfaceCells;
      surfaceTotal += cellBytes + (c->Voxels ? blockBytes : 0) + surfaceBytes +
                      c->Surface->Vertices.Capacity * sizeof(MCVertex) + c->Surface->Indices.Capacity * 2;
    } else if (!c->Voxels && c->Fill == 65535) {
      ++f.oursInteriorCells;
    }
  });
  f.oursSurfaceCellBytes = surfaceTotal / std::max<long long>(1, f.oursSurfaceCells);
  f.oursSurfaceVoxelBytes = cellBytes + blockBytes;
  f.oursInteriorCellBytes = cellBytes;
}

void BM_OursSphereExtract(benchmark::State& state) {
  const int r = (int)state.range(0);
  ThreadOptions::MaxProcessorsToBeUsed = kThreads;
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, (float)r));
  std::vector<CellKey> band;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Voxels) band.push_back(k);
  });
  // The first extraction also creates every surface record and list: timed
  // apart as the cold figure. The loop measures re-extraction, as sculpting does.
  const auto cold = std::chrono::steady_clock::now();
  v.UpdateSurface();
  gFigures[r].oursColdMs = MsSince(cold);
  for (auto _ : state) {
    state.PauseTiming();
    for (const CellKey& k : band) v.MarkDirty(k.x, k.y, k.z, false);
    state.ResumeTiming();
    v.UpdateSurface();
  }
  Figures& f = gFigures[r];
  f.oursTris = OurTriangles(v);
  OurMemory(v, f);
  state.counters["triangles"] = (double)f.oursTris;
  state.counters["Mtri/s"] = benchmark::Counter(f.oursTris * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_OpenVDBSphereExtract(benchmark::State& state) {
  const int r = (int)state.range(0);
  tbb::global_control limit(tbb::global_control::max_allowed_parallelism, kThreads);
  // Same distance, same band: two voxels each side of the surface.
  auto grid = openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>((float)r, openvdb::Vec3f(0, 0, 0), 1.0f, 2.0f);
  std::vector<openvdb::Vec3s> points;
  std::vector<openvdb::Vec3I> triangles;
  std::vector<openvdb::Vec4I> quads;
  const auto cold = std::chrono::steady_clock::now();
  openvdb::tools::volumeToMesh(*grid, points, triangles, quads, 0.0, 0.0);
  gFigures[r].vdbColdMs = MsSince(cold);
  for (auto _ : state) {
    points.clear();
    triangles.clear();
    quads.clear();
    openvdb::tools::volumeToMesh(*grid, points, triangles, quads, 0.0, 0.0);
  }
  Figures& f = gFigures[r];
  f.vdbTris = (long long)triangles.size() + 2 * (long long)quads.size();
  f.vdbBytes = (double)grid->memUsage();
  f.vdbLeaves = (long long)grid->tree().leafCount();
  f.vdbLeafBytes = f.vdbBytes / std::max<long long>(1, f.vdbLeaves);
  state.counters["triangles"] = (double)f.vdbTris;
  state.counters["Mtri/s"] = benchmark::Counter(f.vdbTris * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

// Records the mean real time of each run for the summary.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      const std::string name = run.benchmark_name();
      const size_t slash = name.find('/');
      if (slash == std::string::npos) continue;
      const int r = std::atoi(name.c_str() + slash + 1);
      const double ms = run.GetAdjustedRealTime();
      if (name.find("Ours") != std::string::npos) gFigures[r].oursMs = ms;
      if (name.find("OpenVDB") != std::string::npos) gFigures[r].vdbMs = ms;
    }
    ConsoleReporter::ReportRuns(runs);
  }
};
}  // namespace

BENCHMARK(BM_OursSphereExtract)->Arg(100)->Arg(200)->Arg(400)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenVDBSphereExtract)->Arg(100)->Arg(200)->Arg(400)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
  openvdb::initialize();
  benchmark::Initialize(&argc, argv);
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printf("\nFull extraction, %d threads each (warm: repeated extraction; cold: the first one)\n", kThreads);
  printf("radius  ours: tris   warm ms   Mtri/s   cold ms | OpenVDB: tris   warm ms   Mtri/s   cold ms | rate ours/OpenVDB warm, cold\n");
  for (auto& [r, f] : gFigures) {
    if (!f.oursMs || !f.vdbMs) continue;
    const double ours = f.oursTris / f.oursMs / 1e3, vdb = f.vdbTris / f.vdbMs / 1e3;
    printf("%6d  %10lld %9.1f %8.2f %9.1f | %13lld %9.1f %8.2f %9.1f | %.2f, %.2f\n", r, f.oursTris, f.oursMs, ours,
           f.oursColdMs, f.vdbTris, f.vdbMs, vdb, f.vdbColdMs, ours / vdb, f.vdbColdMs / f.oursColdMs);
  }
  printf("\nMemory (an 8^3 cell against an 8^3 leaf; OpenVDB keeps no interior cells and no triangles)\n");
  printf("radius  ours: surface cells  voxel bytes/cell  with triangles  interior cells  bytes/cell | OpenVDB: memUsage  leaves  bytes/leaf\n");
  for (auto& [r, f] : gFigures)
    printf("%6d  %19lld %17.0f %15.0f %15lld %11.0f | %17.0f %7lld %11.0f\n", r, f.oursSurfaceCells,
           f.oursSurfaceVoxelBytes, f.oursSurfaceCellBytes, f.oursInteriorCells, f.oursInteriorCellBytes, f.vdbBytes,
           f.vdbLeaves, f.vdbLeafBytes);
  benchmark::Shutdown();
  return 0;
}
