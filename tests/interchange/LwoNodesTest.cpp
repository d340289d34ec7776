// Node setups of LWO surfaces: the writer's normal-map tree, trees read back
// and written again byte for byte, payloads that lie about their kind, and
// broken trees that must fail without losing the surface's bytes.
#include <gtest/gtest.h>

#include <memory>

#include "ClassEngine/Log.h"
#include "MeshSamples.h"
#include "TestFiles.h"
#include "interchange/LwoChunks.h"
#include "interchange/LwoNodes.h"
#include "interchange/MeshCodecs.h"

using namespace comms;
using namespace testfiles;

namespace {
const LwoNode* Find(const LwoNodeTree& tree, const char (&tag)[5]) {
  for (int i = 0; i < tree.Children.NValues; i++)
    if (tree.Children[i]->Tag == LwoTag(tag)) return tree.Children[i];
  return nullptr;
}
std::string StringOf(const LwoNode* node) {
  auto* s = dynamic_cast<const LwoNodeString*>(node);
  return s ? s->Value : std::string("<not a string>");
}
}  // namespace

TEST(LwoNodes, NormalMapTreeReadsBackAsTheSameTreeAndBytes) {
  LwoNodeRoot built;
  BuildNormalMapNodes(built, 3, "UVMap");
  std::vector<uint8_t> body = built.Body();
  ASSERT_EQ(body.size() % 2, 0u);

  LwoNodeRoot read;
  ASSERT_TRUE(read.ReadBody(body));
  EXPECT_EQ(read.Body(), body);
  auto* nodes = dynamic_cast<const LwoNodeTree*>(Find(read, "NNDS"));
  ASSERT_NE(nodes, nullptr);
  EXPECT_EQ(StringOf(Find(*nodes, "NSRV")), "NormalMap");
  auto* tag = dynamic_cast<const LwoNodeTree*>(Find(*nodes, "NTAG"));
  ASSERT_NE(tag, nullptr);
  EXPECT_EQ(StringOf(Find(*tag, "NNME")), "NormalMap (mvn)");
  auto* data = dynamic_cast<const LwoNodeTree*>(Find(*tag, "NDTA"));
  ASSERT_NE(data, nullptr);
  auto* image = dynamic_cast<const LwoNodeData*>(Find(*data, "IIMG"));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->Bytes, (std::vector<uint8_t>{0, 0, 0, 3}));
  auto* link = dynamic_cast<const LwoNodeTree*>(Find(read, "NCON"));
  ASSERT_NE(link, nullptr);
  EXPECT_EQ(StringOf(Find(*link, "INME")), "Surface");
  EXPECT_EQ(StringOf(Find(*link, "IINM")), "Normal");
  EXPECT_EQ(StringOf(Find(*link, "IINN")), "NormalMap (mvn)");
}

TEST(LwoNodes, PayloadsThatAreNotTheirKindStayAsBytes) {
  // "NNME" should hold a string; here it holds bytes with no terminator, and
  // "NCON" should hold nodes but holds three bytes (odd: padded).
  LwoChunk nods(LwoTag("NODS"), true);
  LwoChunk& name = nods.Child(LwoTag("NNME"));
  name.U2(0x4142);
  LwoChunk& con = nods.Child(LwoTag("NCON"));
  con.U1(1), con.U1(2), con.U1(3);
  std::vector<uint8_t> whole;
  nods.WriteTo(whole);
  std::vector<uint8_t> body(whole.begin() + 6, whole.end());

  LwoNodeRoot read;
  ASSERT_TRUE(read.ReadBody(body));
  ASSERT_EQ(read.Children.NValues, 2);
  EXPECT_NE(dynamic_cast<LwoNodeData*>(read.Children[0]), nullptr);
  EXPECT_NE(dynamic_cast<LwoNodeData*>(read.Children[1]), nullptr);
  EXPECT_EQ(read.Body(), body);
}

TEST(LwoNodes, BrokenTreesFailWithoutCrashing) {
  LwoNodeRoot built;
  BuildNormalMapNodes(built, 1, "UVMap");
  const std::vector<uint8_t> body = built.Body();
  for (size_t cut = 1; cut < body.size(); cut++) {
    std::vector<uint8_t> part(body.begin(), body.begin() + cut);
    LwoNodeRoot read;
    // A cut on a node boundary reads as fewer nodes; anywhere else it fails.
    // Either way what was read writes back as exactly what was there.
    if (read.ReadBody(part)) {
      EXPECT_EQ(read.Body(), part) << "cut at " << cut;
    }
  }
  std::vector<uint8_t> lying = {'N', 'N', 'D', 'S', 0xff, 0xff, 0, 0};  // size past the end
  LwoNodeRoot read;
  EXPECT_FALSE(read.ReadBody(lying));
}

TEST(LwoNodes, PrintShowsTreesStringsAndData) {
  LwoNodeRoot built;
  BuildNormalMapNodes(built, 2, "UVMap");
  built.PrintNode("");
  std::string log = LogText();
  EXPECT_NE(log.find("NODS [tree]"), std::string::npos);
  EXPECT_NE(log.find("    NNME [str] : NormalMap (mvn)"), std::string::npos);
  EXPECT_NE(log.find("IIMG [data, size=4] [00000002]"), std::string::npos);
}

TEST(LwoNodes, BumpedMaterialGetsTheNormalMapLinkAndKeepsItThroughARoundTrip) {
  std::string dir = FreshFolder();
  cMesh mesh = meshsamples::CubeAndTriangle();
  mesh.materials[1].slots[kBumpSlot].path = "bump.png";
  mesh.materials[1].lwoNodes.clear();
  ASSERT_TRUE(cMeshIO::SaveMesh(mesh, (dir + "a.lwo").c_str()));
  std::unique_ptr<cMesh> back(cMeshIO::LoadMesh((dir + "a.lwo").c_str()));
  ASSERT_TRUE(back);
  ASSERT_EQ(back->materials.size(), 2u);
  EXPECT_TRUE(back->materials[0].lwoNodes.empty());
  LwoNodeRoot nodes;
  ASSERT_TRUE(nodes.ReadBody(back->materials[1].lwoNodes));
  auto* link = dynamic_cast<const LwoNodeTree*>(Find(nodes, "NCON"));
  ASSERT_NE(link, nullptr);
  EXPECT_EQ(StringOf(Find(*link, "IINN")), "NormalMap (mvn)");

  // Written again, the setup passes through unchanged.
  ASSERT_TRUE(cMeshIO::SaveMesh(*back, (dir + "b.lwo").c_str()));
  EXPECT_EQ(ReadBytes(dir + "a.lwo"), ReadBytes(dir + "b.lwo"));
}
