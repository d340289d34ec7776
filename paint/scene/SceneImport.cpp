// A neutral mesh becomes the paint scene: vertices, normals, corners and faces
// (polygons above four corners are fanned into triangles), materials and
// objects, then grids or pixel maps, then the loading stages.
#include "paint/scene/SceneImport.h"

#include <memory>
#include <new>

#include "ClassEngine/Log.h"
#include "interchange/MeshIO.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/QuadSplit.h"

using comms::cMesh;
using comms::cPolyCell;
using comms::cVec3;

namespace {

cVec3 Bilinear(const cVec3 c[4], float s, float t) {
  return c[0] * ((1 - s) * (1 - t)) + c[1] * (s * (1 - t)) + c[2] * (s * t) + c[3] * ((1 - s) * t);
}

// The grid and the bottom layer's base positions of one face.
void MakeGrid(PaintScene& scene, int face, int side) {
  PaintFace& f = scene.Faces[face];
  const int n = scene.FaceCornerMap.Entries(face) - 1;
  if (n < 3) return;
  const int* c = scene.FaceCornerMap.Of(face);
  cVec3 p[4], nrm[4];
  for (int i = 0; i < 4; i++) {
    const FaceCorner& k = scene.Corners[c[i < n ? i : n - 1]];  // a triangle repeats its last
    p[i] = scene.Vertices[k.Vertex].Position;
    nrm[i] = k.Normal >= 0 ? scene.Normals[k.Normal] : cVec3();
  }
  f.AllocateGrid(side, side);
  FaceLayer* bottom = scene.GetFaceLayer(face, 0, true);
  if (!f.Grid || !bottom) return;
  for (int y = 0; y < side; y++)
    for (int x = 0; x < side; x++) {
      float s = (x + 0.5f) / side, t = (y + 0.5f) / side;
      MicroVertex& mv = f.Grid[y * side + x];
      mv.Position = Bilinear(p, s, t);
      mv.BaseNormal = mv.Normal = Bilinear(nrm, s, t).Normalized();
      bottom->Data[y * side + x].Offset = mv.Position;
    }
}

}  // namespace

bool MeshHasUVs(const cMesh& mesh) {
  if (mesh.uvs.empty()) return false;
  bool all = true;
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* corners) {
    for (int i = 0; i < h.a; i++)
      if (corners[i].b < 0) all = false;
  });
  return all;
}

PaintImportResult ImportMeshIntoScene(PaintScene& scene, const cMesh& mesh, PaintImportMode mode,
                                      const DPSettings& settings) {
  PaintImportResult result;
  if (!mesh.IsConsistent() || mesh.positions.empty() || mesh.PolygonCount() == 0) {
    result.message = "the mesh has no usable polygons";
    return result;
  }
  if (mode == PaintImportMode::PerPixel && !MeshHasUVs(mesh)) {
    // The automatic unwrap ("FULL_UNWRAP") comes with the UV room.
    result.message =
        "the mesh has no texture coordinates, and per-pixel painting needs them (FULL_UNWRAP). "
        "Import it in micro-vertex mode instead.";
    Log("ImportMeshIntoScene(): %s", result.message.c_str());
    return result;
  }
  scene.ResetScene(true);
  scene.Materials.Clear();
  scene.Objects.Clear();
  for (const comms::cMaterial& m : mesh.materials) {
    auto* mat = new OneMaterial;
    mat->Name = m.name.c_str();
    mat->TexName = m.slots[comms::kDiffuseSlot].path.c_str();
    mat->Parent = &scene.Materials;
    mat->RTIndex = scene.Materials.GetAmount();
    scene.Materials.Add(mat);
  }
  for (const comms::cObject& o : mesh.objects) {
    auto* obj = new OneSubObject;
    obj->Name = o.name.c_str();
    obj->Parent = &scene.Objects;
    scene.Objects.Add(obj);
  }
  scene.MakeDefaults();  // a default material and object when the file has none
  const int nMaterials = scene.Materials.GetAmount(), nObjects = scene.Objects.GetAmount();

  scene.Vertices.resize(mesh.positions.size());
  for (size_t i = 0; i < mesh.positions.size(); i++) {
    const auto& p = mesh.positions[i];
    scene.Vertices[i].Position = settings.SwapYZ ? cVec3(p.x, p.z, p.y) : cVec3(p.x, p.y, p.z);
  }
  scene.BasePositions.reserve(scene.Vertices.size());
  for (const MeshVertex& v : scene.Vertices) scene.BasePositions.push_back(v.Position);
  // File normals first, then one smooth normal per position for corners without.
  for (const auto& n : mesh.normals)
    scene.Normals.push_back(settings.SwapYZ ? cVec3(n.x, n.z, n.y) : cVec3(n.x, n.y, n.z));
  const int smoothBase = (int)scene.Normals.size();
  scene.Normals.resize(scene.Normals.size() + mesh.positions.size());
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* k) {
    for (int i = 1; i + 1 < h.a; i++) {
      cVec3 a = scene.Vertices[k[0].a].Position, b = scene.Vertices[k[i].a].Position,
            c = scene.Vertices[k[i + 1].a].Position;
      cVec3 n = comms::Cross(b - a, c - a);
      for (int j : {0, i, i + 1}) scene.Normals[smoothBase + k[j].a] += n;
    }
  });
  for (int i = smoothBase; i < (int)scene.Normals.size(); i++)
    scene.Normals[i] = scene.Normals[i].Normalized();

  auto addCorner = [&](const cPolyCell& k) {
    FaceCorner c;
    c.Vertex = k.a;
    c.Normal = k.c >= 0 ? k.c : smoothBase + k.a;
    if (k.b >= 0) c.UV = comms::cVec2(mesh.uvs[k.b].x, mesh.uvs[k.b].y);
    c.UV2 = c.UV;
    scene.Corners.push_back(c);
    return (int)scene.Corners.size() - 1;
  };
  auto addFace = [&](const cPolyCell& h, const cPolyCell* k, const int* pick, int n) {
    int ids[4];
    for (int i = 0; i < n; i++) ids[i] = addCorner(k[pick[i]]);
    scene.FaceCornerMap.AddFace(ids, n);
    PaintFace f;
    int material = cMesh::MaterialOf(h.b), object = h.c;
    f.Material = (uint16_t)(material >= 0 && material < nMaterials ? material : 0);
    f.Object = (uint16_t)(object >= 0 && object < nObjects ? object : 0);
    f.RenderTarget = (uint16_t)scene.Materials[f.Material]->RTIndex;
    f.UVSet = f.Material;
    f.Visible = scene.Objects[f.Object]->Visible;
    f.Editable = !scene.Objects[f.Object]->Locked && !scene.Materials[f.Material]->Locked;
    scene.Faces.push_back(std::move(f));
  };
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* k) {
    if (h.a == 3 || h.a == 4) {
      const int pick[4] = {0, 1, 2, 3};
      addFace(h, k, pick, h.a);
    } else {
      for (int i = 1; i + 1 < h.a; i++) {
        const int pick[3] = {0, i, i + 1};
        addFace(h, k, pick, 3);
      }
    }
  });
  for (MeshVertex& v : scene.Vertices) v.Mark = 1;

  scene.CreateMissingTargets();
  if (mode == PaintImportMode::MicroVertex) {
    const int side = settings.GridSide();
    for (int f = 0; f < (int)scene.Faces.size(); f++) MakeGrid(scene, f, side);
  } else {
    for (int t = 0; t < scene.RenderTargets.GetAmount(); t++) {
      MRenderTarget* rt = scene.RenderTargets[t];
      rt->UseExternalTexture = true;
      rt->Pixels = new PixelMap(&scene, rt->rtSizeX, rt->rtSizeY);
      rt->Pixels->Build(scene, t);
    }
  }
  if (!scene.Prepare(&result.warnings)) {
    result.message = "Unable to create render target. It is possible to lack of video-memory.";
    scene.ResetScene(true);
    return result;
  }
  result.ok = true;
  Log("ImportMeshIntoScene(): %d faces, %d vertices, %d micro-vertices", (int)scene.Faces.size(),
      (int)scene.Vertices.size(), scene.MicroVertexCount);
  return result;
}

PaintImportResult ImportPreparedMesh(PaintScene& scene, const cMesh& mesh, PaintImportMode mode,
                                     const DPSettings& settings) {
  if (mode == PaintImportMode::MicroVertex && HasNonQuads(mesh)) {
    const cMesh quads = SplitIntoQuads(mesh);
    Log("ImportPreparedMesh(): %d polygons split into %d quads", mesh.PolygonCount(), quads.PolygonCount());
    return ImportMeshIntoScene(scene, quads, mode, settings);
  }
  return ImportMeshIntoScene(scene, mesh, mode, settings);
}

PaintImportResult ImportMeshFile(PaintScene& scene, const std::string& path, PaintImportMode mode,
                                 const DPSettings& settings) {
  std::unique_ptr<cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  if (!mesh) {
    PaintImportResult r;
    r.message = "the mesh file could not be read: " + path;
    return r;
  }
  return ImportPreparedMesh(scene, *mesh, mode, settings);
}
