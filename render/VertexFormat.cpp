// Checks and layout of vertex formats, the stock list, primitive counts.
#include "render/VertexFormat.h"

namespace comms {

int ElementBytes(const VertexElement& e) { return e.Type == kCompByte ? 4 : 4 * e.Count; }

static bool ElementAllowed(const VertexElement& e) {
  bool flt = e.Type == kCompFloat;
  switch (e.Semantic) {
    case kSemFree: return (flt && e.Count >= 1 && e.Count <= 4) || (e.Type == kCompByte && e.Count == 4);
    case kSemPos: return flt && (e.Count == 3 || e.Count == 4);
    case kSemNormal:
    case kSemTangent:
    case kSemBiTangent: return flt && e.Count == 3;
    case kSemTexCoord: return flt && e.Count == 2;
    case kSemIndices:
    case kSemWeights: return flt && e.Count == 4;
    default: return false;
  }
}

bool BuildVertexFormat(const std::vector<VertexElement>& elements, cVertexFormat& out) {
  if (elements.empty()) return false;
  cVertexFormat f;
  for (const VertexElement& e : elements) {
    if (!ElementAllowed(e)) return false;
    f.Offsets.push_back(f.Size);
    f.Size += ElementBytes(e);
  }
  f.Elements = elements;
  out = std::move(f);
  return true;
}

std::vector<std::vector<VertexElement>> StockVertexFormats() {
  const VertexElement pos{"Pos", kSemPos, kCompFloat, 3}, pos4{"Pos", kSemPos, kCompFloat, 4};
  const VertexElement col{"Color", kSemFree, kCompByte, 4}, tex{"TexCoord", kSemTexCoord, kCompFloat, 2};
  const VertexElement nrm{"Normal", kSemNormal, kCompFloat, 3};
  const VertexElement tan{"Tangent", kSemTangent, kCompFloat, 3}, bit{"BiTangent", kSemBiTangent, kCompFloat, 3};
  const VertexElement ind{"Indices", kSemIndices, kCompFloat, 4}, wgt{"Weights", kSemWeights, kCompFloat, 4};
  auto f4 = [](const char* n) { return VertexElement{n, kSemFree, kCompFloat, 4}; };
  return {
      {pos, col},
      {pos, col, tex},
      {pos, col, {"TexCoord0", kSemTexCoord, kCompFloat, 2}, {"TexCoord1", kSemFree, kCompFloat, 2}},
      {pos, nrm},
      {pos, nrm, col},
      {pos, nrm, tex},
      {pos},
      {pos4},
      {pos, tex},
      {pos, nrm, tex, tan, bit},
      {pos, nrm, tex, tan, bit, ind, wgt},
      {{"Pos0", kSemPos, kCompFloat, 3}, {"Pos1", kSemFree, kCompFloat, 3}, {"Pos2", kSemFree, kCompFloat, 3},
       f4("Indices0"), f4("Weights0"), f4("Indices1"), f4("Weights1"), f4("Indices2"), f4("Weights2")},
  };
}

int PrimitiveCount(int kind, int n) {
  switch (kind) {
    case kPrimPoints: return n;
    case kPrimLines: return n / 2;
    case kPrimLineStrip: return n > 1 ? n - 1 : 0;
    case kPrimTriangles: return n / 3;
    case kPrimTriangleStrip:
    case kPrimTriangleFan: return n > 2 ? n - 2 : 0;
    default: return 0;
  }
}

}  // namespace comms
