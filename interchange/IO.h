// cIO: the file layer. A stack of file sources (folders, ZIP archives) that
// relative names are looked up in, the program's one path resolver (case
// ignored on a case-sensitive disk, "\" and "/" alike), and the registry of
// image codecs that every image loaded or saved goes through.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "interchange/Image.h"

namespace comms {

class cIO {
 public:
  class Source {
   public:
    virtual ~Source() = default;
    // Reads the file whole into `buffer`.
    virtual bool Load(const std::string& name, std::vector<uint8_t>& buffer) = 0;
    virtual bool Save(const std::string& name, const void* data, size_t size, bool append) = 0;
    // The folder or archive path.
    virtual std::string Path() const = 0;
  };

  class ImageCodec {
   public:
    virtual ~ImageCodec() = default;
    virtual bool Decode(const std::vector<uint8_t>& buffer, cImage& image) = 0;
    virtual bool Encode(const cImage& image, std::vector<uint8_t>& buffer) = 0;
  };

  // Sources are asked in the order they were added.
  static void AddSource(std::unique_ptr<Source> source);
  // Removes and deletes a source (tests and unmounting).
  static bool RemoveSource(Source* source);
  static int SourceCount();
  static Source* GetSource(int index);

  static bool ReadFile(const std::string& name, std::vector<uint8_t>& buffer, bool report);
  static bool WriteFile(const std::string& name, const void* data, size_t size, bool append, bool report);
  // A URL stays; a relative name is joined to the first source's root; then
  // separators and dots are normalised and each part of the path that doesn't
  // exist as written is matched against its folder without regard to case.
  static std::string ResolvePath(const std::string& name);
  static bool IsUrl(std::string_view name);
  static bool IsAbsolute(std::string_view name);
  // Entries of the folder of `mask` matching its file pattern ("*.png"), case
  // ignored, without "." and ".."; folders only when `folders`.
  static bool ListFiles(const std::string& mask, std::vector<std::string>& list, bool folders);

  static bool LoadImage(const std::string& name, cImage& image);
  static bool SaveImage(const std::string& name, const cImage& image);
  // False when the name exists (case ignored). The registry owns the codec.
  static bool AddImageCodec(const char* name, ImageCodec* codec);
  static ImageCodec* FindImageCodec(std::string_view name);

  // The program's folder, with a trailing "/", one up from a "Debug" or
  // "Release" output folder.
  static std::string ProgramFolder();
};

class SourceFolder : public cIO::Source {
 public:
  explicit SourceFolder(std::string rootFolder);
  bool Load(const std::string& name, std::vector<uint8_t>& buffer) override;
  bool Save(const std::string& name, const void* data, size_t size, bool append) override;
  std::string Path() const override { return root; }

  std::string root;
};

// Reads a whole file straight from the disk; false on a short read.
bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& buffer);

}  // namespace comms
