// The offscreen picture of a replay (see ReplayPicture.h).
#include "MC/brushes/ReplayPicture.h"

#include <memory>
#include <vector>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "MC/mcubes/VolumeDraw.h"
#include "MC/mcubes/VolumeObject.h"
#include "render/EglContext.h"
#include "render/RenderGL.h"

using namespace comms;

bool WriteReplayPicture(VolumeObject& volume, const std::string& path, int width, int height, std::string* why) {
  // Without the shaders the picture would be black: say so instead.
  if (FindDataFolder().empty()) {
    const std::string missing = MissingDataReason();
    if (why) *why = "the program's data folder (shaders) was not found: " + missing;
    Log("WriteReplayPicture(): no data folder: %s", missing.c_str());
    return false;
  }
  std::string reason;
  std::unique_ptr<cEglContext> context = cEglContext::Create(width, height, &reason);
  if (!context) {
    if (why) *why = "no offscreen OpenGL context (" + reason + ")";
    Log("WriteReplayPicture(): no offscreen OpenGL context (%s)", reason.c_str());
    return false;
  }
  cRenderGL render;
  render.DataFolder = DataFolder();
  if (!render.Init(context.get(), 1)) {
    if (why) *why = "the OpenGL renderer did not start";
    return false;
  }
  cFreeViewer camera;
  camera.Fov = 40;
  FrameVolume(volume, camera);
  // Three-quarter view: turned 35 degrees to the right and looking down a
  // little, so eye sockets, nose and mouth read by their shading and profile.
  const cQuat tilt = cQuat::FromAxisAngle(cVec3(1, 0, 0), -0.22f);
  const cQuat turn = cQuat::FromAxisAngle(cVec3(0, 1, 0), 0.61f);
  camera.SetHome(camera.m_Center, camera.m_ToEye, tilt * turn);
  const bool ok = RenderVolumeToPng(render, volume, camera, width, height, path);
  render.Release();
  if (!ok && why) *why = "the picture could not be drawn or written";
  return ok;
}
