// The render room and the volume cache: accumulated frames per second of the
// headless renderer for a 2M-triangle scene at 1280 x 720, on the processor
// and on the graphics card, and a 400-voxel sphere cached out and back in,
// against a plain sequential write and read of the same number of bytes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "MC/cache/VolumeCache.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "ClassEngine/DataFolder.h"
#include "MC/render/VolumeRender.h"
#include "interchange/Image.h"
#include "render/EglContext.h"
#include "render/RenderGL.h"

namespace {

// A UV sphere of n x n quads (2 n^2 triangles) on a floor quad.
std::vector<float> SphereOnFloor(int n) {
  std::vector<float> t;
  t.reserve((size_t)n * n * 18 + 18);
  auto at = [&](int i, int j) {
    const float th = 3.14159265f * i / n, ph = 6.2831853f * j / n;
    return std::array<float, 3>{30 * std::sin(th) * std::cos(ph), 30 + 30 * std::cos(th), 30 * std::sin(th) * std::sin(ph)};
  };
  auto put = [&](const std::array<float, 3>& p) { t.insert(t.end(), p.begin(), p.end()); };
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      put(at(i, j)), put(at(i + 1, j)), put(at(i + 1, j + 1));
      put(at(i, j)), put(at(i + 1, j + 1)), put(at(i, j + 1));
    }
  const float f = 120;
  for (float v : {-f, 0.f, -f, f, 0.f, -f, f, 0.f, f, -f, 0.f, -f, f, 0.f, f, -f, 0.f, f}) t.push_back(v);
  return t;
}

void BM_RenderRoomFrames(benchmark::State& state) {
  const int n = (int)state.range(0);
  RenderParams params;
  VolumeRender r(params, 1280, 720);
  r.SetTriangles(SphereOnFloor(n));
  r.SetEye(r.FramingEye());
  for (auto _ : state) r.RenderFrame();
  state.counters["triangles"] = r.Triangles();
  state.counters["frames_per_s"] = benchmark::Counter((double)state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RenderRoomFrames)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(4);

// The same frames on the graphics card (EGL headless: llvmpipe here). The card
// works behind the calls, so each step is four frames and a read of the
// picture, which waits for them.
void BM_RenderRoomFramesOnCard(benchmark::State& state) {
  std::string why;
  auto context = comms::cEglContext::Create(64, 48, &why);
  comms::cRenderGL device;
  device.DataFolder = comms::DataFolder();
  if (!context || !device.Init(context.get(), 1) || !device.BeginFrame()) {
    state.SkipWithError(("no OpenGL 3.3 context: " + why).c_str());
    return;
  }
  RenderParams params;
  VolumeRender r(params, 1280, 720);
  r.SetTriangles(SphereOnFloor((int)state.range(0)));
  r.SetEye(r.FramingEye());
  if (!r.UseDevice(&device)) {
    state.SkipWithError("the device path is not available");
    return;
  }
  comms::cImage picture;
  for (auto _ : state) {
    for (int i = 0; i < 4; ++i) r.RenderFrame();
    r.Picture(picture, false);
  }
  state.counters["triangles"] = r.Triangles();
  state.counters["frames_per_s"] = benchmark::Counter(4.0 * (double)state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RenderRoomFramesOnCard)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

struct CachedSphere {
  VolumeObject v;
  CachedSphere() {
    FillVolume(v, SphereShape(0.5f, 0.25f, 0.125f, 200.f));  // 400 voxels across
    v.UpdateSurface();
  }
};

void BM_CacheOutAndIn(benchmark::State& state) {
  static CachedSphere sphere;
  const std::string folder = "/tmp/morvane-bench-cache";
  int64_t bytes = 0;
  double outSeconds = 0, inSeconds = 0;
  for (auto _ : state) {
    auto t0 = std::chrono::steady_clock::now();
    CacheVolume(sphere.v, DontShowCache, folder);
    auto t1 = std::chrono::steady_clock::now();
    bytes = (int64_t)std::filesystem::file_size(sphere.v.CacheName);
    RestoreFromCache(sphere.v);
    auto t2 = std::chrono::steady_clock::now();
    outSeconds += std::chrono::duration<double>(t1 - t0).count();
    inSeconds += std::chrono::duration<double>(t2 - t1).count();
  }
  ClearAllCache(folder);
  state.counters["file_MB"] = bytes / 1e6;
  state.counters["out_MB_per_s"] = bytes / 1e6 * state.iterations() / outSeconds;
  state.counters["in_MB_per_s"] = bytes / 1e6 * state.iterations() / inSeconds;
  state.SetBytesProcessed(bytes * 2 * state.iterations());
}
BENCHMARK(BM_CacheOutAndIn)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// The cache file's size (44.93 MB, measured above) written (with fsync, as the cache's save does)
// and read back in 1 MiB pieces.
void BM_RawSequentialWriteRead(benchmark::State& state) {
  const int64_t bytes = state.range(0);
  std::vector<char> piece(1 << 20, 7);
  const char* path = "/tmp/morvane-bench-raw.bin";
  double outSeconds = 0, inSeconds = 0;
  for (auto _ : state) {
    auto t0 = std::chrono::steady_clock::now();
    int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (int64_t done = 0; done < bytes; done += (int64_t)piece.size())
      benchmark::DoNotOptimize(::write(fd, piece.data(), (size_t)std::min<int64_t>((int64_t)piece.size(), bytes - done)));
    ::fsync(fd);
    ::close(fd);
    auto t1 = std::chrono::steady_clock::now();
    fd = ::open(path, O_RDONLY);
    while (::read(fd, piece.data(), piece.size()) > 0) {
    }
    ::close(fd);
    auto t2 = std::chrono::steady_clock::now();
    outSeconds += std::chrono::duration<double>(t1 - t0).count();
    inSeconds += std::chrono::duration<double>(t2 - t1).count();
  }
  std::remove(path);
  state.counters["out_MB_per_s"] = bytes / 1e6 * state.iterations() / outSeconds;
  state.counters["in_MB_per_s"] = bytes / 1e6 * state.iterations() / inSeconds;
}
BENCHMARK(BM_RawSequentialWriteRead)->Arg(44934900)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
