// Volume-only scene files; see VolumeSceneFiles.h.
#include "MC/file/VolumeSceneFiles.h"

#include <cstdio>

#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/MakeVolumeCommand.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "paint/file/SceneFile.h"

bool SaveVolumesAsScene(const std::string& path, const std::vector<VolumeObject*>& volumes, std::string* error) {
  VoxelSculptTool tool;
  tool.SceneVolumes = [&] { return volumes; };
  SceneFileResult r = SaveToolBlocks(path, {&tool});
  if (error) *error = r.error;
  return r.ok;
}

bool LoadSceneVolumes(const std::string& path, std::vector<std::unique_ptr<VolumeObject>>& out, std::string* error) {
  VoxelSculptTool tool;
  tool.SceneVolumes = [] { return std::vector<VolumeObject*>(); };
  tool.TakeVolumes = [&](std::vector<std::unique_ptr<VolumeObject>>&& v) { out = std::move(v); };
  SceneFileResult r = LoadToolBlocks(path, {&tool});
  if (error) *error = r.error;
  return r.ok;
}

int RunConvertSceneCommand(const std::string& in, const std::string& out) {
  std::vector<std::unique_ptr<VolumeObject>> volumes;
  std::string error;
  if (!LoadSceneVolumes(in, volumes, &error)) {
    fprintf(stderr, "convert: %s\n", error.c_str());
    return 1;
  }
  if (volumes.empty()) {
    fprintf(stderr, "convert: %s holds no volume\n", in.c_str());
    return 1;
  }
  WeldedMeshBuilder mesh;
  for (auto& v : volumes) {
    v->UpdateSurface();
    v->ExtractWeldedAll(mesh, v->Transform);
  }
  if (!SaveWeldedMesh(out, mesh)) {
    fprintf(stderr, "convert: cannot write %s\n", out.c_str());
    return 1;
  }
  printf("%d volumes, %d triangles written to %s\n", (int)volumes.size(), mesh.TriangleCount(), out.c_str());
  return 0;
}
