// The volume cache: a volume parked on disk to free memory. Its cells go to
// a ".volume" file under the cache folder (the volume stream with surfaces),
// and the row keeps either nothing or a coarse proxy at 1/2, 1/4 or 1/8 of
// the resolution that stands in the same place. Restoring reads the file
// back into the same volume object, with its ObjectId, and deletes it.
#pragma once
#include <string>

class VolumeObject;
class VoxVisualTree;

// What a cached volume keeps in memory: nothing, or a proxy reduced 2x/4x/8x.
enum CacheVisualisation { DontShowCache = 0, Reduce2X = 1, Reduce4X = 2, Reduce8X = 3 };

// Writes the volume to a new file in `folder` (created), named from the
// volume's name and a number, sets InCache and CacheName and leaves the
// proxy `visualisation` asks for. False (the volume untouched) when the file
// cannot be written.
bool CacheVolume(VolumeObject& volume, int visualisation, const std::string& folder = "Cache");
// Reads the cache file back over the proxy and deletes the file; the
// ObjectId stays. False (the proxy kept) when the file is missing or damaged.
bool RestoreFromCache(VolumeObject& volume);
// Restores a cached volume and, when its proxy was edited in surface mode,
// carries the proxy's vertex moves onto the full surface, which is then in
// surface mode (SurfaceTransfer.cpp). A proxy left alone is a plain restore.
bool TransferFromCache(VolumeObject& volume);
// Caches a volume that is not cached, restores one that is.
bool ToggleCachingVolume(VolumeObject& volume, int visualisation, const std::string& folder = "Cache");
// Every visible volume of the tree not yet cached / every cached one; the
// number that changed.
int CacheVisible(VoxVisualTree& tree, int visualisation, const std::string& folder = "Cache");
int UnCacheVisible(VoxVisualTree& tree);
// Deletes the cache folder and what it holds (the caller asked the user).
bool ClearAllCache(const std::string& folder = "Cache");
