// The whole-volume commands behind their parameter dialogs (see VolumeCommands.h).
#include "MC/mesh/VolumeCommands.h"

#include <cmath>
#include <filesystem>

#include "ClassEngine/Progress.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MakeVoxHull.h"
#include "MC/mesh/OffsetSurface.h"
#include "interchange/Mesh.h"

namespace {

// The cloud reader for the file's extension, or null.
std::unique_ptr<BasicCloud> ReaderFor(const std::string& path) {
  std::string ext = std::filesystem::path(path).extension().string();
  if (!ext.empty()) ext.erase(0, 1);
  auto lower = [](std::string s) {
    for (char& c : s) c = (char)std::tolower((unsigned char)c);
    return s;
  };
  for (auto& reader : CloudReaders())
    if (lower(ext) == lower(reader->GetExtension())) return std::move(reader);
  return nullptr;
}

}  // namespace

VolumeCommands::VolumeCommands() {
  RegisterMergeClasses();
  RegisterCloudParams();
}

const std::vector<std::string>& VolumeCommands::Words() {
  static const std::vector<std::string> words{"MakeVoxHull", "MakeSurfHull", "ExtrudeVO", "MergeCloud"};
  return words;
}

bool VolumeCommands::Run(const std::string& word, VolumeObject& volume, const std::string& path) {
  auto asked = [this](BaseClass& params, const char* title) { return !Ask || Ask(params, title); };
  if (word == "MakeVoxHull") {
    if (!asked(Hull, "EnterHullParams")) return false;
    MakeVoxHull(volume, (int)std::ceil(Hull.EdgeThickness) + 1, true);
  } else if (word == "MakeSurfHull") {
    if (!asked(Hull, "EnterHullParams")) return false;
    // Esc stops it and gives the volume back as it was.
    if (!MakeSurfHull(volume, Hull.EdgeThickness, true,
                      [](int64_t done, int64_t total) { return ReportProgress("MakeSurfHull", done, total); }))
      return false;
  } else if (word == "ExtrudeVO") {
    if (!asked(Extrude, "EnterExtrudeParams")) return false;
    if (!ExtrudeVO(volume, Extrude.Extrusion, true,
                   [](int64_t done, int64_t total) { return ReportProgress("ExtrudeVO", done, total); }))
      return false;
  } else if (word == "MergeCloud") {
    std::unique_ptr<BasicCloud> reader = ReaderFor(path);
    if (!reader || !asked(Cloud, "PointsCloudParams")) return false;
    CloudPoints = MergeCloud(volume, *reader, path, Cloud,
                             [](int percent) { return !ReportProgress("PCloudProgress", percent, 100); });
    if (CloudPoints < 0) {
      volume.DropUndoCopies();
      return false;
    }
  } else {
    return false;
  }
  if (Done)
    Done(volume);
  else
    volume.DropUndoCopies();
  volume.UpdateSurface();
  return true;
}
