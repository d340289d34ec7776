// The voxel shader a volume is drawn with: the choice comes from the shipped
// shader folder and the user's Custom folder, an unknown name is refused,
// and the choice travels with the volume stream.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/file/VolumeStream.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxelShaders.h"
#include "paint/file/BlockCoding.h"

namespace {

TEST(VoxelShaders, ShippedAndCustomShadersAreOffered) {
  const auto shipped = VoxelShaderNames();
  EXPECT_NE(std::find(shipped.begin(), shipped.end(), "mcubes"), shipped.end());
  EXPECT_EQ(std::find(shipped.begin(), shipped.end(), "hud_smooth"), shipped.end()) << "not a voxel shader";

  char name[] = "/tmp/morvane-shaders-XXXXXX";
  const std::filesystem::path dir = mkdtemp(name);
  std::filesystem::create_directories(dir / "Custom");
  std::ofstream(dir / "mcubes_wax.hlsl") << "//";
  std::ofstream(dir / "Font.hlsl") << "//";
  std::ofstream(dir / "Custom" / "Marble.hlsl") << "//";
  std::ofstream(dir / "Custom" / "notes.txt") << "//";
  EXPECT_EQ(VoxelShaderNames(dir.string()), (std::vector<std::string>{"mcubes_wax", "Custom/Marble"}));
  VolumeObject v;
  EXPECT_EQ(v.Shader, "mcubes") << "a new volume draws with the clay shader";
  EXPECT_FALSE(SetVolumeShader(v, "Font", dir.string()));
  EXPECT_EQ(v.Shader, "mcubes");
  ASSERT_TRUE(SetVolumeShader(v, "Custom/Marble", dir.string()));
  std::filesystem::remove_all(dir);

  MemoryBinStream s;
  {
    BlockWriter w(s);
    WriteVolumes(w, {&v}, false);
  }
  BlockReader r(s, s.Size());
  std::vector<std::unique_ptr<VolumeObject>> back;
  ASSERT_TRUE(ReadVolumes(r, back)) << r.Error();
  ASSERT_EQ(back.size(), 1u);
  EXPECT_EQ(back[0]->Shader, "Custom/Marble");
}

}  // namespace
