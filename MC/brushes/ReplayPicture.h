// The picture of a replayed volume: an offscreen OpenGL context (EGL, no
// window) draws the sculpted volume from a fixed three-quarter camera over
// the default gradient and writes a PNG, so a script's result can be judged
// by eye without a display.
#pragma once
#include <string>

class VolumeObject;

// False (logged, with the reason in `why`) where no context or renderer can be
// made, or the file cannot be written.
bool WriteReplayPicture(VolumeObject& volume, const std::string& path, int width, int height, std::string* why);
