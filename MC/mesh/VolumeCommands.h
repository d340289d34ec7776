// The voxel room's commands that rework the current volume as a whole, each
// after a dialog of its parameters: "MakeVoxHull" and "MakeSurfHull" (dialog
// "EnterHullParams"), "ExtrudeVO" ("EnterExtrudeParams") and "MergeCloud"
// ("PointsCloudParams", after the file is chosen). The parameters are kept
// between runs; long runs report through ReportProgress, so the shell's bar
// moves and Esc stops them.
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "MC/mesh/MeshMerge.h"
#include "MC/mesh/PointCloud.h"

class VolumeObject;

class VolumeCommands {
 public:
  HullParams Hull;
  ExtrudeParams Extrude;
  CloudParams Cloud;

  // Shows `params` as the generated dialog titled `titleKey`; false when the
  // user cancels. Without it the commands run with the kept parameters.
  std::function<bool(BaseClass& params, const char* titleKey)> Ask;
  // Called after a run with the changed volume, its undo copies still held:
  // the place for its undo record. Without it the copies are dropped.
  std::function<void(VolumeObject&)> Done;

  VolumeCommands();
  // The command words, in menu order.
  static const std::vector<std::string>& Words();
  // Runs `word` on `volume`; `path` is the cloud file of "MergeCloud". False,
  // with the volume unchanged, for an unknown word or a cancelled dialog;
  // false too when the cloud file cannot be read. A cloud stopped by Esc keeps
  // the points merged so far and returns true.
  bool Run(const std::string& word, VolumeObject& volume, const std::string& path = {});
  // Points merged by the last "MergeCloud".
  int CloudPoints = 0;
};
