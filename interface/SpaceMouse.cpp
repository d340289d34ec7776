// The spacenavd client and the 3D mouse's effect on camera and pen; see
// SpaceMouse.h.
#include "interface/SpaceMouse.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>

#include "ClassEngine/Log.h"
#include "interface/AppOptions.h"
#include "paint/GeneralPen.h"
#include "render/Viewer.h"

namespace {
constexpr float kPi = 3.14159265358979f;
enum : int32_t { kMotion = 0, kPress = 1, kRelease = 2 };
}  // namespace

SpaceNavDevice::SpaceNavDevice(std::string socketPath) {
  sockaddr_un addr{};
  if (socketPath.size() >= sizeof addr.sun_path) return;
  addr.sun_family = AF_UNIX;
  memcpy(addr.sun_path, socketPath.c_str(), socketPath.size() + 1);
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return;
  if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
    close(fd);
    return;
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
  fd_ = fd;
}

SpaceNavDevice::~SpaceNavDevice() {
  if (fd_ >= 0) close(fd_);
}

bool SpaceNavDevice::Poll(SpaceMouseState& state) {
  state = SpaceMouseState();
  state.Buttons = buttons_;
  if (fd_ < 0) return false;
  for (;;) {
    ssize_t n = read(fd_, partial_ + have_, sizeof partial_ - size_t(have_));
    if (n == 0 || (n < 0 && errno != EAGAIN && errno != EINTR)) {
      Log("SpaceNavDevice::Poll(): the daemon went away");
      close(fd_);
      fd_ = -1;
      break;
    }
    if (n < 0) break;
    have_ += int(n);
    if (have_ < int(sizeof partial_)) continue;
    have_ = 0;
    int32_t ev[8];
    memcpy(ev, partial_, sizeof ev);
    if (ev[0] == kMotion) {
      for (int i = 0; i < 3; ++i) state.Translation[i] = float(ev[1 + i]), state.Rotation[i] = float(ev[4 + i]);
      state.Moved = true;
    } else if ((ev[0] == kPress || ev[0] == kRelease) && ev[1] >= 0 && ev[1] < 32) {
      buttons_ = ev[0] == kPress ? (buttons_ | 1u << ev[1]) : (buttons_ & ~(1u << ev[1]));
    }
  }
  state.Buttons = buttons_;
  return true;
}

SpaceMouse* OpenSpaceMouse() {
  static std::unique_ptr<SpaceNavDevice> device;
  static bool tried = false;
  if (!tried) {
    tried = true;
    if (std::filesystem::exists("no3dmouse.txt")) return nullptr;
    device = std::make_unique<SpaceNavDevice>();
    if (!device->Connected()) device.reset();
    else Log("3D mouse: spacenavd answers");
  }
  return device.get();
}

bool SpaceMouseDriver::Step(const SpaceMouseState& s, comms::cFreeViewer& cam, float elapsedMs) {
  using A = AppOptions;
  const float step = elapsedMs * 0.1f * 0.0005f;
  // The activation key cycles the mode on each press and release.
  const int key = A::M3D_ActivationKey;
  const bool down = key > 0 && (s.Buttons & (1u << (key - 1)));
  if (key > 0 && down != keyWasDown_) mode_ = (mode_ + 1) % 4;
  keyWasDown_ = down;
  if (!s.Moved) return false;
  const float* t = s.Translation;
  const float* r = s.Rotation;
  if (mode_ == 0) {
    const float move = step * 512 * A::MovementSensitivity * (cam.m_Persp ? 1.0f : 0.5f);
    cam.Pan(t[0] * A::PanRLModulator * move, t[1] * A::PanUDModulator * move);
    if (cam.m_Persp) cam.DragZoom(0, -t[2] * A::ZoomModulator * move);
    else cam.DragZoom(0, -t[2] * move);
    const float turn = step * 512 * A::RotationSensitivity;
    float tilt = r[0] * A::TiltModulator * turn, spin = r[1] * A::SpinModulator * turn;
    if (cam.Up.y < 0) spin = -spin;
    cam.Rotate(A::RotateAroundYAxis ? spin : 0, tilt);
    if (!A::DisableRoll) cam.Roll(r[2] * A::RollModulator * turn, 0);
    return true;
  }
  // Switched over: the axes change the pen.
  GeneralPen::PenRadius = std::clamp(GeneralPen::PenRadius * std::exp(-t[2] * step * A::ZoomToVaryRadiusSensitivity),
                                     0.1f, 300.0f);
  GeneralPen::DeepDegree =
      std::clamp(GeneralPen::DeepDegree + t[1] * step * A::UpDonToVaryDepthSensitivity, 0.0f, 1.0f);
  GeneralPen::ColorOpacity =
      std::clamp(GeneralPen::ColorOpacity + t[0] * step * A::RLToVaryTransparencySensitivity, 0.0f, 2.0f);
  float rot = std::fmod(GeneralPen::PenRotation + r[1] * step * A::SpinToVaryRotationSensitivity, 2 * kPi);
  GeneralPen::PenRotation = rot < 0 ? rot + 2 * kPi : rot;
  GeneralPen::FocalShift =
      std::clamp(GeneralPen::FocalShift + r[0] * step * A::TiltToVaryFocalShiftSensitivity, -1.0f, 1.0f);
  GeneralPen::SpecularDegree =
      std::clamp(GeneralPen::SpecularDegree + r[2] * step * A::RollToVarySpecularSensitivity, 0.0f, 1.0f);
  return true;
}
