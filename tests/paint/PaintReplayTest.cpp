// Paint scripts: a mesh imported by the script's first line is painted by
// its strokes; the colour lands where the stroke was, the eraser takes it
// back, errors name their line, one and two threads give the same texture
// bytes, and the command writes the picture and each target's colour map.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "interchange/TestFiles.h"
#include "paint/layers/PixelMap.h"
#include "paint/raster/TargetColorMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/stroke/PaintReplay.h"

namespace {

// A 4 x 2 sheet of quads in the z = 0 plane, one UV map over [0, 1]^2.
std::string WriteSheet(const std::string& folder) {
  std::ofstream obj(folder + "sheet.obj");
  for (int y = 0; y <= 2; y++)
    for (int x = 0; x <= 4; x++) obj << "v " << x << " " << y << " 0\nvt " << x / 4.0 << " " << y / 2.0 << "\n";
  for (int y = 0; y < 2; y++)
    for (int x = 0; x < 4; x++) {
      const int a = y * 5 + x + 1, b = a + 1, c = a + 6, d = a + 5;
      obj << "f " << a << "/" << a << " " << b << "/" << b << " " << c << "/" << c << " " << d << "/" << d << "\n";
    }
  return folder + "sheet.obj";
}

// Red in the map at UV (u, v): the image is stored bottom-up, v up.
bool RedAt(const comms::cImage& m, float u, float v) {
  const int x = (int)(u * m.width), y = (int)(v * m.height);
  const uint8_t* p = &m.data[((size_t)y * m.width + x) * 3];
  return p[0] > 200 && p[1] < 60 && p[2] < 60;
}

const char* kStroke = R"(
layer new
color 1 0 0
opacity 1
draw depth 0
pen plane
radius 0.3
stroke 0.5 1 1  3.5 1 1
)";

}  // namespace

TEST(PaintReplay, AStrokeLandsWhereItWentInBothModes) {
  const std::string folder = testfiles::FreshFolder();
  const std::string mesh = WriteSheet(folder);
  for (const char* mode : {"per-pixel 128", "micro 3"}) {
    PaintScene scene;
    const std::string script = "import " + mesh + " " + mode + kStroke;
    ASSERT_TRUE(IsPaintScript(script));
    const PaintReplayResult r = RunPaintReplayScript(script, scene);
    ASSERT_EQ(r.Line, 0) << r.Error;
    EXPECT_EQ(r.Strokes, 1);
    EXPECT_GE(r.Dabs, 20);  // cut in steps of half the radius
    comms::cImage map;
    ASSERT_TRUE(ComposedColorMap(scene, 0, map));
    // The band runs along v = 0.5 from u = 0.125 to 0.875.
    EXPECT_TRUE(RedAt(map, 0.2f, 0.5f)) << mode;
    EXPECT_TRUE(RedAt(map, 0.5f, 0.52f)) << mode;
    EXPECT_TRUE(RedAt(map, 0.8f, 0.48f)) << mode;
    EXPECT_FALSE(RedAt(map, 0.5f, 0.8f)) << mode;
    EXPECT_FALSE(RedAt(map, 0.5f, 0.2f)) << mode;
    EXPECT_FALSE(RedAt(map, 0.98f, 0.5f)) << mode;
    // The eraser over the middle takes it back there only.
    PaintScene erased;
    const PaintReplayResult e =
        RunPaintReplayScript(script + "tool eraser\nradius 0.4\nstroke 2 1 1\n", erased);
    ASSERT_EQ(e.Line, 0) << e.Error;
    EXPECT_EQ(e.Strokes, 2);
    EXPECT_EQ(e.Dabs, r.Dabs + 1);
    ASSERT_TRUE(ComposedColorMap(erased, 0, map));
    EXPECT_FALSE(RedAt(map, 0.5f, 0.5f)) << mode;
    EXPECT_TRUE(RedAt(map, 0.2f, 0.5f)) << mode;
  }
}

TEST(PaintReplay, ErrorsNameTheirLine) {
  PaintScene scene;
  PaintReplayResult r = RunPaintReplayScript("# no import\nstroke 0 0 0\n", scene);
  EXPECT_EQ(r.Line, 2);
  EXPECT_FALSE(IsPaintScript("sphere 20\nstroke 0 0 0\n"));
  const std::string mesh = WriteSheet(testfiles::FreshFolder());
  r = RunPaintReplayScript("import " + mesh + " micro 2\ntool brush\n", scene);
  EXPECT_EQ(r.Line, 2);
  EXPECT_NE(r.Error.find("brush"), std::string::npos);
  r = RunPaintReplayScript("import /nowhere/at/all.obj micro\n", scene);
  EXPECT_EQ(r.Line, 1);
  r = RunPaintReplayScript("import " + mesh + " micro 2\nradius -1\n", scene);
  EXPECT_EQ(r.Line, 2);
}

TEST(PaintReplay, OneAndTwoThreadsPaintTheSameTextureBytes) {
  std::string script;
  const std::string shipped = std::string(getenv("MORVANE_DATA") ? getenv("MORVANE_DATA") : "data") +
                              "/Replays/paint_bunny.txt";
  if (testfiles::Installed("/usr/share/glmark2/models/bunny.obj") && std::filesystem::exists(shipped)) {
    std::ifstream in(shipped);
    script.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  } else {
    script = "import " + WriteSheet(testfiles::FreshFolder()) + " per-pixel 128" + kStroke +
             "tool smudge\nstroke 1 1 1 1 1.6 1\n";
  }
  std::vector<uint8_t> bytes[2];
  for (int threads : {1, 2}) {
    std::string s = script;
    const size_t at = s.find("threads ");
    if (at != std::string::npos) s.replace(at, s.find('\n', at) - at, "threads " + std::to_string(threads));
    else s.insert(s.find('\n') + 1, "threads " + std::to_string(threads) + "\n");
    PaintScene scene;
    const PaintReplayResult r = RunPaintReplayScript(s, scene);
    ASSERT_EQ(r.Line, 0) << r.Error;
    comms::cImage map;
    ASSERT_TRUE(ComposedColorMap(scene, 0, map));
    bytes[threads - 1] = map.data;
  }
  ASSERT_FALSE(bytes[0].empty());
  EXPECT_TRUE(bytes[0] == bytes[1]);
}

TEST(PaintReplay, TheCommandWritesThePictureAndTheColourMaps) {
  const std::string folder = testfiles::FreshFolder();
  const std::string script = folder + "paint.txt";
  std::ofstream(script) << "import " << WriteSheet(folder) << " per-pixel 64" << kStroke;
  ASSERT_EQ(RunPaintReplayCommand(script, folder), 0);
  EXPECT_GT(std::filesystem::file_size(folder + "replay.png"), 1000u);
  std::string colour;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().string().ends_with("_color.png")) colour = entry.path().string();
  ASSERT_FALSE(colour.empty());
  EXPECT_GT(colour.size(), folder.size() + 10);  // a name before "_color.png"
  comms::cImage image;
  ASSERT_TRUE(comms::cIO::LoadImage(colour, image));
  EXPECT_EQ(image.width, 64);
  EXPECT_EQ(RunPaintReplayCommand(folder + "missing.txt", folder), 1);
}
