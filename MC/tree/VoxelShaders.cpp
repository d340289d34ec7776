// Voxel shader names and the choice of a volume's shader (see VoxelShaders.h).
#include "MC/tree/VoxelShaders.h"

#include <algorithm>
#include <filesystem>

#include "ClassEngine/DataFolder.h"
#include "MC/mcubes/VolumeObject.h"

namespace {
std::vector<std::string> HlslIn(const std::filesystem::path& folder, const std::string& prefix,
                                const std::string& namePrefix) {
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& e : std::filesystem::directory_iterator(folder, ec)) {
    if (!e.is_regular_file() || e.path().extension() != ".hlsl") continue;
    const std::string stem = e.path().stem().string();
    if (stem.rfind(prefix, 0) == 0) names.push_back(namePrefix + stem);
  }
  std::sort(names.begin(), names.end());
  return names;
}
}  // namespace

std::vector<std::string> VoxelShaderNames(const std::string& shaderFolder) {
  const std::filesystem::path folder = shaderFolder.empty() ? comms::DataFilePath("Shaders") : shaderFolder;
  std::vector<std::string> names = HlslIn(folder, "mcubes", "");
  for (const std::string& n : HlslIn(folder / "Custom", "", "Custom/")) names.push_back(n);
  return names;
}

bool SetVolumeShader(VolumeObject& volume, const std::string& name, const std::string& shaderFolder) {
  const std::vector<std::string> names = VoxelShaderNames(shaderFolder);
  if (std::find(names.begin(), names.end(), name) == names.end()) return false;
  volume.Shader = name;
  return true;
}
