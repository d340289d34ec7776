// The table of pixel formats on OpenGL; see GLFormats.h.
#include "render/GLFormats.h"

#include "interchange/Image.h"

namespace comms {

uint64_t DeviceLevelBytes(int format, uint64_t w, uint64_t h) {
  if (format == 20) return w * h * 4;
  return cImage::LevelBytes(format, w, h);
}

bool GLFormatOf(int format, GLFormat& f) {
  f = GLFormat();
  auto sw = [&f](GLint r, GLint g, GLint b, GLint a) {
    f.Swizzle[0] = r, f.Swizzle[1] = g, f.Swizzle[2] = b, f.Swizzle[3] = a;
  };
  switch (format) {
    case 1: f = {GL_R8, GL_RED, GL_UNSIGNED_BYTE}; sw(GL_RED, GL_RED, GL_RED, GL_ONE); break;
    case 2: f = {GL_RG8, GL_RG, GL_UNSIGNED_BYTE}; sw(GL_RED, GL_RED, GL_RED, GL_GREEN); break;
    case 3: f = {GL_RGBA8, GL_RGB, GL_UNSIGNED_BYTE}; sw(GL_RED, GL_GREEN, GL_BLUE, GL_ONE); break;
    case 4: f = {GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE}; break;
    case 5: f = {GL_R16, GL_RED, GL_UNSIGNED_SHORT}; sw(GL_RED, GL_RED, GL_RED, GL_ONE); break;
    case 6: f = {GL_RG16, GL_RG, GL_UNSIGNED_SHORT}; sw(GL_RED, GL_GREEN, GL_ONE, GL_ONE); break;
    case 8: f = {GL_RGBA16, GL_RGBA, GL_UNSIGNED_SHORT}; break;
    case 9: f = {GL_R16F, GL_RED, GL_HALF_FLOAT}; sw(GL_RED, GL_ONE, GL_ONE, GL_ONE); break;
    case 10: f = {GL_RG16F, GL_RG, GL_HALF_FLOAT}; sw(GL_RED, GL_GREEN, GL_ONE, GL_ONE); break;
    case 12: f = {GL_RGBA16F, GL_RGBA, GL_HALF_FLOAT}; break;
    case 13: f = {GL_R32F, GL_RED, GL_FLOAT}; sw(GL_RED, GL_ONE, GL_ONE, GL_ONE); break;
    case 14: f = {GL_RG32F, GL_RG, GL_FLOAT}; sw(GL_RED, GL_GREEN, GL_ONE, GL_ONE); break;
    case 16: f = {GL_RGBA32F, GL_RGBA, GL_FLOAT}; break;
    case 18: f = {GL_RGB565, GL_RGB, GL_UNSIGNED_SHORT_5_6_5}; sw(GL_RED, GL_GREEN, GL_BLUE, GL_ONE); break;
    // A in the top nibble, then R, G, B: BGRA read from the low bits up.
    case 19: f = {GL_RGBA4, GL_BGRA, GL_UNSIGNED_SHORT_4_4_4_4_REV}; break;
    // R in the low 10 bits, A in the top 2.
    case 20: f = {GL_RGB10_A2, GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV}; break;
    case 21: f = {GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT}; f.Depth = true; break;
    case 22: f = {GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_UNSIGNED_INT}; f.Depth = true; break;
    case 23: f = {GL_DEPTH24_STENCIL8, GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8}; f.Depth = true; break;
    case 24: f = {GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 0, 0}; f.Block = true; break;
    case 25: f = {GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, 0, 0}; f.Block = true; break;
    case 26: f = {GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 0, 0}; f.Block = true; break;
    default: return false;
  }
  f.Renderable = !f.Block && !f.Depth;
  return true;
}

}  // namespace comms
