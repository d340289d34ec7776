// Pen presets: the pen stored as a preset comes back exactly, numbered
// presets survive Presets.xml, and a missing file leaves the list alone.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "ClassEngine/UserPaths.h"
#include "interface/Navigation.h"
#include "interface/Presets.h"
#include "paint/GeneralPen.h"

namespace fs = std::filesystem;

TEST(PresetsTest, APresetRestoresThePenAndSurvivesTheFile) {
  GeneralPenSaver keep;
  const fs::path dir = fs::temp_directory_path() / ("morvane-presets-" + std::to_string(getpid()));
  fs::create_directories(dir);
  SetUserPathResolver([dir](const std::string& rel) { return (dir / rel).string(); });
  PresetsManager m;
  EXPECT_FALSE(m.Restore()) << "no file yet";
  GeneralPen::PenRadius = 37.5f;
  GeneralPen::DeepDegree = 0.25f;
  GeneralPen::Color[0] = 1, GeneralPen::Color[1] = 0.5f, GeneralPen::Color[2] = 0;
  GeneralPen::SpecularDegree = 0.75f;
  PenTweaks::Smoothing = 0.3f;
  OnePreset* first = m.AddPreset();
  EXPECT_STREQ(first->Name.cpchar(), "Preset #1");
  GeneralPen::PenRadius = 5;
  EXPECT_STREQ(m.AddPreset()->Name.cpchar(), "Preset #2");
  PresetsManager other;
  ASSERT_TRUE(other.Restore());
  ASSERT_EQ(other.Presets.GetAmount(), 2);
  ApplyPreset(*other.Presets[0]);
  EXPECT_EQ(GeneralPen::PenRadius, 37.5f);
  EXPECT_EQ(GeneralPen::DeepDegree, 0.25f);
  EXPECT_NEAR(GeneralPen::Color[1], 0.5f, 1.0f / 255);
  EXPECT_EQ(GeneralPen::Color[2], 0.0f);
  EXPECT_EQ(GeneralPen::SpecularDegree, 0.75f);
  EXPECT_NEAR(PenTweaks::Smoothing, 0.3f, 1e-6f);
  SetUserPathResolver(nullptr);
  fs::remove_all(dir);
  PenTweaks::Smoothing = 0;
}
