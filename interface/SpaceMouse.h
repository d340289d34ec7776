// The 3D mouse, polled once a frame through an interface of ours. On Linux
// the device is read from the spacenavd daemon's socket (records of eight
// 32-bit integers: motion with three translations, three rotations and the
// period, or a button press or release); without a daemon, or with a file
// "no3dmouse.txt" in the working folder, there is no device and the step
// does nothing. SpaceMouseDriver turns what was read into camera moves, or,
// while the activation key has switched it over, into pen values.
#pragma once
#include <string>

namespace comms {
class cFreeViewer;
}

struct SpaceMouseState {
  float Translation[3] = {0, 0, 0};  // right, up, towards the user
  float Rotation[3] = {0, 0, 0};     // tilt, spin, roll
  bool Moved = false;                // a motion record came since the last read
  unsigned Buttons = 0;              // bit n: button n held
};

class SpaceMouse {
 public:
  virtual ~SpaceMouse() = default;
  // Everything that arrived since the last call; false without a device.
  virtual bool Poll(SpaceMouseState& state) = 0;
};

// The spacenavd client; the default path is the daemon's own socket.
class SpaceNavDevice : public SpaceMouse {
 public:
  explicit SpaceNavDevice(std::string socketPath = "/var/run/spnav.sock");
  ~SpaceNavDevice() override;
  SpaceNavDevice(const SpaceNavDevice&) = delete;
  SpaceNavDevice& operator=(const SpaceNavDevice&) = delete;
  bool Connected() const { return fd_ >= 0; }
  bool Poll(SpaceMouseState& state) override;

 private:
  int fd_ = -1;
  unsigned char partial_[32] = {};
  int have_ = 0;
  unsigned buttons_ = 0;
};

// The device of this run, or null: none when no3dmouse.txt exists or no
// daemon answers.
SpaceMouse* OpenSpaceMouse();

class SpaceMouseDriver {
 public:
  // The state of the activation key: 0 navigation; a press goes to 1,
  // release to 2, press to 3, release back to 0.
  int Mode() const { return mode_; }
  // One frame of `elapsedMs`; true when the camera or the pen changed.
  bool Step(const SpaceMouseState& s, comms::cFreeViewer& camera, float elapsedMs);

 private:
  int mode_ = 0;
  bool keyWasDown_ = false;
};
