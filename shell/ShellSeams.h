// What the shell asks of the pieces above it that do not exist yet or live
// elsewhere: the renderer, the scene, importers, tools and panels. Each
// operation has a do-nothing default, so the frame runs, dispatches and counts
// before those pieces arrive; each piece overrides what it provides.
#pragma once
#include <cstdint>
#include <string>

#include "shell/CommandLine.h"

class ShellSeams {
 public:
  virtual ~ShellSeams() = default;

  // Renderer.
  virtual bool RendererReady() { return true; }
  // Why RendererReady said no, in words for the user; empty for the default.
  virtual std::string RendererProblem() { return ""; }
  virtual void BeginScene() {}
  virtual void EndScene() {}  // presents
  virtual void SetViewport(int /*width*/, int /*height*/) {}
  virtual void DrawBackground() {}
  virtual void SetDefaultStates() {}
  // The ground grid: lines `step` apart, `lines` on each side of the centre.
  virtual void DrawGroundGrid(float /*step*/, int /*lines*/, uint32_t /*argb*/) {}
  // Whether the scene of this frame is drawn as wireframe.
  virtual void SetSceneWireframe(bool /*on*/) {}
  virtual void ClearDepth() {}
  virtual void DrawText(float /*x*/, float /*y*/, uint32_t /*argb*/, const std::string& /*text*/) {}
  virtual void DrawProgressBox(int /*percent*/, const std::string& /*text*/) {}

  // Scene.
  virtual bool SceneModified() { return false; }
  virtual bool WriteScene(const std::string& /*path*/) { return false; }
  virtual bool LoadScene(const std::string& /*path*/, bool /*restoring*/) { return false; }
  // The Save As dialog; false when the user cancelled.
  virtual bool SaveAs() { return false; }
  virtual void ImportMesh(const std::string& /*path*/) {}
  virtual void RunCommandLine(const CommandLineDecision& /*decision*/) {}
  virtual std::string LastRecentFile() { return ""; }
  // Polygons of the largest mesh, for the crash report's offer to save.
  virtual int LargestMeshPolygons() { return 0; }

  // Tools, rooms, panels.
  virtual void FirstApplicationFrame() {}  // menus, panels, default pen
  virtual void UpdateRoomAndTool() {}      // room, camera, tool, scene drawing
  virtual void IdleWork() {}
  virtual bool ToolsAllowClose() { return true; }
  // True while something moves on screen, so frames must keep coming.
  virtual bool Animating() { return false; }
  virtual std::string CurrentToolName() { return ""; }
};
