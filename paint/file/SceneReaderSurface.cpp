// The surface block of the scene file: the mesh arrays, the two corner maps
// and the faces, in every layout the reader takes ("SUR2" .. "SUR9", "SAR5"
// .. "SAR7", and the earliest "SURF" and "SUR1").
#include <algorithm>
#include <new>
#include <string>

#include "ClassEngine/ExMalloc.h"
#include "ClassEngine/Progress.h"
#include "ClassEngine/Threader.h"
#include "paint/file/SceneReader.h"

using namespace scenereading;

bool SceneReader::CornerMap(FaceCornerTable& table, int faces) {
  uint32_t n = r_.U32();
  if (!r_.Fits(n, 1, "corner map")) return false;
  int64_t end = r_.Pos() + n;
  uint32_t pairs = r_.U32();
  if (n < 4 || pairs > (n - 4) / 8) {
    r_.Fail("the corner map's count does not match its size");
    return false;
  }
  table.Clear();
  std::vector<int> loop;
  int face = 0;
  const int corners = (int)s_.Corners.size();
  for (uint32_t i = 0; i <= pairs; i++) {
    int f = i < pairs ? (int)r_.U32() : faces;
    int c = i < pairs ? (int)r_.U32() : 0;
    if (f < face || f > faces || (i < pairs && (f >= faces || c < 0 || c >= corners))) {
      r_.Fail("the corner map names a face or corner that does not exist");
      return false;
    }
    while (face < f) {
      table.AddFace(loop.data(), (int)loop.size());
      loop.clear();
      face++;
    }
    if (i < pairs) loop.push_back(c);
  }
  return r_.Seek(end);
}

bool SceneReader::Surface(uint32_t tag) {
  if (tag == FourCC("SAR5")) tag = FourCC("SUR5");
  if (tag == FourCC("SAR6")) tag = FourCC("SUR6");
  if (tag == FourCC("SAR7")) tag = FourCC("SUR7");
  // "SURF" and "SUR1" sort above and below the others by number: test by name.
  const bool earliest = tag == FourCC("SURF") || tag == FourCC("SUR1");
  uint32_t defaultGrid = r_.U32();
  if (!earliest && tag >= FourCC("SUR6")) defaultGrid = 0;
  if (defaultGrid > 4096) {
    r_.Fail("the grid size " + std::to_string(defaultGrid) + " is out of range");
    return false;
  }
  r_.U32();
  uint32_t corners = r_.U32(), vertices = r_.U32(), normals = r_.U32();
  const uint32_t cornerBytes = earliest || tag < FourCC("SUR4") ? 40 : 48;
  // The earliest vertices are four floats; the fourth is not kept.
  const uint32_t vertexBytes = earliest ? 16 : 20;
  if (!r_.Fits(corners, cornerBytes, "corner") || !r_.Fits(normals, 12, "normal") ||
      !r_.Fits(vertices, vertexBytes, "vertex") ||
      !r_.Fits(1, (uint64_t)corners * cornerBytes + normals * 12ull + (uint64_t)vertices * vertexBytes,
               "mesh array"))
    return false;
  s_.Corners.assign(corners, FaceCorner());
  for (FaceCorner& c : s_.Corners) {
    c.Vertex = r_.I32(), c.Normal = r_.I32();
    c.UV.x = r_.F32(), c.UV.y = r_.F32();
    c.Tangent = r_.Vec3(), c.Binormal = r_.Vec3();
    Swap(c.Tangent), Swap(c.Binormal);
    if (cornerBytes == 48) c.UV2.x = r_.F32(), c.UV2.y = r_.F32();
    if (c.Vertex < 0 || c.Vertex >= (int)vertices || c.Normal < -1 || c.Normal >= (int)normals) {
      r_.Fail("a corner names a vertex or normal that does not exist");
      return false;
    }
  }
  s_.Normals.resize(normals);
  for (comms::cVec3& n : s_.Normals) n = r_.Vec3(), Swap(n);
  s_.Vertices.resize(vertices);
  for (MeshVertex& v : s_.Vertices) {
    v.Position = r_.Vec3();
    Swap(v.Position);
    v.Mark = r_.F32();
    if (earliest) {
      v.Mark = 1.0f;
      continue;
    }
    v.Reserved0 = r_.U8(), v.SubdivisionLevel = r_.U8(), v.Dirty = r_.U8(), v.Reserved1 = r_.U8();
  }
  // The maps come before the face count: read them aside and check after.
  int64_t maps = r_.Pos();
  for (int k = 0; k < 2 && r_.Ok(); k++) {
    uint32_t n = r_.U32();
    if (r_.Fits(n, 1, "corner map")) r_.Skip(n);
  }
  uint32_t faces = r_.U32();
  if (!r_.Fits(faces, 17, "face")) return false;
  int64_t facesAt = r_.Pos();
  if (!r_.Seek(maps) || !CornerMap(s_.FaceCornerMap, (int)faces) ||
      !CornerMap(s_.BasicFaceCornerMap, (int)faces) || !r_.Seek(facesAt))
    return false;
  s_.Faces.clear();
  s_.Faces.resize(faces);
  if (earliest ? !EarliestFaces(tag, defaultGrid, faces) : !Faces(FaceLayout::Of(tag, defaultGrid), faces))
    return false;
  if (oldBlend_) {
    for (OneLayerInfo* l : s_.Layers)
      if (l->ColorOp >= 0 && l->ColorOp < 8) l->ColorOp = kOldColorOps[l->ColorOp];
    oldBlend_ = false;
  }
  s_.CreateMissingTargets();
  return r_.Ok();
}

// The faces go in runs: the records of a run are measured in the read
// window one after the other, decoded on the thread pool, and their layers
// resolved in face order (which creates missing layers in file order).
bool SceneReader::Faces(const FaceLayout& layout, uint32_t faces) {
  constexpr int64_t kRunBytes = 8 << 20;
  constexpr size_t kRunFaces = 4096;
  FaceContext context;
  context.UVSets = s_.UVSets.GetAmount();
  for (const OneSubObject* o : s_.Objects)
    context.ObjectVisible.push_back(o->Visible), context.ObjectLocked.push_back(o->Locked);
  for (const OneMaterial* m : s_.Materials) context.MaterialLocked.push_back(m->Locked);
  context.SwapYZ = swapYZ_, context.OldSpecular = oldSpecular_;
  std::vector<int64_t> offsets;
  std::vector<std::string> why;
  int64_t atLeast = 0;  // the bytes the next record needs to be measured
  for (uint32_t done = 0; done < faces;) {
    int64_t have = std::max(kRunBytes, atLeast);
    const uint8_t* bytes = r_.Peek(have);
    if (!bytes) return false;
    offsets.assign(1, 0);
    int64_t need = 0;
    while (done + offsets.size() - 1 < faces && offsets.size() <= kRunFaces) {
      int64_t length = FaceRecordLength(layout, bytes + offsets.back(), have - offsets.back(), need);
      if (length < 0) break;
      offsets.push_back(offsets.back() + length);
    }
    const int count = (int)offsets.size() - 1;
    if (count == 0) {
      // One record larger than the run: make room for it, if the file holds it.
      if (need > r_.Left()) {
        r_.Fail("face " + std::to_string(done) + " needs " + std::to_string(need) + " bytes, " +
                std::to_string(r_.Left()) + " are left");
        return false;
      }
      atLeast = need;
      continue;
    }
    atLeast = 0;
    why.assign(count, std::string());
    ParallelRange(0, count, [&](int first, int last) {
      for (int k = first; k < last; k++)
        if (!DecodeFaceRecord(layout, context, bytes + offsets[k], s_.Faces[done + k], why[k])) break;
    });
    for (int k = 0; k < count; k++) {
      if (!why[k].empty()) {
        r_.Skip(offsets[k]);
        r_.Fail("face " + std::to_string(done + k) + ": " + why[k]);
        return false;
      }
      for (FaceLayer& l : s_.Faces[done + k].LayerList) l.Info = s_.GetLayerByID(l.LayerID);
    }
    r_.Skip(offsets.back());
    done += count;
    ReportProgress("LOADING_PROGRESS", done, faces);
  }
  return r_.Ok();
}

bool SceneReader::EarliestFaces(uint32_t tag, uint32_t grid, uint32_t faces) {
  // Per face: u8 flags, four i32 neighbours, then grid x grid samples of 48
  // bytes ("SUR1": position, normal, colour, freeze, opacity, base normal)
  // or their first 32 ("SURF", the base normal is the normal).
  const bool whole = tag == FourCC("SUR1");
  const int64_t record = whole ? 48 : 32;
  const uint64_t n = (uint64_t)grid * grid;
  if (!r_.Fits(faces, 17 + n * record, "face")) return false;
  // These files knew one paint layer: it becomes the only one, and holds
  // each sample's position (as the bottom layer does) and colour.
  s_.Layers.Clear();
  s_.RebuildLayerOrder();
  const int id = s_.NewLayer(true);
  OneLayerInfo* info = s_.GetLayerByID(id);
  RelinkLayers();  // tiles read before this block
  for (uint32_t i = 0; i < faces; i++) {
    PaintFace& f = s_.Faces[i];
    f.Flags = r_.U8();
    f.Neighbour[2] = r_.I32(), f.Neighbour[3] = r_.I32(), f.Neighbour[0] = r_.I32(), f.Neighbour[1] = r_.I32();
    if (!r_.Ok()) return false;
    if (n == 0) continue;
    f.AllocateGrid((int)grid, (int)grid);
    auto* data = f.Grid ? (LayerMicroVertex*)cExMalloc((int)(sizeof(LayerMicroVertex) * n)) : nullptr;
    if (!data) {
      r_.Fail("no memory for a face grid");
      return false;
    }
    f.LayerList.Add(FaceLayer{data, id, info});
    int frozen = 0, free = 0;
    for (uint64_t k = 0; k < n; k++) {
      const uint8_t* p = r_.Span(record);
      if (!p) return false;
      comms::cVec3 position = GetVec3(p), base = GetVec3(whole ? p + 36 : p + 12);
      Swap(position), Swap(base);
      MicroVertex& v = f.Grid[k];
      v.Freeze = GetF32(p + 28), v.BaseNormal = base, v.Color = 0, v.Opacity = 0;
      frozen += v.Freeze > 0.999f, free += v.Freeze < 0.001f;
      LayerMicroVertex& lv = *new (&data[k]) LayerMicroVertex;
      lv.Offset = position, lv.Color = GetU32(p + 24), lv.Opacity = 1, lv.Emboss = 0;
    }
    f.FreezeState = FreezeStateOf(free, frozen, (int)n);
    if (i % (faces / 30 + 1) == 0) ReportProgress("LOADING_PROGRESS", i, faces);
  }
  return r_.Ok();
}
