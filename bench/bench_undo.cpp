// Undo and redo latency of one step of each room, on 2 threads, through the
// stack on disk: a paint stroke over 1,024 grid faces (8 x 8 samples each), a
// per-pixel dab over about 64 tiles, and a radius-40 voxel stroke on a sphere
// 400 voxels across. Each iteration undoes (or redoes) the step once; the
// other direction runs untimed to get back. Counters give the record's size
// and its bytes per touched face, tile or cell. The long random walk over all
// of them (10,000 steps, undo to the start and redo to the end compared byte
// for byte) runs last.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

#include "MC/brushes/VoxelStroke.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/undo/VolumeUndo.h"
#include "bench/BenchSheet.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/scene/SceneImport.h"
#include "paint/stroke/ApplyStroke.h"
#include "paint/stroke/PaintSample.h"
#include "paint/undo/PaintStrokeUndo.h"
#include "paint/undo/UndoStack.h"
#include "tests/MC/undo/UndoSequence.h"

namespace {
using comms::cVec3;

StrokeFrame DabAt(const PaintScene& s, const cVec3& at, float radius) {
  StrokeFrame f;
  f.SetSegment(at * s.UnitScale, at * s.UnitScale, radius * s.UnitScale, radius * s.UnitScale);
  f.SinglePoint = true;
  f.PenRadius = radius * s.UnitScale;
  f.SetStrokeMode(kStrokeConstant);
  f.AxisX = cVec3(1, 0, 0), f.AxisY = cVec3(0, 1, 0);
  f.AxisZ = f.ViewDir = cVec3(0, 0, -1);
  return f;
}

// One step on a fresh stack, ready to be undone; what it touched and the
// size of its record.
struct OneStep {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  int64_t recordBytes = 0;
  int touched = 0;
  void Measure() { recordBytes = std::filesystem::file_size(stack.FileName(0)); }
};

void Report(benchmark::State& state, const OneStep& s, const char* what) {
  state.counters["record_bytes"] = (double)s.recordBytes;
  state.counters[what] = s.touched;
  state.counters["bytes_per_touched"] = s.touched ? (double)s.recordBytes / s.touched : 0;
}

// Runs `first` timed and `second` untimed, once per iteration.
template <class A, class B>
void Alternate(benchmark::State& state, A first, B second) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(first());
    state.PauseTiming();
    second();
    state.ResumeTiming();
  }
}

struct GridStep : OneStep {
  PaintScene scene;
  SimplePen pen;
  GridStep() {
    TwoThreads();
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::DrawColor = true;
    GeneralPen::DeepDegree = 0.3f;
    DPSettings grid;
    grid.InitialSubdivision = 3;
    ImportMeshIntoScene(scene, Sheet(32), PaintImportMode::MicroVertex, grid);
    scene.NewLayer(true);
    stack.RegisterUndoMaker(std::make_unique<SurfaceUndo>(stack, scene));
    PaintStroke stroke(scene);
    stroke.Pen = &pen;
    stroke.OnEnd = [&](PaintStroke& s) {
      touched = (int)s.Backups().size();
      PushPaintStrokeUndo(stack, scene, s);
    };
    stroke.Begin();
    scene.StrokeFaces.resize(scene.Faces.size());
    for (size_t f = 0; f < scene.Faces.size(); ++f) scene.StrokeFaces[f] = (int)f;
    stroke.ApplyToAllFaces(PaintSample(), DabAt(scene, cVec3(0.5f, 0.5f, 0), 2.f));
    stroke.End();
    Measure();
  }
};

struct PixelStep : OneStep {
  PaintScene scene;
  SimplePen pen;
  PixelStep() {
    TwoThreads();
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::DrawColor = true;
    scene.RtSizeX = scene.RtSizeY = 512;
    ImportMeshIntoScene(scene, Sheet(8), PaintImportMode::PerPixel, DPSettings());
    scene.GetPixelMap(0)->Update();
    scene.NewLayer(true);
    stack.RegisterUndoMaker(std::make_unique<PlanePicUndo>(stack, scene));
    PaintStroke stroke(scene);
    stroke.Pen = &pen;
    stroke.OnEnd = [&](PaintStroke& s) {
      for (PixelMap* m : s.BackedUpMaps())
        for (auto& [k, t] : m->Tiles) touched += t->UndoLayerTile != nullptr;
      PushPaintStrokeUndo(stack, scene, s);
    };
    stroke.Begin();
    stroke.ApplyStroke(PaintSample(), DabAt(scene, cVec3(0.5f, 0.5f, 0), 0.09f), 4 * 8 + 4);
    stroke.End();
    scene.GetPixelMap(0)->Update();
    Measure();
  }
};

struct VoxelStep : OneStep {
  VolumeObject volume;
  VoxelStep() {
    TwoThreads();
    stack.RegisterUndoMaker(std::make_unique<Volume_Undo>(stack, [this] {
      return std::vector<VolumeObject*>{&volume};
    }));
    FillVolume(volume, SphereShape(0, 0, 0, 200));
    volume.UpdateSurface();
    volume.DropUndoCopies();
    SimplePen pen;
    GeneralPen::CurrentPenPtr = &pen;
    VoxelBrushSettings settings;
    VoxelSculptStroke stroke(settings);
    stroke.Tool = SCULP_CLAY;
    auto at = [](float x) {
      PenPoint p;
      const float z = std::sqrt(200.f * 200.f - x * x);
      p.P[0] = x, p.P[1] = 0, p.P[2] = z;
      p.N[0] = x / 200, p.N[1] = 0, p.N[2] = z / 200;
      p.Radius = 40, p.Pressure = 1;
      return p;
    };
    stroke.Begin(volume, at(-20), 7);
    stroke.MoveTo(at(20));
    stroke.End();
    GeneralPen::CurrentPenPtr = nullptr;
    touched = volume.UndoCopies;
    PushVolumeUndo(stack, {&volume}, SCULP_CLAY);
    volume.UpdateSurface();
    Measure();
  }
};

template <class Step>
void BM_Undo(benchmark::State& state, const char* what) {
  static Step* step = new Step;  // built once: the sphere takes seconds
  Report(state, *step, what);
  Alternate(state, [&] { return step->stack.Undo(); }, [&] { step->stack.Redo(); });
}

template <class Step>
void BM_Redo(benchmark::State& state, const char* what) {
  static Step* step = new Step;
  Report(state, *step, what);
  step->stack.Undo();
  Alternate(state, [&] { return step->stack.Redo(); }, [&] { step->stack.Undo(); });
  step->stack.Redo();
}

void BM_UndoGridStroke1024Faces(benchmark::State& s) { BM_Undo<GridStep>(s, "faces"); }
void BM_RedoGridStroke1024Faces(benchmark::State& s) { BM_Redo<GridStep>(s, "faces"); }
void BM_UndoPixelDab64Tiles(benchmark::State& s) { BM_Undo<PixelStep>(s, "tiles"); }
void BM_RedoPixelDab64Tiles(benchmark::State& s) { BM_Redo<PixelStep>(s, "tiles"); }
void BM_UndoVoxelStrokeRadius40(benchmark::State& s) { BM_Undo<VoxelStep>(s, "cells"); }
void BM_RedoVoxelStrokeRadius40(benchmark::State& s) { BM_Redo<VoxelStep>(s, "cells"); }
BENCHMARK(BM_UndoGridStroke1024Faces)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RedoGridStroke1024Faces)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UndoPixelDab64Tiles)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RedoPixelDab64Tiles)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UndoVoxelStrokeRadius40)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RedoVoxelStrokeRadius40)->Unit(benchmark::kMillisecond);

// The long form of the random-walk test: undo to the start and redo to the
// end must give back every byte; a mismatch fails the run.
void BM_UndoRandomSequencesRestoreEveryByte(benchmark::State& state) {
  TwoThreads();
  GeneralPenSaver saved;
  for (auto _ : state) {
    UndoSequence run(2024);
    const UndoSequence::State start = run.Picture();
    for (int i = 0; i < state.range(0); ++i) run.Step();
    const UndoSequence::State end = run.Picture();
    const int undone = run.UndoAll();
    if (!(run.Picture() == start)) state.SkipWithError("undo to the start differs");
    const int redone = run.RedoAll();
    for (int i = undone; i < redone; ++i) run.Stack().Undo(), run.Frame();
    if (!(run.Picture() == end)) state.SkipWithError("redo to the end differs");
    state.counters["steps_undone"] = undone;
  }
}
BENCHMARK(BM_UndoRandomSequencesRestoreEveryByte)->Arg(10000)->Iterations(1)->Unit(benchmark::kSecond);
}  // namespace

BENCHMARK_MAIN();
