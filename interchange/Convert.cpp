// The file converter: a mesh goes LoadMesh -> SaveMesh; an image goes
// LoadImage -> SaveImage, with EXR and TIFF (float outputs) through
// cFloatImage and DXT textures decoded first for formats that can't hold them.
#include "interchange/Convert.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "ClassEngine/Log.h"
#include "interchange/FloatImage.h"
#include "interchange/IO.h"
#include "interchange/MeshIO.h"
#include "interchange/SourceZip.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace {

// Prints the failure and, under it, each line the codecs logged since `mark`:
// their reasons.
void Fail(size_t mark, const char* format, const std::string& a, const std::string& b = "") {
  std::fprintf(stderr, format, a.c_str(), b.c_str());
  std::fputc('\n', stderr);
  const std::string reasons = LogText().substr(mark);
  size_t at = 0;
  while (at < reasons.size()) {
    size_t end = reasons.find('\n', at);
    if (end == std::string::npos) end = reasons.size();
    if (end > at) std::fprintf(stderr, "  %.*s\n", (int)(end - at), reasons.data() + at);
    at = end + 1;
  }
}

bool IsMeshExtension(const std::string& extension, bool encode) {
  for (int i = 0; i < cMeshIO::CodecCount(); i++)
    if (IEquals(cMeshIO::CodecName(i), extension)) return encode ? cMeshIO::CanEncode(i) : cMeshIO::CanDecode(i);
  return false;
}

bool IsFloatExtension(const std::string& extension) {
  return IEquals(extension, "exr") || IEquals(extension, "tif") || IEquals(extension, "tiff");
}

// 8-bit, 16-bit and float images as floats from 0 to 1 (half floats aren't
// converted). 16-bit samples stay 16-bit in a TIFF; everything else is saved
// with 32-bit floats, since half floats can't hold every 8-bit step exactly.
bool ToFloat(const cImage& image, cFloatImage& out, bool tiff) {
  const int f = image.format, channels = cImage::Channels(f);
  if (f < 1 || (f > 8 && f < 13) || f > 16) return false;
  out = cFloatImage(image.width, image.height, channels, tiff && f >= 5 && f <= 8 ? 16 : 32);
  for (size_t i = 0; i < out.samples.size(); i++) {
    if (f <= 4) out.samples[i] = image.data[i] / 255.0f;
    else if (f <= 8) out.samples[i] = (image.data[2 * i] | image.data[2 * i + 1] << 8) / 65535.0f;
    else std::memcpy(&out.samples[i], &image.data[4 * i], 4);
  }
  return true;
}

int ConvertImage(const std::string& in, const std::string& out, size_t mark) {
  const std::string inExt = ExtensionOf(in), outExt = ExtensionOf(out);
  cFloatImage floats;
  if (IsFloatExtension(inExt)) {
    if (!floats.Load(in)) {
      Fail(mark, "Can't read image \"%s\"", in);
      return 1;
    }
    if (!floats.Save(out)) {
      Fail(mark, "Can't write image \"%s\"", out);
      return 1;
    }
  } else {
    cImage image;
    if (!cIO::LoadImage(in, image)) {
      Fail(mark, "Can't read image \"%s\"", in);
      return 1;
    }
    if (cImage::IsCompressed(image.format) && !IEquals(outExt, "dds")) {
      cImage rgba;
      DecodeDxt(image, rgba);
      image = std::move(rgba);
    }
    bool ok = IsFloatExtension(outExt) ? ToFloat(image, floats, !IEquals(outExt, "exr")) && floats.Save(out) : cIO::SaveImage(out, image);
    if (!ok) {
      Fail(mark, "Can't write image \"%s\" as \"%s\"", in, out);
      std::fprintf(stderr, "  Its pixels are of format %d.\n", image.format);
      return 1;
    }
    floats.width = image.width;
    floats.height = image.height;
  }
  std::printf("Converted image \"%s\" (%d x %d) to \"%s\"\n", in.c_str(), floats.width, floats.height, out.c_str());
  return 0;
}

}  // namespace

int RunConvertCommand(const std::string& inPath, const std::string& outPath) {
  std::error_code ec;
  const std::string in = std::filesystem::absolute(inPath, ec).string();
  const std::string out = std::filesystem::absolute(outPath, ec).string();
  const std::string inExt = ExtensionOf(in), outExt = ExtensionOf(out);
  const bool meshIn = IsMeshExtension(inExt, false), imageIn = cIO::FindImageCodec(inExt) || IsFloatExtension(inExt);
  const size_t mark = LogText().size();  // after the registries have logged their start
  if (meshIn) {
    if (!IsMeshExtension(outExt, true)) {
      std::fprintf(stderr, "No mesh codec writes \"%s\"\n", out.c_str());
      return 1;
    }
    std::unique_ptr<cMesh> mesh(cMeshIO::LoadMesh(in.c_str()));
    if (!mesh) {
      Fail(mark, "Can't read mesh \"%s\"", in);
      return 1;
    }
    if (mesh->PolygonCount() == 0)
      std::fprintf(stderr, "Mesh \"%s\" holds no polygons (%d positions)\n", in.c_str(), (int)mesh->positions.size());
    if (!cMeshIO::SaveMesh(*mesh, out.c_str())) {
      Fail(mark, "Can't write mesh \"%s\"", out);
      return 1;
    }
    std::printf("Converted mesh \"%s\" (%d positions, %d polygons, %d materials) to \"%s\"\n", in.c_str(),
                (int)mesh->positions.size(), mesh->PolygonCount(), (int)mesh->materials.size(), out.c_str());
    return 0;
  }
  if (imageIn) return ConvertImage(in, out, mark);
  std::fprintf(stderr, "Don't know how to convert \"%s\"\n", in.c_str());
  return 1;
}

int RunUnpackCommand(const std::string& archivePath, const std::string& folderPath) {
  std::error_code ec;
  const std::string archive = std::filesystem::absolute(archivePath, ec).string();
  const std::string folder = std::filesystem::absolute(folderPath, ec).string();
  const size_t mark = LogText().size();
  SourceZip zip(archive);
  if (!zip.open) {
    Fail(mark, "Can't read the ZIP archive \"%s\"", archive);
    std::fprintf(stderr, "  No ZIP directory was found in it (not an archive, or cut short).\n");
    return 1;
  }
  std::filesystem::create_directories(folder, ec);
  if (!zip.Unpack(folder)) {
    Fail(mark, "Can't unpack every entry of \"%s\" into \"%s\"", archive, folder);
    return 1;
  }
  std::printf("Unpacked %d entries of \"%s\" into \"%s\"\n", (int)zip.names.size(), archive.c_str(), folder.c_str());
  return 0;
}

}  // namespace comms
