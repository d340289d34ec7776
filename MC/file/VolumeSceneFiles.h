// Scene files that hold only volumes, for the commands that run without the
// shell: --make-volume into an ".mvn", --replay's replay.mvn, and --convert
// of a scene file into the welded surface of its volumes.
#pragma once
#include <memory>
#include <string>
#include <vector>

class VolumeObject;

// Writes a scene file with an empty paint room and `volumes`; false with
// the reason in `error`.
bool SaveVolumesAsScene(const std::string& path, const std::vector<VolumeObject*>& volumes, std::string* error);
// The volumes of a scene file.
bool LoadSceneVolumes(const std::string& path, std::vector<std::unique_ptr<VolumeObject>>& out, std::string* error);
// --convert IN.mvn OUT: the welded surface of all volumes of IN, in the mesh
// format OUT's extension names. Returns the process exit code.
int RunConvertSceneCommand(const std::string& in, const std::string& out);
