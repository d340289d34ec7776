// A mesh file straight into a volume: the File menu's import into the voxel
// room and the --mesh-to-volume command share the placement here, the mesh's
// box centred on the lattice's origin at a chosen voxel size.
#pragma once
#include <string>

namespace comms {
class cMesh;
}
class VolumeObject;

// Matrices (row vectors) from the mesh's units into lattice units about the
// centre of its box, at `voxel` mesh units per voxel, and back. False for a
// mesh without vertices or a flat box.
bool MeshLatticeMatrices(const comms::cMesh& mesh, double voxel, float toLattice[16], float toMesh[16],
                         double* extent = nullptr);

// Loads the mesh file, empties the volume and merges the mesh into it so that
// its largest extent spans `voxelsAcross` voxels; the volume takes the file's
// name and its surface is brought up to date. On failure the volume is left
// as it was and `why` says what went wrong.
bool ImportMeshIntoVolume(VolumeObject& volume, const std::string& path, float voxelsAcross, std::string* why);
