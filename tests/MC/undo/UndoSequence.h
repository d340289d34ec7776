// A seeded random walk through everything the undo stack holds: paint strokes
// on a grid scene and on a per-pixel scene (several layers), layer commands
// (add, delete, reorder, blend mode, a dragged opacity), the grid scene's
// freeze mask, hidden faces, moved vertices and face resolutions, voxel
// strokes of several modes, undo and redo, in any order. Afterwards undo goes back to the start and redo forward
// to the end; the pictures of both scenes and the volume must match byte for
// byte. Used by the short test and by the long run in bench/.
#pragma once
#include <cmath>
#include <string>

#include "ClassEngine/Random.h"
#include "MC/brushes/VoxelStroke.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/undo/VolumeUndo.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/stroke/PaintDabs.h"
#include "paint/layers/ComposeFace.h"
#include "paint/undo/LayersUndo.h"
#include "paint/undo/MaskUndo.h"
#include "paint/undo/PaintStrokeUndo.h"
#include "paint/undo/ShapeUndo.h"
#include "paint/undo/UndoGesture.h"
#include "paint/undo/UndoStack.h"
#include "shell/tools/BasicTool.h"
#include "tests/paint/PaintMeshes.h"
#include "tests/paint/undo/PaintPicture.h"
#include "tests/MC/undo/VolumePicture.h"
#include "tests/paint/undo/UndoTestFolder.h"

class UndoSequence {
 public:
  explicit UndoSequence(uint32_t seed) : rnd_(seed) {
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &pen_;
    GeneralPen::DeepDegree = 0.3f;
    GeneralPen::DrawColor = true;
    GeneralPen::ColorOpacity = 0.6f;
    stack_.FreeBytes = [] { return (int64_t)1 << 40; };
    ImportMeshIntoScene(grid_, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex, paintmeshes::Grid(3));
    pixels_.RtSizeX = pixels_.RtSizeY = 64;
    ImportMeshIntoScene(pixels_, paintmeshes::CutSheet(), PaintImportMode::PerPixel, DPSettings());
    grid_.NewLayer(true);
    // The vertex record holds positions: normals follow them, from the start.
    std::vector<int> vertices;
    for (int v = 0; v < (int)grid_.Vertices.size(); ++v) vertices.push_back(v);
    RecomputeVertexNormals(grid_, vertices);
    pixels_.NewLayer(false);
    pixels_.NewLayer(false);
    // Grid strokes and layer commands go to the grid scene; tile records
    // come only from the per-pixel scene.
    stack_.RegisterUndoMaker(std::make_unique<SurfaceUndo>(stack_, grid_));
    stack_.RegisterUndoMaker(std::make_unique<LayersUndo>(stack_, grid_));
    ActiveToolFn mover = [this] { return (BasicTool*)&mover_; };
    stack_.RegisterUndoMaker(std::make_unique<FreezeUndo>(stack_, grid_, mover));
    stack_.RegisterUndoMaker(std::make_unique<VertUndo>(stack_, grid_, mover));
    stack_.RegisterUndoMaker(std::make_unique<PolyHideUndo>(stack_, grid_));
    stack_.RegisterUndoMaker(std::make_unique<FullFaceUndo>(stack_, grid_));
    stack_.RegisterUndoMaker(std::make_unique<PlanePicUndo>(stack_, pixels_));
    stack_.RegisterUndoMaker(std::make_unique<Volume_Undo>(stack_, [this] {
      return std::vector<VolumeObject*>{&volume_};
    }));
    SetLayerUndoStack(&stack_);
    grid_.LayerPanel.Settle();
    FillVolume(volume_, SphereShape(0, 0, 0, kSphere));
    volume_.UpdateSurface();
    volume_.DropUndoCopies();
  }
  ~UndoSequence() {
    SetLayerUndoStack(nullptr);
    GeneralPen::CurrentPenPtr = nullptr;
  }

  // Everything the steps may change. The current layer is a selection, not
  // a step, and is left out.
  struct State {
    std::string Grid, Pixels, Volume;
    bool operator==(const State& o) const { return Grid == o.Grid && Pixels == o.Pixels && Volume == o.Volume; }
  };
  State Picture() {
    auto samples = [](PaintScene& s) {
      std::string p = PaintPicture(s);
      return p.substr(0, p.find("|current"));
    };
    return {samples(grid_) + ShapeOf(grid_), samples(pixels_), VolumePicture(volume_)};
  }
  // The faces' own bytes, the vertices, their normals and the corners' UVs.
  static std::string ShapeOf(PaintScene& s) {
    std::string out;
    auto put = [&](const void* p, size_t n) { out.append((const char*)p, n); };
    for (const PaintFace& f : s.Faces)
      put(&f.Flags, 1), put(&f.FreezeState, 1), put(&f.Visible, 1), put(&f.Nx, 2), put(&f.Ny, 2);
    for (const MeshVertex& v : s.Vertices) put(&v.Position, 12);
    for (const comms::cVec3& n : s.Normals) put(&n, 12);
    for (const FaceCorner& c : s.Corners) put(&c.UV, 8), put(&c.UV2, 8);
    return out;
  }

  // One random step and the frame after it; returns its name, for messages.
  const char* Step() {
    const char* name = StepOnly();
    // The frame composes what the step left dirty (and copies paint across
    // UV seams), as the program does after every step.
    Frame();
    return name;
  }
  const char* StepOnly() {
    const int pick = rnd_.Next() % 100;
    if (pick < 20) return GridStroke();
    if (pick < 32) return PixelStroke();
    if (pick < 46) return LayerCommand();
    if (pick < 62) return VoxelStroke();
    if (pick < 70) return ShapeStep();
    if (pick < 88) {
      if (stack_.Undo()) ++undos_;
      return "undo";
    }
    if (stack_.Redo()) --undos_;
    return "redo";
  }

  // Undoes every step; returns how many undid.
  int UndoAll() {
    int n = 0;
    while (stack_.Undo()) ++n, Frame();
    return n;
  }
  int RedoAll() {
    int n = 0;
    while (stack_.Redo()) ++n, Frame();
    return n;
  }
  // What the program's frame does to the pixel maps.
  void Frame() {
    for (PaintScene* s : {&grid_, &pixels_})
      for (int rt = 0; rt < s->RenderTargets.GetAmount(); ++rt)
        if (PixelMap* m = s->GetPixelMap(rt)) m->Update();
  }
  UndoStack& Stack() { return stack_; }


 private:
  static constexpr float kSphere = 20.f;

  const char* GridStroke() {
    std::vector<int> ids;
    for (OneLayerInfo* l : grid_.Layers) ids.push_back(l->LayerID);
    grid_.CurrentLayer = ids[rnd_.Next() % ids.size()];
    PaintDabs dabs(grid_);
    dabs.Kind = rnd_.Next() % 5 == 0 ? PaintKind::Erase : PaintKind::Paint;
    dabs.Stroke.OnEnd = [&](PaintStroke& s) { PushPaintStrokeUndo(stack_, grid_, s); };
    dabs.Begin(rnd_.Next());
    const int n = 1 + rnd_.Next() % 4;
    for (int i = 0; i < n; ++i) {
      PenHit h;
      h.Pos = comms::cVec3(rnd_.Range(0.05f, 3.95f), rnd_.Range(0.05f, 2.95f), 0);
      h.Face = (int)std::floor(h.Pos.y) * 4 + (int)std::floor(h.Pos.x);
      h.WorldRadius = rnd_.Range(0.2f, 0.9f);
      dabs.Dab(h);
    }
    dabs.End();
    return "grid stroke";
  }

  const char* PixelStroke() {
    pixels_.CurrentLayer = pixels_.Layers[rnd_.Next() % pixels_.Layers.GetAmount()]->LayerID;
    PaintDabs dabs(pixels_);
    dabs.Stroke.OnEnd = [&](PaintStroke& s) { PushPaintStrokeUndo(stack_, pixels_, s); };
    dabs.Begin(rnd_.Next());
    const int n = 1 + rnd_.Next() % 3;
    for (int i = 0; i < n; ++i) {
      PenHit h;
      h.Pos = comms::cVec3(rnd_.Range(0.05f, 1.95f), rnd_.Range(0.05f, 0.95f), 0);
      h.Face = h.Pos.x < 1 ? 0 : 1;
      h.WorldRadius = rnd_.Range(0.1f, 0.4f);
      dabs.Dab(h);
    }
    dabs.End();
    return "pixel stroke";
  }

  const char* LayerCommand() {
    LayerStack& panel = grid_.LayerPanel;
    const int n = grid_.Layers.GetAmount();
    grid_.CurrentLayer = grid_.Layers[rnd_.Next() % n]->LayerID;
    switch (rnd_.Next() % 6) {
      case 0:
        if (n < 6) panel.AddLayer();
        return "add layer";
      case 1:
        panel.DeleteCurrent();
        return "delete layer";
      case 2:
        panel.MoveCurrentUp();
        return "move layer up";
      case 3:
        panel.MoveCurrentDown();
        return "move layer down";
      case 4: {
        // A slider dragged along the opacity row: many changes, one step.
        OneLayerInfo* info = grid_.GetLayerByID(grid_.CurrentLayer);
        OpenUndoGesture();
        for (int i = 1 + rnd_.Next() % 6; i > 0; --i) {
          info->ColorTransparency = rnd_.Range(0.f, 1.f);
          info->OnChange(nullptr, nullptr, nullptr, "ColorTransparency");
        }
        CloseUndoGesture();
        return "opacity drag";
      }
      default: {
        // As a row of the layer panel does it: the value first, then the
        // panel hears of it and records the layer as it was.
        OneLayerInfo* info = grid_.GetLayerByID(grid_.CurrentLayer);
        if (rnd_.Next() % 2) info->ColorOp = rnd_.Next() % 4;
        else info->ColorTransparency = rnd_.Range(0.2f, 1.f);
        info->OnChange(nullptr, nullptr, nullptr, "ColorOp");
        return "blend change";
      }
    }
  }

  const char* VoxelStroke() {
    static const int kModes[] = {SCULP_GROW, SCULPT_SMOOTH, SCULP_CLAY, SCULPT_CARVE, SCULPT_BUILD};
    const int tool = kModes[rnd_.Next() % 5];
    VoxelBrushSettings settings;
    VoxelSculptStroke stroke(settings);
    stroke.Tool = tool;
    stroke.InvertModifier = rnd_.Next() % 4 == 0;
    auto onSphere = [&](float x, float y, float radius) {
      PenPoint p;
      const float z = std::sqrt(std::max(kSphere * kSphere - x * x - y * y, 0.f));
      p.P[0] = x, p.P[1] = y, p.P[2] = z;
      p.N[0] = x / kSphere, p.N[1] = y / kSphere, p.N[2] = z / kSphere;
      p.Radius = radius, p.Pressure = 1;
      return p;
    };
    const float radius = rnd_.Range(2.5f, 5.f);
    const float x0 = rnd_.Range(-10, 10), y0 = rnd_.Range(-10, 10);
    if (stroke.Begin(volume_, onSphere(x0, y0, radius), rnd_.Next())) {
      stroke.MoveTo(onSphere(x0 + rnd_.Range(-5, 5), y0 + rnd_.Range(-5, 5), radius));
      stroke.End();
    }
    PushVolumeUndo(stack_, {&volume_}, tool);
    volume_.UpdateSurface();
    return "voxel stroke";
  }

  // The freeze tool, the hide tool, a tool that moves vertices and the local
  // resolution tool on the grid scene, each after its record.
  const char* ShapeStep() {
    const int faces = (int)grid_.Faces.size();
    switch (rnd_.Next() % 4) {
      case 0: {
        PushFreezeUndo(stack_, grid_);
        for (int k = 1 + rnd_.Next() % 3; k > 0; --k) {
          PaintFace& f = grid_.Faces[rnd_.Next() % faces];
          const int mode = rnd_.Next() % 3;
          int free = 0, frozen = 0;
          for (int i = 0; i < f.SampleCount(); ++i) {
            f.Grid[i].Freeze = mode == 0 ? 0.f : mode == 1 ? 1.f : (rnd_.Next() % 256) / 255.0f;
            free += f.Grid[i].Freeze < 0.001f, frozen += f.Grid[i].Freeze > 0.999f;
          }
          f.FreezeState = FreezeStateOf(free, frozen, f.SampleCount());
        }
        return "freeze";
      }
      case 1:
        PushPolyHideUndo(stack_, grid_);
        for (int k = 1 + rnd_.Next() % 3; k > 0; --k) {
          PaintFace& f = grid_.Faces[rnd_.Next() % faces];
          f.Visible = !f.Visible;
        }
        return "hide";
      case 2: {
        std::vector<int> moved;
        for (int k = 1 + rnd_.Next() % 3; k > 0; --k) moved.push_back(rnd_.Next() % (int)grid_.Vertices.size());
        PushVertUndo(stack_, grid_, moved);
        for (int v : moved) grid_.Vertices[v].Position += comms::cVec3(rnd_.Range(-.2f, .2f), rnd_.Range(-.2f, .2f), rnd_.Range(-.5f, .5f));
        RecomputeVertexNormals(grid_, moved);
        return "move vertices";
      }
      default: {
        const int face = rnd_.Next() % faces;
        PushFullFaceUndo(stack_, grid_, {face});
        Resample(face, rnd_.Next() % 2 ? 2.f : 0.5f);
        return "face resolution";
      }
    }
  }

  // The face's grid and layers sampled anew at `factor` times the size
  // (nearest sample, 2 to 16 a side), composed, one level up or down, its
  // corners moved a little in UV.
  void Resample(int face, float factor) {
    PaintFace& f = grid_.Faces[face];
    const int ox = f.Nx, oy = f.Ny;
    const int nx = std::clamp((int)(ox * factor), 2, 16), ny = std::clamp((int)(oy * factor), 2, 16);
    auto from = [&](int i) { return std::min((i % nx) * ox / nx, ox - 1) + std::min((i / nx) * oy / ny, oy - 1) * ox; };
    std::vector<MicroVertex> grid(f.Grid, f.Grid + ox * oy);
    std::vector<std::pair<int, std::vector<LayerMicroVertex>>> layers;
    for (const FaceLayer& l : f.LayerList) layers.push_back({l.LayerID, {l.Data, l.Data + ox * oy}});
    for (int i = f.LayerList.GetAmount() - 1; i >= 0; --i) f.RemoveLayerAt(i);
    grid_.MicroVertexCount += nx * ny - ox * oy;
    f.AllocateGrid(nx, ny);
    for (int i = 0; i < nx * ny; ++i) f.Grid[i] = grid[from(i)];
    for (const auto& [id, data] : layers) {
      FaceLayer* l = grid_.GetFaceLayer(face, id, true);
      for (int i = 0; i < nx * ny; ++i) l->Data[i] = data[from(i)];
    }
    f.Flags = (uint8_t)(f.Flags + (factor > 1 ? 1 : -1));
    const int* c = grid_.FaceCornerMap.Of(face);
    for (int i = 0; i < 4; ++i) {
      FaceCorner& k = grid_.Corners[c[i]];
      k.UV.x += rnd_.Range(-0.01f, 0.01f);
      k.UV2 = k.UV;
    }
    ComposeFace(grid_, face);
    grid_.ComputeGridNormals(face);
    NeighbourBorderNormals(grid_, {face});
    grid_.MarkFaceDirty(face);
  }

  class MoverTool : public BasicTool {
   public:
    bool MovesVertices() override { return true; }
  };

  MoverTool mover_;
  Random rnd_;
  UndoTestFolder folder_;
  UndoStack stack_{folder_.Path};
  PaintScene grid_, pixels_;
  VolumeObject volume_;
  SimplePen pen_;
  int undos_ = 0;
};
