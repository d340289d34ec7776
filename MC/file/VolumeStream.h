// The volume stream: every volume of a list with its name, transform and
// cells (key, flags, fill, run-length voxels and, on request, the cell's
// surface), then the volume tree. The scene file's "VOL3" block and the
// volume cache are this stream. Reading checks every count against the bytes
// left and builds new volumes aside; a damaged stream gives none.
#pragma once
#include <memory>
#include <string>
#include <vector>

class BlockWriter;
class BlockReader;
class VolumeObject;

constexpr int kVolumeStreamVersion = 5;

// Writes the stream of `volumes`; with `surfaces`, the cells' triangles too
// (always for a volume in surface mode).
// `tree` is the layer tree's class XML (empty: no tree).
void WriteVolumes(BlockWriter& out, const std::vector<VolumeObject*>& volumes, bool surfaces,
                  const std::string& tree = std::string());
// Reads versions 2 to 5 into new volumes; false with the reason on the reader.
// With `tree`, the layer tree's XML is handed back (empty when none).
bool ReadVolumes(BlockReader& in, std::vector<std::unique_ptr<VolumeObject>>& out, std::string* tree = nullptr);
