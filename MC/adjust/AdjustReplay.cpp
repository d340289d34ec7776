// The adjust tools' lines of a stroke script (see AdjustReplay.h).
#include "MC/adjust/AdjustReplay.h"

#include <cmath>
#include <vector>

#include "MC/adjust/CopyStamp.h"
#include "MC/adjust/SurfaceCopies.h"
#include "MC/adjust/TransposeSet.h"
#include "MC/mcubes/VolumeObject.h"

namespace {

bool Read(std::istringstream& words, float* out, int n) {
  for (int i = 0; i < n; ++i)
    if (!(words >> out[i])) return false;
  return true;
}

int TransposeModeByWord(const std::string& w) {
  if (w == "line") return TRN_LINE;
  if (w == "biline") return TRN_BILINE;
  if (w == "sphere") return TRN_SPHERE;
  if (w == "object") return TRN_OBJECT;
  return -1;
}

}  // namespace

int RunAdjustReplay(const std::string& command, std::istringstream& words, VolumeObject& volume, float radius,
                    std::string& error) {
  volume.UpdateSurface();
  if (command == "axial") {
    int n;
    float pa[6];
    if (!(words >> n) || n < 1 || n > 360 || !Read(words, pa, 6)) {
      error = "axial needs a count from 1 to 360, a point and an axis";
      return -1;
    }
    MergeSurfaceCopies(volume, AxialCloneMatrices(pa, pa + 3, n));
  } else if (command == "wrap") {
    WrapChain chain;
    float pa[6];
    if (!(words >> chain.Segments) || chain.Segments < 1 || chain.Segments > 360 ||
        !(words >> chain.StartAngle >> chain.EndAngle >> chain.Forward) || !Read(words, pa, 6)) {
      error = "wrap needs a count from 1 to 360, two angles, a step, a point and an axis";
      return -1;
    }
    MergeSurfaceCopies(volume, WrapMatrices(chain, pa, pa + 3));
  } else if (command == "barelief") {
    float coef, os[6];
    if (!(words >> coef) || !Read(words, os, 6)) {
      error = "barelief needs a coefficient and two points";
      return -1;
    }
    FlattenBarelief(volume, os, os + 3, coef);
  } else if (command == "transpose") {
    std::string word;
    float w, abt[9];
    words >> word;
    const int mode = TransposeModeByWord(word);
    if (mode < 0 || !(words >> w) || !Read(words, abt, 9)) {
      error = "transpose needs a mode (line biline sphere object), a strength, two points and a move";
      return -1;
    }
    TransposeSet set;
    set.SelectWhere(volume, [&](const float* p) { return TransposeStrength(mode, p, abt, abt + 3, w); });
    TransposeMatrix m[2] = {};
    for (int t = 0; t < 2; ++t)
      for (int i = 0; i < 16; ++i) m[t].M[i] = i % 5 == 0 ? 1.f : 0.f;
    // The double line's matrices face each other's ends: the first moves,
    // the second holds the far end.
    const float n[3] = {abt[0] - abt[3], abt[1] - abt[4], abt[2] - abt[5]};
    const float l = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    const bool two = mode == TRN_BILINE && l > 1e-6f;
    for (int k = 0; k < 3; ++k) {
      m[0].M[12 + k] = abt[6 + k];
      m[0].Centre[k] = abt[k], m[1].Centre[k] = abt[3 + k];
      m[0].Normal[k] = two ? n[k] / l : 0.f, m[1].Normal[k] = two ? -n[k] / l : 0.f;
    }
    set.Blend(m, two ? 2 : 1);
    set.WriteBack(volume);
    volume.ApplyMC(false, true);
  } else if (command == "copy") {
    std::vector<float> xyz;
    float f;
    while (words >> f) xyz.push_back(f);
    if (xyz.size() < 6 || xyz.size() % 3) {
      error = "copy needs a source point and at least one pen point";
      return -1;
    }
    float shift[16];
    for (int i = 0; i < 16; ++i) shift[i] = i % 5 == 0 ? 1.f : 0.f;
    for (int k = 0; k < 3; ++k) shift[12 + k] = xyz[k] - xyz[3 + k];
    for (size_t i = 3; i < xyz.size(); i += 3) {
      const size_t from = i == 3 ? 3 : i - 3;
      StampCopy(volume, volume, &xyz[from], radius, &xyz[i], radius, shift);
    }
  } else {
    return 0;
  }
  volume.DropUndoCopies();
  volume.UpdateSurface();
  return 1;
}
