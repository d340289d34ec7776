// Widget costs: BuildClassPanel on a class of 250 rows, and one frame of
// layout, hit test and draw of a 5,000-widget tree through a renderer that
// draws nothing. The frame benchmark counts heap allocations with a replaced
// operator new and reports them per frame ("allocs/frame"): in steady state
// it must be 0.
// GCC takes the replaced operators below for a mismatch of new and free.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "ClassEngine/ExMalloc.h"
#include "interface/ClassPanel.h"
#include "interface/UiContext.h"
#include "interface/WidgetTree.h"
#include "render/NullRender.h"

namespace {
std::atomic<long> gAllocations{0};
}  // namespace

void* operator new(size_t size) {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace {
// Reflected objects come from cExMalloc; its system heap counts too.
void* CountedMalloc(size_t size) {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size);
}
}  // namespace

namespace {
// The null renderer without its call log: the 2D calls only count.
class CountingRender : public comms::cNullRender {
 public:
  long calls = 0;
  void DrawLine(float, float, float, float, float, uint32_t, uint32_t) override { ++calls; }
  void DrawFrame(const comms::cRect&, float, uint32_t) override { ++calls; }
  void FillRect(const comms::cRect&, float, uint32_t) override { ++calls; }
  void Set2DTexture(int, int) override { ++calls; }
  void DrawTexture(const comms::cRect&, const comms::cRect&, float, uint32_t) override { ++calls; }
  void DrawTexturedQuad(const comms::cVec2*, const comms::cVec2*, float, const uint32_t*) override { ++calls; }
  void SetScissor(const comms::cRect&) override { ++calls; }
};

class WideClass : public BaseClass {
 public:
  static constexpr int kRows = 250;
  float F[kRows / 5] = {};
  int I[kRows / 5] = {};
  bool B[kRows / 5] = {};
  float S[kRows / 5] = {};
  uint32_t C[kRows / 5] = {};
  MV_CLASS(WideClass, BaseClass) {
    static char names[kRows][16];
    for (int i = 0; i < kRows / 5; ++i) {
      snprintf(names[5 * i], 16, "Float%d", i);
      snprintf(names[5 * i + 1], 16, "Int%d", i);
      snprintf(names[5 * i + 2], 16, "Bool%d", i);
      snprintf(names[5 * i + 3], 16, "Slider%d", i);
      snprintf(names[5 * i + 4], 16, "Colour%d", i);
      Member("_float", F[i], names[5 * i]);
      Member("_int", I[i], names[5 * i + 1]);
      Member("_bool", B[i], names[5 * i + 2]);
      Member("CtrlFSlider", S[i], names[5 * i + 3], NewFloatSliderRange(0, 1));
      Member("_color", C[i], names[5 * i + 4]);
    }
  }
};

void Setup(comms::cRender* render) {
  SetSystemAllocator(&CountedMalloc, &std::free);
  Ui().Render = render;
  Ui().ScreenW = 1920, Ui().ScreenH = 1080;
  if (!Ui().Font.Ready()) Ui().LoadFont();
}

void BM_BuildClassPanel250Rows(benchmark::State& state) {
  CountingRender render;
  Setup(&render);
  WideClass object;
  ClassPanel panel;
  panel.W = 300;
  panel.Object = &object;
  for (auto _ : state) {
    panel.Rebuild();
    benchmark::DoNotOptimize(panel.Children.GetAmount());
  }
  state.counters["rows"] = panel.Children.GetAmount();
  Ui().Render = nullptr;
}
BENCHMARK(BM_BuildClassPanel250Rows)->Unit(benchmark::kMicrosecond);

void BM_Frame5000Widgets(benchmark::State& state) {
  CountingRender render;
  Setup(&render);
  WidgetTree tree;
  // 50 clipped panels of 99 labelled buttons each, plus the panels: 5,000.
  int widgets = 0;
  for (int p = 0; p < 50; ++p) {
    auto* panel = tree.Root().Add(new PanelWidget);
    panel->X = float((p % 10) * 190), panel->Y = float((p / 10) * 210);
    panel->W = 185, panel->H = 205;
    panel->Flags |= kWfClip;
    ++widgets;
    for (int i = 0; i < 99; ++i) {
      auto* b = panel->Add(new FrameWidget(i % 3 ? "Button" : "Radius", float((i % 3) * 60), float((i / 3) * 19), 58, 18));
      b->Hint = "A hint";
      ++widgets;
    }
  }
  float x = 100, y = 100;
  auto frame = [&] {
    x = x > 1800 ? 10 : x + 37;  // the pointer wanders, so hover changes
    y = y > 1000 ? 10 : y + 23;
    tree.HitTest(x, y);
    tree.Frame(1920, 1080, 1000);
  };
  for (int i = 0; i < 60; ++i) frame();  // warm-up: capacities settle
  long before = gAllocations.load();
  long frames = 0;
  for (auto _ : state) {
    frame();
    ++frames;
  }
  long allocations = gAllocations.load() - before;
  state.counters["widgets"] = widgets;
  state.counters["allocs/frame"] = frames ? double(allocations) / double(frames) : 0;
  state.counters["draw calls/frame"] = frames ? double(render.calls) / double(frames + 60) : 0;
  Ui().Render = nullptr;
}
BENCHMARK(BM_Frame5000Widgets)->Unit(benchmark::kMicrosecond);
}  // namespace

BENCHMARK_MAIN();
