// cFloatImage: float samples for high-range outputs (baked displacement,
// normal maps). Saved by extension: EXR through OpenEXR, TIFF through libtiff
// as 16-bit or 32-bit samples by the depth it was made with, or 8 bits through
// the image codecs (PNG, BMP, JPG, TGA); any other extension is refused.
// Loads check the declared size against the file and the pixel limit first.
// Rows bottom-up, like cImage.
#pragma once
#include <string>
#include <vector>

namespace comms {

class cFloatImage {
 public:
  cFloatImage() = default;
  // `bits` is 16 or 32: the depth the image is saved with where the format has a choice.
  cFloatImage(int w, int h, int channelCount, int bitDepth = 32);

  void Set(int x, int y, int channel, float value) { samples[Index(x, y, channel)] = value; }
  float Get(int x, int y, int channel) const { return samples[Index(x, y, channel)]; }

  bool Save(const std::string& path) const;
  // Reads an EXR or TIFF file (by extension); a palette TIFF becomes RGB.
  bool Load(const std::string& path);

  int width = 0, height = 0, channels = 0, bits = 32;
  std::vector<float> samples;

 private:
  size_t Index(int x, int y, int c) const { return ((size_t)y * width + x) * channels + c; }
  bool SaveExr(const std::string& path) const;
  bool SaveTiff(const std::string& path) const;
  bool Save8(const std::string& path) const;
  bool LoadExr(const std::string& path);
  bool LoadTiff(const std::string& path);
};

}  // namespace comms
