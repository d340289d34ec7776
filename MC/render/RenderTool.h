// The render room's tool, registered as "RenderTool": its panel is the
// RenderParams; "Render" makes a still of MaxRenederSteps frames from the
// view's camera and saves it as a numbered file under RenderedImages/,
// "RenderSequence" a turn around the pivot frame by frame. With
// IncrementalRender on, every frame in which the camera stood still adds one
// frame to the picture; a moved camera or a changed setting starts it again.
#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "MC/render/RenderParams.h"
#include "render/Math3D.h"
#include "shell/tools/BasicTool.h"
#include "shell/tools/StandardTools.h"

class VolumeObject;
class VolumeRender;
namespace comms {
class cRender;
class cViewer;
}

class RenderTool : public BasicTool {
 public:
  RenderParams Params;
  bool IncrementalRender = false;
  int NumFinalFrames = 36;  // frames of a turn
  _str SequenceName;        // file stem of a sequence, under the folder
  MV_CLASS(RenderTool, BasicTool) {
    Member(Params, "RenderParams");
    Member("_bool", IncrementalRender, "IncrementalRender");
    Member("_int", NumFinalFrames, "NumFinalFrames");
    Member("_str", SequenceName, "SequenceName");
    Method(&RenderTool::AddLight, "AddLight");
    Method(&RenderTool::Render, "Render");
    Method(&RenderTool::RenderSequence, "RenderSequence");
  }
  RenderTool();
  ~RenderTool() override;

  // What is rendered: the visible volumes, seen by `camera` turning around
  // the point at `pivot` (read when rendering, so it may move; null: the
  // origin). Not owned.
  void SetScene(std::function<std::vector<VolumeObject*>()> volumes, const comms::cViewer* camera,
                const float pivot[3]);
  // Where pictures and rparam.xml go ("RenderedImages" unless set).
  std::string Folder = "RenderedImages";
  // Asked after each frame of a still or a sequence: true stops (Esc); the
  // picture reached is still saved.
  std::function<bool(int rays)> StopRequested;
  // Told after each frame of a still or a sequence, with the picture so far
  // and the line to show over it (RaysLine, or SequenceLine in a sequence);
  // true stops as StopRequested does. The window shows the picture growing.
  std::function<bool(const VolumeRender& picture, const std::string& line)> ShowProgress;
  // Milliseconds of a steady clock, for the minutes a sequence has left;
  // the system's unless set.
  std::function<uint64_t()> ClockMs;
  // The graphics device the frames are drawn on when there is one (the
  // window's renderer); null, or a device that lacks what the frames need,
  // leaves them to the processor.
  std::function<comms::cRender*()> Device;

  void AddLight();
  void Render();
  void RenderSequence();
  // The still: renders and saves; the file written, empty on failure.
  std::string RenderStill();
  // The turn: NumFinalFrames pictures around the pivot; the files written.
  std::vector<std::string> RenderTurn();
  // The viewport's picture while IncrementalRender is on (null before the
  // first frame), and its frame count.
  const VolumeRender* Incremental() const { return incremental_.get(); }
  // The picture of the still or sequence frame being rendered (null when
  // none is), and its line as last shown.
  const VolumeRender* Running() const { return running_; }
  const std::string& RunningLine() const { return runningLine_; }

  const char* GetRoomName() override { return "Render"; }
  const char* GetHintId() override { return "RenderTool"; }
  void FrameUpdate() override;
  bool WantsFrames() override;
  bool OnChange(BaseClass*, void*, void*, const char*) override;

 private:
  std::unique_ptr<VolumeRender> MakeRender(int width, int height) const;
  std::string SaveNumbered(const VolumeRender& r, const std::string& stem) const;
  std::function<std::vector<VolumeObject*>()> volumes_;
  const comms::cViewer* camera_ = nullptr;
  const float* pivot_ = nullptr;
  comms::cVec3 Pivot() const;
  // Adds the frames of `r` as the running picture, telling ShowProgress
  // and StopRequested; `line` makes the line of the rays so far. True
  // when stopped.
  bool RunFrames(VolumeRender& r, const std::function<std::string(int rays)>& line);
  uint64_t NowMs() const;
  std::unique_ptr<VolumeRender> incremental_;
  const VolumeRender* running_ = nullptr;
  std::string runningLine_;
  std::vector<float> seenCamera_;
};

// Adds the render room's tool to the providers of the start-up registration.
void RegisterRenderTools(ToolProviders& providers);
