// The voxel tool's two blocks of the scene file: "VOL3", the volume stream of
// the scene's volumes, and "VCSH", the cache files of cached volumes, so a
// scene file stays complete. Loading stages both until the file is known to
// be whole.
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/AtomicFileWriter.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/file/VolumeStream.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/file/BlockCoding.h"

namespace {
constexpr int kPiece = 1048576;

// A cache path a file may bring: relative, under "Cache/", never climbing out.
bool SafeCachePath(const std::string& p) {
  return p.rfind("Cache/", 0) == 0 && p.find("..") == std::string::npos && p.find('\\') == std::string::npos;
}

std::vector<std::string> CacheFiles(const std::vector<VolumeObject*>& volumes) {
  std::vector<std::string> files;
  for (VolumeObject* v : volumes) {
    struct stat st;
    if (!v->CacheName.empty() && ::stat(v->CacheName.c_str(), &st) == 0 && S_ISREG(st.st_mode))
      files.push_back(v->CacheName);
  }
  return files;
}

// A volume in surface mode keeps its edits on the surface until it leaves
// the mode; a scene file must not lose them, nor may saving end the mode.
// The moved part goes into the voxels (ApplyMC), and the cells it rewrote
// keep the surface they have: the next update measures them again instead
// of extracting them afresh, so the surface the user works on stays as it is.
// The cells' states stay whole, so undo records before and after still agree.
void WriteSurfaceEditsIntoVoxels(VolumeObject& v) {
  if (!v.SurfaceMode) return;
  v.UpdateSurface();
  if (!v.ApplyMC(false, false)) return;
  v.DirtyCells.ForEach([](const CellKey&, int& value) { value = 2; });
  v.UpdateSurface();
}

void MakeFolders(const std::string& path) {
  for (size_t at = path.find('/'); at != std::string::npos; at = path.find('/', at + 1))
    ::mkdir(path.substr(0, at).c_str(), 0755);
}
}  // namespace

uint32_t VoxelSculptTool::GetBlockTag() {
  if (!SceneVolumes) return 0;
  return BlockIndex == 0 ? FourCC("VOL3") : BlockIndex == 1 ? FourCC("VCSH") : 0;
}

bool VoxelSculptTool::SaveBlock(BinStream* stream) {
  std::vector<VolumeObject*> volumes = SceneVolumes ? SceneVolumes() : std::vector<VolumeObject*>();
  BlockWriter w(*stream);
  if (BlockIndex == 0) {
    if (volumes.empty()) {
      w.I32(-1);
      return true;
    }
    for (VolumeObject* v : volumes) WriteSurfaceEditsIntoVoxels(*v);
    WriteVolumes(w, volumes, false, SceneTreeXml ? SceneTreeXml() : std::string());
    return true;
  }
  std::vector<std::string> files = CacheFiles(volumes);
  w.I32((int)files.size());
  for (const std::string& name : files) {
    std::ifstream in(name, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), {});
    w.I32((int)name.size() + 1);
    w.Bytes(name.c_str(), name.size() + 1);
    w.I32((int)bytes.size());
    for (size_t at = 0; at < bytes.size(); at += kPiece)
      w.Bytes(bytes.data() + at, std::min<size_t>(kPiece, bytes.size() - at));
  }
  return true;
}

bool VoxelSculptTool::LoadBlock(BinStream* stream) {
  BlockReader r(*stream, stream->Size());
  r.Enter(BlockIndex == 0 ? "VOL3" : "VCSH", stream->Size());
  if (BlockIndex == 0) {
    volumesRead_ = true;
    loaded_.clear();
    if (stream->Size() == 4 && r.I32() == -1) return true;
    r.Seek(0);
    if (!ReadVolumes(r, loaded_, &loadedTree_)) {
      Log("VoxelSculptTool::LoadBlock(): %s", r.Error().c_str());
      loaded_.clear();
      return false;
    }
    return true;
  }
  int count = r.I32();
  if (count < 0 || !r.Fits((uint64_t)count, 8, "cache file")) return false;
  auto& pending = cacheFiles_;
  pending.clear();
  for (int i = 0; i < count && r.Ok(); i++) {
    int len = r.I32();
    if (len < 1 || !r.Fits((uint64_t)len, 1, "cache file name")) return false;
    std::string name((size_t)len, '\0');
    r.Bytes(name.data(), len);
    name.resize(std::strlen(name.c_str()));
    int size = r.I32();
    if (size < 0 || !r.Fits((uint64_t)size, 1, "cache file")) return false;
    std::vector<uint8_t> bytes((size_t)size);
    r.Bytes(bytes.data(), size);
    if (SafeCachePath(name))
      pending.push_back({name, std::move(bytes)});
    else
      Log("VoxelSculptTool::LoadBlock(): cache file %s refused", name.c_str());
  }
  return r.Ok();
}

void VoxelSculptTool::OnSceneLoaded(bool complete) {
  mergedInScene_ = false;  // a new scene asks again at its first merge
  auto& pending = cacheFiles_;
  if (complete) {
    for (auto& [name, bytes] : pending) {
      MakeFolders(name);
      AtomicFileWriter out(name);
      out.Write(bytes.data(), (int64_t)bytes.size());
      if (!out.Commit()) Log("VoxelSculptTool::OnSceneLoaded(): %s", out.Error().c_str());
    }
    if (volumesRead_ && TakeScene)
      TakeScene(std::move(loaded_), loadedTree_);
    else if (volumesRead_ && TakeVolumes)
      TakeVolumes(std::move(loaded_));
  }
  pending.clear();
  loaded_.clear();
  loadedTree_.clear();
  volumesRead_ = false;
}
