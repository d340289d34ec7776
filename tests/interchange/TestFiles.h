// Helpers of the interchange tests: a fresh temporary folder per test, file
// writing, log lines since a mark, and the installed test-data packages.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ClassEngine/Log.h"

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

}  // namespace testfiles
