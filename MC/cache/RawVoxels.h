// Raw voxel exchange (".rawvox"): a grid of 8-bit, 16-bit or float densities,
// x fastest, then y, then z, optionally after a 20-byte header ("RVOX", three
// sizes, bits per voxel). Import centres the grid on the lattice origin and
// unites it with what the volume holds; export writes the box of the cells
// that reach inside.
#pragma once
#include <cstdint>
#include <string>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/MemberClasses.h"

class VolumeObject;

// The enumeration "BITNESS": "8-bit", "16-bit", "32-bit float".
Enumerator* BitnessEnumerator();

// The import dialog's settings (RAW_IMPORT_HINT), shown unless a header
// answers them.
class ImportVoxParams : public BaseClass {
 public:
  int Bits = 1;  // 0: 8-bit, 1: 16-bit, 2: 32-bit float
  int SizeX = 8, SizeY = 8, SizeZ = 8;
  int HeaderSize = 0;
  float SlicePosition = 50;  // 0..100: where the surface cuts through the data
  MV_CLASS(ImportVoxParams, BaseClass) {
    Member("_index", Bits, "Bits", BitnessEnumerator());
    Member("_int", SizeX, "SizeX");
    Member("_int", SizeY, "SizeY");
    Member("_int", SizeZ, "SizeZ");
    Member("_int", HeaderSize, "HeaderSize");
    Member("CtrlFSlider", SlicePosition, "SlicePosition", NewFloatSliderRange(0, 100));
  }
};

// The export dialog's one setting.
class ExportVoxParams : public BaseClass {
 public:
  int Bits = 1;
  MV_CLASS(ExportVoxParams, BaseClass) { Member("_index", Bits, "Bits", BitnessEnumerator()); }
};

constexpr uint32_t kRawVoxTag = 0x52564f58u;  // "RVOX"

// Reads the header of `path` into params (true), or guesses for a file
// without one: a size that is a multiple of 65536 suggests 256 x 256 x N
// (8 bits when N is odd, else 16 bits and N / 2); false then, and the caller
// asks the user.
bool ReadRawVoxHeader(const std::string& path, ImportVoxParams& params);
// Unites the grid into the volume. Refused, with the reason and the volume
// untouched, when the file is smaller than the sizes say or a size is bad.
bool ImportRaw(VolumeObject& volume, const std::string& path, const ImportVoxParams& params, std::string* error);
// Writes the box of the cells that reach inside at 8, 16 or 32 bits, with or
// without the header, through a temporary file. False for an empty volume or
// a failed write.
bool ExportRaw(VolumeObject& volume, const std::string& path, int bits, bool withHeader, std::string* error);
