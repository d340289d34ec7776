// OnePenStyle: a material for the pen, four picture slots (depth, colour,
// specular and one more), each with its switch, file, shift, scale and angle.
// The active style feeds the paint sample: the depth picture scales a dab's
// depth by how far its value lies from the picture's mean, the colour
// picture tints the paint and its alpha thins it, the specular picture
// scales the specular. A sample reads the pictures at its place on the
// screen, turned, scaled and shifted by the slot's transform; the pictures
// repeat.
#pragma once
#include <functional>
#include <string>
#include <vector>

namespace comms {
class cImage;
}

class OnePenStyle {
 public:
  enum SlotIndex { kDepth = 0, kColor = 1, kSpecular = 2, kExtra = 3, kSlots = 4 };
  struct Slot {
    bool Enabled = false;
    std::string FileName;
    float ShiftX = 0, ShiftY = 0;  // picture pixels
    float Scale = 1;               // screen pixels a picture pixel
    float Angle = 0;               // radians
    // Loaded picture: 4 channels 0..255 a pixel, top row first; Mean is the
    // mean of the first channel (the depth's zero).
    int W = 0, H = 0;
    std::vector<float> Rgba;
    float Mean = 0;
    bool Ready() const { return Enabled && W > 0 && H > 0; }
  };
  Slot Slots[kSlots];

  // The style laid by the paint sample; null for none.
  static inline const OnePenStyle* Active = nullptr;

  // A point to view pixels (x right, y down); false behind the view.
  std::function<bool(const float p[3], float& sx, float& sy)> Project;

  // Loads the pictures of the enabled slots from their files, logging each
  // stage; a slot whose picture fails to load is switched off. False when
  // any failed.
  bool Activate();
  // Installs a decoded picture in a slot and switches it on; false for a
  // picture of no 8-bit channels.
  bool SetPicture(int slot, const comms::cImage& picture);

  // What the style says at a point: the slot's four channels (0..255) at its
  // place; false when the slot is off or the point is behind the view.
  bool Read(int slot, const float p[3], float out[4]) const;
};
