// Layer operations on a scene that paints in both storages: a micro-vertex
// target and a per-pixel target side by side.
#include <gtest/gtest.h>

#include "PaintMeshes.h"
#include "paint/layers/LayerOps.h"
#include "paint/layers/PixelMap.h"

namespace {

struct TwoStorages {
  PaintScene scene;
  PixelMap* map = nullptr;
  TwoStorages() {
    EXPECT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(2, 1), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(1)).ok);
    // A second, per-pixel target holding the same layers.
    auto* rt = new MRenderTarget;
    rt->Pixels = map = new PixelMap(&scene, 40, 24);
    scene.RenderTargets.Add(rt);
  }
  void Paint(int layer, uint32_t colour, float opacity, float depth) {
    for (int f = 0; f < (int)scene.Faces.size(); f++) {
      FaceLayer* l = scene.GetFaceLayer(f, layer, true);
      for (int i = 0; i < scene.Faces[f].SampleCount(); i++)
        l->Data[i].Color = colour, l->Data[i].Opacity = opacity, l->Data[i].Offset = comms::cVec3(0, 0, depth);
    }
    PixelCursor c;
    map->FetchPixel(c, 3, 5, true, true, false, layer);
    c.Layer->Pixels[c.Index].Color = (colour & 0xffffff) | ((uint32_t)(opacity * 255) << 24);
    c.Layer->Pixels[c.Index].Depth = depth;
  }
  int FaceEntries(int layer) {
    int n = 0;
    for (const PaintFace& f : scene.Faces)
      for (const FaceLayer& l : f.LayerList) n += l.LayerID == layer;
    return n;
  }
};

}  // namespace

TEST(LayerOps, DeleteRefusesTheBottomLayerAndFreesBothStorages) {
  TwoStorages t;
  int a = t.scene.NewLayer(true);
  t.Paint(a, 0x00ff0000, 1, 0.1f);
  EXPECT_EQ(t.FaceEntries(a), 2);
  EXPECT_FALSE(DeleteLayer(t.scene, 0));
  EXPECT_TRUE(DeleteLayer(t.scene, a));
  EXPECT_EQ(t.FaceEntries(a), 0);
  EXPECT_EQ(t.map->GetTile(0, 0)->FindLayer(a), nullptr);
  EXPECT_EQ(t.scene.CurrentLayer, 0);
  EXPECT_EQ(t.scene.OrderOf(a), 0);
  // The composite is back to the flat default, the surface back on its base.
  EXPECT_EQ(t.scene.Faces[0].Grid[0].Color, 0x00808080u);
  EXPECT_FLOAT_EQ(t.scene.Faces[0].Grid[0].Position.z, 0);
}

TEST(LayerOps, DuplicateMoveAndMergeKeepTheComposite) {
  TwoStorages t;
  int a = t.scene.NewLayer(true);
  t.Paint(a, 0x00204060, 0.5f, 0.1f);
  int copy = DuplicateLayer(t.scene, a);
  ASSERT_GT(copy, a);
  EXPECT_EQ(t.scene.OrderOf(copy), t.scene.OrderOf(a) + 1);
  EXPECT_STREQ(t.scene.GetLayerByID(copy)->Name.cpchar(), (std::string(t.scene.GetLayerByID(a)->Name.cpchar()) + " copy").c_str());
  EXPECT_EQ(t.FaceEntries(copy), 2);
  EXPECT_EQ(DuplicateLayer(t.scene, 0), -1);
  // Two half-covering layers of depth 0.1 add up.
  EXPECT_NEAR(t.scene.Faces[0].Grid[0].Position.z, 0.2f, 1e-6f);
  EXPECT_NEAR(t.scene.Faces[0].Grid[0].Opacity, 0.75f, 1e-6f);
  // Moving: never below layer 0, never layer 0 itself.
  EXPECT_FALSE(MoveLayer(t.scene, 0, true));
  EXPECT_FALSE(MoveLayer(t.scene, a, false));
  EXPECT_TRUE(MoveLayer(t.scene, a, true));
  EXPECT_EQ(t.scene.OrderOf(a), 3);
  EXPECT_EQ(t.scene.Faces[0].LayerList[2].LayerID, a);
  EXPECT_EQ((int)t.map->GetTile(0, 0)->LayerTiles[1]->LayerID, a);
  const uint32_t before = t.scene.Faces[0].Grid[0].Color;
  // Merging the top layer down keeps what is seen.
  EXPECT_EQ(MergeUp(t.scene, a), -1);  // the top layer has nothing above
  int stays = MergeDown(t.scene, a);
  EXPECT_EQ(stays, copy);
  EXPECT_EQ(t.scene.OrderOf(a), 0);
  for (int ch = 0; ch < 3; ch++)
    EXPECT_NEAR((int)((t.scene.Faces[0].Grid[0].Color >> (8 * ch)) & 255), (int)((before >> (8 * ch)) & 255), 1);
  EXPECT_NEAR(t.scene.Faces[0].Grid[0].Opacity, 0.75f, 1e-5f);
  EXPECT_NEAR(t.scene.Faces[0].Grid[0].Position.z, 0.2f, 1e-6f);
  EXPECT_NEAR(t.map->GetTile(0, 0)->FindLayer(copy)->Pixels[5 * 16 + 3].Depth, 0.2f, 1e-6f);
}

TEST(LayerOps, ChannelOperationsAndClearingFreesEmptyLists) {
  TwoStorages t;
  int a = t.scene.NewLayer(true);
  t.Paint(a, 0x10204060, 1, 0);
  InvertColor(t.scene, a);
  EXPECT_EQ(t.scene.GetFaceLayer(0, a, false)->Data[0].Color, 0x10dfbf9fu);
  EXPECT_EQ(t.map->GetTile(0, 0)->FindLayer(a)->Pixels[5 * 16 + 3].Color & 0xffffff, 0xdfbf9fu);
  InvertSpecular(t.scene, a);
  EXPECT_EQ(t.scene.GetFaceLayer(0, a, false)->Data[0].Color >> 24, 0xefu);
  ColorToSpecular(t.scene, a);
  EXPECT_EQ(t.scene.GetFaceLayer(0, a, false)->Data[0].Color >> 24, (0xdfu + 0xbfu + 0x9fu) / 3);
  ClearLayerChannels(t.scene, a, true, true, false);
  EXPECT_EQ(t.FaceEntries(a), 2);  // specular still there
  ClearLayerChannels(t.scene, a, false, false, true);
  EXPECT_EQ(t.FaceEntries(a), 0);
  EXPECT_EQ(t.map->GetTile(0, 0)->FindLayer(a), nullptr);
  // The bottom layer keeps its base positions.
  ClearLayerChannels(t.scene, 0, true, true, true);
  EXPECT_GT(t.scene.Faces[1].Grid[0].Position.x, 1.0f);
}
