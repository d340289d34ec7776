// The mesh codec registry: its order and filters, the messages of LoadMesh
// and SaveMesh, the axis turn, and a codec module loaded from a shared object.
#include <memory>

#include "MeshSamples.h"
#include "TestFiles.h"
#include "interchange/MeshCodecs.h"

using comms::cMesh;
using comms::cMeshIO;
using namespace testfiles;

TEST(MeshRegistry, BuiltInCodecsInOrderWithFbxReadOnly) {
  std::vector<std::string> names;
  for (int i = 0; i < cMeshIO::CodecCount(); i++) names.push_back(cMeshIO::CodecName(i));
  std::vector<std::string> builtIn;
  for (const std::string& n : names)
    if (n == "Obj" || n == "Lwo" || n == "Fbx" || n == "Stl" || n == "Ply") builtIn.push_back(n);
  EXPECT_EQ(builtIn, (std::vector<std::string>{"Obj", "Lwo", "Fbx", "Stl", "Ply"}));
  for (int i = 0; i < cMeshIO::CodecCount(); i++) {
    EXPECT_TRUE(cMeshIO::CanDecode(i));
    EXPECT_EQ(cMeshIO::CanEncode(i), names[i] != "Fbx");
  }
  int obj = (int)(std::find(names.begin(), names.end(), "Obj") - names.begin());
  EXPECT_EQ(cMeshIO::FilterName(obj), "Obj - files");
  EXPECT_EQ(cMeshIO::FilterMask(obj), "*.Obj");
  EXPECT_FALSE(cMeshIO::AddCodec("oBJ", nullptr));
  comms::cMeshObj spare;
  EXPECT_FALSE(cMeshIO::AddCodec("OBJ", &spare));  // the name exists, case ignored
}

TEST(MeshRegistry, LoadAndSaveReportWhyTheyFail) {
  std::string dir = FreshFolder();
  WriteText(dir + "empty.obj", "");
  WriteText(dir + "thing.xyz", "1 2 3");
  cMesh mesh = meshsamples::Octahedron();
  struct Case {
    bool load;
    const char* path;
    std::string message;
  } cases[] = {
      {true, nullptr, "cMeshIO::LoadMesh(): File name is NULL."},
      {true, "/tmp/noextension", "cMeshIO::LoadMesh(): File name \"/tmp/noextension\" has no extension."},
      {true, "/nowhere/at/all.obj", "cMeshIO::LoadMesh(): Can't open file \"/nowhere/at/all.obj\"."},
      {true, nullptr, "is empty."},
      {true, nullptr, "No codec for mesh file"},
      {false, nullptr, "cMeshIO::SaveMesh(): File name is NULL."},
      {false, "/tmp/noextension", "cMeshIO::SaveMesh(): File name \"/tmp/noextension\" has no extension."},
      {false, "/tmp/x.fbx", "cMeshIO::SaveMesh(): No codec for mesh file \"/tmp/x.fbx\"."},
  };
  std::string empty = dir + "empty.obj", unknown = dir + "thing.xyz";
  cases[3].path = empty.c_str();
  cases[4].path = unknown.c_str();
  for (const Case& c : cases) {
    size_t mark = LogMark();
    if (c.load) {
      std::unique_ptr<cMesh> m(cMeshIO::LoadMesh(c.path));
      EXPECT_FALSE(m);
    } else {
      EXPECT_FALSE(cMeshIO::SaveMesh(mesh, c.path));
    }
    EXPECT_NE(LogSince(mark).find(c.message), std::string::npos) << LogSince(mark);
  }
  size_t mark = LogMark();
  ASSERT_TRUE(cMeshIO::SaveMesh(mesh, (dir + "ok.obj").c_str()));
  std::unique_ptr<cMesh> ok(cMeshIO::LoadMesh((dir + "ok.obj").c_str()));
  EXPECT_TRUE(ok);
  EXPECT_NE(LogSince(mark).find("cMeshIO::LoadMesh(): Loaded mesh file \"" + dir + "ok.obj\"."), std::string::npos);
}

TEST(MeshRegistry, SwapYZTurnsOnLoadAndSaveLeavesTheMeshAsItWas) {
  std::string dir = FreshFolder();
  WriteText(dir + "p.obj", "v 1 2 3\nv 0 0 0\nv 0 1 0\nvn 4 5 6\nf 1//1 2//1 3//1\n");
  cMeshIO::m_SwapYZ = true;
  std::unique_ptr<cMesh> turned(cMeshIO::LoadMesh((dir + "p.obj").c_str()));
  std::filesystem::create_directories(dir + "VoxStamps");
  WriteText(dir + "VoxStamps/p.obj", "v 1 2 3\nv 0 0 0\nv 0 1 0\nf 1 2 3\n");
  std::unique_ptr<cMesh> stamp(cMeshIO::LoadMesh((dir + "VoxStamps/p.obj").c_str()));
  cMesh oct = meshsamples::Octahedron();
  oct.positions[0] = {1, 2, 3};
  bool saved = cMeshIO::SaveMesh(oct, (dir + "s.ply").c_str());
  cMeshIO::m_SwapYZ = false;
  ASSERT_TRUE(turned && stamp && saved);
  EXPECT_FLOAT_EQ(turned->positions[0].x, 2);
  EXPECT_FLOAT_EQ(turned->positions[0].y, 3);
  EXPECT_FLOAT_EQ(turned->positions[0].z, 1);
  EXPECT_FLOAT_EQ(turned->normals[0].x, 5);
  EXPECT_FLOAT_EQ(stamp->positions[0].x, 1);  // the program's own stamps keep their axes
  EXPECT_FLOAT_EQ(oct.positions[0].x, 1);
  EXPECT_FLOAT_EQ(oct.positions[0].y, 2);
  std::unique_ptr<cMesh> file(cMeshIO::LoadMesh((dir + "s.ply").c_str()));
  ASSERT_TRUE(file);
  EXPECT_FLOAT_EQ(file->positions[0].x, 3);  // written as (z, x, y)
  EXPECT_FLOAT_EQ(file->positions[0].y, 1);
}

TEST(MeshRegistry, CodecModuleIsLoadedFromASharedObject) {
  std::string dir = FreshFolder();
  int added = cMeshIO::LoadModules(MORVANE_TEST_CODEC_DIR);
  if (added == 0) {  // a second run in the same process finds it registered already
    bool found = false;
    for (int i = 0; i < cMeshIO::CodecCount(); i++) found |= std::string(cMeshIO::CodecName(i)) == "tiny";
    ASSERT_TRUE(found) << "no codec module in " << MORVANE_TEST_CODEC_DIR;
  }
  WriteText(dir + "three.TINY", "TRI 3");
  std::unique_ptr<cMesh> mesh(cMeshIO::LoadMesh((dir + "three.TINY").c_str()));
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->PolygonCount(), 3);
  EXPECT_EQ(mesh->materials.at(0).name, "tinyMaterial");
  ASSERT_TRUE(cMeshIO::SaveMesh(*mesh, (dir + "out.tiny").c_str()));
  EXPECT_EQ(ReadText(dir + "out.tiny"), "TRI 3");
  // A folder of shared objects without the entry points adds nothing.
  EXPECT_EQ(cMeshIO::LoadModules(dir), 0);
}
