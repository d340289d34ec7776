// A picture drawn offscreen and written as a PNG: a colour and depth target
// of the size asked is bound (viewport over it, cleared to black), `draw`
// draws into it, and the target is read back as an opaque picture.
#pragma once
#include <functional>
#include <string>

namespace comms {

class cRender;

// False with the reason when no target can be made or the file not written.
bool DrawPictureToPng(cRender& render, int width, int height, const std::string& path,
                      const std::function<void()>& draw, std::string* why = nullptr);

}  // namespace comms
