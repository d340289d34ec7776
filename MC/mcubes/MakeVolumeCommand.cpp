// The make-volume command, and the saving of a welded surface through the
// mesh codecs (see MakeVolumeCommand.h).
#include "MC/mcubes/MakeVolumeCommand.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "ClassEngine/Log.h"
#include "MC/file/VolumeSceneFiles.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"

void WeldedToMesh(const WeldedMeshBuilder& mesh, comms::cMesh& out) {
  const int material = out.AddMaterial("voxelMaterial");
  const int object = out.AddObject("voxelObject");
  out.positions.resize(mesh.VertexCount());
  out.normals.resize(mesh.Normals.size() / 3);
  for (int v = 0; v < mesh.VertexCount(); ++v)
    out.positions[v] = {mesh.Positions[v * 3], mesh.Positions[v * 3 + 1], mesh.Positions[v * 3 + 2]};
  for (size_t v = 0; v < out.normals.size(); ++v)
    out.normals[v] = {mesh.Normals[v * 3], mesh.Normals[v * 3 + 1], mesh.Normals[v * 3 + 2]};
  const bool withNormals = out.normals.size() == out.positions.size();
  out.polygons.reserve((size_t)mesh.TriangleCount() * 4);
  for (int t = 0; t < mesh.TriangleCount(); ++t) {
    out.BeginPolygon(3, material, object);
    for (int k = 0; k < 3; ++k) {
      const int v = (int)mesh.Indices[t * 3 + k];
      out.AddCorner(v, -1, withNormals ? v : -1);
    }
  }
}

bool SaveWeldedMesh(const std::string& path, const WeldedMeshBuilder& mesh) {
  comms::cMesh out;
  WeldedToMesh(mesh, out);
  if (!comms::cMeshIO::SaveMesh(out, path.c_str())) {
    Error("SaveWeldedMesh(): cannot write %s", path.c_str());
    return false;
  }
  return true;
}

int RunMakeVolumeCommand(const std::vector<std::string>& args) {
  if (args.size() != 3) {
    fprintf(stderr, "usage: --make-volume sphere|box|torus|noise SIZE OUTPUT.ply|OUTPUT.mvn\n");
    return 2;
  }
  const std::string& shapeName = args[0];
  char* end = nullptr;
  const double size = strtod(args[1].c_str(), &end);  // strtod reads the C locale's decimal point
  if (!end || *end || !(size >= 1.0 && size <= 4000.0)) {
    fprintf(stderr, "make-volume: SIZE must be a number of voxels from 1 to 4000, got '%s'\n", args[1].c_str());
    return 2;
  }
  const float s = (float)size;
  std::unique_ptr<DensityShape> shape;
  if (shapeName == "sphere")
    shape = std::make_unique<SphereShape>(0.f, 0.f, 0.f, s);
  else if (shapeName == "box")
    shape = std::make_unique<BoxShape>(0.f, 0.f, 0.f, s, s, s);
  else if (shapeName == "torus")
    shape = std::make_unique<TorusShape>(0.f, 0.f, 0.f, s, s * 0.35f);
  else if (shapeName == "noise")
    shape = std::make_unique<NoiseShape>(0.f, 0.f, 0.f, s, s * 0.25f, s * 0.5f, 1);
  if (!shape) {
    fprintf(stderr, "make-volume: unknown shape '%s' (sphere, box, torus, noise)\n", shapeName.c_str());
    return 2;
  }
  VolumeObject volume;
  volume.Name = shapeName;
  FillVolume(volume, *shape);
  volume.UpdateSurface();
  const std::string& out = args[2];
  if (out.size() > 4 && out.compare(out.size() - 4, 4, ".mvn") == 0) {
    std::string error;
    if (!SaveVolumesAsScene(out, {&volume}, &error)) {
      fprintf(stderr, "make-volume: %s\n", error.c_str());
      return 1;
    }
    printf("%d cells written to %s\n", volume.CellCount(), out.c_str());
    return 0;
  }
  WeldedMeshBuilder mesh;
  volume.ExtractWeldedAll(mesh);
  // Relative to the working folder (the file layer would read a relative
  // name against the program's own folder).
  const std::string outPath = std::filesystem::absolute(args[2]).lexically_normal().string();
  if (!SaveWeldedMesh(outPath, mesh)) {
    fprintf(stderr, "make-volume: cannot write %s\n", outPath.c_str());
    return 1;
  }
  printf("%d triangles written to %s\n", mesh.TriangleCount(), outPath.c_str());
  return 0;
}
