// The mesh-to-volume command (see MeshToVolumeCommand.h).
#include "MC/mesh/MeshToVolumeCommand.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "MC/file/VolumeSceneFiles.h"
#include "MC/mcubes/MakeVolumeCommand.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "MC/mesh/ImportMeshVolume.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"

namespace {
constexpr double kMaxVoxelsAcross = 4000;
constexpr double kDefaultVoxelsAcross = 200;
}  // namespace

int RunMeshToVolumeCommand(const std::vector<std::string>& args) {
  if (args.size() != 2 && args.size() != 3) {
    fprintf(stderr, "usage: --mesh-to-volume MESH OUTPUT.(ply|obj|stl|mvn) [VOXEL-SIZE]\n");
    return 2;
  }
  const std::string inPath = std::filesystem::absolute(args[0]).lexically_normal().string();
  const std::string outPath = std::filesystem::absolute(args[1]).lexically_normal().string();
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(inPath.c_str()));
  if (!mesh || mesh->positions.empty()) {
    fprintf(stderr, "mesh-to-volume: cannot read a mesh from %s\n", inPath.c_str());
    return 1;
  }
  float toLattice[16], toMesh[16];
  double extent = 0;
  MeshLatticeMatrices(*mesh, 1.0, toLattice, toMesh, &extent);
  double voxel = extent / kDefaultVoxelsAcross;
  if (args.size() == 3) {
    char* end = nullptr;
    voxel = strtod(args[2].c_str(), &end);  // the C locale's decimal point
    if (!end || *end || !(voxel > 0)) {
      fprintf(stderr, "mesh-to-volume: VOXEL-SIZE must be a positive number, got '%s'\n", args[2].c_str());
      return 2;
    }
  }
  if (!(extent > 0) || !(extent / voxel <= kMaxVoxelsAcross)) {
    fprintf(stderr, "mesh-to-volume: the mesh spans %.6g units, %.6g voxels of %.6g; at most %g are allowed\n", extent,
            extent / voxel, voxel, kMaxVoxelsAcross);
    return 2;
  }
  // Lattice coordinates about the mesh's centre keep the numbers small.
  MeshLatticeMatrices(*mesh, voxel, toLattice, toMesh);
  VolumeObject volume;
  volume.Name = std::filesystem::path(inPath).stem().string();
  MergeMesh(volume, *mesh, toLattice, kMergeUnion);
  volume.UpdateSurface();
  // A scene file keeps the voxels; the volume's transform puts them back in
  // the units of the mesh.
  std::string extension = std::filesystem::path(outPath).extension().string();
  for (char& c : extension) c = (char)std::tolower((unsigned char)c);
  if (extension == ".mvn") {
    volume.SetTransform(toMesh);
    std::string error;
    if (!SaveVolumesAsScene(outPath, {&volume}, &error)) {
      fprintf(stderr, "mesh-to-volume: %s\n", error.c_str());
      return 1;
    }
    printf("%d cells written to %s\n", volume.CellCount(), outPath.c_str());
    return 0;
  }
  WeldedMeshBuilder surface;
  volume.ExtractWeldedAll(surface, toMesh);
  if (!SaveWeldedMesh(outPath, surface)) {
    fprintf(stderr, "mesh-to-volume: cannot write %s\n", outPath.c_str());
    return 1;
  }
  printf("%d triangles written to %s\n", surface.TriangleCount(), outPath.c_str());
  return 0;
}
