// Per-volume shader settings: the variables file of a shader is read with
// the user's values kept while the list stays the same, the panel shows the
// value rows a kind uses, sliders keep their ranges, defines reach the
// shader's source, the settings travel with the tree in the volume stream,
// and the shipped clay shader's variables are uniforms of its source.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "ClassEngine/DataFolder.h"
#include "MC/tree/VoxShaderParams.h"
#include "TreeStreamKit.h"
#include "TreeTestKit.h"

namespace {

ExShaderParam* Param(const char* id, int type) {
  auto* p = new ExShaderParam;
  p->ID = id;
  p->Type = type;
  p->ShortName = id;
  return p;
}

struct ShaderFolder {
  std::filesystem::path dir;
  ShaderFolder() {
    char name[] = "/tmp/morvane-shadervars-XXXXXX";
    dir = mkdtemp(name);
  }
  ~ShaderFolder() { std::filesystem::remove_all(dir); }
  // Writes "<shader>Variables.xml" with the given list.
  void Write(const std::string& shader, std::initializer_list<ExShaderParam*> list) {
    VoxShaderParams file;
    for (ExShaderParam* p : list) file.ExParams.Add(p);
    ASSERT_TRUE(file.WriteToFile((dir / (shader + "Variables.xml")).string().c_str()));
  }
};

std::vector<std::string> Rows(ExShaderParam& p) {
  std::vector<std::string> out;
  for (int r = 0; r < p.GetAmountOfEditableElements(&p, 7); ++r) out.push_back(p.GetElementID(p.GetEditableElementIndex(r, &p, 7)));
  return out;
}

}  // namespace

TEST(ShaderSettings, UserValuesStayWhileTheListIsTheSame) {
  ShaderFolder folder;
  ExShaderParam* tint = Param("g_Tint", kSpFloat3);
  tint->Default[0] = 0.2f, tint->Default[1] = 0.3f, tint->Default[2] = 0.4f;
  ExShaderParam* gloss = Param("g_Gloss", kSpSlider01);
  gloss->Default[0] = 0.5f;
  folder.Write("mcubes_wax", {tint, gloss, Param("WAX_RIM", kSpDefine)});

  VoxShaderParams params;
  ASSERT_TRUE(LoadShaderVariables(params, "mcubes_wax", folder.dir.string()));
  ASSERT_EQ(params.ExParams.GetAmount(), 3);
  EXPECT_STREQ(params.ShaderName.cpchar(), "mcubes_wax");
  EXPECT_FLOAT_EQ(params.ExParams[0]->Default[2], 0.4f);
  EXPECT_EQ(params.ExParams[2]->Type, kSpDefine);
  params.ExParams[1]->Default[0] = 0.9f;
  params.ExParams[2]->BoolParam = true;
  ASSERT_TRUE(LoadShaderVariables(params, "mcubes_wax", folder.dir.string()));
  EXPECT_FLOAT_EQ(params.ExParams[1]->Default[0], 0.9f) << "the user's value stays";
  EXPECT_EQ(ShaderDefines(params), "#define WAX_RIM\n");

  // The shader's list changed: the file's defaults come in.
  folder.Write("mcubes_wax", {Param("g_Tint", kSpFloat3), Param("g_Sheen", kSpSlider01), Param("WAX_RIM", kSpDefine)});
  ASSERT_TRUE(LoadShaderVariables(params, "mcubes_wax", folder.dir.string()));
  EXPECT_STREQ(params.ExParams[1]->ID.cpchar(), "g_Sheen");
  EXPECT_FALSE(params.ExParams[2]->BoolParam);
  EXPECT_EQ(ShaderDefines(params), "");

  // A shader without a file has nothing to edit; a damaged file changes nothing.
  EXPECT_FALSE(LoadShaderVariables(params, "mcubes_plain", folder.dir.string()));
  EXPECT_EQ(params.ExParams.GetAmount(), 0);
  ASSERT_TRUE(LoadShaderVariables(params, "mcubes_wax", folder.dir.string()));
  std::ofstream(folder.dir / "mcubes_waxVariables.xml") << "<VoxShaderParams><ExParams><ExShaderParam><ID>";
  EXPECT_FALSE(LoadShaderVariables(params, "mcubes_wax", folder.dir.string()));
  EXPECT_EQ(params.ExParams.GetAmount(), 3);
}

TEST(ShaderSettings, ThePanelShowsTheValueRowsOfEachKindAndSlidersKeepTheirRange) {
  ExShaderParam f3, slider, define, method, colour;
  f3.Type = kSpFloat3, slider.Type = kSpSlider0100, define.Type = kSpDefine, method.Type = kSpMethod, colour.Type = kSpFloat4;
  EXPECT_EQ(Rows(f3), (std::vector<std::string>{"$DefaultX", "$DefaultY", "$DefaultZ"}));
  EXPECT_EQ(Rows(slider), (std::vector<std::string>{"Default.x"}));
  EXPECT_EQ(Rows(define), (std::vector<std::string>{"BoolParam"}));
  EXPECT_EQ(Rows(colour), (std::vector<std::string>{"DefaultCL"}));
  EXPECT_TRUE(Rows(method).empty());

  VoxShaderParams params;
  params.ExParams.Add(Param("a", kSpSliderM11));
  params.ExParams.Add(Param("b", kSpSlider010));
  params.ExParams.Add(Param("c", kSpFloat));
  params.ExParams[0]->Default[0] = -3;
  params.ExParams[1]->Default[0] = 12;
  params.ExParams[2]->Default[0] = 12;
  params.OnChange(nullptr, nullptr, nullptr, "Default.x");
  EXPECT_FLOAT_EQ(params.ExParams[0]->Default[0], -1);
  EXPECT_FLOAT_EQ(params.ExParams[1]->Default[0], 10);
  EXPECT_FLOAT_EQ(params.ExParams[2]->Default[0], 12) << "a plain float has no range";
}

TEST(ShaderSettings, EachVolumeKeepsItsSettingsThroughTheVolumeStream) {
  ShaderFolder folder;
  ExShaderParam* colour = Param("g_SurfaceColor", kSpFloat3);
  folder.Write("mcubes", {colour, Param("SOFT", kSpDefine)});
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  VoxTreeBranch* b = tree.AddVolume(a);
  ASSERT_TRUE(LoadShaderVariables(a->ShaderSettings, "mcubes", folder.dir.string()));
  ASSERT_TRUE(LoadShaderVariables(b->ShaderSettings, "mcubes", folder.dir.string()));
  a->ShaderSettings.ExParams[0]->Default[0] = 0.25f;
  b->ShaderSettings.ExParams[0]->Default[1] = 0.75f;
  b->ShaderSettings.ExParams[1]->BoolParam = true;
  VoxTreeBranch* copy = tree.Clone(b);
  ASSERT_NE(copy, nullptr);
  EXPECT_TRUE(copy->ShaderSettings.ExParams[1]->BoolParam) << "a clone draws like its source";

  VoxVisualTree back;
  ThroughVolumeStream(tree, back);
  VoxTreeBranch* a2 = back.FindByName("Volume1");
  VoxTreeBranch* b2 = back.FindByName("Volume2");
  ASSERT_TRUE(a2 && b2);
  ASSERT_EQ(a2->ShaderSettings.ExParams.GetAmount(), 2);
  ASSERT_EQ(b2->ShaderSettings.ExParams.GetAmount(), 2);
  EXPECT_FLOAT_EQ(a2->ShaderSettings.ExParams[0]->Default[0], 0.25f);
  EXPECT_FLOAT_EQ(a2->ShaderSettings.ExParams[0]->Default[1], 0.f);
  EXPECT_FLOAT_EQ(b2->ShaderSettings.ExParams[0]->Default[1], 0.75f);
  EXPECT_EQ(ShaderDefines(b2->ShaderSettings), "#define SOFT\n");
  EXPECT_EQ(ShaderDefines(a2->ShaderSettings), "");
  // Reading the variables again after the load keeps the loaded values.
  ASSERT_TRUE(LoadShaderVariables(b2->ShaderSettings, "mcubes", folder.dir.string()));
  EXPECT_FLOAT_EQ(b2->ShaderSettings.ExParams[0]->Default[1], 0.75f);
}

TEST(ShaderSettings, TheClayShadersVariablesAreUniformsOfItsSource) {
  VoxShaderParams params;
  ASSERT_TRUE(LoadShaderVariables(params, "mcubes"));
  ASSERT_GT(params.ExParams.GetAmount(), 0);
  std::ifstream file(comms::DataFilePath("Shaders/mcubes.hlsl"));
  std::stringstream source;
  source << file.rdbuf();
  for (ExShaderParam* p : params.ExParams) {
    if (p->Type == kSpDefine) {
      EXPECT_NE(source.str().find(std::string("#ifdef ") + p->ID.cpchar()), std::string::npos) << p->ID.cpchar();
      continue;
    }
    EXPECT_NE(source.str().find(std::string("uniform ") + (p->Type == kSpFloat3 ? "vec3 " : "float ") + p->ID.cpchar()),
              std::string::npos)
        << p->ID.cpchar();
  }
}
