// What "--convert" tells the user when it can't do the job: the codec's own
// reason under the failure, a refusal for a float image aimed at a file type
// that can't hold it, no silent empty meshes or dropped polygons, and the
// unpacking of a ZIP archive.
#include <cmath>
#include <cstdlib>
#include <memory>

#include "TestFiles.h"
#include "interchange/Convert.h"
#include "interchange/FloatImage.h"
#include "interchange/MeshIO.h"

using comms::RunConvertCommand;
using namespace testfiles;

namespace {

// Runs the converter and returns what it printed to stderr.
std::string ConvertErrors(const std::string& in, const std::string& out, int& code) {
  ::testing::internal::CaptureStderr();
  code = RunConvertCommand(in, out);
  return ::testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(ConvertReasons, AMeshFailurePrintsTheCodecsReason) {
  std::string dir = FreshFolder();
  WriteText(dir + "short.obj", "v 1 2\nf 1 1 1\n");
  int code = 0;
  std::string err = ConvertErrors(dir + "short.obj", dir + "out.ply", code);
  EXPECT_EQ(code, 1);
  EXPECT_NE(err.find("Can't read mesh"), std::string::npos);
  EXPECT_NE(err.find("Too few position coordinates: \"v 1 2\""), std::string::npos) << err;
  EXPECT_EQ(err.find("Log.txt"), std::string::npos);

  // A binary STL cut inside its 84-byte head.
  WriteBytes(dir + "cut.stl", std::vector<uint8_t>(50, 7));
  err = ConvertErrors(dir + "cut.stl", dir + "cut.ply", code);
  EXPECT_EQ(code, 1);
  EXPECT_NE(err.find("shorter than the 84-byte head"), std::string::npos) << err;
  EXPECT_FALSE(Installed(dir + "cut.ply"));

  // UTF-16 text, as some editors save it, with and without the byte-order mark.
  for (bool mark : {true, false}) {
    std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", wide;
    if (mark) wide = "\xff\xfe";
    for (char c : text) wide += std::string(1, c) + '\0';
    WriteText(dir + "wide.obj", wide);
    err = ConvertErrors(dir + "wide.obj", dir + "wide.stl", code);
    EXPECT_EQ(code, 1) << mark;
    EXPECT_NE(err.find("UTF-16"), std::string::npos) << err;
  }
}

TEST(ConvertReasons, FloatImagesGoOnlyToTypesThatHoldThem) {
  std::string dir = FreshFolder();
  comms::cFloatImage im(13, 7, 3);
  im.Set(12, 6, 0, 0.5f);
  ASSERT_TRUE(im.Save(dir + "in.exr"));
  int code = 0;
  for (const char* ext : {"dds", "webp", "obj"}) {
    std::string out = dir + "out." + ext;
    std::string err = ConvertErrors(dir + "in.exr", out, code);
    EXPECT_EQ(code, 1) << ext;
    EXPECT_NE(err.find("float images go to"), std::string::npos) << err;
    EXPECT_FALSE(Installed(out)) << ext;
  }
  EXPECT_EQ(RunConvertCommand(dir + "in.exr", dir + "out.tif"), 0);
  comms::cFloatImage tiff;
  ASSERT_TRUE(tiff.Load(dir + "out.tif"));
  EXPECT_FLOAT_EQ(tiff.Get(12, 6, 0), 0.5f);
}

TEST(ConvertReasons, PolygonsOfManyCornersSurviveInPly) {
  std::string dir = FreshFolder();
  comms::cMesh disc;
  int m = disc.AddMaterial("plyMaterial"), o = disc.AddObject("plyObject");
  const int corners = 300;
  for (int k = 0; k < corners; k++) disc.positions.push_back({std::cos(k * 0.021f), std::sin(k * 0.021f), 0});
  disc.BeginPolygon(corners, m, o);
  for (int k = 0; k < corners; k++) disc.AddCorner(k, -1, -1);
  disc.BeginPolygon(3, m, o);
  for (int k : {0, 1, 2}) disc.AddCorner(k, -1, -1);
  ASSERT_TRUE(comms::cMeshIO::SaveMesh(disc, (dir + "disc.ply").c_str()));
  std::unique_ptr<comms::cMesh> back(comms::cMeshIO::LoadMesh((dir + "disc.ply").c_str()));
  ASSERT_TRUE(back);
  ASSERT_EQ(back->PolygonCount(), 2);
  std::vector<int> counts;
  back->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    counts.push_back(h.a);
    if (h.a == corners) {
      EXPECT_EQ(c[corners - 1].a, corners - 1);
    }
  });
  EXPECT_EQ(counts, (std::vector<int>{corners, 3}));
}

TEST(ConvertReasons, UnpackWritesEveryEntryOfAnArchive) {
  std::string dir = FreshFolder();
  // Python's zipfile makes the archive: a stored entry and a deflated one in a folder.
  const std::string script =
      "import sys, zipfile\n"
      "with zipfile.ZipFile(sys.argv[1], 'w') as z:\n"
      "    z.writestr('plain.txt', 'stored as it is', compress_type=zipfile.ZIP_STORED)\n"
      "    z.writestr('maps/odd.txt', 'packed ' * 100, compress_type=zipfile.ZIP_DEFLATED)\n";
  WriteText(dir + "make.py", script);
  ASSERT_EQ(std::system(("python3 " + dir + "make.py " + dir + "pack.zip").c_str()), 0);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(comms::RunUnpackCommand(dir + "pack.zip", dir + "out"), 0);
  EXPECT_NE(::testing::internal::GetCapturedStdout().find("Unpacked 2 entries"), std::string::npos);
  EXPECT_EQ(ReadText(dir + "out/plain.txt"), "stored as it is");
  std::string packed;
  for (int i = 0; i < 100; i++) packed += "packed ";
  EXPECT_EQ(ReadText(dir + "out/maps/odd.txt"), packed);

  WriteText(dir + "fake.zip", "not an archive at all");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(comms::RunUnpackCommand(dir + "fake.zip", dir + "out2"), 1);
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("No ZIP directory"), std::string::npos);
}
