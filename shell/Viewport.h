// The 3D view as the shell sees it: ViewportSeams makes the renderer (OpenGL in
// the window, or headless through EGL), the main camera and the start-up scene
// (a voxel sphere), draws background and volume in each frame, and turns mouse
// input of its layer-0 widget into camera moves. The interface's widget tree
// draws in the layers above and takes events first.
#pragma once
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/Platform.h"
#include "render/Background.h"
#include "render/IRS.h"
#include "render/Viewer.h"
#include "shell/ShellSeams.h"
#include "shell/Widget.h"

class Dispatcher;
class Shell;
class VolumeObject;
class VolumeDrawer;
class VoxVisualTree;
namespace comms {
class cSettings;
class cRender;
class cRenderWindow;
class cEglContext;
}  // namespace comms

// Mouse over the view: left drags orbit, right drags zoom (with left also
// held they pan), middle drags pan, Alt + a button navigates, the wheel moves
// the pivot in depth (the eye stays), the keypad gives axis views and Home
// the start position.
class ViewportWidget : public comms::cWidget {
 public:
  ViewportWidget(comms::cFreeViewer& camera, const Dispatcher& dispatch, Platform& platform)
      : camera_(camera), dispatch_(dispatch), platform_(platform) {}
  bool OnKeyDown(int key) override;
  bool OnKeyUp(int key) override;
  bool OnMouseMove() override;
  // F12 over the view: a picture of the window (set by the seams).
  std::function<void()> OnScreenshotKey;

 private:
  comms::cFreeViewer& camera_;
  const Dispatcher& dispatch_;
  Platform& platform_;
  float lastX_ = 0, lastY_ = 0;
  bool left_ = false, right_ = false, middle_ = false;
};

class ViewportSeams : public ShellSeams {
 public:
  // The bar of a long operation's box.
  static constexpr uint32_t kProgressBarColour = 0xff00ff00u;
  ViewportSeams(Platform& platform, bool headless);
  ~ViewportSeams() override;

  // Registers the camera's widget in layer 0 of the shell.
  void Attach(Shell& shell);
  // The last frame as "screenshot.png" (or `path`); the written path, empty on failure.
  std::string WriteScreenshot(const std::string& path = "screenshot.png");
  // The last frame as the first free "screenshot-NNN.png" in `folder`.
  std::string WriteNumberedScreenshot(const std::string& folder);
  comms::cFreeViewer& Camera() { return camera_; }
  // The current volume of the layer tree (the start-up scene's sphere at
  // first), null until RendererReady has made it.
  VolumeObject* Volume() const;
  // The voxel room's layer tree; every visible volume of it is drawn.
  VoxVisualTree* Tree() const { return tree_.get(); }
  // Takes the volumes (and the layer tree's XML, if any) a scene file
  // brought in place of the present tree; an empty list changes nothing.
  void TakeVolumes(std::vector<std::unique_ptr<VolumeObject>>&& volumes, const std::string& treeXml = std::string());
  // The renderer, null until RendererReady has made it.
  comms::cRender* Renderer() const { return render_.get(); }
  // The path of the last picture that F12 wrote, empty if it failed.
  std::string LastScreenshot;
  // Drawn over the volume in each frame (the voxel tool's brush circle).
  std::function<void(comms::cRender&, const comms::cViewer&)> DrawOverVolume;
  // The current room's own scene: true when the room drew the view (the
  // paint room), and the voxel volume then stays hidden.
  std::function<bool(comms::cRender&, comms::cFreeViewer&)> DrawRoomScene;
  // The part of the window that docked panels leave to the view (pixels, y
  // downwards); each frame the view's centre is put in its middle.
  std::function<bool(comms::cRect&)> FreeArea;
  // The gradient, picture or sky behind the scene; the options set it.
  comms::cBackground& Background() { return background_; }

  bool RendererReady() override;
  std::string RendererProblem() override { return problem_; }
  void BeginScene() override;
  void EndScene() override;
  void SetViewport(int width, int height) override;
  void DrawBackground() override;
  void SetDefaultStates() override;
  void DrawGroundGrid(float step, int lines, uint32_t argb) override;
  void SetSceneWireframe(bool on) override { sceneWireframe_ = on; }
  void ClearDepth() override;
  void UpdateRoomAndTool() override;
  bool Animating() override;
  void DrawText(float x, float y, uint32_t argb, const std::string& text) override;
  void DrawProgressBox(int percent, const std::string& textKey) override;

  // The scene: the changed flag, and files through the scene commands.
  bool SceneModified() override;
  bool WriteScene(const std::string& path) override;
  bool LoadScene(const std::string& path, bool restoring) override;
  bool SaveAs() override;
  void ImportMesh(const std::string& path) override;
  void RunCommandLine(const CommandLineDecision& decision) override;
  std::string LastRecentFile() override;

 private:
  bool InitRenderer();
  void MakeStartScene();

  Platform& platform_;
  bool headless_;
  int ready_ = -1;  // -1 not tried, 0 failed, 1 ready
  std::unique_ptr<comms::cRenderWindow> window_;
  comms::cEglContext* egl_ = nullptr;  // window_ when headless
  std::unique_ptr<comms::cRender> render_;
  std::unique_ptr<comms::cIRS> irs_;
  comms::cFreeViewer camera_;
  comms::cBackground background_;
  std::unique_ptr<VoxVisualTree> tree_;
  std::unordered_map<const VolumeObject*, std::unique_ptr<VolumeDrawer>> drawers_;  // one per drawn volume
  std::unique_ptr<ViewportWidget> widget_;
  int defaultDepth_ = -1;
  bool sceneOpen_ = false;
  bool sceneWireframe_ = false;
  const comms::cSettings* settings_ = nullptr;  // the shell's, for the clear colour
  std::string problem_;
  std::string pendingShotFolder_;  // F12 was pressed: the folder of its picture
};
