// The converter behind "--convert": meshes and images by extension, and
// clear failures for what it can't do.
#include <memory>

#include "MeshSamples.h"
#include "TestFiles.h"
#include "interchange/Convert.h"
#include "interchange/FloatImage.h"
#include "interchange/IO.h"
#include "interchange/MeshIO.h"

using namespace testfiles;

TEST(ConvertCommand, MeshesAndImagesByExtension) {
  std::string dir = FreshFolder();
  comms::cMesh cube = meshsamples::CubeAndTriangle();
  ASSERT_TRUE(comms::cMeshIO::SaveMesh(cube, (dir + "in.obj").c_str()));
  EXPECT_EQ(comms::RunConvertCommand(dir + "in.obj", dir + "out.lwo"), 0);
  std::unique_ptr<comms::cMesh> lwo(comms::cMeshIO::LoadMesh((dir + "out.lwo").c_str()));
  ASSERT_TRUE(lwo);
  meshsamples::ExpectSameCorners(cube, *lwo, true, false, true);

  comms::cImage im;
  im.Create(4, 2, 3);
  for (size_t i = 0; i < im.data.size(); i++) im.data[i] = (uint8_t)(i * 10);
  ASSERT_TRUE(comms::cIO::SaveImage(dir + "in.png", im));
  EXPECT_EQ(comms::RunConvertCommand(dir + "in.png", dir + "out.tga"), 0);
  comms::cImage tga;
  ASSERT_TRUE(comms::cIO::LoadImage(dir + "out.tga", tga));
  EXPECT_EQ(tga.data, im.data);
  EXPECT_EQ(comms::RunConvertCommand(dir + "in.png", dir + "out.exr"), 0);
  comms::cFloatImage exr;
  ASSERT_TRUE(exr.Load(dir + "out.exr"));
  EXPECT_FLOAT_EQ(exr.Get(1, 0, 0), 30 / 255.0f);

  EXPECT_EQ(comms::RunConvertCommand(dir + "absent.obj", dir + "x.stl"), 1);
  EXPECT_EQ(comms::RunConvertCommand(dir + "in.obj", dir + "x.fbx"), 1);  // FBX isn't written
  EXPECT_EQ(comms::RunConvertCommand(dir + "in.xyz", dir + "x.obj"), 1);
}
