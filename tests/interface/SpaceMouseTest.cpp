// The 3D mouse through a daemon of our own on a Unix socket: records come
// through whole or in pieces, buttons hold, the activation key switches from
// the camera to the pen, and no daemon means no device.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>

#include "interface/AppOptions.h"
#include "interface/SpaceMouse.h"
#include "paint/GeneralPen.h"
#include "render/Viewer.h"

namespace {
class FakeDaemon {
 public:
  FakeDaemon() {
    path_ = (std::filesystem::temp_directory_path() / ("spnav-" + std::to_string(getpid()) + ".sock")).string();
    unlink(path_.c_str());
    listen_ = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un a{};
    a.sun_family = AF_UNIX;
    strcpy(a.sun_path, path_.c_str());
    bind(listen_, reinterpret_cast<sockaddr*>(&a), sizeof a);
    listen(listen_, 1);
  }
  ~FakeDaemon() {
    if (client_ >= 0) close(client_);
    close(listen_);
    unlink(path_.c_str());
  }
  void Accept() { client_ = accept(listen_, nullptr, nullptr); }
  void Send(std::initializer_list<int32_t> values, size_t upTo = 32) {
    int32_t ev[8] = {};
    int i = 0;
    for (int32_t v : values) ev[i++] = v;
    ASSERT_EQ(write(client_, ev, upTo), ssize_t(upTo));
    rest_.assign(reinterpret_cast<char*>(ev) + upTo, reinterpret_cast<char*>(ev) + 32);
  }
  void SendRest() { ASSERT_EQ(write(client_, rest_.data(), rest_.size()), ssize_t(rest_.size())); }
  void Hangup() {
    close(client_);
    client_ = -1;
  }
  const std::string& Path() const { return path_; }

 private:
  std::string path_, rest_;
  int listen_ = -1, client_ = -1;
};
}  // namespace

TEST(SpaceMouseTest, RecordsArriveWholeOrInPieces) {
  FakeDaemon daemon;
  SpaceNavDevice device(daemon.Path());
  ASSERT_TRUE(device.Connected());
  daemon.Accept();
  SpaceMouseState s;
  ASSERT_TRUE(device.Poll(s));
  EXPECT_FALSE(s.Moved);
  daemon.Send({0, 10, -20, 30, 1, 2, 3, 16}, 12);  // a motion cut after three values
  ASSERT_TRUE(device.Poll(s));
  EXPECT_FALSE(s.Moved) << "half a record is kept, not used";
  daemon.SendRest();
  daemon.Send({1, 0});  // button 0 pressed
  ASSERT_TRUE(device.Poll(s));
  EXPECT_TRUE(s.Moved);
  EXPECT_EQ(s.Translation[1], -20.0f);
  EXPECT_EQ(s.Rotation[2], 3.0f);
  EXPECT_EQ(s.Buttons, 1u);
  ASSERT_TRUE(device.Poll(s));
  EXPECT_EQ(s.Buttons, 1u) << "a held button stays held";
  EXPECT_FALSE(s.Moved);
  daemon.Send({2, 0});
  device.Poll(s);
  EXPECT_EQ(s.Buttons, 0u);
  daemon.Hangup();
  device.Poll(s);
  EXPECT_FALSE(device.Connected());
  EXPECT_FALSE(device.Poll(s));
}

TEST(SpaceMouseTest, NoDaemonNoDevice) {
  SpaceNavDevice device("/nonexistent/spnav.sock");
  EXPECT_FALSE(device.Connected());
  SpaceMouseState s;
  EXPECT_FALSE(device.Poll(s));
}

TEST(SpaceMouseTest, TheActivationKeySwitchesFromCameraToPen) {
  GeneralPenSaver keep;
  SetDefaultOptions();
  comms::cFreeViewer cam;
  cam.Update();
  const comms::cVec3 eye = cam.Pos;
  SpaceMouseDriver d;
  SpaceMouseState s;
  s.Moved = true;
  s.Rotation[1] = 200;  // a spin
  ASSERT_TRUE(d.Step(s, cam, 16));
  EXPECT_GT(std::fabs(cam.Pos.x - eye.x) + std::fabs(cam.Pos.z - eye.z), 1e-3f) << "the camera turned";
  // Key 1 (button 0): press, release, press, release cycles 1, 2, 3, 0.
  GeneralPen::PenRadius = 20;
  s = SpaceMouseState();
  s.Buttons = 1;
  d.Step(s, cam, 16);
  EXPECT_EQ(d.Mode(), 1);
  s.Buttons = 0;
  s.Moved = true;
  s.Translation[2] = -300;  // pulled towards the user: the radius grows
  const comms::cVec3 before = cam.Pos;
  d.Step(s, cam, 16);
  EXPECT_EQ(d.Mode(), 2);
  EXPECT_GT(GeneralPen::PenRadius, 20.0f);
  EXPECT_EQ(cam.Pos.x, before.x) << "the camera stays while the pen is driven";
  s.Buttons = 1;
  d.Step(s, cam, 16);
  s.Buttons = 0;
  d.Step(s, cam, 16);
  EXPECT_EQ(d.Mode(), 0);
}
