// The interface font: DejaVu Sans baked by FreeType into one glyph sheet at
// start-up, for the Latin, Latin-1, Latin Extended-A, Greek and Cyrillic
// ranges, at the pixel size of the UI scale. Text is drawn glyph by glyph as
// textured quads of that sheet; measuring and drawing allocate nothing.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace comms {
class cRender;
}

struct Glyph {
  uint16_t Code = 0;
  float U0 = 0, V0 = 0, U1 = 0, V1 = 0;  // sheet coordinates, v = 0 the bottom row
  int16_t W = 0, H = 0;                  // bitmap size in pixels
  int16_t Left = 0, Top = 0;             // bearing from the pen position
  float Advance = 0;
};

class FontAtlas {
 public:
  // Bakes the sheet; false (and logged) when the font cannot be read.
  bool Bake(const std::string& fontPath, int pixelSize);
  // Hands the sheet to the renderer once; the texture id, -1 on failure.
  int Upload(comms::cRender& render);
  bool Ready() const { return !glyphs_.empty(); }
  int PixelSize() const { return pixelSize_; }
  float Ascent() const { return ascent_; }
  float LineHeight() const { return lineHeight_; }
  int Texture() const { return texture_; }
  // The glyph of a code point, or of "?" for one outside the baked ranges.
  const Glyph* Find(uint32_t code) const;
  int SheetWidth() const { return sheetW_; }
  int SheetHeight() const { return sheetH_; }
  const std::vector<uint8_t>& Coverage() const { return coverage_; }

 private:
  std::vector<Glyph> glyphs_;
  std::vector<int16_t> map_;  // code point -> glyph index, -1 none (below 0x500)
  std::vector<uint8_t> coverage_;  // 8-bit sheet, row 0 at the top
  int sheetW_ = 0, sheetH_ = 0, pixelSize_ = 0, texture_ = -1;
  float ascent_ = 0, lineHeight_ = 0;
  comms::cRender* uploadedTo_ = nullptr;
};
