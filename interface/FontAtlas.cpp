// Baking the glyph sheet with FreeType; see FontAtlas.h.
#include "interface/FontAtlas.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>

#include "ClassEngine/Log.h"
#include "interchange/Image.h"
#include "render/Render.h"

namespace {
constexpr uint32_t kMapSize = 0x500;
const uint32_t kRanges[][2] = {{0x20, 0x7e}, {0xa0, 0x17f}, {0x391, 0x3c9}, {0x400, 0x4ff}};
}  // namespace

bool FontAtlas::Bake(const std::string& fontPath, int pixelSize) {
  glyphs_.clear();
  FT_Library lib;
  if (FT_Init_FreeType(&lib)) return false;
  FT_Face face;
  if (FT_New_Face(lib, fontPath.c_str(), 0, &face)) {
    Log("FontAtlas::Bake(): cannot read %s", fontPath.c_str());
    FT_Done_FreeType(lib);
    return false;
  }
  FT_Set_Pixel_Sizes(face, 0, FT_UInt(pixelSize));
  pixelSize_ = pixelSize;
  ascent_ = float(face->size->metrics.ascender >> 6);
  lineHeight_ = float(face->size->metrics.height >> 6);
  // Shelf packing into a sheet 512 wide; the height grows as needed.
  sheetW_ = 512;
  struct Pending {
    Glyph g;
    std::vector<uint8_t> bits;
  };
  std::vector<Pending> pending;
  int x = 1, y = 1, shelf = 0;
  for (const auto& r : kRanges)
    for (uint32_t code = r[0]; code <= r[1]; ++code) {
      FT_UInt index = FT_Get_Char_Index(face, code);
      if (!index || FT_Load_Glyph(face, index, FT_LOAD_RENDER | FT_LOAD_TARGET_LIGHT)) continue;
      FT_GlyphSlot slot = face->glyph;
      Pending p;
      p.g.Code = uint16_t(code);
      p.g.W = int16_t(slot->bitmap.width);
      p.g.H = int16_t(slot->bitmap.rows);
      p.g.Left = int16_t(slot->bitmap_left);
      p.g.Top = int16_t(slot->bitmap_top);
      p.g.Advance = float(slot->advance.x) / 64.0f;
      if (x + p.g.W + 1 > sheetW_) {
        x = 1;
        y += shelf + 1;
        shelf = 0;
      }
      p.g.U0 = float(x);
      p.g.V0 = float(y);
      x += p.g.W + 1;
      shelf = std::max(shelf, int(p.g.H));
      p.bits.resize(size_t(p.g.W) * size_t(p.g.H));
      for (int row = 0; row < p.g.H; ++row)
        std::copy_n(slot->bitmap.buffer + row * slot->bitmap.pitch, p.g.W, p.bits.data() + size_t(row) * size_t(p.g.W));
      pending.push_back(std::move(p));
    }
  FT_Done_Face(face);
  FT_Done_FreeType(lib);
  sheetH_ = 1;
  while (sheetH_ < y + shelf + 2) sheetH_ *= 2;
  coverage_.assign(size_t(sheetW_) * size_t(sheetH_), 0);
  map_.assign(kMapSize, -1);
  for (Pending& p : pending) {
    int gx = int(p.g.U0), gy = int(p.g.V0);
    for (int row = 0; row < p.g.H; ++row)
      std::copy_n(p.bits.data() + size_t(row) * size_t(p.g.W), p.g.W,
                  coverage_.data() + size_t(gy + row) * size_t(sheetW_) + size_t(gx));
    // Textures keep row 0 at the bottom, so v counts from the sheet's foot.
    p.g.U0 = float(gx) / float(sheetW_);
    p.g.U1 = float(gx + p.g.W) / float(sheetW_);
    p.g.V0 = 1.0f - float(gy) / float(sheetH_);
    p.g.V1 = 1.0f - float(gy + p.g.H) / float(sheetH_);
    map_[p.g.Code] = int16_t(glyphs_.size());
    glyphs_.push_back(p.g);
  }
  texture_ = -1;
  uploadedTo_ = nullptr;
  return !glyphs_.empty();
}

int FontAtlas::Upload(comms::cRender& render) {
  if (uploadedTo_ == &render && texture_ >= 0) return texture_;
  comms::cImage image;
  image.width = sheetW_;
  image.height = sheetH_;
  image.format = comms::kPixARGB8;
  image.data.resize(size_t(sheetW_) * size_t(sheetH_) * 4);
  for (int y = 0; y < sheetH_; ++y)
    for (int x = 0; x < sheetW_; ++x) {
      uint8_t* p = &image.data[(size_t(sheetH_ - 1 - y) * size_t(sheetW_) + size_t(x)) * 4];
      p[0] = p[1] = p[2] = 255;  // white; the colour comes from the quad
      p[3] = coverage_[size_t(y) * size_t(sheetW_) + size_t(x)];
    }
  int sampler = render.GetSamplerState(comms::kFilterLinear, comms::kAddressClamp, comms::kAddressClamp,
                                       comms::kAddressClamp);
  texture_ = render.CreateTexture(image, sampler);
  uploadedTo_ = &render;
  return texture_;
}

const Glyph* FontAtlas::Find(uint32_t code) const {
  if (glyphs_.empty()) return nullptr;
  int i = code < kMapSize ? map_[code] : -1;
  if (i < 0) i = map_['?'];
  return i >= 0 ? &glyphs_[size_t(i)] : nullptr;
}
