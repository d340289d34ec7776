// LWO2: round trips of points, polygons, UVs (per point and per corner),
// surfaces with their maps, morphs and node setups; hand-built files with
// unknown and odd-sized chunks; old and broken files.
#include <memory>

#include "MeshSamples.h"
#include "ClassEngine/SystemDialog.h"
#include "TestFiles.h"
#include "interchange/LwoChunks.h"
#include "interchange/MeshCodecs.h"

using comms::cMesh;
using comms::cMeshIO;
using comms::LwoChunk;
using comms::LwoTag;
using namespace testfiles;

namespace {
std::unique_ptr<cMesh> Load(const std::string& path) { return std::unique_ptr<cMesh>(cMeshIO::LoadMesh(path.c_str())); }
}  // namespace

TEST(LwoCodec, WriteThenReadGivesTheSameMesh) {
  std::string dir = FreshFolder();
  cMesh original = meshsamples::CubeAndTriangle();
  original.materials[1].smoothAngle = 0.5f;
  original.materials[1].slots[comms::kBumpSlot].path = "bump.png";
  original.materials[1].lwoNodes = {'N', 'R', 'O', 'T', 0, 2, 1, 2};
  comms::cMorph morph;
  morph.name = "push";
  morph.offsets.assign(original.positions.size(), {0, 0, 0});
  morph.offsets[6] = {0.25f, 0, -0.5f};
  original.morphs.push_back(morph);
  ASSERT_TRUE(cMeshIO::SaveMesh(original, (dir + "m.lwo").c_str()));
  auto bytes = ReadBytes(dir + "m.lwo");
  ASSERT_GT(bytes.size(), 12u);
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "FORM");
  EXPECT_EQ(std::string(bytes.begin() + 8, bytes.begin() + 16), "LWO2TAGS");
  const uint32_t formSize = (uint32_t)bytes[4] << 24 | bytes[5] << 16 | bytes[6] << 8 | bytes[7];
  EXPECT_EQ(formSize + 8, bytes.size());

  auto back = Load(dir + "m.lwo");
  ASSERT_TRUE(back);
  meshsamples::ExpectSameCorners(original, *back, true, false, true);
  ASSERT_EQ(back->materials.size(), 2u);
  EXPECT_EQ(back->materials[0].slots[comms::kDiffuseSlot].path, "red.png");
  EXPECT_EQ(back->materials[1].slots[comms::kBumpSlot].path, "bump.png");
  EXPECT_NEAR(back->materials[1].smoothAngle, 0.5f, 1e-6);
  EXPECT_EQ(back->materials[1].lwoNodes, original.materials[1].lwoNodes);
  ASSERT_EQ(back->morphs.size(), 1u);
  EXPECT_EQ(back->morphs[0].name, "push");
  ASSERT_EQ(back->morphs[0].offsets.size(), back->positions.size());
  EXPECT_FLOAT_EQ(back->morphs[0].offsets[6].x, 0.25f);
  EXPECT_FLOAT_EQ(back->morphs[0].offsets[6].z, -0.5f);
  EXPECT_FLOAT_EQ(back->morphs[0].offsets[5].x, 0.0f);
}

TEST(LwoCodec, HandBuiltFileWithUnknownChunksAndCornerUvs) {
  std::string dir = FreshFolder();
  LwoChunk form(LwoTag("FORM"), false);
  form.U4(LwoTag("LWO2"));
  form.Child(LwoTag("TAGS"), false).S0("skin");
  form.Child(LwoTag("ZZZZ"), false).U1(7);  // unknown, odd size: padded and stepped over
  LwoChunk& pnts = form.Child(LwoTag("PNTS"), false);
  for (float v : {0.f, 0.f, 0.f, 1.f, 0.f, 0.f, 0.f, 1.f, 2.f}) pnts.F4(v);
  LwoChunk& vmap = form.Child(LwoTag("VMAP"), false);
  vmap.U4(LwoTag("TXUV"));
  vmap.U2(2);
  vmap.S0("uv");
  for (int p = 0; p < 3; p++) {
    vmap.VX((uint32_t)p);
    vmap.F4(0.1f * p);
    vmap.F4(0.2f * p);
  }
  LwoChunk& pols = form.Child(LwoTag("POLS"), false);
  pols.U4(LwoTag("FACE"));
  pols.U2(3);
  pols.VX(0);
  pols.VX(1);
  pols.VX(2);
  LwoChunk& vmad = form.Child(LwoTag("VMAD"), false);
  vmad.U4(LwoTag("TXUV"));
  vmad.U2(2);
  vmad.S0("uv");
  vmad.VX(1);
  vmad.VX(0);
  vmad.F4(0.9f);
  vmad.F4(0.8f);
  LwoChunk& ptag = form.Child(LwoTag("PTAG"), false);
  ptag.U4(LwoTag("SURF"));
  ptag.VX(0);
  ptag.U2(0);
  std::vector<uint8_t> bytes;
  form.WriteTo(bytes);
  WriteBytes(dir + "hand.lwo", bytes);
  auto mesh = Load(dir + "hand.lwo");
  ASSERT_TRUE(mesh);
  ASSERT_EQ(mesh->positions.size(), 3u);
  EXPECT_FLOAT_EQ(mesh->positions[2].z, -2.0f);  // z turns round
  ASSERT_EQ(mesh->PolygonCount(), 1);
  EXPECT_EQ(mesh->materials.at(0).name, "skin");
  EXPECT_EQ(mesh->objects.at(0).name, "Layer 1");
  // Corners reversed: 2, 1, 0; point 1 takes its corner UV.
  const auto& c = mesh->polygons;
  EXPECT_EQ(c[1].a, 2);
  EXPECT_FLOAT_EQ(mesh->uvs[c[1].b].x, 0.2f);
  EXPECT_FLOAT_EQ(mesh->uvs[c[2].b].x, 0.9f);
  EXPECT_FLOAT_EQ(mesh->uvs[c[3].b].y, 0.0f);
}

TEST(LwoCodec, OldAndBrokenFilesFail) {
  std::string dir = FreshFolder();
  std::vector<uint8_t> old = {'F', 'O', 'R', 'M', 0, 0, 0, 4, 'L', 'W', 'O', 'B'};
  WriteBytes(dir + "old.lwo", old);
  std::string shown;
  auto previous = SetSystemDialogHandler([&](const SystemDialog& box) {
    shown = box.title + ": " + box.text;
    return 0;
  });
  EXPECT_FALSE(Load(dir + "old.lwo"));
  SetSystemDialogHandler(previous);
  EXPECT_EQ(shown, "Warning: OLD_LWO");
  size_t mark;

  std::vector<uint8_t> cut = {'F', 'O', 'R', 'M', 0, 0, 0, 20, 'L', 'W', 'O', '2',
                              'P', 'N', 'T', 'S', 0x7f, 0xff, 0xff, 0xff, 0, 0, 0, 0};
  WriteBytes(dir + "cut.lwo", cut);
  mark = LogMark();
  EXPECT_FALSE(Load(dir + "cut.lwo"));
  EXPECT_NE(LogSince(mark).find("cMeshLwo::DecodeLwo(): A chunk runs past the end of the file."), std::string::npos);

  WriteText(dir + "text.lwo", "not an iff");
  EXPECT_FALSE(Load(dir + "text.lwo"));
}
