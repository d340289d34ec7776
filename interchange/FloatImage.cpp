// The float image and its three roads out: EXR, TIFF and 8-bit images.
#include "interchange/FloatImage.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfOutputFile.h>
#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>

#include "ClassEngine/Log.h"
#include "interchange/Guarded.h"
#include "interchange/IO.h"
#include "interchange/ImageLimits.h"
#include "interchange/TextUtil.h"

namespace comms {

cFloatImage::cFloatImage(int w, int h, int channelCount, int bitDepth)
    : width(w), height(h), channels(channelCount), bits(bitDepth == 16 ? 16 : 32) {
  samples.assign((size_t)w * h * channelCount, 0.0f);
}

bool cFloatImage::Save(const std::string& path) const {
  if (width <= 0 || height <= 0 || channels < 1 || channels > 4 || samples.size() < (size_t)width * height * channels)
    return false;
  const std::string extension = ExtensionOf(path);
  const bool exr = IEquals(extension, "exr"), tiff = IEquals(extension, "tif") || IEquals(extension, "tiff");
  const bool eight = IEquals(extension, "bmp") || IEquals(extension, "png") || IEquals(extension, "jpg") ||
                     IEquals(extension, "jpeg") || IEquals(extension, "tga");
  if (!exr && !tiff && !eight) {
    Log("cFloatImage::Save(): Can't save \"%s\": float images go to EXR, TIFF, PNG, BMP, JPG or TGA.",
        path.c_str());
    return false;
  }
  if (eight) return Guarded("cFloatImage::Save()", [&] { return Save8(path); });
  const bool ok = Guarded("cFloatImage::Save()", [&] {
    return exr ? SaveExr(cIO::ResolvePath(path)) : SaveTiff(cIO::ResolvePath(path));
  });
  if (!ok) Log("cFloatImage::Save(): Can't save \"%s\".", path.c_str());
  return ok;
}

bool cFloatImage::Load(const std::string& path) {
  const std::string extension = ExtensionOf(path);
  const bool ok = Guarded("cFloatImage::Load()", [&] {
    return IEquals(extension, "exr") ? LoadExr(cIO::ResolvePath(path)) : LoadTiff(cIO::ResolvePath(path));
  });
  if (!ok) Log("cFloatImage::Load(): Can't load \"%s\".", path.c_str());
  return ok;
}

bool cFloatImage::Save8(const std::string& path) const {
  cImage image;
  image.Create(width, height, channels);
  for (size_t i = 0; i < image.data.size(); i++) {
    float v = std::clamp(std::isnan(samples[i]) ? 0.0f : samples[i], 0.0f, 1.0f);
    image.data[i] = (uint8_t)std::lround(v * 255.0f);
  }
  return cIO::SaveImage(path, image);
}

// EXR channels R, G, B and A when there are four; one channel goes to all
// three colours, and a second channel of a grey image becomes A.
bool cFloatImage::SaveExr(const std::string& path) const {
  try {
    const Imf::PixelType type = bits == 16 ? Imf::HALF : Imf::FLOAT;
    Imf::Header header(width, height);
    const char* names[4] = {"R", "G", "B", "A"};
    const bool alpha = channels == 4 || channels == 2;
    for (int c = 0; c < (alpha ? 4 : 3); c++) header.channels().insert(names[c], Imf::Channel(type));
    // Rows of the file run from the top; ours from the bottom.
    std::vector<float> top((size_t)width * height * 4);
    for (int y = 0; y < height; y++)
      for (int x = 0; x < width; x++) {
        float* d = &top[((size_t)(height - 1 - y) * width + x) * 4];
        for (int c = 0; c < 3; c++) d[c] = Get(x, y, channels >= 3 ? c : 0);
        d[3] = channels == 4 ? Get(x, y, 3) : channels == 2 ? Get(x, y, 1) : 1.0f;
      }
    std::vector<uint16_t> half;
    Imf::FrameBuffer frame;
    if (type == Imf::FLOAT) {
      for (int c = 0; c < (alpha ? 4 : 3); c++)
        frame.insert(names[c], Imf::Slice(Imf::FLOAT, (char*)(top.data() + c), sizeof(float) * 4,
                                          sizeof(float) * 4 * width));
    } else {
      half.resize(top.size());
      for (size_t i = 0; i < top.size(); i++) half[i] = Imath::half(top[i]).bits();
      for (int c = 0; c < (alpha ? 4 : 3); c++)
        frame.insert(names[c], Imf::Slice(Imf::HALF, (char*)(half.data() + c), sizeof(uint16_t) * 4,
                                          sizeof(uint16_t) * 4 * width));
    }
    Imf::OutputFile file(path.c_str(), header);
    file.setFrameBuffer(frame);
    file.writePixels(height);
    return true;
  } catch (const std::exception& e) {
    Log("cFloatImage::SaveExr(): %s", e.what());
    return false;
  }
}

bool cFloatImage::LoadExr(const std::string& path) {
  try {
    Imf::InputFile file(path.c_str());
    const Imath::Box2i window = file.header().dataWindow();
    const int64_t wide = (int64_t)window.max.x - window.min.x + 1, high = (int64_t)window.max.y - window.min.y + 1;
    if (wide <= 0 || high <= 0) {
      Log("cFloatImage::LoadExr(): The data window is empty.");
      return false;
    }
    if (!CheckImageSize("cFloatImage::LoadExr()", (uint64_t)wide, (uint64_t)high, 0, 1)) return false;
    const int w = (int)wide, h = (int)high;
    const Imf::ChannelList& list = file.header().channels();
    const bool alpha = list.findChannel("A") != nullptr;
    const Imf::Channel* red = list.findChannel("R");
    cFloatImage out(w, h, alpha ? 4 : 3, red && red->type == Imf::HALF ? 16 : 32);
    std::vector<float> top((size_t)w * h * 4, 0.0f);
    Imf::FrameBuffer frame;
    const char* names[4] = {"R", "G", "B", "A"};
    // The slice origin is moved so that the data window's corner lands on element 0.
    char* base = (char*)(top.data() - ((size_t)window.min.y * w + window.min.x) * 4);
    for (int c = 0; c < 4; c++)
      frame.insert(names[c], Imf::Slice(Imf::FLOAT, base + c * sizeof(float), sizeof(float) * 4,
                                        sizeof(float) * 4 * w, 1, 1, c == 3 ? 1.0 : 0.0));
    file.setFrameBuffer(frame);
    file.readPixels(window.min.y, window.max.y);
    for (int y = 0; y < h; y++)
      for (int x = 0; x < w; x++)
        for (int c = 0; c < out.channels; c++) out.Set(x, y, c, top[((size_t)(h - 1 - y) * w + x) * 4 + c]);
    *this = std::move(out);
    return true;
  } catch (const std::exception& e) {
    Log("cFloatImage::LoadExr(): %s", e.what());
    return false;
  }
}

namespace {
void QuietTiff(const char*, const char*, va_list) {}
}  // namespace

bool cFloatImage::SaveTiff(const std::string& path) const {
  TIFFSetWarningHandler(QuietTiff);
  TIFF* tif = TIFFOpen(path.c_str(), "w");
  if (!tif) return false;
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, (uint32_t)width);
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, (uint32_t)height);
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, (uint16_t)channels);
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, (uint16_t)bits);
  TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, (uint16_t)(bits == 32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT));
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, (uint16_t)(channels >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK));
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, (uint16_t)PLANARCONFIG_CONTIG);
  TIFFSetField(tif, TIFFTAG_ORIENTATION, (uint16_t)ORIENTATION_TOPLEFT);
  TIFFSetField(tif, TIFFTAG_COMPRESSION, (uint16_t)COMPRESSION_ADOBE_DEFLATE);
  if (channels == 2 || channels == 4) {
    uint16_t extra = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, (uint16_t)1, &extra);
  }
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));
  std::vector<uint8_t> row((size_t)width * channels * (bits / 8));
  bool ok = true;
  for (int y = 0; y < height && ok; y++) {
    const float* s = &samples[(size_t)(height - 1 - y) * width * channels];  // the file starts at the top
    if (bits == 32) {
      std::memcpy(row.data(), s, row.size());
    } else {
      uint16_t* d = (uint16_t*)row.data();
      for (size_t i = 0; i < (size_t)width * channels; i++) {
        float v = std::clamp(std::isnan(s[i]) ? 0.0f : s[i], 0.0f, 1.0f);
        d[i] = (uint16_t)std::lround(v * 65535.0f);
      }
    }
    ok = TIFFWriteScanline(tif, row.data(), (uint32_t)y, 0) >= 0;
  }
  TIFFClose(tif);
  return ok;
}

namespace {

// libtiff's last error, for the log line of a failed load.
thread_local char tiffError[256];
void KeepTiffError(const char*, const char* format, va_list args) {
  std::vsnprintf(tiffError, sizeof tiffError, format, args);
}

// The fewest bytes the strips of a picture of `raw` bytes may take: none when
// uncompressed, PackBits at most 128 to 1, the other methods (LZW, Deflate,
// JPEG) well under 4096 to 1.
uint64_t LeastTiffBytes(uint16_t compression, uint64_t raw) {
  if (compression == COMPRESSION_NONE) return raw;
  if (compression == COMPRESSION_PACKBITS) return raw / 128;
  return raw / 4096;
}

}  // namespace

// Grey, grey-alpha, RGB and RGBA of 8, 16 or 32-bit float samples, and
// palette pictures of 1 to 8 bits, which become RGB through their palette.
bool cFloatImage::LoadTiff(const std::string& path) {
  TIFFSetWarningHandler(QuietTiff);
  TIFFSetErrorHandler(KeepTiffError);
  tiffError[0] = 0;
  TIFF* tif = TIFFOpen(path.c_str(), "r");
  if (!tif) {
    Log("cFloatImage::LoadTiff(): %s", tiffError[0] ? tiffError : "Not a TIFF file.");
    return false;
  }
  uint32_t w = 0, h = 0;
  uint16_t spp = 1, bps = 8, format = SAMPLEFORMAT_UINT, planar = PLANARCONFIG_CONTIG;
  uint16_t photometric = PHOTOMETRIC_MINISBLACK, compression = COMPRESSION_NONE;
  TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &w);
  TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &spp);
  TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bps);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &format);
  TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
  TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric);
  uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
  const bool palette = photometric == PHOTOMETRIC_PALETTE && spp == 1 && bps <= 8 &&
                       (bps == 1 || bps == 2 || bps == 4 || bps == 8) &&
                       TIFFGetField(tif, TIFFTAG_COLORMAP, &red, &green, &blue) && red && green && blue;
  const bool known = palette || ((bps == 8 || bps == 16) ? format == SAMPLEFORMAT_UINT
                                                          : bps == 32 && format == SAMPLEFORMAT_IEEEFP);
  std::error_code ec;
  const uint64_t fileBytes = std::filesystem::file_size(path, ec);
  const uint64_t raw = ((uint64_t)w * spp * bps + 7) / 8 * h;
  const char* why = !known ? "Only 8, 16 and 32-bit float samples and palettes of up to 8 bits are read."
                    : planar != PLANARCONFIG_CONTIG ? "Separate sample planes aren't read."
                    : spp < 1 || spp > 4            ? "Only 1 to 4 samples per pixel are read."
                                                    : nullptr;
  if (why) Log("cFloatImage::LoadTiff(): %s", why);
  if (why || !CheckImageSize("cFloatImage::LoadTiff()", w, h, LeastTiffBytes(compression, raw), ec ? 0 : fileBytes) ||
      TIFFScanlineSize(tif) < (tmsize_t)(((uint64_t)w * spp * bps + 7) / 8)) {
    TIFFClose(tif);
    return false;
  }
  const int outChannels = palette ? 3 : spp;
  cFloatImage out((int)w, (int)h, outChannels, bps == 32 ? 32 : 16);
  std::vector<uint8_t> row(TIFFScanlineSize(tif));
  bool ok = true;
  for (uint32_t y = 0; y < h && ok; y++) {
    ok = TIFFReadScanline(tif, row.data(), y, 0) >= 0;
    float* d = &out.samples[(size_t)(h - 1 - y) * w * outChannels];
    if (palette) {
      const int perByte = 8 / bps, mask = (1 << bps) - 1;
      for (uint32_t x = 0; x < w; x++, d += 3) {
        const int index = row[x / perByte] >> (8 - bps * (int)(x % perByte + 1)) & mask;
        d[0] = red[index] / 65535.0f;
        d[1] = green[index] / 65535.0f;
        d[2] = blue[index] / 65535.0f;
      }
      continue;
    }
    for (size_t i = 0; i < (size_t)w * spp; i++) {
      if (bps == 8) d[i] = row[i] / 255.0f;
      else if (bps == 16) d[i] = ((const uint16_t*)row.data())[i] / 65535.0f;
      else std::memcpy(&d[i], row.data() + i * 4, 4);
    }
  }
  TIFFClose(tif);
  if (!ok) {
    Log("cFloatImage::LoadTiff(): %s", tiffError[0] ? tiffError : "A row can't be read.");
    return false;
  }
  *this = std::move(out);
  return true;
}

}  // namespace comms
