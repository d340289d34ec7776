// Glyph outlines of a text through FreeType (see TextRelief.h).
#include "MC/objects/TextRelief.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <cmath>
#include <vector>

#include "MC/objects/PolygonFill.h"
#include "interchange/Mesh.h"

namespace {

// Segments a quadratic or cubic piece of an outline is flattened into.
constexpr int kCurveSteps = 8;

struct OutlineSink {
  std::vector<Outline> outlines;
  float ox = 0, oy = 0;  // the glyph's place on the base line
  float lastX = 0, lastY = 0;

  void Add(float x, float y) {
    Outline& o = outlines.back();
    const size_t n = o.size();
    if (n >= 2 && o[n - 2] == x && o[n - 1] == y) return;
    o.push_back(x), o.push_back(y);
    lastX = x, lastY = y;
  }
  float X(const FT_Vector* v) const { return ox + float(v->x) / 64.f; }
  float Y(const FT_Vector* v) const { return oy + float(v->y) / 64.f; }
};

int MoveTo(const FT_Vector* to, void* user) {
  auto* s = static_cast<OutlineSink*>(user);
  s->outlines.emplace_back();
  s->Add(s->X(to), s->Y(to));
  return 0;
}

int LineTo(const FT_Vector* to, void* user) {
  auto* s = static_cast<OutlineSink*>(user);
  s->Add(s->X(to), s->Y(to));
  return 0;
}

int ConicTo(const FT_Vector* control, const FT_Vector* to, void* user) {
  auto* s = static_cast<OutlineSink*>(user);
  const float x0 = s->lastX, y0 = s->lastY, x1 = s->X(control), y1 = s->Y(control), x2 = s->X(to), y2 = s->Y(to);
  for (int i = 1; i <= kCurveSteps; ++i) {
    const float t = float(i) / kCurveSteps, u = 1 - t;
    s->Add(u * u * x0 + 2 * u * t * x1 + t * t * x2, u * u * y0 + 2 * u * t * y1 + t * t * y2);
  }
  return 0;
}

int CubicTo(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* user) {
  auto* s = static_cast<OutlineSink*>(user);
  const float x0 = s->lastX, y0 = s->lastY, x1 = s->X(c1), y1 = s->Y(c1), x2 = s->X(c2), y2 = s->Y(c2);
  const float x3 = s->X(to), y3 = s->Y(to);
  for (int i = 1; i <= kCurveSteps; ++i) {
    const float t = float(i) / kCurveSteps, u = 1 - t;
    const float a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
    s->Add(a * x0 + b * x1 + c * x2 + d * x3, a * y0 + b * y1 + c * y2 + d * y3);
  }
  return 0;
}

// The code points of UTF-8 text; a byte that starts no valid sequence is
// taken as Latin-1.
std::vector<uint32_t> CodePoints(const std::string& text) {
  std::vector<uint32_t> out;
  const auto* s = reinterpret_cast<const unsigned char*>(text.data());
  const size_t n = text.size();
  for (size_t i = 0; i < n;) {
    const unsigned c = s[i];
    const int len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    bool ok = len > 0 && i + size_t(len) <= n;
    uint32_t cp = len == 1 ? c : len == 2 ? c & 0x1f : len == 3 ? c & 0x0f : c & 0x07;
    for (int k = 1; ok && k < len; ++k) {
      ok = (s[i + k] & 0xc0) == 0x80;
      cp = cp << 6 | (s[i + k] & 0x3f);
    }
    if (!ok)
      cp = c, ++i;
    else
      i += size_t(len);
    out.push_back(cp);
  }
  return out;
}

}  // namespace

const char* DefaultTextFont() { return "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"; }

bool TextFigure(const std::string& text, const std::string& fontPath, FlatFigure& figure, float& advance,
                std::string* why) {
  advance = 0;
  FT_Library lib;
  if (FT_Init_FreeType(&lib)) {
    if (why) *why = "FreeType does not start";
    return false;
  }
  FT_Face face;
  if (FT_New_Face(lib, fontPath.c_str(), 0, &face) || FT_Set_Pixel_Sizes(face, 0, FT_UInt(kTextEm))) {
    if (why) *why = "cannot read the font " + fontPath;
    FT_Done_FreeType(lib);
    return false;
  }
  FT_Outline_Funcs funcs{};
  funcs.move_to = MoveTo;
  funcs.line_to = LineTo;
  funcs.conic_to = ConicTo;
  funcs.cubic_to = CubicTo;
  OutlineSink sink;
  FT_UInt previous = 0;
  for (uint32_t cp : CodePoints(text)) {
    const FT_UInt glyph = FT_Get_Char_Index(face, cp);
    if (previous && glyph && FT_HAS_KERNING(face)) {
      FT_Vector k;
      if (!FT_Get_Kerning(face, previous, glyph, FT_KERNING_UNFITTED, &k)) sink.ox += float(k.x) / 64.f;
    }
    previous = glyph;
    if (FT_Load_Glyph(face, glyph, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP)) continue;
    if (face->glyph->format == FT_GLYPH_FORMAT_OUTLINE) FT_Outline_Decompose(&face->glyph->outline, &funcs, &sink);
    sink.ox += float(face->glyph->advance.x) / 64.f;
  }
  advance = sink.ox;
  FT_Done_Face(face);
  FT_Done_FreeType(lib);
  // A contour's closing point repeats its first.
  for (Outline& o : sink.outlines) {
    const size_t n = o.size();
    if (n >= 4 && o[0] == o[n - 2] && o[1] == o[n - 1]) o.resize(n - 2);
  }
  FillOutlines(sink.outlines, figure);
  return true;
}

std::unique_ptr<comms::cMesh> TextSlab(const std::string& text, float thickness, std::string* why,
                                       const std::string& fontPath) {
  FlatFigure figure;
  float advance = 0;
  if (!TextFigure(text, fontPath, figure, advance, why)) return nullptr;
  if (figure.Triangles.empty()) {
    if (why) *why = "the text has no visible glyph";
    return nullptr;
  }
  return ExtrudeFigure(figure, thickness);
}
