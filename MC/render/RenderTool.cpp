// The render room's tool (see RenderTool.h).
#include "MC/render/RenderTool.h"

#include <chrono>
#include <cmath>
#include <filesystem>

#include "ClassEngine/Log.h"
#include "MC/render/RenderFrames.h"
#include "MC/render/VolumeRender.h"
#include "render/Viewer.h"

using comms::cVec3;

RenderTool::RenderTool() { SequenceName = "turn"; }
RenderTool::~RenderTool() = default;

void RenderTool::SetScene(std::function<std::vector<VolumeObject*>()> volumes, const comms::cViewer* camera,
                          const float pivot[3]) {
  volumes_ = std::move(volumes);
  camera_ = camera;
  pivot_ = pivot;
  incremental_.reset();
}

cVec3 RenderTool::Pivot() const { return pivot_ ? cVec3(pivot_[0], pivot_[1], pivot_[2]) : cVec3(0, 0, 0); }

void RenderTool::AddLight() {
  auto* light = new ExtraLight;
  light->SetParent(&Params.Lights);
  Params.Lights.Add(light);
  incremental_.reset();
}

std::unique_ptr<VolumeRender> RenderTool::MakeRender(int width, int height) const {
  if (!volumes_ || !camera_) return nullptr;
  auto r = std::make_unique<VolumeRender>(Params, width, height);
  r->SetScene(volumes_());
  const cVec3 pivot = Pivot();
  r->SetEye(VolumeRender::EyeOf(*camera_, std::max((pivot - camera_->Pos).Length(), 1e-3f)));
  if (Device)
    if (comms::cRender* device = Device()) r->UseDevice(device);
  return r;
}

std::string RenderTool::SaveNumbered(const VolumeRender& r, const std::string& stem) const {
  std::error_code ec;
  std::filesystem::create_directories(Folder, ec);
  const std::string name = NumberedFileName(Folder + "/" + stem, Params.SaveAsBMP ? "bmp" : "png", Params.DontOverwriteFiles);
  if (!r.Save(name, Params.StoreAlphaChannel)) {
    Log("RenderTool::SaveNumbered(): %s cannot be written", name.c_str());
    return "";
  }
  return name;
}

std::string RenderTool::RenderStill() {
  std::error_code ec;
  std::filesystem::create_directories(Folder, ec);
  Params.WriteToFile((Folder + "/rparam.xml").c_str());
  if (!camera_) return "";
  int w, h;
  PictureSize(Params, (int)camera_->ViewWidth(), (int)camera_->ViewHeight(), true, w, h);
  auto r = MakeRender(w, h);
  if (!r) return "";
  RunFrames(*r, RaysLine);
  return SaveNumbered(*r, "render");
}

uint64_t RenderTool::NowMs() const {
  if (ClockMs) return ClockMs();
  using namespace std::chrono;
  return (uint64_t)duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

bool RenderTool::RunFrames(VolumeRender& r, const std::function<std::string(int rays)>& line) {
  bool stopped = false;
  running_ = &r;
  RenderFrames(r, std::max(1, Params.MaxRenederSteps), [&](int rays) {
    runningLine_ = line(rays);
    stopped = (ShowProgress && ShowProgress(r, runningLine_)) || (StopRequested && StopRequested(rays));
    return stopped;
  });
  running_ = nullptr;
  return stopped;
}

std::vector<std::string> RenderTool::RenderTurn() {
  std::vector<std::string> files;
  if (!camera_ || NumFinalFrames < 1) return files;
  comms::cViewer turned = *camera_;
  const cVec3 pivot = Pivot();
  const comms::cViewer* saved = camera_;
  const uint64_t start = NowMs();
  const int steps = std::max(1, Params.MaxRenederSteps);
  for (int i = 0; i < NumFinalFrames; ++i) {
    // The eye turns about the vertical through the pivot.
    const float a = 6.2831853f * (float)i / (float)NumFinalFrames, c = std::cos(a), s = std::sin(a);
    auto turn = [&](const cVec3& v) { return cVec3(c * v.x + s * v.z, v.y, -s * v.x + c * v.z); };
    turned.Pos = pivot + turn(saved->Pos - pivot);
    turned.Right = turn(saved->Right), turned.Up = turn(saved->Up), turned.Forward = turn(saved->Forward);
    camera_ = &turned;
    int w, h;
    PictureSize(Params, (int)saved->ViewWidth(), (int)saved->ViewHeight(), true, w, h);
    auto r = MakeRender(w, h);
    camera_ = saved;
    if (!r) break;
    // Frames done count the part of this one its rays make.
    const bool stopped = RunFrames(*r, [&](int rays) {
      const double minutes = double(NowMs() - start) / 60000.0;
      return SequenceLine(i + 1, NumFinalFrames, MinutesLeft(minutes, i + double(rays) / steps, NumFinalFrames), rays);
    });
    const std::string name = SaveNumbered(*r, SequenceName.cpchar());
    if (name.empty()) break;
    files.push_back(name);
    if (stopped) break;
  }
  return files;
}

void RenderTool::Render() { RenderStill(); }
void RenderTool::RenderSequence() { RenderTurn(); }

bool RenderTool::WantsFrames() { return IncrementalRender && camera_ && volumes_; }

void RenderTool::FrameUpdate() {
  if (!WantsFrames()) return;
  const std::vector<float> now = {camera_->Pos.x,     camera_->Pos.y,     camera_->Pos.z,
                                  camera_->Forward.x, camera_->Forward.y, camera_->Forward.z,
                                  camera_->Up.x,      camera_->Up.y,      camera_->Up.z,
                                  camera_->Fov,       camera_->ViewWidth(), camera_->ViewHeight()};
  if (now != seenCamera_ || !incremental_) {
    seenCamera_ = now;
    int w, h;
    PictureSize(Params, (int)camera_->ViewWidth(), (int)camera_->ViewHeight(), false, w, h);
    incremental_ = MakeRender(w, h);
    if (!incremental_) return;
  }
  if (incremental_->Rays() < std::max(1, Params.MaxRenederSteps)) incremental_->RenderFrame();
}

bool RenderTool::OnChange(BaseClass*, void*, void*, const char*) {
  incremental_.reset();  // a changed setting starts the picture again
  return false;
}

void RegisterRenderTools(ToolProviders& providers) {
  providers["RenderTool"] = [] { return static_cast<BasicTool*>(new RenderTool); };
}
