// How each pixel format index maps to OpenGL: internal format, the upload
// format and type (packed types for 5-6-5, 4-4-4-4 and 10-10-10-2), and the
// swizzle that gives luminance and one- or two-channel formats the channels a
// shader expects (L -> rgb, missing channels -> 1).
#pragma once
#include <epoxy/gl.h>

#include <cstdint>

namespace comms {

struct GLFormat {
  GLenum Internal = 0, Format = 0, Type = 0;
  GLint Swizzle[4] = {GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA};
  bool Depth = false, Block = false, Renderable = true;
};

// Bytes of one w x h level of a format as the device reads and writes it
// (cImage leaves out the packed 10-10-10-2 format).
uint64_t DeviceLevelBytes(int format, uint64_t w, uint64_t h);

// False for a format with no device form (0, 7, 11, 15, 17, out of range).
bool GLFormatOf(int format, GLFormat& out);

}  // namespace comms
