// Id tables, vertex formats, deduplicated states and the mesh classes, checked
// on the recording back end (no device needed).
#include <gtest/gtest.h>

#include "interchange/Image.h"
#include "render/IdTable.h"
#include "render/Mesh.h"
#include "render/NullRender.h"
#include "render/VertexFormat.h"

using namespace comms;

TEST(IdTable, FreedIdsComeBackLastFreedFirst) {
  IdTable<int> t;
  EXPECT_EQ(t.Add(10), 0);
  EXPECT_EQ(t.Add(11), 1);
  EXPECT_EQ(t.Add(12), 2);
  EXPECT_TRUE(t.Free(0));
  EXPECT_TRUE(t.Free(2));
  EXPECT_FALSE(t.Free(2));
  EXPECT_EQ(t.Get(2), nullptr);
  EXPECT_EQ(t.Add(20), 2);
  EXPECT_EQ(t.Add(21), 0);
  EXPECT_EQ(t.Add(22), 3);
  EXPECT_EQ(*t.Get(1), 11);  // untouched ids never move
  EXPECT_EQ(t.Get(-1), nullptr);
  EXPECT_EQ(t.Get(99), nullptr);
  EXPECT_EQ(t.LiveCount(), 4);
}

TEST(VertexFormats, StockFormatsHaveTheirSizesInOrder) {
  cNullRender r;
  ASSERT_EQ(r.GetVertexFormatCount(), kStockVertexFormats);
  const int sizes[12] = {16, 24, 32, 24, 28, 32, 12, 16, 20, 56, 88, 36 + 6 * 16};
  for (int i = 0; i < 12; i++) EXPECT_EQ(r.GetVertexSize(i), sizes[i]) << "format " << i;
  EXPECT_EQ(r.GetVertexSize(-1), 0);
  EXPECT_EQ(r.GetVertexSize(12), 0);
  // The application's own formats take the next numbers.
  EXPECT_EQ(r.RegisterVertexFormat({{"Pos", kSemPos, kCompFloat, 3}, {"Color", kSemFree, kCompByte, 4}}), 12);
}

TEST(VertexFormats, ElementsOutsideTheirSemanticAreRefused) {
  cVertexFormat f;
  EXPECT_FALSE(BuildVertexFormat({{"Pos", kSemPos, kCompFloat, 2}}, f));
  EXPECT_FALSE(BuildVertexFormat({{"Normal", kSemNormal, kCompFloat, 4}}, f));
  EXPECT_FALSE(BuildVertexFormat({{"TexCoord", kSemTexCoord, kCompByte, 4}}, f));
  EXPECT_FALSE(BuildVertexFormat({{"Color", kSemFree, kCompByte, 3}}, f));
  EXPECT_FALSE(BuildVertexFormat({{"Weights", kSemWeights, kCompFloat, 3}}, f));
  EXPECT_FALSE(BuildVertexFormat({{"X", 8, kCompFloat, 1}}, f));
  EXPECT_FALSE(BuildVertexFormat({}, f));
  ASSERT_TRUE(BuildVertexFormat({{"Pos", kSemPos, kCompFloat, 4}, {"Free", kSemFree, kCompFloat, 1}}, f));
  EXPECT_EQ(f.Offsets[1], 16);
  EXPECT_EQ(f.Size, 20);
  cNullRender r;
  EXPECT_EQ(r.RegisterVertexFormat({{"Pos", kSemPos, kCompFloat, 1}}), -1);
  EXPECT_EQ(r.GetVertexFormatCount(), kStockVertexFormats);
}

TEST(VertexFormats, PrimitiveCountsPerKind) {
  EXPECT_EQ(PrimitiveCount(kPrimPoints, 7), 7);
  EXPECT_EQ(PrimitiveCount(kPrimLines, 7), 3);
  EXPECT_EQ(PrimitiveCount(kPrimLineStrip, 7), 6);
  EXPECT_EQ(PrimitiveCount(kPrimTriangles, 7), 2);
  EXPECT_EQ(PrimitiveCount(kPrimTriangleStrip, 7), 5);
  EXPECT_EQ(PrimitiveCount(kPrimTriangleFan, 2), 0);
  EXPECT_EQ(PrimitiveCount(9, 7), 0);
  // 0xAARRGGBB becomes bytes r, g, b, a in memory.
  uint32_t c = ToDeviceColour(0x80112233u);
  const uint8_t* b = reinterpret_cast<const uint8_t*>(&c);
  EXPECT_EQ(b[0], 0x11);
  EXPECT_EQ(b[1], 0x22);
  EXPECT_EQ(b[2], 0x33);
  EXPECT_EQ(b[3], 0x80);
}

TEST(NullRenderTables, StatesAreFoundAgainByValue) {
  cNullRender r;
  int s = r.GetSamplerState(3, 0, 1, 0);
  EXPECT_EQ(r.GetSamplerState(3, 0, 1, 0), s);
  EXPECT_NE(r.GetSamplerState(3, 0, 0, 0), s);
  int b = r.GetBlendState(kBlendSrcAlpha, kBlendInvSrcAlpha, kBlendOpAdd, kWriteAll);
  EXPECT_EQ(r.GetBlendState(kBlendSrcAlpha, kBlendInvSrcAlpha, kBlendOpAdd, kWriteAll), b);
  int d = r.GetDepthState(true, false, kCmpLess);
  EXPECT_EQ(r.GetDepthState(true, false, kCmpLess), d);
  EXPECT_NE(r.GetDepthState(true, true, kCmpLess), d);
}

TEST(NullRenderTables, TexturesReuseIdsAndAnswerNeutrallyForBadOnes) {
  cNullRender r;
  cImage img;
  img.Create(4, 4, kPixARGB8);
  int a = r.CreateTexture(img, 0), b = r.CreateTexture(img, -1);
  EXPECT_EQ(r.GetTextureWidth(a), 4);
  r.FreeTexture(a);
  EXPECT_EQ(r.GetTextureWidth(a), 0);
  EXPECT_EQ(r.GetTextureFormat(a), -1);
  EXPECT_EQ(r.GetTextureMips(a), 1);
  EXPECT_FALSE(r.IsRenderTarget(a));
  EXPECT_EQ(r.CreateTexture(img, 0), a);
  // A texture made with sampler -1 keeps it.
  EXPECT_FALSE(r.SetTextureSampler(b, r.GetSamplerState(0, 0, 0, 0)));
  EXPECT_TRUE(r.SetTextureSampler(a, r.GetSamplerState(0, 0, 0, 0)));
  EXPECT_EQ(r.CreateRenderTarget(8, 8, kPixDXT1, -1, false, 0), -1);
  EXPECT_EQ(r.CreateRenderTarget(8, 8, kPixD24S8, -1, false, 0), -1);
  int rt = r.CreateRenderTarget(8, 8, kPixARGB8, -1, false, 0);
  EXPECT_TRUE(r.IsRenderTarget(rt));
  EXPECT_EQ(r.CreateDepthTarget(rt, kPixARGB8), -1);
  EXPECT_GE(r.CreateDepthTarget(rt, kPixD16), 0);
}

TEST(NullRenderTables, ShaderIdsIgnoreAFinalNewlineAndNameCase) {
  cNullRender r;
  int a = r.GetShaderID("mcubes", 3, "#define A");
  EXPECT_EQ(r.GetShaderID("MCubes", 3, "#define A\n"), a);
  EXPECT_NE(r.GetShaderID("mcubes", 3, "#define B"), a);
  EXPECT_NE(r.GetShaderID("mcubes", 5, "#define A"), a);
  EXPECT_EQ(r.GetShaderID("", 3, ""), -1);
  EXPECT_EQ(r.GetShaderID("x", 99, ""), -1);
}

TEST(MeshClasses, CreateFillsVerticesWith205AndResetsIds) {
  cNullRender r;
  BaseMesh m;
  m.Create(r, 3, 6, kVfPosNormal);
  EXPECT_EQ(m.VertexSize, 24);
  ASSERT_EQ(m.Vertices.size(), 72u);
  for (uint8_t b : m.Vertices) ASSERT_EQ(b, 205);
  EXPECT_EQ(m.VertexBuffer, -1);
  EXPECT_EQ(m.Shader, -1);
  EXPECT_EQ(m.Primitive, kPrimTriangles);
  for (int i = 0; i < 8; i++) EXPECT_EQ(m.Textures[i], -1);
}

TEST(MeshClasses, SamplerSearchStopsAtTheSecondMissingName) {
  cNullRender r;  // its shaders name only "s_Sampler0"
  BaseMesh m;
  m.Create(r, 3, 3, kVfPosTex);
  m.SetShader(r.GetShaderID("hud2t", 2, ""));
  EXPECT_EQ(m.Samplers[0], 0);
  for (int i = 1; i < 8; i++) EXPECT_EQ(m.Samplers[i], -1);
}

TEST(MeshClasses, BaseMeshDrawsFromMemoryWithTheWiderIndices) {
  cNullRender r;
  BaseMesh m;
  m.Create(r, 3, 3, kVfPosNormal);
  m.SetShader(r.GetShaderID("mcubes", 3, ""));
  m.SetVertexCount(3);
  m.SetIndexCount(3);
  m.Draw();  // no index array: only points may draw
  EXPECT_EQ(r.Count("DrawIndexedUser") + r.Count("DrawUser"), 0);
  uint32_t* i32 = m.GetIndices32();
  i32[0] = 0, i32[1] = 1, i32[2] = 2;
  m.GetIndices16();
  r.ClearCalls();
  m.Draw();
  ASSERT_EQ(r.Count("DrawIndexedUser"), 1);
  for (const RenderCall& c : r.Calls)
    if (c.Op == "DrawIndexedUser") {
      EXPECT_EQ(c.Args[3], 4);
    }
  m.Indices32.clear();
  m.Indices16.clear();
  m.SetPrimitive(kPrimPoints);
  m.Draw();
  EXPECT_EQ(r.Count("DrawUser"), 1);
}

TEST(MeshClasses, StaticMeshUploadDropsSystemCopiesAndEmptyBuffers) {
  cNullRender r;
  StaticMesh m;
  m.Create(r, 4, 6, kVfPos);
  m.GetIndices16();
  m.SetVertexCount(4);
  m.SetIndexCount(0);
  m.Upload();
  EXPECT_GE(m.VertexBuffer, 0);
  EXPECT_EQ(m.IndexBuffer16, -1);
  EXPECT_EQ(m.IndexBuffer32, -1);
  EXPECT_TRUE(m.Vertices.empty());
  EXPECT_TRUE(m.Indices16.empty());
  // Without index buffers the mesh draws its vertices to the buffer's end.
  m.SetShader(r.GetShaderID("Colored", 6, ""));
  r.ClearCalls();
  m.Draw();
  ASSERT_EQ(r.Count("Draw"), 1);
  for (const RenderCall& c : r.Calls)
    if (c.Op == "Draw") {
      EXPECT_EQ(c.Args[2], -1);
    }
  StaticMesh none;
  none.Create(r, 4, 6, kVfPos);
  none.Upload();
  EXPECT_EQ(none.VertexBuffer, -1);
}

TEST(NullRenderCalls, TwoDCallsAreRecordedWithTheirArguments) {
  cNullRender r;
  r.FillRect(cRect(1, 2, 3, 4), 0.5f, 0xff00ff00u);
  r.DrawLine(0, 0, 10, 10, 0, 0xffffffffu, 0xff000000u);
  ASSERT_EQ(r.Count("FillRect"), 1);
  EXPECT_EQ(r.Calls[0].Args[2], 3);
  EXPECT_EQ(uint32_t(r.Calls[0].Args[5]), 0xff00ff00u);
  EXPECT_EQ(r.Count("DrawLine"), 1);
}
