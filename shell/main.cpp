// morvane: the program. With a display it opens the 1280 x 720 window and runs
// until the user leaves; with --headless it runs the start-up and 120 frames
// on the window-less platform and says where its files went. Two commands run
// without the shell and exit:
//   morvane --convert IN OUT              a mesh or image, by extensions
//   morvane --make-volume SHAPE SIZE OUT  a volume's welded surface as PLY
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "ClassEngine/Log.h"
#include "MC/mcubes/MakeVolumeCommand.h"
#include "interchange/Convert.h"
#include "platform/Platform.h"
#include "shell/Shell.h"

namespace {
// Until the renderer arrives the scene is a cleared window.
class ClearingSeams final : public ShellSeams {
 public:
  explicit ClearingSeams(Platform& platform) : platform_(platform) {}
  void EndScene() override { platform_.ClearAndPresent(0.22f, 0.24f, 0.28f); }

 private:
  Platform& platform_;
};

std::string AbsolutePath(const std::string& name) {
  if (!name.empty() && name[0] == '/') return name;
  char cwd[PATH_MAX];
  return getcwd(cwd, sizeof cwd) ? std::string(cwd) + "/" + name : name;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc >= 2 && strcmp(argv[1], "--convert") == 0) {
    if (argc != 4) {
      fprintf(stderr, "usage: morvane --convert IN OUT\n");
      return 2;
    }
    return comms::RunConvertCommand(argv[2], argv[3]);
  }
  if (argc >= 2 && strcmp(argv[1], "--make-volume") == 0)
    return RunMakeVolumeCommand(std::vector<std::string>(argv + 2, argv + argc));

  bool headless = false;
  std::string line;
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--headless") == 0) {
      headless = true;
      continue;
    }
    if (!line.empty()) line += ' ';
    line += argv[i];
  }

  std::unique_ptr<Platform> platform = headless ? CreateNullPlatform() : CreateSdlPlatform();
  ClearingSeams seams(*platform);
  Shell shell(*platform, seams);
  StartOptions options;
  options.commandLine = line;
  if (!shell.Start(options)) {
    fprintf(stderr, "morvane: start-up failed, see %s\n", AbsolutePath("Log.txt").c_str());
    return 1;
  }
  if (headless) {
    constexpr int kHeadlessFrames = 120;
    shell.RunFrames(kHeadlessFrames);
  } else {
    shell.Run();
  }
  shell.Exit();
  std::string folder = shell.Folders().Prefix().empty() ? AbsolutePath("") : shell.Folders().Prefix();
  printf("morvane: %d frames, %.2f s of frame time\n", shell.FrameCount(), shell.Time().Time);
  printf("  log:         %s\n", AbsolutePath("Log.txt").c_str());
  printf("  user folder: %s (UserData/, Temp/, Exchange/, window.txt)\n", folder.c_str());
  return 0;
}
