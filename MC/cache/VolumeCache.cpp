// Parking volumes on disk and taking them back (see VolumeCache.h).
#include "MC/cache/VolumeCache.h"

#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include "ClassEngine/Log.h"
#include "ClassEngine/Random.h"
#include "ClassEngine/streams/AtomicFileWriter.h"
#include "ClassEngine/streams/FileBinStreams.h"
#include "MC/file/VolumeStream.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/VolumeBooleans.h"
#include "MC/tree/VoxVisualTree.h"
#include "paint/file/BlockCoding.h"
#include "render/Math3D.h"

namespace {

std::string NewCacheName(const VolumeObject& v, const std::string& folder) {
  static Random random(12345);
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                      std::chrono::steady_clock::now().time_since_epoch())
                      .count();
  for (;;) {
    const std::string name =
        folder + "/" + v.Name + "_" + std::to_string((unsigned long)ms + (unsigned long)random.Next()) + ".volume";
    struct stat st;
    if (::stat(name.c_str(), &st) != 0) return name;
  }
}

void ReleaseAllCells(VolumeObject& v) {
  v.DropUndoCopies();
  v.ClearVoxels();
  v.Compact();
}

}  // namespace

bool CacheVolume(VolumeObject& volume, int visualisation, const std::string& folder) {
  if (volume.InCache) return false;
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  const std::string name = NewCacheName(volume, folder);
  volume.UpdateSurface();
  {
    AtomicFileWriter out(name);
    if (out.Failed()) {
      Log("CacheVolume(): %s: %s", name.c_str(), out.Error().c_str());
      return false;
    }
    {
      BlockWriter w(out);
      WriteVolumes(w, {&volume}, true);
    }
    if (!out.Commit()) {
      Log("CacheVolume(): %s: %s", name.c_str(), out.Error().c_str());
      return false;
    }
  }
  volume.CacheName = name;
  volume.InCache = true;
  if (visualisation <= DontShowCache || visualisation > Reduce8X) {
    ReleaseAllCells(volume);
  } else {
    // 0.99 rather than 1 keeps the resampled surface off the coarse lattice.
    const float s = 0.99f / (float)(1 << visualisation);
    const comms::cMat4 down = comms::cMat4::Scaling(s, s, s), up = comms::cMat4::Scaling(1 / s, 1 / s, 1 / s);
    RebuildThrough(volume, &down.m[0][0]);
    comms::cMat4 t;
    std::copy(volume.Transform, volume.Transform + 16, &t.m[0][0]);
    const comms::cMat4 placed = up * t;
    volume.SetTransform(&placed.m[0][0]);
    volume.DropUndoCopies();
    volume.Compact();  // the cells the full volume left empty
  }
  volume.UpdateSurface();
  return true;
}

bool RestoreFromCache(VolumeObject& volume) {
  if (!volume.InCache) return false;
  std::vector<std::unique_ptr<VolumeObject>> read;
  {
    FILE_ReadBinStream in(volume.CacheName.c_str());
    if (in.Size() <= 0) {
      Log("RestoreFromCache(): %s cannot be read", volume.CacheName.c_str());
      return false;
    }
    BlockReader r(in, in.Size());
    if (!ReadVolumes(r, read) || read.empty()) {
      Log("RestoreFromCache(): %s: %s", volume.CacheName.c_str(), r.Error().c_str());
      return false;
    }
  }
  VolumeObject& full = *read[0];
  ReleaseAllCells(volume);
  volume.CopyFrom(full);  // cells, surfaces and the full-resolution transform
  volume.DropUndoCopies();
  volume.SurfaceMode = full.SurfaceMode;
  std::remove(volume.CacheName.c_str());
  volume.CacheName.clear();
  volume.InCache = false;
  volume.UpdateSurface();
  return true;
}

bool ToggleCachingVolume(VolumeObject& volume, int visualisation, const std::string& folder) {
  return volume.InCache ? TransferFromCache(volume) : CacheVolume(volume, visualisation, folder);
}

int CacheVisible(VoxVisualTree& tree, int visualisation, const std::string& folder) {
  int n = 0;
  for (VolumeObject* v : tree.VisibleVolumes())
    if (!v->InCache) n += CacheVolume(*v, visualisation, folder);
  return n;
}

int UnCacheVisible(VoxVisualTree& tree) {
  int n = 0;
  for (VolumeObject* v : tree.VisibleVolumes())
    if (v->InCache) n += RestoreFromCache(*v);
  return n;
}

bool ClearAllCache(const std::string& folder) {
  std::error_code ec;
  std::filesystem::remove_all(folder, ec);
  return !ec;
}
