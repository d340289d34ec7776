// The picture side of a material as the scene file keeps it: the texture
// files the material brings along (each kept as its own file image, by kind)
// and the shading parameters that go with them. A material without a record
// in the file has the defaults below: no textures, white colours, zeros.
#pragma once
#include <cstdint>
#include <vector>

struct MaterialTexture {
  uint32_t Kind = 0;
  std::vector<uint8_t> Bytes;  // the texture's own file image
  bool operator==(const MaterialTexture&) const = default;
};

struct MaterialImage {
  static constexpr uint32_t kVersion = 1;
  std::vector<MaterialTexture> Textures;
  float Colors[5][4] = {{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}};
  float Params[7] = {0, 0, 0, 0, 0, 0, 0};
  uint8_t Flag = 0;
  float LastParam = 0;

  bool operator==(const MaterialImage&) const = default;
  // Bytes of the record in the file, its length word not counted.
  uint64_t RecordBytes() const {
    uint64_t n = 4 + 4 + 20 * 4 + 7 * 4 + 1 + 4;
    for (const MaterialTexture& t : Textures) n += 8 + t.Bytes.size();
    return n;
  }
};
