// Side by side with OpenVDB: the same shapes from the same signed distance
// (spheres, a noise-displaced blob, a thin gyroid shell), full surface
// extraction with two threads in both, cold (the first extraction of a freshly
// filled volume) and warm (repeated) from one run, and memory per cell.
// Prints a summary with the ratio ours / OpenVDB after the benchmarks.
#include <benchmark/benchmark.h>
#include <openvdb/openvdb.h>
#include <openvdb/tools/LevelSetSphere.h>
#include <openvdb/tools/SignedFloodFill.h>
#include <openvdb/tools/VolumeToMesh.h>
#include <tbb/global_control.h>

#include <sys/resource.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"

namespace {
constexpr int kThreads = 2;

double MsSince(std::chrono::steady_clock::time_point t) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t).count();
}

long MinorFaults() {
  rusage u;
  getrusage(RUSAGE_SELF, &u);
  return u.ru_minflt;
}

// Milliseconds of processor time of the whole process (every thread): on a
// machine shared with other work, what the extraction itself costs.
double ProcessCpuMs() {
  rusage u;
  getrusage(RUSAGE_SELF, &u);
  return (u.ru_utime.tv_sec + u.ru_stime.tv_sec) * 1e3 + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) * 1e-3;
}

// The shapes by benchmark argument: spheres of radius 100, 200, 400, then a
// blob and a gyroid shell (both about 300 voxels across).
constexpr int kBlob = 1, kGyroid = 2;
const char* ShapeName(int arg) {
  static char name[32];
  if (arg == kBlob) return "blob";
  if (arg == kGyroid) return "gyroid";
  std::snprintf(name, sizeof name, "sphere %d", arg);
  return name;
}

// A gyroid of period 48 voxels cut to a shell about 3 voxels thick, inside a
// sphere of radius 150: thin walls everywhere, so nearly every cell is a
// surface cell.
float GyroidShell(float x, float y, float z) {
  constexpr float s = 2.f * 3.14159265f / 48.f;
  const float g = std::sin(s * x) * std::cos(s * y) + std::sin(s * y) * std::cos(s * z) + std::sin(s * z) * std::cos(s * x);
  const float wall = (0.3f - std::fabs(g)) / (1.5f * s);
  return std::min(wall, 150.f - std::sqrt(x * x + y * y + z * z));
}

std::unique_ptr<DensityShape> MakeShape(int arg) {
  if (arg == kBlob) return std::make_unique<NoiseShape>(0.f, 0.f, 0.f, 130.f, 20.f, 40.f, 7u);
  if (arg == kGyroid) {
    const float mn[3] = {-151, -151, -151}, mx[3] = {151, 151, 151};
    return std::make_unique<FunctionShape>(GyroidShell, mn, mx, 2.5f);
  }
  return std::make_unique<SphereShape>(0.f, 0.f, 0.f, (float)arg);
}

// OpenVDB's level set of a shape with the same narrow band (two voxels each
// side): the distance at every lattice point of our band cells, then the
// sign flooded through the rest.
openvdb::FloatGrid::Ptr VdbGrid(int arg) {
  if (arg != kBlob && arg != kGyroid)
    return openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>((float)arg, openvdb::Vec3f(0, 0, 0), 1.0f, 2.0f);
  const std::unique_ptr<DensityShape> shape = MakeShape(arg);
  VolumeObject v;
  FillVolume(v, *shape);
  auto grid = openvdb::FloatGrid::create(2.0f);
  grid->setGridClass(openvdb::GRID_LEVEL_SET);
  auto acc = grid->getAccessor();
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Voxels) return;
    for (int z = 0; z < 8; ++z)
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
          const int p[3] = {k.x * 8 + x, k.y * 8 + y, k.z * 8 + z};
          const float d = -shape->Distance((float)p[0], (float)p[1], (float)p[2]);
          if (std::fabs(d) < 2.0f) acc.setValue(openvdb::Coord(p[0], p[1], p[2]), d);
        }
  });
  openvdb::tools::signedFloodFill(grid->tree());
  return grid;
}

struct Figures {
  double oursMs = 0, vdbMs = 0, oursColdMs = 0, vdbColdMs = 0;
  long oursColdFaults = 0, oursWarmFaults = 0;
  double oursCpu = 0, oursColdCpu = 0, vdbCpu = 0, vdbColdCpu = 0;  // process CPU ms per pass
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

void BM_OursExtract(benchmark::State& state) {
  const int r = (int)state.range(0);
  ThreadOptions::MaxProcessorsToBeUsed = kThreads;
  VolumeObject v;
  FillVolume(v, *MakeShape(r));
  std::vector<CellKey> band;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Voxels) band.push_back(k);
  });
  // The first extraction also creates every surface record and list: timed
  // apart as the cold figure. The loop measures re-extraction, as sculpting does.
  const long faults = MinorFaults();
  const double coldCpu = ProcessCpuMs();
  const auto cold = std::chrono::steady_clock::now();
  v.UpdateSurface();
  gFigures[r].oursColdMs = MsSince(cold);
  gFigures[r].oursColdCpu = ProcessCpuMs() - coldCpu;
  gFigures[r].oursColdFaults = MinorFaults() - faults;
  long warmFaults = 0;
  double warmCpu = 0;
  for (auto _ : state) {
    state.PauseTiming();
    for (const CellKey& k : band) v.MarkDirty(k.x, k.y, k.z, false);
    const long before = MinorFaults();
    const double cpu = ProcessCpuMs();
    state.ResumeTiming();
    v.UpdateSurface();
    state.PauseTiming();
    warmCpu += ProcessCpuMs() - cpu;
    warmFaults += MinorFaults() - before;
    state.ResumeTiming();
  }
  Figures& f = gFigures[r];
  f.oursWarmFaults = warmFaults / std::max<long>(1, (long)state.iterations());
  f.oursCpu = warmCpu / std::max<double>(1, (double)state.iterations());
  f.oursTris = OurTriangles(v);
  OurMemory(v, f);
  state.counters["triangles"] = (double)f.oursTris;
  state.counters["Mtri/s"] = benchmark::Counter(f.oursTris * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_OpenVDBExtract(benchmark::State& state) {
  const int r = (int)state.range(0);
  tbb::global_control limit(tbb::global_control::max_allowed_parallelism, kThreads);
  // Same distance, same band: two voxels each side of the surface.
  auto grid = VdbGrid(r);
  std::vector<openvdb::Vec3s> points;
  std::vector<openvdb::Vec3I> triangles;
  std::vector<openvdb::Vec4I> quads;
  const double coldCpu = ProcessCpuMs();
  const auto cold = std::chrono::steady_clock::now();
  openvdb::tools::volumeToMesh(*grid, points, triangles, quads, 0.0, 0.0);
  gFigures[r].vdbColdMs = MsSince(cold);
  gFigures[r].vdbColdCpu = ProcessCpuMs() - coldCpu;
  const double warmCpu = ProcessCpuMs();
  for (auto _ : state) {
    points.clear();
    triangles.clear();
    quads.clear();
    openvdb::tools::volumeToMesh(*grid, points, triangles, quads, 0.0, 0.0);
  }
  Figures& f = gFigures[r];
  f.vdbCpu = (ProcessCpuMs() - warmCpu) / std::max<double>(1, (double)state.iterations());
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

BENCHMARK(BM_OursExtract)->Arg(100)->Arg(200)->Arg(400)->Arg(kBlob)->Arg(kGyroid)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenVDBExtract)->Arg(100)->Arg(200)->Arg(400)->Arg(kBlob)->Arg(kGyroid)->Iterations(4)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
  openvdb::initialize();
  benchmark::Initialize(&argc, argv);
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printf("\nFull extraction, %d threads each (warm: repeated extraction; cold: the first one; faults: minor page faults of ours)\n", kThreads);
  printf("shape       ours: tris   warm ms   Mtri/s   cold ms  faults cold, warm | OpenVDB: tris   warm ms   Mtri/s   cold ms | rate ours/OpenVDB warm, cold\n");
  for (auto& [r, f] : gFigures) {
    if (!f.oursMs || !f.vdbMs) continue;
    const double ours = f.oursTris / f.oursMs / 1e3, vdb = f.vdbTris / f.vdbMs / 1e3;
    const double oursCold = f.oursTris / f.oursColdMs / 1e3, vdbCold = f.vdbTris / f.vdbColdMs / 1e3;
    printf("%-10s %11lld %9.1f %8.2f %9.1f %7ld, %5ld | %13lld %9.1f %8.2f %9.1f | %.2f, %.2f\n", ShapeName(r), f.oursTris,
           f.oursMs, ours, f.oursColdMs, f.oursColdFaults, f.oursWarmFaults, f.vdbTris, f.vdbMs, vdb, f.vdbColdMs,
           ours / vdb, oursCold / vdbCold);
  }
  printf("\nThe same passes in processor time of the whole process (ms, every thread), rate per CPU ms\n");
  printf("shape      ours: warm   cold | OpenVDB: warm   cold | rate ours/OpenVDB warm, cold\n");
  for (auto& [r, f] : gFigures) {
    if (!f.oursCpu || !f.vdbCpu) continue;
    const double warm = (f.oursTris / f.oursCpu) / (f.vdbTris / f.vdbCpu);
    const double cold = (f.oursTris / f.oursColdCpu) / (f.vdbTris / f.vdbColdCpu);
    printf("%-10s %10.1f %6.1f | %13.1f %6.1f | %.2f, %.2f\n", ShapeName(r), f.oursCpu, f.oursColdCpu, f.vdbCpu,
           f.vdbColdCpu, warm, cold);
  }
  printf("\nMemory (an 8^3 cell against an 8^3 leaf; OpenVDB keeps no interior cells and no triangles)\n");
  printf("shape      ours: surface cells  voxel bytes/cell  with triangles  interior cells  bytes/cell | OpenVDB: memUsage  leaves  bytes/leaf\n");
  for (auto& [r, f] : gFigures)
    printf("%-10s %19lld %17.0f %15.0f %15lld %11.0f | %17.0f %7lld %11.0f\n", ShapeName(r), f.oursSurfaceCells,
           f.oursSurfaceVoxelBytes, f.oursSurfaceCellBytes, f.oursInteriorCells, f.oursInteriorCellBytes, f.vdbBytes,
           f.vdbLeaves, f.vdbLeafBytes);
  benchmark::Shutdown();
  return 0;
}
