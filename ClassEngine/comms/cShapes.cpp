// The small comms classes: colour editing, transforms, sampler states,
// swatches and splines.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "ClassEngine/comms/cColorEdit.h"
#include "ClassEngine/comms/cImageSwatchFile.h"
#include "ClassEngine/comms/cSamplerState.h"
#include "ClassEngine/comms/cSpline.h"
#include "ClassEngine/comms/cTransform.h"

namespace comms {

// ---- cColorEdit ----

void cColorEdit::SetColor(uint32_t argb) {
  Color = argb;
  float r = ((argb >> 16) & 255) / 255.0f, g = ((argb >> 8) & 255) / 255.0f, b = (argb & 255) / 255.0f;
  float mx = std::max({r, g, b}), mn = std::min({r, g, b}), d = mx - mn;
  Value = mx;
  Saturation = mx > 0 ? d / mx : 0;
  if (d <= 0) return;  // grey: the hue stays as it was
  float h = mx == r ? (g - b) / d : mx == g ? 2 + (b - r) / d : 4 + (r - g) / d;
  Hue = std::fmod(h * 60 + 360, 360.0f);
}

void cColorEdit::SetHsv(float hue, float saturation, float value) {
  Hue = std::fmod(std::fmod(hue, 360.0f) + 360.0f, 360.0f);
  Saturation = std::clamp(saturation, 0.0f, 1.0f);
  Value = std::clamp(value, 0.0f, 1.0f);
  float c = Value * Saturation, h = Hue / 60;
  float x = c * (1 - std::fabs(std::fmod(h, 2.0f) - 1));
  float rgb[3] = {0, 0, 0};
  int sector = int(h) % 6;
  // Per sector: which channel gets c, which x; the third stays 0.
  const int order[6][3] = {{0, 1, 2}, {1, 0, 2}, {1, 2, 0}, {2, 1, 0}, {2, 0, 1}, {0, 2, 1}};
  rgb[order[sector][0]] = c;
  rgb[order[sector][1]] = x;
  float m = Value - c;
  uint32_t out = Color & 0xFF000000u;
  for (int k = 0; k < 3; k++) out |= uint32_t(std::lround((rgb[k] + m) * 255)) << (16 - 8 * k);
  Color = out;
}

bool cColorEdit::OnChange(BaseClass*, void*, void*, const char* name) {
  if (!name) return false;
  if (strcmp(name, "Color") == 0)
    SetColor(Color);
  else
    SetHsv(Hue, Saturation, Value);
  return true;
}

// ---- cTransform ----

void cTransform::Reset(void* ptr) {
  auto* t = ptr ? static_cast<cTransform*>((BaseClass*)ptr) : this;
  const cTransform fresh;
  memcpy(t->Position, fresh.Position, sizeof Position);
  memcpy(t->Rotation, fresh.Rotation, sizeof Rotation);
  memcpy(t->Scale, fresh.Scale, sizeof Scale);
}

void cTransform::Matrix(float m[16]) const {
  float x = Rotation[0], y = Rotation[1], z = Rotation[2], w = Rotation[3];
  // Rows of the rotation for row vectors (p * R).
  float r[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
                   {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
                   {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)}};
  for (int i = 0; i < 3; i++) {
    for (int j = 0; j < 3; j++) m[i * 4 + j] = r[i][j] * Scale[i];
    m[i * 4 + 3] = 0;
  }
  m[12] = Position[0];
  m[13] = Position[1];
  m[14] = Position[2];
  m[15] = 1;
}

// ---- cSamplerState ----

cEnum* SamplerFilters() {
  static cEnum* e = [] {
    cEnum* f = GetEnumerator("SAMPLER_FILTER");
    if (f->GetStoredAmount() == 0) {
      f->Add("Point");
      f->Add("Linear");
      f->Add("Anisotropic");
    }
    return f;
  }();
  return e;
}

cEnum* SamplerAddressModes() {
  static cEnum* e = [] {
    cEnum* a = GetEnumerator("SAMPLER_ADDRESS");
    if (a->GetStoredAmount() == 0) {
      a->Add("Wrap");
      a->Add("Clamp");
      a->Add("Mirror");
    }
    return a;
  }();
  return e;
}

void cSamplerState::Reset(void* ptr) {
  auto* s = ptr ? static_cast<cSamplerState*>((BaseClass*)ptr) : this;
  s->Filter = 1;
  s->AddressU = s->AddressV = 0;
  s->MaxAnisotropy = 1;
}

// ---- cImageSwatchFile ----

const char* cImageSwatchFile::GetView(void* ptr) {
  auto* s = ptr ? static_cast<cImageSwatchFile*>((BaseClass*)ptr) : this;
  if (*s->Name.cpchar()) return s->Name.cpchar();
  const char* path = s->File.cpchar();
  const char* slash = std::max(strrchr(path, '/'), strrchr(path, '\\'));
  return slash ? slash + 1 : path;
}

// ---- cSpline ----

void cSpline_Node::Reset(void* ptr) {
  auto* n = ptr ? static_cast<cSpline_Node*>((BaseClass*)ptr) : this;
  n->Position[0] = n->Position[1] = n->Position[2] = 0;
  n->Tension = 0.5f;
}

cSpline_Node* cSpline::AddNode(float x, float y, float z) {
  int i = Nodes.ExpandWith("cSpline_Node", &Nodes);
  if (i < 0) return nullptr;
  cSpline_Node* n = Nodes[i];
  n->Position[0] = x;
  n->Position[1] = y;
  n->Position[2] = z;
  return n;
}

bool cSpline::Evaluate(float t, float out[3]) {
  int n = Nodes.GetAmount();
  if (n < 2) return false;
  for (int i = 0; i < n; i++)
    if (!Nodes[i]) return false;
  int segments = Closed ? n : n - 1;
  float s = std::clamp(t, 0.0f, 1.0f) * segments;
  int seg = std::min(int(s), segments - 1);
  float u = s - seg;
  auto node = [&](int i) -> cSpline_Node* {
    if (Closed) return Nodes[((i % n) + n) % n];
    return Nodes[std::clamp(i, 0, n - 1)];
  };
  cSpline_Node *p0 = node(seg - 1), *p1 = node(seg), *p2 = node(seg + 1), *p3 = node(seg + 2);
  // Cubic Hermite between p1 and p2, tangents scaled by each end's tension.
  float h00 = 2 * u * u * u - 3 * u * u + 1, h10 = u * u * u - 2 * u * u + u;
  float h01 = -2 * u * u * u + 3 * u * u, h11 = u * u * u - u * u;
  for (int k = 0; k < 3; k++) {
    float m1 = p1->Tension * (p2->Position[k] - p0->Position[k]);
    float m2 = p2->Tension * (p3->Position[k] - p1->Position[k]);
    out[k] = h00 * p1->Position[k] + h10 * m1 + h01 * p2->Position[k] + h11 * m2;
  }
  return true;
}

}  // namespace comms
