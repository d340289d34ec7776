// The file sources, the path resolver and the image registry of cIO. Built on
// first use: a folder source on the program's folder, then the image codecs.
#include "interchange/IO.h"

#include <fnmatch.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <mutex>

#include "ClassEngine/Log.h"
#include "ClassEngine/PathCase.h"
#include "interchange/ImageCodecs.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace fs = std::filesystem;

namespace {

struct IOState {
  std::vector<std::unique_ptr<cIO::Source>> sources;
  std::vector<std::pair<std::string, std::unique_ptr<cIO::ImageCodec>>> imageCodecs;
  std::string programFolder;
};

IOState& State() {
  static IOState s;
  return s;
}

std::string FindProgramFolder() {
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  fs::path folder = ec ? fs::current_path(ec) : exe.parent_path();
  std::string last = folder.filename().string();
  if (last == "Debug" || last == "Release") {
    Log("Program is running under output directory \"%s\"", folder.c_str());
    folder = folder.parent_path();
  }
  std::string s = folder.string();
  if (s.empty() || s.back() != '/') s += '/';
  return s;
}

void Start() {
  static std::once_flag once;
  std::call_once(once, [] {
    IOState& s = State();
    s.programFolder = FindProgramFolder();
    s.sources.push_back(std::make_unique<SourceFolder>(s.programFolder));
    Log("Default file source is folder \"%s\"", s.programFolder.c_str());
    cIO::AddImageCodec("Dds", new cCodecDds);
    cIO::AddImageCodec("Bmp", new cCodecBmp);
    cIO::AddImageCodec("Jpg", new cCodecJpeg);
    cIO::AddImageCodec("Tga", new cCodecTga);
    cIO::AddImageCodec("Png", new cCodecPng);
  });
}

}  // namespace

bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& buffer) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return false;
  std::error_code ec;
  if (fs::is_directory(path, ec)) {
    std::fclose(f);
    return false;
  }
  std::fseek(f, 0, SEEK_END);
  long size = std::ftell(f);
  std::fseek(f, 0, SEEK_SET);
  std::vector<uint8_t> bytes(size > 0 ? (size_t)size : 0);
  size_t got = bytes.empty() ? 0 : std::fread(bytes.data(), 1, bytes.size(), f);
  std::fclose(f);
  if (size < 0 || got != bytes.size()) return false;  // a short read leaves nothing behind
  buffer = std::move(bytes);
  return true;
}

SourceFolder::SourceFolder(std::string rootFolder) : root(std::move(rootFolder)) {}

bool SourceFolder::Load(const std::string& name, std::vector<uint8_t>& buffer) {
  return ReadWholeFile(cIO::ResolvePath(root + "/" + name), buffer);
}

bool SourceFolder::Save(const std::string& name, const void* data, size_t size, bool append) {
  return cIO::WriteFile(cIO::ResolvePath(root + "/" + name), data, size, append, false);
}

void cIO::AddSource(std::unique_ptr<Source> source) {
  Start();
  State().sources.push_back(std::move(source));
}

bool cIO::RemoveSource(Source* source) {
  Start();
  auto& list = State().sources;
  for (size_t i = 0; i < list.size(); i++)
    if (list[i].get() == source) {
      list.erase(list.begin() + i);
      return true;
    }
  return false;
}

int cIO::SourceCount() {
  Start();
  return (int)State().sources.size();
}

cIO::Source* cIO::GetSource(int index) {
  Start();
  return index >= 0 && index < SourceCount() ? State().sources[index].get() : nullptr;
}

bool cIO::IsUrl(std::string_view name) {
  return (name.size() >= 7 && IEquals(name.substr(0, 7), "http://")) ||
         (name.size() >= 6 && IEquals(name.substr(0, 6), "ftp://"));
}

bool cIO::IsAbsolute(std::string_view name) {
  if (name.empty()) return false;
  if (name[0] == '/' || name[0] == '\\') return true;
  return name.size() >= 2 && name[1] == ':' && std::isalpha((unsigned char)name[0]);
}

std::string cIO::ResolvePath(const std::string& name) {
  if (IsUrl(name)) return name;
  Start();
  std::string path = name;
  for (char& c : path)
    if (c == '\\') c = '/';
  if (!IsAbsolute(path)) {
    std::string root = State().sources.empty() ? State().programFolder : State().sources.front()->Path();
    path = root + "/" + path;
  }
  return ResolvePathCase(path);
}

bool cIO::ReadFile(const std::string& name, std::vector<uint8_t>& buffer, bool report) {
  Start();
  bool ok = false;
  if (IsAbsolute(name)) {
    ok = ReadWholeFile(ResolvePath(name), buffer);
  } else {
    for (auto& source : State().sources)
      if (source->Load(name, buffer)) {
        ok = true;
        break;
      }
  }
  if (!ok && report) Log("Can't load file \"%s\"", name.c_str());
  return ok;
}

bool cIO::WriteFile(const std::string& name, const void* data, size_t size, bool append, bool report) {
  Start();
  bool ok = false;
  if (IsAbsolute(name)) {
    std::string path = ResolvePath(name);
    FILE* f = std::fopen(path.c_str(), append ? "ab" : "wb");  // a missing folder fails here
    if (f) {
      ok = (size == 0 || std::fwrite(data, 1, size, f) == size);
      ok = std::fclose(f) == 0 && ok;
    }
  } else {
    for (auto& source : State().sources)
      if (source->Save(name, data, size, append)) {
        ok = true;
        break;
      }
  }
  if (!ok && report) Log("Can't save file \"%s\"", name.c_str());
  return ok;
}

bool cIO::ListFiles(const std::string& mask, std::vector<std::string>& list, bool folders) {
  std::string folder = ResolvePath(FolderOf(mask).empty() ? "." : FolderOf(mask));
  std::string pattern = FileNameOf(mask);
  if (pattern.empty()) pattern = "*";
  std::error_code ec;
  fs::directory_iterator it(folder, ec), end;
  if (ec) return false;
  for (; it != end; it.increment(ec)) {
    if (ec) break;
    std::string name = it->path().filename().string();
    if (name == "." || name == "..") continue;
    if (it->is_directory(ec) != folders) continue;
    if (fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD) == 0) list.push_back(name);
  }
  return true;
}

bool cIO::AddImageCodec(const char* name, ImageCodec* codec) {
  std::unique_ptr<ImageCodec> owned(codec);
  if (!name || !codec) return false;
  for (const auto& [n, c] : State().imageCodecs)
    if (IEquals(n, name)) return false;
  State().imageCodecs.emplace_back(name, std::move(owned));
  Log("Added \"%s\" image codec.", name);
  return true;
}

cIO::ImageCodec* cIO::FindImageCodec(std::string_view name) {
  Start();
  if (IEquals(name, "jpeg")) name = "Jpg";  // the other spelling of the same files
  for (const auto& [n, c] : State().imageCodecs)
    if (IEquals(n, name)) return c.get();
  return nullptr;
}

bool cIO::LoadImage(const std::string& name, cImage& image) {
  Start();
  std::string extension = ExtensionOf(name);
  std::vector<uint8_t> bytes;
  ImageCodec* codec = nullptr;
  if (extension.empty()) {
    for (const auto& [n, c] : State().imageCodecs)
      if (ReadFile(name + "." + ToLower(n), bytes, false)) {
        codec = c.get();
        break;
      }
    if (!codec) {
      Log("Can't load image file \"%s\"", name.c_str());
      return false;
    }
  } else {
    if (!ReadFile(name, bytes, false)) {
      Log("Can't load image file \"%s\"", name.c_str());
      return false;
    }
    codec = FindImageCodec(extension);
  }
  cImage decoded;
  if (!codec || !codec->Decode(bytes, decoded)) {
    Log("Can't decode image file \"%s\"", name.c_str());
    return false;
  }
  image = std::move(decoded);
  Log("Loaded image file \"%s\"", name.c_str());
  return true;
}

bool cIO::SaveImage(const std::string& name, const cImage& image) {
  Start();
  ImageCodec* codec = FindImageCodec(ExtensionOf(name));
  std::vector<uint8_t> bytes;
  if (!codec || !codec->Encode(image, bytes)) {
    Log("Can't encode image \"%s\"", name.c_str());
    return false;
  }
  return WriteFile(name, bytes.data(), bytes.size(), false, true);
}

std::string cIO::ProgramFolder() {
  Start();
  return State().programFolder;
}

}  // namespace comms
