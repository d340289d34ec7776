// WriteVolumes and ReadVolumes; see VolumeStream.h.
#include "MC/file/VolumeStream.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "MC/file/VoxelPacking.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/file/BlockCoding.h"

namespace {

constexpr int kSurfaceFlag = 256;
constexpr int kMCVertexBytes = 28;

void Vertices(BlockWriter& w, const PodArray<MCVertex>& a) {
  w.I32(a.Count);
  for (int i = 0; i < a.Count; i++) {
    const MCVertex& v = a[i];
    for (float p : v.Pos) w.F32(p);
    for (float n : v.Normal) w.F32(n);
    w.U16(v.BorderCode), w.U16(v.Freeze);
  }
}

bool ReadVertices(BlockReader& r, PodArray<MCVertex>& a) {
  int n = r.I32();
  if (n < 0 || !r.Fits((uint64_t)n, kMCVertexBytes, "surface vertex")) return false;
  a.Reserve(n);
  a.Count = n;
  for (int i = 0; i < n; i++) {
    MCVertex& v = a[i];
    for (float& p : v.Pos) p = r.F32();
    for (float& x : v.Normal) x = r.F32();
    v.BorderCode = r.U16(), v.Freeze = r.U16();
  }
  return r.Ok();
}

void Cell(BlockWriter& w, const CellKey& key, const VoxelCell& c, bool surfaces, std::vector<uint8_t>& code) {
  w.U16((uint16_t)key.x), w.U16((uint16_t)key.y), w.U16((uint16_t)key.z);
  w.U8(c.Side);
  const bool withSurface = surfaces && c.Surface;
  const bool voxels = c.Voxels && !(c.Flags & kCellLazyFill);
  w.U8((uint8_t)((c.Flags & kCellBelow ? 1 : 0) | (c.Flags & kCellAbove ? 2 : 0) |
                 (c.Flags & kCellHidden ? 4 : 0) | (withSurface ? 8 : 0)));
  w.U8(voxels ? 1 : 0);
  w.U16(c.Fill);
  if (voxels) {
    code.clear();
    PackVoxels(c.Voxels, kCellVoxels, code);
    w.Bytes(code.data(), code.size());
  }
  if (!withSurface) return;
  Vertices(w, c.Surface->Vertices);
  w.I32(c.Surface->Indices.Count);
  for (int i = 0; i < c.Surface->Indices.Count; i++) w.U16(c.Surface->Indices[i]);
  Vertices(w, c.Surface->OldVertices);
}

bool ReadCell(BlockReader& r, VolumeObject& v, int version) {
  int x = (int16_t)r.U16(), y = (int16_t)r.U16(), z = (int16_t)r.U16();
  int side = r.U8();
  int bits = r.U8();
  int hasVoxels = r.U8();
  if (!r.Ok()) return false;
  if (hasVoxels > 1 || bits > 15) {
    r.Fail("a cell record is damaged");
    return false;
  }
  if (v.Cells.Find(x, y, z)) {
    r.Fail("a cell is stored twice");
    return false;
  }
  VoxelCell* c = v.GetCell(x, y, z, true, false);
  c->Side = (uint8_t)side;
  c->Fill = r.U16();
  c->Flags = (uint8_t)((bits & 1 ? kCellBelow : 0) | (bits & 2 ? kCellAbove : 0) |
                       (bits & 4 ? kCellHidden : 0) | kCellChanged);
  if (hasVoxels) {
    c->Voxels = (uint16_t*)v.vpool.Allocate();
    if (!UnpackVoxels(r, c->Voxels, kCellVoxels)) return false;
  }
  if (bits & 8) {
    c->Surface = (CellSurface*)v.apool.Allocate(true);
    if (!ReadVertices(r, c->Surface->Vertices)) return false;
    int n = r.I32();
    if (n < 0 || !r.Fits((uint64_t)n, 2, "surface index")) return false;
    c->Surface->Indices.Reserve(n);
    c->Surface->Indices.Count = n;
    for (int i = 0; i < n; i++) c->Surface->Indices[i] = r.U16();
    if (!ReadVertices(r, c->Surface->OldVertices)) return false;
  }
  (void)version;
  return r.Ok();
}

bool Finite(const float m[16]) {
  for (int i = 0; i < 16; i++)
    if (!std::isfinite(m[i])) return false;
  float det = m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
              m[2] * (m[4] * m[9] - m[5] * m[8]);
  return std::isfinite(det) && det != 0;
}

}  // namespace

void WriteVolumes(BlockWriter& w, const std::vector<VolumeObject*>& volumes, bool surfaces,
                  const std::string& tree) {
  w.I32(kVolumeStreamVersion);
  w.I32((int)volumes.size());
  std::vector<uint8_t> code;
  for (VolumeObject* v : volumes) {
    w.I32((int32_t)(uint32_t)v->ObjectId);
    for (float f : v->Transform) w.F32(f);
    w.I32((int)v->Name.size() + 1);
    w.Bytes(v->Name.c_str(), v->Name.size() + 1);
    w.I32(0);  // base colour: the shader's own
    w.I32(v->SurfaceMode ? kSurfaceFlag : 0);
    w.I32(0);  // no hidden-space companion
    w.I32((int)v->Shader.size() + 1);  // the shader's name; no parameters of its own yet
    w.Bytes(v->Shader.c_str(), v->Shader.size() + 1);
    // Cells by key, so a volume writes the same bytes whatever its history.
    std::vector<std::pair<CellKey, const VoxelCell*>> cells;
    // Cells without content (empty fill, no array) would be dropped on reading: not written.
    v->Cells.ForEach([&](const CellKey& k, VoxelCell* const& c) {
      bool voxels = c->Voxels && !(c->Flags & kCellLazyFill);
      if (c->Side == kLatticeSide && (c->Fill != 0 || voxels)) cells.push_back({k, c});
    });
    std::sort(cells.begin(), cells.end(), [](const auto& a, const auto& b) {
      return std::tie(a.first.z, a.first.y, a.first.x) < std::tie(b.first.z, b.first.y, b.first.x);
    });
    w.I32((int)cells.size());
    w.I32(2);
    for (const auto& [key, cell] : cells) Cell(w, key, *cell, surfaces || v->SurfaceMode, code);
  }
  w.I32((int)tree.size());
  w.Bytes(tree.data(), tree.size());
}

bool ReadVolumes(BlockReader& r, std::vector<std::unique_ptr<VolumeObject>>& out, std::string* treeText) {
  out.clear();
  if (treeText) treeText->clear();
  int version = r.I32();
  if (version < 2 || version > kVolumeStreamVersion) {
    r.Fail("volume stream version " + std::to_string(version) + " is not known");
    return false;
  }
  int count = r.I32();
  if (count < 0 || !r.Fits((uint64_t)count, 76, "volume")) return false;
  for (int k = 0; k < count; k++) {
    auto v = std::make_unique<VolumeObject>();
    v->ObjectId = (uint32_t)r.I32();
    float m[16];
    for (float& f : m) f = r.F32();
    if (!Finite(m)) {
      for (int i = 0; i < 16; i++) m[i] = i % 5 == 0 ? 1.0f : 0.0f;
    }
    v->SetTransform(m);
    int len = r.I32();
    if (len < 1 || !r.Fits((uint64_t)len, 1, "volume name")) return false;
    std::string name((size_t)len, '\0');
    r.Bytes(name.data(), len);
    v->Name = name.c_str();
    int bytesPerVoxel = 2;
    if (version >= 3) {
      r.I32();  // colour
      if (version >= 4) v->SurfaceMode = r.I32() == kSurfaceFlag;
      if (version >= 5) r.I32();  // hidden companion
      int shader = r.I32();
      if (shader < 0 || !r.Fits((uint64_t)shader, 1, "shader name")) return false;
      std::string block((size_t)shader, '\0');
      r.Bytes(block.data(), shader);
      // The name up to its 0; parameters in XML may follow it.
      const std::string shaderName = block.c_str();
      if (!shaderName.empty()) v->Shader = shaderName;
    }
    int cells = r.I32();
    bytesPerVoxel = r.I32();
    if (cells < 0 || !r.Fits((uint64_t)cells, 11, "cell")) return false;
    if (bytesPerVoxel != 2) {
      r.Fail("voxels of " + std::to_string(bytesPerVoxel) + " bytes are not read");
      return false;
    }
    for (int c = 0; c < cells; c++)
      if (!ReadCell(r, *v, version)) return false;
    // Cells of another side, or empty ones without an array, go again.
    std::vector<CellKey> drop;
    v->Cells.ForEach([&](const CellKey& key, VoxelCell*& cell) {
      if (cell->Side != kLatticeSide || (cell->Fill == 0 && !cell->Voxels)) drop.push_back(key);
    });
    for (const CellKey& key : drop) {
      v->ReleaseCell(*v->Cells.Find(key.x, key.y, key.z));
      v->Cells.Remove(key.x, key.y, key.z);
    }
    v->Cells.ForEach([&](const CellKey& key, VoxelCell*&) { v->MarkDirty(key.x, key.y, key.z, v->SurfaceMode); });
    out.push_back(std::move(v));
  }
  int tree = r.I32();
  if (tree < 0 || !r.Fits((uint64_t)tree, 1, "volume tree")) return false;
  if (treeText) {
    treeText->resize((size_t)tree);
    r.Bytes(treeText->data(), tree);
    treeText->resize(std::strlen(treeText->c_str()));
  } else {
    r.Skip(tree);
  }
  return r.Ok();
}
