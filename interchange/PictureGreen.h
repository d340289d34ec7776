// The green sample of a picture's pixel on the 0..255 scale, as the relief
// and sketch tools and the stencil read their pictures (grey pictures give
// their grey).
#pragma once
#include "interchange/Image.h"

// -1 for a format without 8- or 16-bit channels.
inline float PictureGreen(const comms::cImage& picture, int x, int y) {
  const int f = picture.format;
  const uint8_t* p = picture.Pixel(x, y);
  if (f >= 1 && f <= 4) return p[f >= 3 ? 1 : 0];
  if (f >= 5 && f <= 8) {
    const int c = comms::cImage::Channels(f) >= 3 ? 1 : 0;
    return float(p[2 * c] | p[2 * c + 1] << 8) / 257.f;
  }
  return -1;
}

// Whether a picture holds the pixels its size promises in a format read above.
inline bool PictureReadable(const comms::cImage& picture) {
  return picture.width > 0 && picture.height > 0 && picture.format >= 1 && picture.format <= 8 &&
         picture.data.size() >= comms::cImage::LevelBytes(picture.format, picture.width, picture.height);
}
