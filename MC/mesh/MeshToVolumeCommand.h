// The mesh-to-volume command: a mesh file merged into a new volume at a given
// voxel size, its welded surface written in the mesh units of the input, or
// the volume itself as a scene file (".mvn") whose transform gives those units.
#pragma once
#include <string>
#include <vector>

// args: MESH OUTPUT.(ply|obj|stl|mvn) [VOXEL-SIZE]; without a size the mesh's
// largest extent spans 200 voxels. Returns the process exit code; nothing is
// written when the mesh cannot be read or the size is unusable.
int RunMeshToVolumeCommand(const std::vector<std::string>& args);
