// Damaged files: cut at any point, bits flipped, sizes and counts that claim
// more than the file holds. The reader names the block, never reads past the
// end, and the scene that was open stays exactly as it was.
#include <gtest/gtest.h>

#include "SceneFileScenes.h"

using namespace scenefiles;

namespace {
struct OpenScene {
  PaintScene Scene;
  std::vector<uint8_t> Saved;
  OpenScene() {
    MicroVertexScene(Scene, 2, 2, 1, 2);
    Saved = Bytes(Scene);
  }
  void ExpectUntouched() { ASSERT_EQ(Bytes(Scene), Saved); }
};

std::vector<uint8_t> MixedFile() {
  PaintScene s;
  MicroVertexScene(s, 3, 2, 1, 4);
  std::vector<uint8_t> a = Bytes(s);
  PaintScene p;
  PerPixelScene(p, 37, 29);
  std::vector<Block> blocks = Split(a);
  for (const Block& k : Split(Bytes(p)))
    if (k.Tag == FourCC("MAQ2")) blocks.insert(blocks.end() - 1, k);  // before the end block
  return Join(blocks);
}
}  // namespace

TEST(SceneFileDamage, EveryCutOfTheFileIsReportedAndLeavesTheOpenSceneAlone) {
  OpenScene open;
  std::vector<uint8_t> file = MixedFile();
  ASSERT_TRUE(Load(open.Scene, file).ok);
  open.Saved = Bytes(open.Scene);
  int cuts = 0;
  for (size_t cut = 0; cut < file.size(); cut += 1 + cut / 40) {
    std::vector<uint8_t> part(file.begin(), file.begin() + cut);
    SceneFileResult r = Load(open.Scene, part);
    ASSERT_FALSE(r.ok) << cut;
    ASSERT_NE(r.error.find(cut < 8 ? "head" : "block"), std::string::npos) << r.error;
    cuts++;
  }
  open.ExpectUntouched();
  EXPECT_GT(cuts, 100);
}

TEST(SceneFileDamage, SizesAndCountsBeyondTheFileAreNamedByBlock) {
  OpenScene open;
  std::vector<Block> blocks = Split(MixedFile());
  // A face count of four billion in the surface block.
  for (Block& k : blocks)
    if (k.Tag == FourCC("SAR7")) {
      uint32_t corners = U32At(k.Body, 8), vertices = U32At(k.Body, 12), normals = U32At(k.Body, 16);
      size_t at = 20 + corners * 48 + normals * 12 + vertices * 20;
      at += 4 + U32At(k.Body, at);
      at += 4 + U32At(k.Body, at);
      uint32_t huge = 0xfffffff0u;
      std::memcpy(k.Body.data() + at, &huge, 4);
    }
  SceneFileResult r = Load(open.Scene, Join(blocks));
  ASSERT_FALSE(r.ok);
  EXPECT_NE(r.error.find("block SAR7"), std::string::npos) << r.error;
  EXPECT_NE(r.error.find("face count"), std::string::npos) << r.error;

  // A block whose size runs past the end of the file.
  std::vector<uint8_t> file = Join(Split(MixedFile()));
  size_t objs = 8;
  for (const Block& k : Split(file)) {
    if (k.Tag == FourCC("OBJS")) break;
    objs += 8 + k.Body.size();
  }
  uint32_t size = (uint32_t)file.size();
  std::memcpy(file.data() + objs + 4, &size, 4);
  r = Load(open.Scene, file);
  ASSERT_FALSE(r.ok);
  EXPECT_NE(r.error.find("block OBJS"), std::string::npos) << r.error;
  open.ExpectUntouched();
}

TEST(SceneFileDamage, FlippedBitsNeverCrashAndAFailedLoadChangesNothing) {
  OpenScene open;
  std::vector<uint8_t> file = MixedFile();
  Random rng(2024);
  int failed = 0;
  for (int round = 0; round < 300; round++) {
    std::vector<uint8_t> bad = file;
    int flips = 1 + rng.Next() % 4;
    for (int k = 0; k < flips; k++) {
      size_t at = ((size_t)rng.Next() << 15 | (size_t)rng.Next()) % bad.size();
      bad[at] ^= (uint8_t)(1 << (rng.Next() % 8));
    }
    SceneFileResult r = Load(open.Scene, bad);
    if (!r.ok) {
      failed++;
      ASSERT_FALSE(r.error.empty());
      open.ExpectUntouched();
    } else {
      open.Saved = Bytes(open.Scene);  // it loaded: that is the open scene now
    }
  }
  EXPECT_GT(failed, 0);
}

TEST(SceneFileDamage, FileThatIsNotASceneIsRefused) {
  OpenScene open;
  std::vector<uint8_t> text = {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd'};
  SceneFileResult r = Load(open.Scene, text);
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("not a scene file"), std::string::npos) << r.error;
  r = Load(open.Scene, {});
  EXPECT_FALSE(r.ok);
  r = LoadSceneFile(open.Scene, "/nonexistent/folder/x.mvn", {});
  EXPECT_FALSE(r.ok);
  open.ExpectUntouched();
}
