// Saving and loading the scene file at painter's sizes: a 1M-face
// micro-vertex mesh (4 x 4 grid a face) with 8 layers over every face, and a
// 4096 x 4096 per-pixel map with 8 layers painted over every tile. Each is
// measured beside a plain sequential write (with the same final sync) and
// read of the same number of bytes in the same run, as the counter "MB/s".
// Loading is measured cold (the file evicted from the page cache, beside a
// raw read from the disk) and warm (beside a raw read from the page cache),
// and shown warm without the loading stages (composition, cells, normals),
// which do not depend on the file.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include "bench/BenchSheet.h"
#include "ClassEngine/Threader.h"
#include "interchange/Mesh.h"
#include "paint/file/SceneFile.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneImport.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

struct Case {
  std::string path;
  int64_t bytes = 0;
  std::unique_ptr<PaintScene> scene;
};

Case& Micro() {
  static Case c;
  return c;
}
Case& Pixels() {
  static Case c;
  return c;
}

void Build(Case& c, bool perPixel) {
  if (c.scene || c.bytes) return;
  ThreadOptions::UseMultiCore = true;
  ThreadOptions::MaxProcessorsToBeUsed = 2;
  c.scene = std::make_unique<PaintScene>();
  PaintScene& s = *c.scene;
  DPSettings dp;
  dp.InitialSubdivision = 2;
  if (perPixel) {
    s.RtSizeX = s.RtSizeY = 4096;
    ImportMeshIntoScene(s, Sheet(64), PaintImportMode::PerPixel, dp);
    PixelMap* map = s.GetPixelMap(0);
    for (int l = 0; l < 8; l++) {
      int id = s.NewLayer(false);
      PixelCursor cur;
      for (int y = 0; y < 4096; y++)
        for (int x = 0; x < 4096; x++)
          if (map->FetchPixel(cur, x, y, true, false, false, id)) {
            LayerPixel& p = cur.Layer->Pixels[cur.Index];
            p.Color = 0xff000000u | (uint32_t)(x * 7 + l) << 8 | (uint32_t)y;
            p.Depth = (float)((x + y + l) % 17) / 100.0f;
            p.Specular = (uint8_t)(x ^ y);
          }
    }
  } else {
    ImportMeshIntoScene(s, Sheet(1000), PaintImportMode::MicroVertex, dp);
    for (int l = 0; l < 8; l++) {
      int id = s.NewLayer(false);
      for (int f = 0; f < (int)s.Faces.size(); f++) {
        FaceLayer* fl = s.GetFaceLayer(f, id, true);
        for (int i = 0; i < s.Faces[f].SampleCount(); i++) {
          fl->Data[i].Color = 0x80000000u | (uint32_t)(f * 31 + i * 7 + l);
          fl->Data[i].Opacity = 0.5f;
          fl->Data[i].Offset = comms::cVec3(0, 0, 0.001f * (i % 3));
        }
      }
    }
  }
  c.path = std::string(perPixel ? "bench_pixels" : "bench_micro") + ".mvn";
}

// A plain write of `bytes` in 8 MB pieces, then fsync, as the save does.
double RawWrite(const std::string& path, int64_t bytes) {
  std::vector<char> buf(8 << 20, 'x');
  auto t = Clock::now();
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  for (int64_t left = bytes; left > 0;) {
    ssize_t n = ::write(fd, buf.data(), (size_t)std::min<int64_t>(left, (int64_t)buf.size()));
    if (n <= 0) break;
    left -= n;
  }
  ::fsync(fd);
  ::close(fd);
  return Seconds(t);
}

double RawRead(const std::string& path) {
  std::vector<char> buf(8 << 20);
  auto t = Clock::now();
  int fd = ::open(path.c_str(), O_RDONLY);
  while (::read(fd, buf.data(), buf.size()) > 0) {
  }
  ::close(fd);
  return Seconds(t);
}

// Drops the file from the page cache, so that the next read comes from the
// disk, as when an artist opens a file.
void Evict(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDONLY);
  ::fdatasync(fd);
  ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
  ::close(fd);
}

void Save(benchmark::State& state, Case& c, bool perPixel) {
  Build(c, perPixel);
  for (auto _ : state) {
    auto t = Clock::now();
    SceneFileResult r = SaveSceneFile(*c.scene, c.path, {});
    double s = Seconds(t);
    if (!r.ok) state.SkipWithError(r.error.c_str());
    FILE* f = fopen(c.path.c_str(), "rb");
    fseek(f, 0, SEEK_END);
    c.bytes = ftell(f);
    fclose(f);
    double raw = RawWrite(c.path + ".raw", c.bytes);
    std::remove((c.path + ".raw").c_str());
    state.counters["MB"] = (double)c.bytes / 1e6;
    state.counters["MB/s"] = (double)c.bytes / 1e6 / s;
    state.counters["raw_MB/s"] = (double)c.bytes / 1e6 / raw;
  }
  c.scene.reset();  // the load below builds its own
}

// Cold: the file evicted before the raw read and before the load. Warm: the
// raw read and the load again, the file now in the page cache.
void Load(benchmark::State& state, Case& c) {
  auto load = [&](double& stages) {
    PaintScene scene;
    auto t = Clock::now();
    SceneFileResult r = LoadSceneFile(scene, c.path, {});
    double s = Seconds(t);
    if (!r.ok) state.SkipWithError(r.error.c_str());
    auto p = Clock::now();
    scene.Prepare();
    stages = Seconds(p);
    return s;
  };
  const double mb = (double)c.bytes / 1e6;
  for (auto _ : state) {
    double stages = 0;
    Evict(c.path);
    const double rawCold = RawRead(c.path);
    Evict(c.path);
    const double cold = load(stages);
    const double rawWarm = RawRead(c.path);
    const double warm = load(stages);
    state.counters["MB/s"] = mb / warm;
    state.counters["raw_MB/s"] = mb / rawWarm;
    state.counters["ratio"] = rawWarm / warm;
    state.counters["MB/s_cold"] = mb / cold;
    state.counters["raw_MB/s_cold"] = mb / rawCold;
    state.counters["ratio_cold"] = rawCold / cold;
    state.counters["MB/s_file"] = mb / std::max(1e-6, warm - stages);
  }
  std::remove(c.path.c_str());
}

void BM_SaveMicroVertex1M8Layers(benchmark::State& state) { Save(state, Micro(), false); }
void BM_LoadMicroVertex1M8Layers(benchmark::State& state) { Load(state, Micro()); }
void BM_SavePerPixel4K8Layers(benchmark::State& state) { Save(state, Pixels(), true); }
void BM_LoadPerPixel4K8Layers(benchmark::State& state) { Load(state, Pixels()); }

}  // namespace

BENCHMARK(BM_SaveMicroVertex1M8Layers)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
BENCHMARK(BM_LoadMicroVertex1M8Layers)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
BENCHMARK(BM_SavePerPixel4K8Layers)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
BENCHMARK(BM_LoadPerPixel4K8Layers)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
