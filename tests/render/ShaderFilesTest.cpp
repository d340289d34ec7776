// Shader files: marker parsing, the cache index, look-up by triple, the
// fallbacks and the retry dialog of IRS, UnknownShaders.txt, reloading, and
// that every shader of the start-up list compiles on the device.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "GLTestContext.h"
#include "render/IRS.h"
#include "render/ShaderSource.h"
#include "render/StartupShaders.h"

using namespace comms;
namespace fs = std::filesystem;

namespace {
const char* kGoodShader =
    "// a test shader\n"
    "// Vertex shader\n"
    "layout(location = 0) in vec3 Pos;\n"
    "uniform mat4 g_WorldViewProjectionMatrix;\n"
    "void main() { gl_Position = g_WorldViewProjectionMatrix * vec4(Pos, 1.0); }\n"
    "// Fragment shader\n"
    "uniform vec4 g_Tint;\n"
    "out vec4 FragColor;\n"
    "void main() { FragColor = g_Tint; }\n";

// A data folder of its own per test, with Shaders/ inside.
class ShaderFolder {
 public:
  ShaderFolder() {
    root_ = fs::temp_directory_path() / ("morvane_shaders_" + std::to_string(::getpid()) + "_" +
                                         ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(root_);
    fs::create_directories(root_ / "Shaders" / "PC");
  }
  ~ShaderFolder() { fs::remove_all(root_); }
  void Write(const std::string& relative, const std::string& text) const {
    fs::create_directories((root_ / relative).parent_path());
    std::ofstream(root_ / relative, std::ios::binary) << text;
  }
  std::string Path() const { return root_.string(); }

 private:
  fs::path root_;
};
}  // namespace

TEST(ShaderSourceText, MarkersSplitStagesAndKeepFileLines) {
  ShaderSourceParts p = SplitShaderSource(
      "ignored\n// Vertex shader\nvoid main() {}\n\n  // Pixel shader  \r\nline7\n// Precompile\nA B\n\nNULL\n");
  ASSERT_TRUE(p.HasVertex);
  ASSERT_TRUE(p.HasPixel);
  EXPECT_EQ(p.VertexLine, 3);
  EXPECT_EQ(p.PixelLine, 6);
  EXPECT_EQ(p.Vertex, "void main() {}\n\n");
  EXPECT_EQ(p.Pixel, "line7\n");
  ASSERT_EQ(p.PrecompileLines.size(), 2u);
  EXPECT_EQ(p.PrecompileLines[1], "NULL");
  EXPECT_FALSE(SplitShaderSource("// Fragment shader\nx\n").HasVertex);
  EXPECT_TRUE(SplitShaderSource("// Fragment shader\nx\n").HasPixel);
}

TEST(ShaderSourceText, ComposedStageStartsWithDefinesThenTheLineMarker) {
  std::string s = ComposeStage("#define A", 12, "body\n", true);
  EXPECT_NE(s.find("#define A\n#line 12\nbody\n"), std::string::npos);
  EXPECT_EQ(s.rfind("#version 330 core\n", 0), 0u);
}

TEST(ShaderSourceText, DefinesNormaliseForTheCache) {
  EXPECT_EQ(NormalizeDefineList("#define A\r\n#define B\n"), "A B");
  EXPECT_EQ(NormalizeDefineList("A,B;\tC  D"), "A B C D");
  EXPECT_EQ(NormalizeDefineList("NULL"), "");
  EXPECT_EQ(NormalizeDefineList(""), "");
  EXPECT_EQ(CanonicalDefines("#define A"), "#define A\n");
  EXPECT_EQ(CanonicalDefines("#define A\n"), "#define A\n");
  EXPECT_EQ(CanonicalDefines(""), "");
}

TEST(ShaderSourceText, CacheIndexReadsGroupsOfThree) {
  auto cache = ParseShaderCache("Shaders\\Mcubes.hlsl\r\n  NULL \r\n\r\n00000000001\r\nShaders/a.hlsl\r\nX,Y\r\nb\r\nstray\r\n");
  ASSERT_EQ(cache.size(), 2u);
  EXPECT_EQ(cache[0].Defines, "");
  EXPECT_EQ(cache[1].Defines, "X Y");
  EXPECT_EQ(cache[1].BaseName, "b");
  const ShaderCacheEntry* e = FindShaderCache(cache, "shaders/mcubes.HLSL", "");
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->BaseName, "00000000001");
  EXPECT_NE(FindShaderCache(cache, "Shaders/a.hlsl", "#define X\n#define Y\n"), nullptr);
  EXPECT_EQ(FindShaderCache(cache, "Shaders/a.hlsl", "#define X\n"), nullptr);
}

namespace rendertest {

class ShaderDeviceTest : public GLTest {
 protected:
  void UseFolder(const ShaderFolder& f) {
    render_->DataFolder = f.Path();
    render_->Init(context_, 1);  // re-reads the cache index of that folder
  }
};

TEST_F(ShaderDeviceTest, EveryStartupShaderCompiles) {
  // The paint mesh's formats arrive with the paint engine; stand-ins here.
  ASSERT_EQ(render_->RegisterVertexFormat({{"Pos", kSemPos, kCompFloat, 3}, {"TexCoord", kSemTexCoord, kCompFloat, 2},
                                           {"Color", kSemFree, kCompByte, 4}, {"NormalWord", kSemFree, kCompByte, 4}}), 12);
  ASSERT_EQ(render_->RegisterVertexFormat({{"Pos", kSemPos, kCompFloat, 3}, {"TexCoord", kSemTexCoord, kCompFloat, 2}}), 13);
  ASSERT_EQ(render_->RegisterVertexFormat({{"Pos", kSemPos, kCompFloat, 3}, {"Color", kSemFree, kCompByte, 4}}), 14);
  cIRS irs(render_.get());
  for (const ShaderRequest& r : StartupShaderList())
    EXPECT_GE(irs.GetShaderID(r.Name, r.VertexFormat, r.Defines), 0)
        << r.Name << " (" << r.VertexFormat << ", \"" << r.Defines << "\")\n" << LogText().substr(LogText().size() > 3000 ? LogText().size() - 3000 : 0);
  EXPECT_EQ(RequestStartupShaders(irs), 0);
}

TEST_F(ShaderDeviceTest, ACompileErrorNamesTheFileAndItsOwnLine) {
  ShaderFolder f;
  std::string broken = kGoodShader;
  broken.replace(broken.find("FragColor = g_Tint;"), 19, "FragColor = g_Tint + undefinedThing;");
  f.Write("Shaders/broken.hlsl", broken);
  UseFolder(f);
  size_t mark = LogMark();
  EXPECT_EQ(render_->GetShaderID("broken", kVfPos, "#define A"), -1);
  std::string log = LogTextSince(mark);
  // The error is on the file's line 9, whatever defines came before it.
  EXPECT_NE(log.find("Shaders/broken.hlsl:9"), std::string::npos) << log;
  EXPECT_NE(log.find("Compiling PS..."), std::string::npos);
}

TEST_F(ShaderDeviceTest, IncludedFilesCompileAndTheirErrorsNameTheirOwnLines) {
  ShaderFolder f;
  f.Write("Shaders/Common/tint.glsl", "// shared\nuniform vec4 g_Tint;\nvec4 Tint() { return g_Tint; }\n");
  f.Write("Shaders/Common/bad.glsl", "// shared\n\nvec4 Bad() { return undefinedThing; }\n");
  std::string good = kGoodShader;
  good.replace(good.find("uniform vec4 g_Tint;\n"), 21, "#include \"Common/tint.glsl\"\n");
  good.replace(good.find("FragColor = g_Tint;"), 19, "FragColor = Tint();");
  f.Write("Shaders/inc.hlsl", good);
  std::string bad = good;
  bad.replace(bad.find("#include \"Common/tint.glsl\"\n"), 28,
              "#include \"Common/tint.glsl\"\n#include \"Common/bad.glsl\"\n");
  bad += "float after = undefinedToo;\n";
  f.Write("Shaders/incbad.hlsl", bad);
  UseFolder(f);
  EXPECT_GE(render_->GetShaderID("inc", kVfPos, ""), 0) << LogText();

  size_t mark = LogMark();
  EXPECT_EQ(render_->GetShaderID("incbad", kVfPos, ""), -1);
  std::string log = LogTextSince(mark);
  // Line 3 of the included file, and the shader's own line after the includes.
  EXPECT_NE(log.find("Shaders/Common/bad.glsl:3"), std::string::npos) << log;
  EXPECT_NE(log.find("Shaders/incbad.hlsl:11"), std::string::npos) << log;
}

TEST_F(ShaderDeviceTest, MissingStagesAndFilesFail) {
  ShaderFolder f;
  f.Write("Shaders/novs.hlsl", "// Fragment shader\nout vec4 c; void main() { c = vec4(1.0); }\n");
  f.Write("Shaders/nops.hlsl", "// Vertex shader\nvoid main() { gl_Position = vec4(0.0); }\n");
  UseFolder(f);
  size_t mark = LogMark();
  EXPECT_EQ(render_->GetShaderID("novs", kVfPos, ""), -1);
  EXPECT_EQ(render_->GetShaderID("nops", kVfPos, ""), -1);
  EXPECT_EQ(render_->GetShaderID("absent", kVfPos, ""), -1);
  EXPECT_EQ(render_->GetShaderID("novs", 99, ""), -1);
  std::string log = LogTextSince(mark);
  EXPECT_NE(log.find("No vertex shader found."), std::string::npos);
  EXPECT_NE(log.find("No fragment / pixel shader found"), std::string::npos);
}

TEST_F(ShaderDeviceTest, TriplesFindTheSameShader) {
  ShaderFolder f;
  f.Write("Shaders/good.hlsl", kGoodShader);
  UseFolder(f);
  int a = render_->GetShaderID("good", kVfPos, "#define X");
  ASSERT_GE(a, 0);
  EXPECT_EQ(render_->GetShaderID("GOOD", kVfPos, "#define X\n"), a);
  EXPECT_NE(render_->GetShaderID("good", kVfPos, ""), a);
  EXPECT_NE(render_->GetShaderID("good", kVfPosNormal, "#define X"), a);
  EXPECT_GE(render_->FindConstant(a, "g_Tint"), 0);
  EXPECT_EQ(render_->FindConstant(a, "g_WorldViewProjectionMatrix"), -1);  // a standard constant
  EXPECT_EQ(render_->FindConstant(a, "nothing"), -1);
  // A freed id is taken by the next shader.
  render_->FreeShader(a);
  EXPECT_EQ(render_->GetShaderID("good", kVfPos, "#define Y"), a);
}

TEST_F(ShaderDeviceTest, LowerQualityVariantsStandIn) {
  ShaderFolder f;
  f.Write("Shaders/plain.hlsl", kGoodShader);
  f.Write("Shaders/Low/lowonly.hlsl", kGoodShader);
  f.Write("Shaders/VeryLow/plain.hlsl", kGoodShader);
  UseFolder(f);
  cIRS irs(render_.get());
  int plain = render_->GetShaderID("plain", kVfPos, "");
  // No Low/ variant of "plain": the plain id stands.
  EXPECT_EQ(irs.GetShaderID("plain", kVfPos, ""), plain);
  // Only a Low/ variant exists: it replaces the failure.
  EXPECT_EQ(irs.GetShaderID("lowonly", kVfPos, ""), render_->GetShaderID("Low/lowonly", kVfPos, ""));
  EXPECT_GE(irs.GetShaderID("lowonly", kVfPos, ""), 0);
  // With low quality on, a variant wins over the plain one.
  irs.LowShadersQuality = true;
  EXPECT_EQ(irs.GetShaderID("plain", kVfPos, ""), render_->GetShaderID("VeryLow/plain", kVfPos, ""));
  EXPECT_EQ(irs.GetShaderID("nowhere", kVfPos, ""), -1);
}

TEST_F(ShaderDeviceTest, DebugModeRetriesUntilFixedOrSkipped) {
  ShaderFolder f;
  UseFolder(f);
  cIRS irs(render_.get());
  irs.DebugShadersMode = true;
  int asked = 0;
  std::string shown;
  auto previous = SetSystemDialogHandler([&](const SystemDialog& d) {
    ++asked;
    shown = d.title + "|" + d.text;
    if (asked == 1) {
      f.Write("Shaders/late.hlsl", kGoodShader);  // the author mends the file, then Retry
      return 0;
    }
    return 1;
  });
  EXPECT_GE(irs.GetShaderID("late", kVfPos, ""), 0);
  EXPECT_EQ(asked, 1);
  EXPECT_NE(shown.find("Unable to compile shader|shader: late\ndefines: \ncompiling log:\n"), std::string::npos);
  asked = 1;  // from now on: Skip
  EXPECT_EQ(irs.GetShaderID("never", kVfPos, ""), -1);
  EXPECT_EQ(asked, 2);
  SetSystemDialogHandler(previous);
}

TEST_F(ShaderDeviceTest, UnknownShadersAreListedOnce) {
  ShaderFolder f;
  f.Write("Shaders/good.hlsl", kGoodShader);
  UseFolder(f);
  cIRS irs(render_.get());
  irs.ListShaders = true;
  irs.UnknownShadersPath = f.Path() + "/UnknownShaders.txt";
  irs.GetShaderID("good", kVfPos, "#define A\n");
  irs.GetShaderID("good", kVfPos, "#define A\n");
  irs.GetShaderID("good", kVfPos, "");
  std::ifstream in(irs.UnknownShadersPath);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text,
            "    IRS->GetShaderID(\"good\",6,\"#define A\\n\");\n"
            "    IRS->GetShaderID(\"good\",6,\"\");\n");
}

TEST_F(ShaderDeviceTest, CachedPairsAreUsedAndAMissingHalfFallsBackToTheSource) {
  ShaderFolder f;
  f.Write("Shaders/good.hlsl", kGoodShader);
  f.Write("Shaders/half.hlsl", kGoodShader);
  ShaderSourceParts parts = SplitShaderSource(kGoodShader);
  f.Write("Shaders/PC/00000000000VS", ComposeStage("", parts.VertexLine, parts.Vertex, true));
  f.Write("Shaders/PC/00000000000PS", ComposeStage("", parts.PixelLine, parts.Pixel, false));
  f.Write("Shaders/PC/00000000001VS", ComposeStage("", parts.VertexLine, parts.Vertex, true));
  f.Write("Shaders/PC/Cache.txt",
          "Shaders\\Good.hlsl\r\nNULL\r\n00000000000\r\n\r\nShaders/half.hlsl\r\nNULL\r\n00000000001\r\n");
  size_t mark = LogMark();
  UseFolder(f);
  EXPECT_NE(LogTextSince(mark).find("2 Cached Shaders"), std::string::npos);
  mark = LogMark();
  EXPECT_GE(render_->GetShaderID("good", kVfPos, ""), 0);
  EXPECT_EQ(LogTextSince(mark).find("Loading shader"), std::string::npos);
  EXPECT_GE(render_->GetShaderID("half", kVfPos, ""), 0);
  EXPECT_NE(LogTextSince(mark).find(" * Loading shader \"half\"..."), std::string::npos);
}

TEST_F(ShaderDeviceTest, ReloadKeepsIdsAndABrokenReloadClearsTheShader) {
  ShaderFolder f;
  f.Write("Shaders/good.hlsl", kGoodShader);
  UseFolder(f);
  int id = render_->GetShaderID("good", kVfPos, "");
  render_->ReloadShaders();
  render_->SetShader(id);
  EXPECT_EQ(render_->GetCurrentShader(), id);
  f.Write("Shaders/good.hlsl", "// Vertex shader\nnot glsl\n// Fragment shader\nnor this\n");
  render_->ReloadShaders();
  EXPECT_EQ(render_->GetCurrentShader(), -1);
  render_->SetShader(id);
  EXPECT_EQ(render_->GetCurrentShader(), -1);
  f.Write("Shaders/good.hlsl", kGoodShader);
  render_->ReloadShaders();
  render_->SetShader(id);
  EXPECT_EQ(render_->GetCurrentShader(), id);
  EXPECT_EQ(render_->GetShaderID("good", kVfPos, ""), id);
}

}  // namespace rendertest

namespace rendertest {

TEST_F(ShaderDeviceTest, PrecompiledVariantsAreStoredAndThenUsed) {
  ShaderFolder f;
  std::string text = kGoodShader;
  text += "// Precompile\nNULL\nTINT, EXTRA\nTINT;EXTRA\n\n";
  f.Write("Shaders/good.hlsl", text);
  f.Write("Shaders/PC/stale.txt", "left from before");
  UseFolder(f);
  auto previous = SetSystemDialogHandler([](const SystemDialog& d) {
    EXPECT_EQ(d.text, "Are you sure you want to precompile shaders for \"PC\" platform ?");
    return 0;
  });
  EXPECT_EQ(render_->PrecompileShaders("PC"), 2);  // the repeated variant counts once
  SetSystemDialogHandler(previous);
  EXPECT_FALSE(fs::exists(f.Path() + "/Shaders/PC/stale.txt"));
  EXPECT_TRUE(fs::exists(f.Path() + "/Shaders/PC/000000000000VS"));
  EXPECT_TRUE(fs::exists(f.Path() + "/Shaders/PC/000100000000PS"));
  size_t mark = LogMark();
  EXPECT_GE(render_->GetShaderID("good", kVfPos, "#define TINT\n#define EXTRA\n"), 0);
  EXPECT_GE(render_->GetShaderID("good", kVfPos, ""), 0);
  EXPECT_EQ(LogTextSince(mark).find("Loading shader"), std::string::npos);
  // Without a handler the question takes its default, No.
  EXPECT_EQ(render_->PrecompileShaders("PC"), 0);
}

}  // namespace rendertest
