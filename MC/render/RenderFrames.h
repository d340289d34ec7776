// The render room's loop and its ways out: frames are added until the limit
// or until the caller says stop (Esc), the "rays" line tells how far it got,
// and the picture goes to a numbered file that need not overwrite another.
// `morvane --render IN OUT FRAMES` is this loop without a window.
#pragma once
#include <functional>
#include <string>
#include <vector>

class VolumeRender;

// Adds frames until `maxFrames` are in the picture or stop(rays) says so
// (it is asked after each frame); the number of frames added.
int RenderFrames(VolumeRender& render, int maxFrames, const std::function<bool(int rays)>& stop = nullptr);
// "Press ESC to stop. Rays: %d".
std::string RaysLine(int rays);
// The line of a sequence: "Frame %04d/%d (%d min left). Press ESC to stop. Rays: %d".
std::string SequenceLine(int frame, int frames, int minutesLeft, int rays);
// Minutes a sequence still needs: the minutes it took so far times (all its
// frames over the frames done, minus 1), to the nearest minute; `done` may
// count part of a frame. 0 before anything is done.
int MinutesLeft(double elapsedMinutes, double done, int frames);
// "%s%06d.<ext>" for number 0, or with dontOverwrite the first number whose
// file does not exist yet.
std::string NumberedFileName(const std::string& stem, const std::string& ext, bool dontOverwrite);
// args: IN OUT FRAMES [WIDTH HEIGHT]. IN is a scene file (.mvn: its visible
// volumes) or a stroke script (the sculpted volume); OUT is png, tga, bmp or
// exr. Returns the process exit code.
int RunRenderCommand(const std::vector<std::string>& args);
