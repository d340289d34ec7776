// Helpers of the interchange tests: a fresh temporary folder per test, file
// writing, log lines since a mark, and the installed test-data packages.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ClassEngine/Log.h"
#include "interchange/IO.h"
#include "interchange/Image.h"

namespace testfiles {

// An empty folder named after the running test, with a trailing "/".
inline std::string FreshFolder() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string dir = ::testing::TempDir() + "interchange_" + info->test_suite_name() + "_" + info->name() + "/";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir;
}

inline void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write((const char*)bytes.data(), (std::streamsize)bytes.size());
}

inline void WriteText(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

inline std::vector<uint8_t> ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::string ReadText(const std::string& path) {
  auto b = ReadBytes(path);
  return std::string(b.begin(), b.end());
}

// Log text written after `mark` (a LogMark() taken before).
inline std::string LogSince(size_t mark) { return LogTextSince(mark); }

inline bool Installed(const std::string& path) { return std::filesystem::exists(path); }

// ImageMagick's own program, not a stand-in earlier on the PATH.
inline const char* Convert() { return "/usr/bin/convert"; }
inline bool HaveConvert() { return std::filesystem::exists(Convert()); }

// Runs ImageMagick's convert with `args`, quietly; true when it succeeded.
inline bool Magick(const std::string& args) {
  std::string cmd = std::string(Convert()) + " " + args + " 2>/dev/null";
  return std::system(cmd.c_str()) == 0;
}

// ImageMagick turns `source` into the file `path` with `options` (a BMP as
// version 3), which is then loaded through our codecs, DXT decoded to RGBA.
inline bool MagickImage(const std::string& source, const std::string& options, const std::string& path,
                        comms::cImage& out) {
  const std::string prefix = path.find(".bmp") != std::string::npos ? "BMP3:" : "";
  if (!Magick(source + " " + options + " " + prefix + path) || !comms::cIO::LoadImage(path, out)) return false;
  if (comms::cImage::IsCompressed(out.format)) {
    comms::cImage rgba;
    if (!comms::DecodeDxt(out, rgba)) return false;
    out = std::move(rgba);
  }
  return true;
}

}  // namespace testfiles
