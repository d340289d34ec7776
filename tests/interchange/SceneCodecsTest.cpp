// The model, animation and camera codec registries: names refused when
// taken (case ignored), the messages of adding and loading, and a failed load
// that leaves its target as it was.
#include <cstdio>

#include "TestFiles.h"
#include "interchange/SceneCodecs.h"

using namespace comms;
using namespace testfiles;

namespace {

// "tri" files: three numbers per line, three lines a triangle.
class TriModelCodec : public cModelCodec {
 public:
  bool Decode(const std::vector<uint8_t>& buffer, cMesh& out) override {
    std::string text(buffer.begin(), buffer.end());
    cMesh mesh;
    float x, y, z;
    int used = 0;
    const char* p = text.c_str();
    while (std::sscanf(p, " %f %f %f%n", &x, &y, &z, &used) == 3) {
      mesh.positions.push_back({x, y, z});
      p += used;
    }
    if (mesh.positions.empty() || mesh.positions.size() % 3) return false;
    int m = mesh.AddMaterial("default"), o = mesh.AddObject("default");
    for (int t = 0; t < (int)mesh.positions.size(); t += 3) {
      mesh.BeginPolygon(3, m, o);
      for (int k = 0; k < 3; k++) mesh.AddCorner(t + k, -1, -1);
    }
    out = std::move(mesh);
    return true;
  }
};

class FixedCameraCodec : public cCameraCodec {
 public:
  bool Decode(const std::vector<uint8_t>& buffer, cCameraShot& out) override {
    if (buffer.size() < 4) return false;
    out.name = std::string(buffer.begin(), buffer.end());
    out.fov = 60;
    return true;
  }
};

class EmptyAnimCodec : public cAnimCodec {
 public:
  bool Decode(const std::vector<uint8_t>&, cAnimation& out) override {
    out.name = "idle";
    out.duration = 2;
    return true;
  }
};

}  // namespace

TEST(SceneCodecs, RegistriesRefuseTakenNamesAndLogTheirAdditions) {
  size_t mark = LogText().size();
  EXPECT_TRUE(cSceneCodecs::AddModelCodec("Tri", new TriModelCodec));
  EXPECT_FALSE(cSceneCodecs::AddModelCodec("TRI", new TriModelCodec));
  EXPECT_TRUE(cSceneCodecs::AddCameraCodec("Cam", new FixedCameraCodec));
  EXPECT_FALSE(cSceneCodecs::AddCameraCodec("cam", new FixedCameraCodec));
  EXPECT_TRUE(cSceneCodecs::AddAnimCodec("Anim", new EmptyAnimCodec));
  EXPECT_FALSE(cSceneCodecs::AddAnimCodec(nullptr, new EmptyAnimCodec));
  std::string log = LogSince(mark);
  EXPECT_NE(log.find("Added \"Tri\" model decoder."), std::string::npos);
  EXPECT_NE(log.find("Added \"Cam\" camera decoder."), std::string::npos);
  EXPECT_NE(log.find("Added \"Anim\" animation decoder."), std::string::npos);
  EXPECT_EQ(log.find("Added \"TRI\""), std::string::npos);
  EXPECT_TRUE(cSceneCodecs::FindModelCodec("tri"));
  EXPECT_FALSE(cSceneCodecs::FindModelCodec("cam"));  // each family has its own names
}

TEST(SceneCodecs, LoadsGoThroughTheCodecOfTheExtensionWithTheirMessages) {
  cSceneCodecs::AddModelCodec("Tri", new TriModelCodec);
  cSceneCodecs::AddCameraCodec("Cam", new FixedCameraCodec);
  cSceneCodecs::AddAnimCodec("Anim", new EmptyAnimCodec);
  std::string dir = FreshFolder();
  WriteText(dir + "good.tri", "0 0 0  1 0 0  0 2 0\n");
  WriteText(dir + "bad.tri", "0 0 0  1 0 0\n");
  WriteText(dir + "front.cam", "front");
  size_t mark = LogText().size();
  cMesh mesh;
  ASSERT_TRUE(cSceneCodecs::LoadModel(dir + "good.tri", mesh));
  EXPECT_EQ(mesh.PolygonCount(), 1);
  EXPECT_EQ(mesh.positions[2].y, 2);
  EXPECT_FALSE(cSceneCodecs::LoadModel(dir + "bad.tri", mesh));
  EXPECT_EQ(mesh.PolygonCount(), 1);  // kept
  EXPECT_FALSE(cSceneCodecs::LoadModel(dir + "absent.tri", mesh));
  cCameraShot shot;
  ASSERT_TRUE(cSceneCodecs::LoadCamera(dir + "front.cam", shot));
  EXPECT_EQ(shot.name, "front");
  cAnimation anim;
  EXPECT_FALSE(cSceneCodecs::LoadAnimation(dir + "front.cam", anim));  // no animation codec "cam"
  std::string log = LogSince(mark);
  EXPECT_NE(log.find("Loaded model file \"" + dir + "good.tri\""), std::string::npos);
  EXPECT_NE(log.find("Can't decode model file \"" + dir + "bad.tri\""), std::string::npos);
  EXPECT_NE(log.find("Can't load model file \"" + dir + "absent.tri\""), std::string::npos);
  EXPECT_NE(log.find("Loaded camera file \"" + dir + "front.cam\""), std::string::npos);
  EXPECT_NE(log.find("Can't decode animation file \"" + dir + "front.cam\""), std::string::npos);
}
