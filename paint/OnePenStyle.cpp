// The pen style's pictures and where a sample reads them (see OnePenStyle.h).
#include "paint/OnePenStyle.h"

#include <cmath>

#include "ClassEngine/Log.h"
#include "interchange/IO.h"
#include "interchange/Image.h"

bool OnePenStyle::SetPicture(int index, const comms::cImage& picture) {
  if (index < 0 || index >= kSlots) return false;
  const int bpp = comms::cImage::BytesPerPixel(picture.format);
  if (picture.format < 1 || picture.format > 4 || picture.width <= 0 || picture.height <= 0 ||
      picture.data.size() < (size_t)picture.width * picture.height * bpp)
    return false;
  Slot& s = Slots[index];
  s.W = picture.width, s.H = picture.height;
  s.Rgba.assign((size_t)s.W * s.H * 4, 255.0f);
  double sum = 0;
  // Rows of a picture are stored bottom-up; the slot keeps the top first.
  for (int y = 0; y < s.H; y++) {
    const uint8_t* row = picture.data.data() + (size_t)(s.H - 1 - y) * s.W * bpp;
    for (int x = 0; x < s.W; x++) {
      float* o = &s.Rgba[((size_t)y * s.W + x) * 4];
      const uint8_t* p = row + x * bpp;
      if (bpp >= 3) {
        o[0] = p[0], o[1] = p[1], o[2] = p[2];
      } else {
        o[0] = o[1] = o[2] = p[0];
      }
      if (bpp == 4) o[3] = p[3];
      if (bpp == 2) o[3] = p[1];
      sum += o[0];
    }
  }
  s.Mean = (float)(sum / ((double)s.W * s.H));
  s.Enabled = true;
  return true;
}

bool OnePenStyle::Activate() {
  Log("OnePenStyle::Activate()");
  bool ok = true;
  static const char* const kStages[] = {", stage 1", ", stage 2", ", stage 3"};
  for (int i = 0; i < kSlots; i++) {
    Slot& s = Slots[i];
    if (i < 3) Log("%s", kStages[i]);
    if (!s.Enabled || s.FileName.empty()) continue;
    comms::cImage picture;
    if (!comms::cIO::LoadImage(s.FileName, picture) || !SetPicture(i, picture)) {
      Log("OnePenStyle::Activate(): cannot use %s", s.FileName.c_str());
      s.Enabled = false, s.W = s.H = 0, s.Rgba.clear();
      ok = false;
    }
  }
  Log("OnePenStyle::Activate() - done");
  return ok;
}

bool OnePenStyle::Read(int index, const float p[3], float out[4]) const {
  if (index < 0 || index >= kSlots || !Slots[index].Ready() || !Project) return false;
  const Slot& s = Slots[index];
  float sx, sy;
  if (!Project(p, sx, sy)) return false;
  // Screen to picture: turned by the angle, scaled, shifted; the picture repeats.
  const float c = std::cos(s.Angle), n = std::sin(s.Angle);
  const float u = (c * sx + n * sy) / s.Scale + s.ShiftX, v = (-n * sx + c * sy) / s.Scale + s.ShiftY;
  auto wrap = [](float a, int size) {
    const int i = (int)std::floor(a);
    return ((i % size) + size) % size;
  };
  const float* px = &s.Rgba[((size_t)wrap(v, s.H) * s.W + wrap(u, s.W)) * 4];
  for (int k = 0; k < 4; k++) out[k] = px[k];
  return true;
}
