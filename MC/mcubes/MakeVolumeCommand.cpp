// The make-volume command and its PLY writer (see MakeVolumeCommand.h). The
// mesh codecs of the interchange folder will take over the writing later.
#include "MC/mcubes/MakeVolumeCommand.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ClassEngine/Log.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"

namespace {
void PutU32(FILE* f, uint32_t v) {
  unsigned char b[4] = {(unsigned char)v, (unsigned char)(v >> 8), (unsigned char)(v >> 16), (unsigned char)(v >> 24)};
  fwrite(b, 1, 4, f);
}
void PutF32(FILE* f, float v) {
  uint32_t u;
  std::memcpy(&u, &v, 4);
  PutU32(f, u);
}
}  // namespace

bool WriteBinaryPly(const std::string& path, const WeldedMeshBuilder& mesh) {
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) {
    Error("WriteBinaryPly(): cannot create %s", path.c_str());
    return false;
  }
  fprintf(f,
          "ply\nformat binary_little_endian 1.0\ncomment Morvane voxel surface\nelement vertex %d\n"
          "property float x\nproperty float y\nproperty float z\nelement face %d\n"
          "property list uchar uint vertex_indices\nend_header\n",
          mesh.VertexCount(), mesh.TriangleCount());
  for (float p : mesh.Positions) PutF32(f, p);
  for (int t = 0; t < mesh.TriangleCount(); ++t) {
    fputc(3, f);
    for (int k = 0; k < 3; ++k) PutU32(f, mesh.Indices[t * 3 + k]);
  }
  const bool ok = !ferror(f);
  if (fclose(f) != 0 || !ok) {
    Error("WriteBinaryPly(): write failed for %s", path.c_str());
    return false;
  }
  return true;
}

int RunMakeVolumeCommand(const std::vector<std::string>& args) {
  if (args.size() != 3) {
    fprintf(stderr, "usage: --make-volume sphere|box|torus|noise SIZE OUTPUT.ply\n");
    return 2;
  }
  const std::string& shapeName = args[0];
  char* end = nullptr;
  const double size = strtod(args[1].c_str(), &end);  // strtod reads the C locale's decimal point
  if (!end || *end || !(size >= 1.0 && size <= 4000.0)) {
    fprintf(stderr, "make-volume: SIZE must be a number of voxels from 1 to 4000, got '%s'\n", args[1].c_str());
    return 2;
  }
  const float s = (float)size;
  std::unique_ptr<DensityShape> shape;
  if (shapeName == "sphere")
    shape = std::make_unique<SphereShape>(0.f, 0.f, 0.f, s);
  else if (shapeName == "box")
    shape = std::make_unique<BoxShape>(0.f, 0.f, 0.f, s, s, s);
  else if (shapeName == "torus")
    shape = std::make_unique<TorusShape>(0.f, 0.f, 0.f, s, s * 0.35f);
  else if (shapeName == "noise")
    shape = std::make_unique<NoiseShape>(0.f, 0.f, 0.f, s, s * 0.25f, s * 0.5f, 1);
  if (!shape) {
    fprintf(stderr, "make-volume: unknown shape '%s' (sphere, box, torus, noise)\n", shapeName.c_str());
    return 2;
  }
  VolumeObject volume;
  FillVolume(volume, *shape);
  volume.UpdateSurface();
  WeldedMeshBuilder mesh;
  volume.ExtractWeldedAll(mesh);
  if (!WriteBinaryPly(args[2], mesh)) {
    fprintf(stderr, "make-volume: cannot write %s\n", args[2].c_str());
    return 1;
  }
  printf("%d triangles written to %s\n", mesh.TriangleCount(), args[2].c_str());
  return 0;
}
