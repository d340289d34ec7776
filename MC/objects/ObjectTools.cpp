// The logo, text and sketch tools of the voxel room (see ObjectTools.h).
#include "MC/objects/ObjectTools.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/UserPaths.h"
#include "MC/brushes/VoxelModeHandler.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/objects/LogoRelief.h"
#include "MC/objects/TextRelief.h"
#include "interchange/IO.h"
#include "interchange/Mesh.h"
#include "platform/Keys.h"

namespace {

const char* const kSketchTitles[3] = {"SKETCH_FRONT", "SKETCH_SIDE", "SKETCH_TOP"};

FileQuestion PictureQuestion(const char* title, const std::string& fallback) {
  FileQuestion q;
  q.TitleKey = title;
  q.Types = "tga,bmp,png,jpg - files";
  q.Masks = "*.tga;*.bmp;*.png;*.jpg";
  q.FolderKey = "PICKIMG";
  q.DefaultPath = fallback;
  return q;
}

void Ask(VoxelSculptTool& tool, const FileQuestion& q, std::function<void(const std::string&)> then) {
  if (tool.AskFile)
    tool.AskFile(q, std::move(then));
  else
    then(q.DefaultPath);
}

// A press asks for the picture; the answer becomes the merge tool's mesh.
class LogoHandler : public VoxelModeHandler {
 public:
  bool OnLMBDown(VoxelSculptTool& tool) override {
    Ask(tool, LogoQuestion(), [&tool](const std::string& path) {
      std::string why;
      std::unique_ptr<comms::cMesh> mesh = LoadLogoMesh(path, LogoObjPath(), &why);
      if (!mesh) return Log("SCULPT_LOGO: %s", why.c_str());
      HoldForMerge(tool, std::move(mesh));
    });
    return true;
  }
};

// A press or Enter makes the relief of the panel's text for the merge tool.
class TextHandler : public VoxelModeHandler {
 public:
  bool OnLMBDown(VoxelSculptTool& tool) override { return Make(tool); }
  bool OnKey(VoxelSculptTool& tool, int key) override { return key == keys::Enter && Make(tool); }

 private:
  static bool Make(VoxelSculptTool& tool) {
    std::string why;
    std::unique_ptr<comms::cMesh> mesh = TextSlab(tool.Settings.ReliefText.cpchar(), tool.Settings.TextThickness, &why);
    if (!mesh) {
      Log("SCULP_TEXT: %s", why.c_str());
      return true;
    }
    return HoldForMerge(tool, std::move(mesh));
  }
};

// A press asks for the three pictures the first time (or with Shift), then
// merges their solid centred where the pen points (the volume's origin off
// the surface); Enter merges it again at the last centre.
class SketchHandler : public VoxelModeHandler {
 public:
  bool OnLMBDown(VoxelSculptTool& tool) override {
    if (!tool.Volume()) return false;
    PenPoint pen;
    if (tool.PenAt(Pointer().X, Pointer().Y, pen))
      tool.Volume()->PointToObject(pen.P, centre_);
    else
      std::fill(centre_, centre_ + 3, 0.f);
    if (!views_.Ready() || Pointer().Shift)
      AskSide(tool, 0);
    else
      Build(tool);
    return true;
  }
  bool OnKey(VoxelSculptTool& tool, int key) override {
    if (key != keys::Enter || !views_.Ready()) return false;
    Build(tool);
    return true;
  }

 private:
  void AskSide(VoxelSculptTool& tool, int side) {
    Ask(tool, PictureQuestion(kSketchTitles[side], paths_[side]), [this, &tool, side](const std::string& path) {
      std::string why;
      if (!views_.Load(side, path, tool.Settings.SketchPreSmoothSteps, Size(tool), &why))
        return Log("SCULP_SKETCH: %s", why.c_str());
      paths_[side] = path;
      steps_ = tool.Settings.SketchPreSmoothSteps;
      size_ = Size(tool);
      if (side < 2)
        AskSide(tool, side + 1);
      else
        Build(tool);
    });
  }
  void Build(VoxelSculptTool& tool) {
    VolumeObject* volume = tool.Volume();
    if (!volume) return;
    // The pictures are measured again when the steps or the size changed since.
    if (steps_ != tool.Settings.SketchPreSmoothSteps || size_ != Size(tool)) {
      for (int s = 0; s < 3; ++s) views_.Load(s, paths_[s], tool.Settings.SketchPreSmoothSteps, Size(tool), nullptr);
      steps_ = tool.Settings.SketchPreSmoothSteps;
      size_ = Size(tool);
    }
    if (views_.Merge(*volume, centre_, size_, tool.Settings.SketchSoftness) > 0) tool.EndEdit(*volume);
  }
  // The panel's size, within the slider's range.
  static float Size(const VoxelSculptTool& tool) { return std::clamp(tool.Settings.SketchSize, 8.f, 1000.f); }

  SketchViews views_;
  std::string paths_[3];
  int steps_ = -1;
  float size_ = 0;
  float centre_[3] = {0, 0, 0};
};

// The shipped or user file of a replay's relative name.
std::string ReplayFile(const std::string& name) {
  return comms::cIO::IsAbsolute(name) ? name : comms::DataFilePath(name);
}

// Merges a held slab the way the merge tool does, at `scale` and `shift`.
bool MergeSlab(VolumeObject& volume, std::unique_ptr<comms::cMesh> mesh, float scale, const float shift[3],
               float pitch = 0) {
  MeshMerge merge;
  if (!merge.SetMesh(std::move(mesh))) return false;
  merge.Settings.MergeScale = scale;
  merge.Settings.MrgPitch = pitch;
  merge.Settings.ShiftX = shift[0], merge.Settings.ShiftY = shift[1], merge.Settings.ShiftZ = shift[2];
  merge.Merge(volume, 0, {});
  volume.DropUndoCopies();
  volume.UpdateSurface();
  return true;
}

}  // namespace

FileQuestion LogoQuestion() {
  return PictureQuestion("SCULPT_LOGO", comms::DataFilePath("ToolsPresets/LogoSample.bmp"));
}

std::string LogoObjPath() { return UserFilePath("Temp/logo.obj"); }

bool HoldForMerge(VoxelSculptTool& tool, std::unique_ptr<comms::cMesh> mesh) {
  if (!mesh || !tool.Merge.SetMesh(std::move(mesh))) return false;
  tool.SelectMode(SCULP_MERGE);
  return true;
}

bool SketchViews::Load(int side, const std::string& path, int smoothSteps, float size, std::string* why) {
  if (side < 0 || side > 2) return false;
  comms::cImage picture;
  if (!comms::cIO::LoadImage(path, picture)) {
    if (why) *why = "cannot read the picture " + path;
    return false;
  }
  SketchView view;
  const float perPixel = size / float(std::max(picture.width, picture.height));
  if (!SketchValues(picture, std::clamp(smoothSteps, 0, 64), perPixel, view)) {
    if (why) *why = "the picture " + path + " has a format the sketch does not read";
    return false;
  }
  Views[side] = std::move(view);
  Loaded[side] = true;
  return true;
}

int SketchViews::Merge(VolumeObject& volume, const float centre[3], float size, float softness, int threads) const {
  if (!Ready()) return 0;
  SketchView placed[3] = {Views[0], Views[1], Views[2]};
  for (int s = 0; s < 3; ++s) PlaceSketchView(placed[s], s, centre, size);
  // Half the span and the band beyond it.
  const float reach = size / 2 + 4;
  const float lo[3] = {centre[0] - reach, centre[1] - reach, centre[2] - reach};
  const float hi[3] = {centre[0] + reach, centre[1] + reach, centre[2] + reach};
  SketchParams params;
  params.Softness = softness;
  params.Threads = threads;
  return MergeSketch(volume, {&placed[0], &placed[1], &placed[2]}, lo, hi, params);
}

void RegisterObjectToolHandlers() {
  RegisterVoxelModeHandler(SCULPT_LOGO, [] { return std::make_unique<LogoHandler>(); });
  RegisterVoxelModeHandler(SCULP_TEXT, [] { return std::make_unique<TextHandler>(); });
  RegisterVoxelModeHandler(SCULP_SKETCH, [] { return std::make_unique<SketchHandler>(); });
}

int RunObjectReplayCommand(const std::string& cmd, std::istream& words, VolumeObject& volume, std::string& error) {
  if (cmd == "logo") {
    std::string file;
    float scale = 1, shift[3] = {0, 0, 0}, pitch = 0;
    if (!(words >> file >> scale) || !(scale > 0)) return error = "logo needs a picture and a scale", 1;
    if (words >> shift[0] && !(words >> shift[1] >> shift[2])) return error = "logo's shift needs x y z", 1;
    words >> pitch;
    std::string why;
    // A script runs outside the user's folders: its copy of the slab goes
    // to the system's temporary folder.
    const std::string obj = (std::filesystem::temp_directory_path() / "morvane_replay_logo.obj").string();
    std::unique_ptr<comms::cMesh> mesh = LoadLogoMesh(ReplayFile(file), obj, &why);
    if (!mesh) return error = "logo: " + why, 1;
    return MergeSlab(volume, std::move(mesh), scale, shift, pitch) ? 0 : (error = "logo: empty relief", 1);
  }
  if (cmd == "text") {
    float thickness = 0, scale = 0, shift[3];
    if (!(words >> thickness >> scale >> shift[0] >> shift[1] >> shift[2]) || !(thickness > 0) || !(scale > 0))
      return error = "text needs a thickness, a scale, x y z and the words", 1;
    std::string text, w;
    while (words >> w) text += (text.empty() ? "" : " ") + w;
    std::string why;
    std::unique_ptr<comms::cMesh> mesh = TextSlab(text, thickness, &why);
    if (!mesh) return error = "text: " + why, 1;
    return MergeSlab(volume, std::move(mesh), scale, shift) ? 0 : (error = "text: empty relief", 1);
  }
  if (cmd == "sketch") {
    std::string files[3];
    float size = 0, softness = 0, centre[3] = {0, 0, 0};
    int smooth = 6;
    if (!(words >> files[0] >> files[1] >> files[2] >> size) || !(size >= 8 && size <= 4000))
      return error = "sketch needs three pictures and a size from 8 to 4000", 1;
    if (words >> smooth && !(words >> softness)) return error = "sketch's smoothing needs a softness too", 1;
    if (words >> centre[0] && !(words >> centre[1] >> centre[2])) return error = "sketch's centre needs x y z", 1;
    SketchViews views;
    for (int s = 0; s < 3; ++s) {
      std::string why;
      if (!views.Load(s, ReplayFile(files[s]), smooth, size, &why)) return error = "sketch: " + why, 1;
    }
    views.Merge(volume, centre, size, std::clamp(softness, 0.f, 4.f));
    volume.DropUndoCopies();
    volume.UpdateSurface();
    return 0;
  }
  return -1;
}
