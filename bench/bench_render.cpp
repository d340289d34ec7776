// Render timings, offscreen through headless EGL: one frame of a voxel
// surface of about 2 million triangles in its render groups (background,
// every group drawn with the volume shader, finished on the device), the
// upload of all groups into device meshes, and a panel's worth of 2D calls.
#include <benchmark/benchmark.h>

#include <memory>

#include "ClassEngine/DataFolder.h"
#include "MC/mcubes/VolumeDraw.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "render/Background.h"
#include "render/EglContext.h"
#include "render/RenderGL.h"

using namespace comms;

namespace {

struct Scene {
  std::unique_ptr<cEglContext> context;
  std::unique_ptr<cRenderGL> render;
  std::unique_ptr<VolumeObject> volume;
  cFreeViewer camera;
  long long triangles = 0;
  int groups = 0;
};

std::string DataFolder() { return comms::DataFolder(); }

// Made once: a sphere of radius 230 voxels gives about 2M triangles.
Scene* GetScene() {
  static std::unique_ptr<Scene> scene = [] {
    auto s = std::make_unique<Scene>();
    std::string why;
    s->context = cEglContext::Create(1280, 720, &why);
    if (!s->context) return std::unique_ptr<Scene>();
    s->render = std::make_unique<cRenderGL>();
    s->render->DataFolder = DataFolder();
    if (!s->render->Init(s->context.get(), 1)) return std::unique_ptr<Scene>();
    s->volume = std::make_unique<VolumeObject>();
    FillVolume(*s->volume, SphereShape(0, 0, 0, 230));
    s->volume->UpdateSurface();
    s->volume->RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) {
      if (!g.Mesh) return;
      s->triangles += g.Mesh->IndexCount() / 3;
      ++s->groups;
    });
    s->camera.Fov = 50;
    FrameVolume(*s->volume, s->camera);
    s->camera.ViewRect = cRect(0, 0, 1280, 720);
    s->camera.Update();
    return s;
  }();
  return scene.get();
}

void BM_VolumeFrame(benchmark::State& state) {
  Scene* s = GetScene();
  if (!s) {
    state.SkipWithError("no headless OpenGL context");
    return;
  }
  VolumeDrawer drawer(*s->render);
  drawer.Sync(*s->volume);
  cBackground background;
  int draws = 0;
  for (auto _ : state) {
    s->render->BeginFrame();
    s->render->SetCamera(&s->camera);
    s->render->Clear(true, true, 0xff000000u, 1.0f);
    background.Draw(*s->render, s->camera);
    drawer.Draw(*s->volume, s->camera);
    s->render->EndFrame();
    s->render->Finish();
    draws = s->render->DrawCallsThisFrame();
  }
  state.counters["triangles"] = double(s->triangles);
  state.counters["groups"] = s->groups;
  state.counters["draw_calls"] = draws;
  state.counters["Mtri/s"] = benchmark::Counter(double(s->triangles) * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_VolumeFrame)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

void BM_UploadAllGroups(benchmark::State& state) {
  Scene* s = GetScene();
  if (!s) {
    state.SkipWithError("no headless OpenGL context");
    return;
  }
  for (auto _ : state) {
    VolumeDrawer drawer(*s->render);
    benchmark::DoNotOptimize(drawer.Sync(*s->volume));
    s->render->Finish();
  }
  state.counters["groups"] = s->groups;
}
BENCHMARK(BM_UploadAllGroups)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_TwoDPanel(benchmark::State& state) {
  Scene* s = GetScene();
  if (!s) {
    state.SkipWithError("no headless OpenGL context");
    return;
  }
  s->render->BeginFrame();
  s->render->SetCamera(nullptr);
  int draws = 0;
  for (auto _ : state) {
    const int before = s->render->DrawCallsThisFrame();
    for (int i = 0; i < 1000; i++) {
      float x = float(i % 40) * 30, y = float(i / 40) * 20;
      s->render->FillRect(cRect(x, y, x + 28, y + 18), 0, 0xff404448u);
      s->render->DrawFrame(cRect(x, y, x + 28, y + 18), 0, 0xff808080u);
    }
    s->render->Flush2D();
    s->render->Finish();
    draws = s->render->DrawCallsThisFrame() - before;
  }
  state.counters["calls"] = 2000;
  state.counters["draw_calls"] = draws;
}
BENCHMARK(BM_TwoDPanel)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
