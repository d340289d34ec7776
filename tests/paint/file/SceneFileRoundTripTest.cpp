// Round trips of the scene file: a micro-vertex scene with a layer in every
// blend mode, frozen samples and a hidden object, and a per-pixel scene,
// save, load and save again to the same bytes and compose to the same
// pictures; the byte layout of the head and of a colour-only tile.
#include <gtest/gtest.h>

#include "SceneFileScenes.h"

using namespace scenefiles;

namespace {

void ExpectSameComposite(const PaintScene& a, const PaintScene& b) {
  ASSERT_EQ(a.Faces.size(), b.Faces.size());
  for (size_t f = 0; f < a.Faces.size(); f++) {
    const PaintFace &x = a.Faces[f], &y = b.Faces[f];
    ASSERT_EQ(x.SampleCount(), y.SampleCount());
    for (int i = 0; i < x.SampleCount(); i++) {
      ASSERT_EQ(x.Grid[i].Color, y.Grid[i].Color) << f << " " << i;
      ASSERT_EQ(x.Grid[i].Position.z, y.Grid[i].Position.z) << f << " " << i;
      ASSERT_EQ(x.Grid[i].Freeze, y.Grid[i].Freeze);
    }
  }
}

void ExpectSameTiles(PaintScene& a, PaintScene& b) {
  PixelMap *ma = a.GetPixelMap(0), *mb = b.GetPixelMap(0);
  ASSERT_TRUE(ma && mb);
  ASSERT_EQ(ma->Width, mb->Width);
  ASSERT_EQ(ma->Height, mb->Height);
  PixelCursor ca, cb;
  int painted = 0;
  for (int y = 0; y < ma->Height; y++)
    for (int x = 0; x < ma->Width; x++) {
      bool ha = ma->FetchPixel(ca, x, y, false, false, false);
      bool hb = mb->FetchPixel(cb, x, y, false, false, false);
      ASSERT_EQ(ha, hb) << x << "," << y;
      if (!ha) continue;
      ASSERT_EQ(ca.Pixel().Color, cb.Pixel().Color) << x << "," << y;
      ASSERT_EQ(ca.Pixel().Depth, cb.Pixel().Depth) << x << "," << y;
      ASSERT_EQ(ca.Pixel().Specular, cb.Pixel().Specular) << x << "," << y;
      ASSERT_EQ(ca.Pixel().Freeze, cb.Pixel().Freeze) << x << "," << y;
      painted += ca.Pixel().Color != 0;
    }
  EXPECT_GT(painted, 500);
}

// Saves a, loads the file into b, which must save to the same bytes.
void ExpectLoadsToTheSameBytes(PaintScene& a, PaintScene& b) {
  std::vector<uint8_t> first = Bytes(a);
  SceneFileResult r = Load(b, first);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(Bytes(b), first);
}

}  // namespace

TEST(SceneFileRoundTrip, MicroVertexSceneWithEveryBlendModeSavesLoadsAndSavesToTheSameBytes) {
  PaintScene a, b;
  MicroVertexScene(a);
  ExpectLoadsToTheSameBytes(a, b);
  ExpectSameComposite(a, b);
  ASSERT_EQ(b.Layers.GetAmount(), a.Layers.GetAmount());
  for (int i = 0; i < a.Layers.GetAmount(); i++) EXPECT_EQ(b.Layers[i]->ColorOp, a.Layers[i]->ColorOp);
  EXPECT_EQ(b.CurrentLayer, a.CurrentLayer);
  EXPECT_EQ(b.VertexMaps, a.VertexMaps);
  EXPECT_EQ(b.SubdPairs, a.SubdPairs);
  EXPECT_EQ(b.Shift.y, -2.0f);
  // Hidden faces keep their object index; the top bit only hides them.
  int hidden = 0;
  for (const PaintFace& f : b.Faces) {
    EXPECT_EQ(f.Visible, f.Object != 2);
    hidden += f.Object == 2;
  }
  EXPECT_GT(hidden, 0);
}

TEST(SceneFileRoundTrip, HiddenFaceSetsTheTopBitOfTheObjectWord) {
  PaintScene a;
  MicroVertexScene(a, 3, 1, 1, 1);
  for (PaintFace& f : a.Faces) f.Visible = 1;
  a.Objects[1]->Visible = true;
  a.Faces[1].Visible = 0;  // face 1 is of object 1
  std::vector<Block> blocks = Split(Bytes(a));
  auto surface = std::find_if(blocks.begin(), blocks.end(), [](const Block& k) { return k.Tag == FourCC("SAR7"); });
  ASSERT_NE(surface, blocks.end());
  PaintScene b;
  ASSERT_TRUE(Load(b, Join(blocks)).ok);
  EXPECT_EQ(b.Faces[1].Object, 1);
  EXPECT_EQ(b.Faces[1].Visible, 0);
  EXPECT_EQ(b.Faces[0].Visible, 1);
  // The object word of face 1 in the file: the top bit over index 1.
  const std::vector<uint8_t>& body = surface->Body;
  size_t at = 20 + a.Corners.size() * 48 + a.Normals.size() * 12 + a.Vertices.size() * 20;
  at += 4 + U32At(body, at);
  at += 4 + U32At(body, at);
  at += 4;  // face count
  const size_t face0 = 1 + 16 + 8 + 12 + a.Faces[0].SampleCount() * 16 + 4 +
                       a.Faces[0].LayerList.GetAmount() * (4 + a.Faces[0].SampleCount() * 20);
  EXPECT_EQ(U32At(body, at + face0 + 1 + 16 + 8), 0x80000001u);
}

TEST(SceneFileRoundTrip, PerPixelSceneKeepsItsTilesAndComposesTheSamePicture) {
  PaintScene a, b;
  PerPixelScene(a);
  ExpectLoadsToTheSameBytes(a, b);
  ExpectSameTiles(a, b);
}

TEST(SceneFileRoundTrip, FileBeginsWithTheHeadTagInLittleEndianOrder) {
  PaintScene a;
  MicroVertexScene(a, 2, 1, 1, 1);
  std::vector<uint8_t> b = Bytes(a);
  ASSERT_GE(b.size(), 8u);
  EXPECT_EQ(std::string(b.begin(), b.begin() + 4), "HSEM");
  EXPECT_EQ(U32At(b, 4), 1u);
  // Every block's size, the surface's included, is exact: the file splits
  // into blocks and joins back to itself.
  EXPECT_EQ(Join(Split(b)), b);
  PaintScene p;
  PerPixelScene(p, 21, 13);
  std::vector<uint8_t> pixels = Bytes(p);
  EXPECT_EQ(Join(Split(pixels)), pixels);
}

TEST(SceneFileRoundTrip, ColourOnlyTileLayerStoresFlagFourAndOneKilobyte) {
  PaintScene a;
  a.RtSizeX = a.RtSizeY = 32;
  ImportMeshIntoScene(a, paintmeshes::Sheet(1, 1), PaintImportMode::PerPixel, DPSettings());
  int layer = a.NewLayer(true);
  PixelCursor c;
  ASSERT_TRUE(a.GetPixelMap(0)->FetchPixel(c, 20, 5, true, true, false, layer));
  c.Layer->Pixels[c.Index].Color = 0x80112233;
  std::vector<Block> blocks = Split(Bytes(a));
  auto maq = std::find_if(blocks.begin(), blocks.end(), [](const Block& k) { return k.Tag == FourCC("MAQ2"); });
  ASSERT_NE(maq, blocks.end());
  // 12 head bytes; one tile: x, y, no freeze, one layer: id, flags, 256 colours.
  ASSERT_EQ(maq->Body.size(), 12u + 4 + 2 + 2 + 4 + 1024);
  uint16_t flags;
  std::memcpy(&flags, maq->Body.data() + 12 + 4 + 2 + 2 + 2, 2);
  EXPECT_EQ(flags, 4);
  PaintScene b;
  ASSERT_TRUE(Load(b, Join(blocks)).ok);
  ASSERT_TRUE(b.GetPixelMap(0)->FetchPixel(c, 20, 5, false, false, false, layer));
  ASSERT_NE(c.Layer, nullptr);
  EXPECT_EQ(c.Layer->Pixels[c.Index].Color, 0x80112233u);
}

TEST(SceneFileRoundTrip, IncrementalNamesCountUpInThreeDigits) {
  EXPECT_EQ(IncrementalName("/w/a_007.mvn"), "/w/a_008.mvn");
  EXPECT_EQ(IncrementalName("a.mvn"), "a_001.mvn");
  EXPECT_EQ(IncrementalName("dir.v2/a_999.mvn"), "dir.v2/a_1000.mvn");
  EXPECT_EQ(IncrementalName("a_12.mvn"), "a_12_001.mvn");
  EXPECT_EQ(IncrementalName("abc"), "");
  EXPECT_EQ(IncrementalName(".mvn"), "");
  EXPECT_EQ(IncrementalName("dir.x/abc"), "");
}

namespace {
// The first material's record inside the "MTEX" body: after the count and
// the record's length word.
size_t FirstRecord() { return 8; }
}  // namespace

TEST(SceneFileRoundTrip, MaterialRecordsKeepTheirTexturesAndParameters) {
  PaintScene a;
  MicroVertexScene(a, 2, 1, 1, 1);
  ASSERT_GE(a.Materials.GetAmount(), 1);
  auto* second = new OneMaterial;
  second->Name = "Second";
  second->Parent = &a.Materials;
  a.Materials.Add(second);
  MaterialImage& m = a.Materials[0]->Image;
  m.Textures = {{3, {'D', 'D', 'S', ' ', 1, 2, 3}}, {7, {}}};
  m.Colors[2][1] = 0.25f, m.Colors[4][3] = 0.5f;
  m.Params[0] = 1.5f, m.Params[6] = -2.0f;
  m.Flag = 1, m.LastParam = 9.0f;
  std::vector<uint8_t> file = Bytes(a);
  PaintScene b;
  SceneFileResult r = Load(b, file);
  ASSERT_TRUE(r.ok) << r.error;
  ASSERT_EQ(b.Materials.GetAmount(), 2);
  EXPECT_TRUE(b.Materials[0]->Image == m);
  EXPECT_TRUE(b.Materials[1]->Image == MaterialImage());  // the defaults
  EXPECT_EQ(b.Materials[1]->Image.Colors[3][2], 1.0f);
  EXPECT_EQ(Bytes(b), file);

  // A record of another version keeps its textures, the rest is default.
  std::vector<Block> blocks = Split(file);
  auto mtex = std::find_if(blocks.begin(), blocks.end(), [](const Block& k) { return k.Tag == FourCC("MTEX"); });
  ASSERT_NE(mtex, blocks.end());
  const size_t version = FirstRecord() + 4 + (8 + 7) + 8;
  ASSERT_EQ(U32At(mtex->Body, version), 1u);
  mtex->Body[version] = 2;
  PaintScene c;
  ASSERT_TRUE(Load(c, Join(blocks)).ok);
  EXPECT_TRUE(c.Materials[0]->Image.Textures == m.Textures);
  EXPECT_EQ(c.Materials[0]->Image.Params[0], 0.0f);
  EXPECT_EQ(c.Materials[0]->Image.Colors[2][1], 1.0f);

  // A texture that claims more than its record holds is named, not read.
  mtex->Body[version] = 1;
  const uint32_t huge = 1000;
  std::memcpy(mtex->Body.data() + FirstRecord() + 8, &huge, 4);
  const std::vector<uint8_t> kept = Bytes(c);
  r = Load(c, Join(blocks));
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("block MTEX"), std::string::npos) << r.error;
  EXPECT_EQ(Bytes(c), kept);

  // A file without the block gives every material the defaults.
  PaintScene d;
  ASSERT_TRUE(Load(d, Join(Without(Split(file), FourCC("MTEX")))).ok);
  EXPECT_TRUE(d.Materials[0]->Image == MaterialImage());
}
