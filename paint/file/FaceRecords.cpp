// Face records of the surface block: layout by tag, length, decoding.
#include "paint/file/FaceRecords.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>

#include "ClassEngine/ExMalloc.h"
#include "ClassEngine/streams/BinStream.h"
#include "paint/file/BlockCoding.h"
#include "paint/scene/SceneRecords.h"

namespace {
constexpr int kMaxLayerID = 8192;
constexpr int kMaxTargets = 4096;
constexpr int64_t kHuge = INT64_MAX / 4;

// Sample counts of a record whose head is in memory.
uint64_t SamplesOf(const FaceLayout& l, const uint8_t* p) {
  if (!l.Grids) return (uint64_t)l.DefaultGrid * l.DefaultGrid;
  const uint8_t* g = p + 17 + (l.Targets ? 4 : 0);
  return (uint64_t)GetU16(g) * GetU16(g + 2);
}
}  // namespace

FaceLayout FaceLayout::Of(uint32_t tag, uint32_t defaultGrid) {
  FaceLayout l;
  l.Targets = tag >= FourCC("SUR7");
  l.Grids = tag >= FourCC("SUR6");
  l.Objects = tag >= FourCC("SUR3");
  l.Wear = l.Objects && tag >= FourCC("SUR5");
  l.DefaultGrid = l.Grids ? 0 : defaultGrid;
  return l;
}

int64_t FaceRecordLength(const FaceLayout& layout, const uint8_t* p, int64_t avail, int64_t& need) {
  const int64_t head = layout.HeadBytes();
  if (avail < head) return need = head, -1;
  const uint64_t n = SamplesOf(layout, p);
  if (n == 0) return head;
  const int64_t gridEnd = head + (int64_t)n * 16;  // n < 2^32: no overflow
  if (avail < gridEnd + 4) return need = gridEnd + 4, -1;
  const uint64_t layers = GetU32(p + gridEnd);
  const uint64_t perLayer = 4 + 20 * n;
  const int64_t length = layers > (uint64_t)kHuge / perLayer ? kHuge : gridEnd + 4 + (int64_t)(layers * perLayer);
  if (avail < length) return need = length, -1;
  return length;
}

bool DecodeFaceRecord(const FaceLayout& layout, const FaceContext& c, const uint8_t* p, PaintFace& f,
                      std::string& why) {
  f.Flags = *p++;
  f.Neighbour[2] = (int)GetU32(p), f.Neighbour[3] = (int)GetU32(p + 4);
  f.Neighbour[0] = (int)GetU32(p + 8), f.Neighbour[1] = (int)GetU32(p + 12);
  p += 16;
  if (layout.Targets) f.RenderTarget = GetU16(p), f.UVSet = GetU16(p + 2), p += 4;
  int nx = (int)layout.DefaultGrid, ny = (int)layout.DefaultGrid;
  if (layout.Grids) nx = GetU16(p), ny = GetU16(p + 2), p += 4;
  uint32_t object = 0, material = 0;
  if (layout.Objects) object = GetU32(p), material = GetU32(p + 4), p += 8;
  if (layout.Wear) {
    const float wear = GetF32(p);
    p += 4;
    f.Wear = std::isfinite(wear) ? std::clamp(wear, 0.0f, 1e30f) : 0.0f;
  }
  if (f.RenderTarget != 65535 && f.RenderTarget >= kMaxTargets) {
    why = "a face names render target " + std::to_string(f.RenderTarget);
    return false;
  }
  if (f.RenderTarget < 65535 && f.RenderTarget < c.UVSets) f.UVSet = f.RenderTarget;
  const bool hidden = object & 0x80000000u;
  object &= 0x7fffffffu;
  if (object >= c.ObjectVisible.size()) object = 0;
  if (material >= c.MaterialLocked.size()) material = 0;
  f.Object = (uint16_t)object, f.Material = (uint16_t)material;
  const bool hasObject = object < c.ObjectVisible.size(), hasMaterial = material < c.MaterialLocked.size();
  f.Visible = (hasObject ? c.ObjectVisible[object] : true) && !hidden;
  f.Editable = !((hasObject && c.ObjectLocked[object]) || (hasMaterial && c.MaterialLocked[material]));
  const uint64_t n = (uint64_t)nx * (uint64_t)ny;
  if (n == 0) return true;
  if (n * sizeof(MicroVertex) > (uint64_t)INT32_MAX) {  // the allocator takes an int
    why = "a face grid of " + std::to_string(nx) + " x " + std::to_string(ny) + " is too large";
    return false;
  }
  f.AllocateGrid(nx, ny);
  if (!f.Grid) {
    why = "no memory for a face grid";
    return false;
  }
  int frozen = 0, free = 0;
  for (uint64_t i = 0; i < n; i++, p += 16) {
    MicroVertex& v = f.Grid[i];
    v.Freeze = GetF32(p), v.BaseNormal = GetVec3(p + 4);
    if (c.SwapYZ) std::swap(v.BaseNormal.y, v.BaseNormal.z);
    v.Color = 0, v.Opacity = 0;
    frozen += v.Freeze > 0.999f, free += v.Freeze < 0.001f;
  }
  f.FreezeState = FreezeStateOf(free, frozen, (int)n);
  const uint32_t layers = GetU32(p);
  p += 4;
  for (uint32_t k = 0; k < layers; k++) {
    const int id = std::clamp((int)GetU32(p), 0, kMaxLayerID);
    p += 4;
    bool twice = false;
    for (const FaceLayer& fl : f.LayerList) twice |= fl.LayerID == id;
    if (twice) {  // a damaged file: the first entry of a layer wins
      p += n * 20;
      continue;
    }
    auto* data = (LayerMicroVertex*)cExMalloc((int)(sizeof(LayerMicroVertex) * n));
    if (!data) {
      why = "no memory for a face layer";
      return false;
    }
    for (uint64_t i = 0; i < n; i++, p += 20) {
      LayerMicroVertex& lv = *new (&data[i]) LayerMicroVertex;
      lv.Color = GetU32(p), lv.Offset = GetVec3(p + 4), lv.Opacity = GetF32(p + 16);
      if (c.SwapYZ) std::swap(lv.Offset.y, lv.Offset.z);
      if (c.OldSpecular) {
        const uint32_t a = (uint32_t)std::lround((lv.Color >> 24) * (double)lv.Opacity);
        lv.Color = (lv.Color & 0x00ffffffu) | std::min<uint32_t>(a, 255) << 24;
      }
    }
    f.LayerList.Add(FaceLayer{data, id, nullptr});
  }
  return true;
}
