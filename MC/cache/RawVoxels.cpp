// Import and export of raw voxel grids (see RawVoxels.h).
#include "MC/cache/RawVoxels.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

#include "ClassEngine/streams/AtomicFileWriter.h"
#include "MC/mcubes/VolumeObject.h"

namespace {

int BytesOf(int bits) { return bits == 0 ? 1 : bits == 1 ? 2 : 4; }

uint32_t LE32(const uint8_t* p) { return p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24; }

void Put32(std::vector<uint8_t>& out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back((uint8_t)(v >> (8 * i)));
}

// The cells of one cell layer finished: plane 8 from the neighbours, status
// refreshed, uniform arrays released.
void FinishCells(VolumeObject& v, std::vector<CellKey>& keys) {
  for (const CellKey& k : keys) v.SyncBorders(k.x, k.y, k.z, nullptr);
  for (const CellKey& k : keys) v.MarkDirty(k.x, k.y, k.z, false);
  keys.clear();
}

}  // namespace

Enumerator* BitnessEnumerator() {
  Enumerator* e = GetEnumerator("BITNESS");
  if (e->GetStoredAmount() == 0) {
    e->Add("8-bit");
    e->Add("16-bit");
    e->Add("32-bit float");
  }
  return e;
}

bool ReadRawVoxHeader(const std::string& path, ImportVoxParams& p) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return false;
  uint8_t h[20];
  const size_t got = std::fread(h, 1, sizeof(h), f);
  std::fseek(f, 0, SEEK_END);
  const long size = std::ftell(f);
  std::fclose(f);
  if (got == sizeof(h) && LE32(h) == kRawVoxTag) {
    const uint32_t bits = LE32(h + 16);
    p.SizeX = (int)LE32(h + 4), p.SizeY = (int)LE32(h + 8), p.SizeZ = (int)LE32(h + 12);
    p.Bits = bits == 8 ? 0 : bits == 16 ? 1 : 2;
    p.HeaderSize = 20;
    return bits == 8 || bits == 16 || bits == 32;
  }
  if (size > 0 && size % 65536 == 0) {
    const long n = size / 65536;
    p.SizeX = p.SizeY = 256;
    p.HeaderSize = 0;
    if (n % 2) {
      p.Bits = 0, p.SizeZ = (int)n;
    } else {
      p.Bits = 1, p.SizeZ = (int)(n / 2);
    }
  }
  return false;
}

bool ImportRaw(VolumeObject& volume, const std::string& path, const ImportVoxParams& p, std::string* error) {
  auto fail = [&](const char* why) {
    if (error) *error = why;
    return false;
  };
  if (p.Bits < 0 || p.Bits > 2 || p.SizeX <= 0 || p.SizeY <= 0 || p.SizeZ <= 0 || p.HeaderSize < 0 ||
      p.SizeX > 65536 || p.SizeY > 65536 || p.SizeZ > 65536 || p.SlicePosition <= 0)
    return fail("INCORRECT_VOXIMP_PARAMS");
  const int bytes = BytesOf(p.Bits);
  const uint64_t slice = (uint64_t)p.SizeX * p.SizeY * bytes;
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return fail("the file cannot be opened");
  if ((uint64_t)st.st_size < slice * p.SizeZ + (uint64_t)p.HeaderSize) return fail("INCORRECT_VOXIMP_PARAMS");
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f || std::fseek(f, p.HeaderSize, SEEK_SET) != 0) {
    if (f) std::fclose(f);
    return fail("the file cannot be read");
  }
  const float scale = 50.f / p.SlicePosition;
  const bool plain = scale >= 0.999f && scale <= 1.0001f;
  std::vector<uint8_t> row(slice);
  std::map<int, std::vector<CellKey>> open;  // cells opened, by cell layer
  CellKeyMap<int> seen(4099);
  CellCache cache;
  for (int k = 0; k < p.SizeZ; ++k) {
    if (std::fread(row.data(), 1, slice, f) != slice) break;
    const int z = k - p.SizeZ / 2;
    for (int j = 0; j < p.SizeY; ++j) {
      const int y = j - p.SizeY / 2;
      for (int i = 0; i < p.SizeX; ++i) {
        const uint8_t* at = row.data() + ((size_t)j * p.SizeX + i) * bytes;
        float value;
        if (p.Bits == 0) {
          value = std::min(65535.f, *at * scale * 65535.f / 255.f);
        } else if (p.Bits == 1) {
          const uint16_t raw = (uint16_t)(at[0] | at[1] << 8);
          value = plain ? raw : std::min(65535.f, raw * scale);
        } else {
          float fv;
          std::memcpy(&fv, at, 4);
          if (!std::isfinite(fv)) fv = 0;
          value = std::clamp(fv * scale, 0.f, 1.f) * 65535.f;
        }
        const int x = i - p.SizeX / 2;
        uint16_t* cell = volume.RefVoxel(x, y, z, &cache);
        *cell = std::max(*cell, (uint16_t)std::lround(value));
        if (!seen.Find(x >> 3, y >> 3, z >> 3)) {
          seen.Set(x >> 3, y >> 3, z >> 3, 1);
          open[z >> 3].push_back({x >> 3, y >> 3, z >> 3});
        }
      }
    }
    // Cell layers two below the one being read are complete.
    if ((z & 7) == 1)
      for (auto it = open.begin(); it != open.end() && it->first < (z >> 3) - 1;) {
        FinishCells(volume, it->second);
        it = open.erase(it);
      }
  }
  std::fclose(f);
  for (auto& [layer, keys] : open) FinishCells(volume, keys);
  volume.Compact();
  return true;
}

bool ExportRaw(VolumeObject& volume, const std::string& path, int bits, bool withHeader, std::string* error) {
  int mn[3] = {1 << 30, 1 << 30, 1 << 30}, mx[3] = {-(1 << 30), -(1 << 30), -(1 << 30)};
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!(c->Flags & kCellAbove) && c->Fill < kSurfaceLevel) return;
    const int key[3] = {k.x, k.y, k.z};
    for (int a = 0; a < 3; ++a) mn[a] = std::min(mn[a], key[a]), mx[a] = std::max(mx[a], key[a]);
  });
  if (mn[0] > mx[0]) {
    if (error) *error = "the volume is empty";
    return false;
  }
  if (bits != 8 && bits != 16 && bits != 32) bits = 16;
  const int size[3] = {(mx[0] - mn[0]) * 8 + 8, (mx[1] - mn[1]) * 8 + 8, (mx[2] - mn[2]) * 8 + 8};
  AtomicFileWriter out(path);
  std::vector<uint8_t> buf;
  if (withHeader) {
    Put32(buf, kRawVoxTag);
    for (int s : size) Put32(buf, (uint32_t)s);
    Put32(buf, (uint32_t)bits);
  }
  CellCache cache;
  for (int k = 0; k < size[2]; ++k) {
    for (int j = 0; j < size[1]; ++j)
      for (int i = 0; i < size[0]; ++i) {
        const uint16_t v = volume.GetVoxel(mn[0] * 8 + i, mn[1] * 8 + j, mn[2] * 8 + k, &cache);
        if (bits == 8) {
          buf.push_back((uint8_t)(v >> 8));
        } else if (bits == 16) {
          buf.push_back((uint8_t)v), buf.push_back((uint8_t)(v >> 8));
        } else {
          const float f = v / 65535.f;
          uint8_t b[4];
          std::memcpy(b, &f, 4);
          buf.insert(buf.end(), b, b + 4);
        }
      }
    out.Write(buf.data(), (int64_t)buf.size());
    buf.clear();
  }
  if (!out.Commit()) {
    if (error) *error = out.Error();
    return false;
  }
  return true;
}
