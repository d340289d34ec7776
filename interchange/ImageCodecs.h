// The built-in image codecs, registered as "Dds", "Bmp", "Jpg", "Tga", "Png".
// Each decodes into a cImage with rows bottom-up and returns false, leaving
// the image untouched, for data it can't hold.
#pragma once
#include "interchange/IO.h"

namespace comms {

class cCodecDds : public cIO::ImageCodec {
 public:
  bool Decode(const std::vector<uint8_t>& buffer, cImage& image) override;
  bool Encode(const cImage& image, std::vector<uint8_t>& buffer) override;
};

class cCodecBmp : public cIO::ImageCodec {
 public:
  bool Decode(const std::vector<uint8_t>& buffer, cImage& image) override;
  bool Encode(const cImage& image, std::vector<uint8_t>& buffer) override;
};

class cCodecJpeg : public cIO::ImageCodec {
 public:
  bool Decode(const std::vector<uint8_t>& buffer, cImage& image) override;
  bool Encode(const cImage& image, std::vector<uint8_t>& buffer) override;
  static int m_Quality;  // 0..100
};

class cCodecTga : public cIO::ImageCodec {
 public:
  bool Decode(const std::vector<uint8_t>& buffer, cImage& image) override;
  bool Encode(const cImage& image, std::vector<uint8_t>& buffer) override;
};

class cCodecPng : public cIO::ImageCodec {
 public:
  bool Decode(const std::vector<uint8_t>& buffer, cImage& image) override;
  bool Encode(const cImage& image, std::vector<uint8_t>& buffer) override;
};

// Logs "<codec>: <why>" as the reason a decode fails and returns false.
bool Refuse(const char* codec, const char* why);

// Reverses the order of rows of each level of a plain uncompressed image.
void FlipRows(uint8_t* data, size_t rowBytes, int rows);

}  // namespace comms
