// The render room's picture: the visible volumes' welded surfaces drawn many
// times by a plain z-buffer rasteriser, each frame ("ray") with a shadow map
// from one light direction or, for the ambient-occlusion share, from a random
// one, and with the eye moved on the lens for depth of field (the plane in
// focus stays put). Frames add into a float picture; the mean is the result.
// Rows are split between threads in fixed bands, so the picture is the same
// whatever the thread count. With a graphics device (UseDevice) the same
// frames, from the same random draws, are drawn and summed on the card.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/Random.h"
#include "MC/render/RenderParams.h"
#include "render/Math3D.h"

class VolumeObject;
namespace comms {
class cViewer;
class cImage;
class cRender;
}  // namespace comms

class VolumeRender {
 public:
  // The eye of the picture: taken from a camera (position, axes, vertical
  // field of view) and the distance to the point it turns around.
  struct Eye {
    comms::cVec3 Pos, Right, Up, Forward;
    float Fov = 45;        // vertical, degrees
    float FocusDistance = 100;
  };
  VolumeRender(const RenderParams& params, int width, int height, uint32_t seed = 1);
  ~VolumeRender();

  // Draws the frames through `device` from now on: the shadow map into a
  // float target, then the frame, added into a float picture on the card.
  // False when the device lacks a shader, a float target or a depth target;
  // the processor goes on drawing then. Null goes back to the processor. The
  // picture starts again either way.
  bool UseDevice(comms::cRender* device);
  bool OnDevice() const { return device_ != nullptr; }

  // The triangles of the volumes in scene space; returns the triangle count.
  int SetScene(const std::vector<VolumeObject*>& volumes);
  // Triangles given directly (three corners each, xyz), with flat normals.
  void SetTriangles(const std::vector<float>& corners);
  void SetEye(const Eye& eye);
  static Eye EyeOf(const comms::cViewer& camera, float focusDistance);
  // An eye that sees the whole scene from the front, a little above, in
  // focus at the scene's centre (after SetScene).
  Eye FramingEye(float fov = 40) const;
  // Starts the picture again (a new camera or setting).
  void Restart();
  // One frame added to the picture.
  void RenderFrame();
  int Rays() const { return frames_; }
  int Width() const { return width_; }
  int Height() const { return height_; }
  // Towards the room's main light (after SetEye).
  comms::cVec3 MainLight() const { return lights_.empty() ? comms::cVec3(0, 1, 0) : lights_[0].Dir; }
  // Where the unmoved eye sees a scene point: pixel x, y (y downwards);
  // false behind the eye.
  bool PixelOf(const comms::cVec3& p, float& x, float& y) const;
  int Triangles() const { return (int)index_.size() / 3; }
  // The picture so far as 8-bit RGBA (rows bottom-up, like every cImage);
  // with alpha, colours are divided by coverage as the save asks.
  void Picture(comms::cImage& out, bool alpha) const;
  // Writes the picture; the format follows the extension (png, tga, bmp,
  // exr). False when the file cannot be written.
  bool Save(const std::string& path, bool alpha) const;

 private:
  struct Light {
    comms::cVec3 Dir;  // towards the light
    comms::cVec3 Color;
    float Scatter;
    float Power;
  };
  struct Device;
  struct DeviceFree {
    void operator()(Device* d) const;
  };
  void BuildLights();
  // The shadow map's frame for light direction `dir`: its axes, scale and offsets.
  void PlaceShadowMap(const comms::cVec3& dir);
  void DeviceFrame(const comms::cVec3& lightDir, const comms::cVec3& lightColor, bool ambient, float shiftX,
                   float shiftY, float jitterX, float jitterY);
  // The sum of the frames, rgba per pixel, rows from the top.
  const std::vector<float>& Sum() const;
  void ClearDeviceSum();
  void DropDevice();
  // Depth from the light along -dir over the scene box.
  void RenderShadowMap(const comms::cVec3& dir);
  float Shadow(const comms::cVec3& p) const;
  void RasterFrame(float shiftX, float shiftY, float jitterX, float jitterY);
  void ShadeFrame(const comms::cVec3& lightDir, const comms::cVec3& lightColor, bool ambient, float shiftX,
                  float shiftY);

  const RenderParams& params_;
  int width_, height_;
  Random random_;
  Eye eye_;
  std::vector<float> pos_, nrm_;   // scene space, 3 per vertex
  std::vector<uint32_t> index_;
  comms::cVec3 boxMin_, boxMax_;
  std::vector<Light> lights_;
  std::vector<int> lightTable_;  // 256 slots in proportion to Power
  // The frame being drawn: depth (camera distance), triangle and the two
  // barycentric weights of the nearest surface per pixel.
  std::vector<float> depth_, baryU_, baryV_;
  std::vector<int> tri_;
  // The shadow map and its frame.
  int shadowSize_ = 1024;  // twice the picture's larger side, 256 .. 2048
  std::vector<float> shadow_;
  comms::cVec3 sRight_, sUp_, sDir_;
  float sScale_ = 1, sOffsetX_ = 0, sOffsetY_ = 0;
  std::vector<float> accum_;  // rgba per pixel
  int frames_ = 0;
  std::unique_ptr<Device, DeviceFree> device_;
  mutable std::vector<float> deviceSum_;  // the card's sum, as last read
};
