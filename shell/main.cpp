// morvane: the program. With a display it opens the 1280 x 720 window and runs
// until the user leaves; with --headless it runs the start-up and 8 frames
// on the window-less platform (drawing through EGL) on the start scene sculpted
// by data/Replays/sphere.txt, writes screenshot.png of
// the last frame, paints glmark2's bunny by data/Replays/paint_bunny.txt into
// paint/ and says where its files went. These commands run
// without the shell and exit:
//   morvane --convert IN OUT              a mesh or image, by extensions; IN.mvn: its volumes' surface
//   morvane --unpack ARCHIVE FOLDER       every entry of a ZIP archive
//   morvane --make-volume SHAPE SIZE OUT  a volume's welded surface as PLY, or a scene (.mvn)
//   morvane --mesh-to-volume MESH OUT [VOXEL]  a mesh made solid in voxels: its surface to OUT, or the volume to OUT.mvn
//   morvane --replay SCRIPT [OUT-FOLDER]  sculpts by a stroke script, writes replay.ply, replay.mvn, replay.png;
//                                         a script beginning "import MESH MODE" paints the mesh and
//                                         writes replay.png and <target>_color.png
//   morvane --paint-import MESH MODE OUT  a mesh as paint scene (micro or per-pixel): picture (.png) or scene (.mvn)
//   morvane --render IN OUT FRAMES [W H]  the render room's picture of a scene (.mvn) or of a stroke script
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <string>
#include <vector>

#include "ClassEngine/Log.h"
#include "MC/brushes/ReplayCommand.h"
#include "MC/file/VolumeSceneFiles.h"
#include "MC/mcubes/MakeVolumeCommand.h"
#include "MC/mesh/MeshToVolumeCommand.h"
#include "MC/render/RenderFrames.h"
#include "interchange/Convert.h"
#include "paint/scene/PaintImportCommand.h"
#include "paint/stroke/PaintReplay.h"
#include "platform/Platform.h"
#include "shell/Program.h"

namespace {
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
    const size_t n = strlen(argv[2]);
    if (n > 4 && strcasecmp(argv[2] + n - 4, ".mvn") == 0) return RunConvertSceneCommand(argv[2], argv[3]);
    return comms::RunConvertCommand(argv[2], argv[3]);
  }
  if (argc >= 2 && strcmp(argv[1], "--unpack") == 0) {
    if (argc != 4) {
      fprintf(stderr, "usage: morvane --unpack ARCHIVE FOLDER\n");
      return 2;
    }
    return comms::RunUnpackCommand(argv[2], argv[3]);
  }
  if (argc >= 2 && strcmp(argv[1], "--make-volume") == 0)
    return RunMakeVolumeCommand(std::vector<std::string>(argv + 2, argv + argc));
  if (argc >= 2 && strcmp(argv[1], "--mesh-to-volume") == 0)
    return RunMeshToVolumeCommand(std::vector<std::string>(argv + 2, argv + argc));
  if (argc >= 2 && strcmp(argv[1], "--paint-import") == 0)
    return RunPaintImportCommand(std::vector<std::string>(argv + 2, argv + argc));
  if (argc >= 2 && strcmp(argv[1], "--render") == 0)
    return RunRenderCommand(std::vector<std::string>(argv + 2, argv + argc));
  if (argc >= 2 && strcmp(argv[1], "--replay") == 0)
    return RunReplayCommand(std::vector<std::string>(argv + 2, argv + argc));

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
  Program program(*platform, headless ? ProgramMode::Headless() : ProgramMode::Window());
  Shell& shell = program.TheShell();
  StartOptions options;
  options.commandLine = line;
  if (!program.Start(options)) {
    fprintf(stderr, "morvane: start-up failed: %s\n(see %s)\n", shell.StartupProblem().c_str(),
            AbsolutePath("Log.txt").c_str());
    return 1;
  }
  ViewportSeams& seams = program.View();
  std::string shot, paintShot;
  if (headless) {
    constexpr int kHeadlessFrames = 8;  // past the fourth, which reads the command line
    shell.RunFrames(kHeadlessFrames);
    shot = seams.WriteScreenshot("screenshot.png");
    paintShot = PaintHeadlessScene("paint");
  } else {
    shell.Run();
  }
  shell.Exit();
  std::string folder = shell.Folders().Prefix().empty() ? AbsolutePath("") : shell.Folders().Prefix();
  printf("morvane: %d frames, %.2f s of frame time\n", shell.FrameCount(), shell.Time().Time);
  printf("  log:         %s\n", AbsolutePath("Log.txt").c_str());
  printf("  user folder: %s (UserData/, Temp/, Exchange/, window.txt)\n", folder.c_str());
  if (!shot.empty()) printf("  screenshot:  %s\n", shot.c_str());
  if (!paintShot.empty()) printf("  painted:     %s\n", paintShot.c_str());
  if (headless && shot.empty()) {
    fprintf(stderr, "morvane: the picture of the last frame could not be made (see the log)\n");
    return 1;
  }
  return 0;
}
