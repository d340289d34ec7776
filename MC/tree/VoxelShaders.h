// The voxel shaders a volume can be drawn with: the shader files of the data
// folder's "Shaders/" whose names begin with "mcubes", and every shader of
// "Shaders/Custom/" (the user's own), by name without extension.
#pragma once
#include <string>
#include <vector>

class VolumeObject;

// The names under `shaderFolder` (the data folder's "Shaders" when empty),
// sorted, the user's after the shipped ones.
std::vector<std::string> VoxelShaderNames(const std::string& shaderFolder = std::string());
// Gives the volume the shader `name`; false, nothing changed, for a name
// that is not a voxel shader of the folder.
bool SetVolumeShader(VolumeObject& volume, const std::string& name, const std::string& shaderFolder = std::string());
