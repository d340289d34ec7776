// A mesh file merged into a volume, centred (see ImportMeshVolume.h).
#include "MC/mesh/ImportMeshVolume.h"

#include <algorithm>
#include <filesystem>
#include <memory>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"

bool MeshLatticeMatrices(const comms::cMesh& mesh, double voxel, float toLattice[16], float toMesh[16],
                         double* extent) {
  if (mesh.positions.empty() || !(voxel > 0)) return false;
  float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
  for (const auto& p : mesh.positions) {
    const float q[3] = {p.x, p.y, p.z};
    for (int a = 0; a < 3; ++a) lo[a] = std::min(lo[a], q[a]), hi[a] = std::max(hi[a], q[a]);
  }
  const double size = std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]});
  if (extent) *extent = size;
  if (!(size > 0)) return false;
  const float s = (float)(1.0 / voxel), v = (float)voxel;
  float centre[3];
  for (int a = 0; a < 3; ++a) centre[a] = (lo[a] + hi[a]) * 0.5f;
  const float in[16] = {s, 0, 0, 0, 0, s, 0, 0, 0, 0, s, 0, -centre[0] * s, -centre[1] * s, -centre[2] * s, 1};
  const float out[16] = {v, 0, 0, 0, 0, v, 0, 0, 0, 0, v, 0, centre[0], centre[1], centre[2], 1};
  std::copy(in, in + 16, toLattice);
  std::copy(out, out + 16, toMesh);
  return true;
}

bool ImportMeshIntoVolume(VolumeObject& volume, const std::string& path, float voxelsAcross, std::string* why) {
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  if (!mesh || mesh->positions.empty()) {
    if (why) *why = "cannot read a mesh from " + path;
    return false;
  }
  double extent = 0;
  float toLattice[16], toMesh[16];
  if (!(voxelsAcross > 0) || !MeshLatticeMatrices(*mesh, 1.0, toLattice, toMesh, &extent) ||
      !MeshLatticeMatrices(*mesh, extent / voxelsAcross, toLattice, toMesh)) {
    if (why) *why = "the mesh in " + path + " is flat or empty";
    return false;
  }
  volume.ClearVoxels();
  volume.Name = std::filesystem::path(path).stem().string();
  MergeMesh(volume, *mesh, toLattice, kMergeUnion);
  volume.UpdateSurface();
  return true;
}
