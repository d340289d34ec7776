// The native scene file (".mvn"): the whole paint room, and one block per tool
// that keeps state of its own, as a flat list of tagged little-endian blocks.
//   head   u32 tag "MESH", u32 1
//   block  u32 tag, u32 size, size bytes
// The writer goes through a temporary file beside the target and renames it
// only when complete; the reader checks every size and count against the
// bytes that are left, builds the new scene aside and takes it only when the
// whole file read cleanly, so a truncated or damaged file leaves the open
// scene as it was and the error names the block.
#pragma once
#include <string>
#include <vector>

class PaintScene;
class BasicTool;
class BinStream;

struct SceneFileResult {
  bool ok = false;
  std::string error;  // why it failed, naming the file and the block
};

// Writes the scene and the blocks of `tools` to `path`. Changes nothing in
// the scene; the caller clears ChangedSinceSave on success.
SceneFileResult SaveSceneFile(PaintScene& scene, const std::string& path,
                              const std::vector<BasicTool*>& tools);
// The same into any stream (counting, memory); no temporary file.
bool WriteScene(PaintScene& scene, BinStream& out, const std::vector<BasicTool*>& tools);

// Reads `path` into `scene`, runs the loading stages and hands the tool
// blocks to `tools`. On failure the scene and the tools are left untouched.
SceneFileResult LoadSceneFile(PaintScene& scene, const std::string& path,
                              const std::vector<BasicTool*>& tools);
// The same from bytes in memory (the fuzz target and tests); `name` is used
// in messages only.
SceneFileResult LoadSceneBytes(PaintScene& scene, const unsigned char* data, size_t size,
                               const std::vector<BasicTool*>& tools, const std::string& name);

// A scene file of an empty paint room with the blocks of `tools` only, and
// its reading: for the commands that write and read volumes alone.
SceneFileResult SaveToolBlocks(const std::string& path, const std::vector<BasicTool*>& tools);
SceneFileResult LoadToolBlocks(const std::string& path, const std::vector<BasicTool*>& tools);

// The next name of an incremental save: "a_007.mvn" -> "a_008.mvn",
// "a.mvn" -> "a_001.mvn"; empty when the path is too short to hold an extension.
std::string IncrementalName(const std::string& path);
