// The size of a rendered picture and the enumerations that choose it (see
// RenderParams.h).
#include <algorithm>
#include <cstdio>

#include "ClassEngine/Enumerator.h"
#include "MC/render/RenderParams.h"

Enumerator* RenderViewSizes() {
  Enumerator* e = GetEnumerator("RVIEWSIZE");
  if (e->GetStoredAmount() == 0) {
    e->Add("WholeScreen");
    e->Add("CustomRenderSize");
  }
  return e;
}

Enumerator* RenderSizes() {
  Enumerator* e = GetEnumerator("RENDERSIZE");
  if (e->GetStoredAmount() == 0)
    for (int k = 1; k <= kRenderSizeMultiples; ++k) {
      char text[32];
      snprintf(text, sizeof text, "%d x %d", k, k);
      e->Add(text);
    }
  return e;
}

void PictureSize(const RenderParams& params, int viewW, int viewH, bool finished, int& width, int& height) {
  const bool custom = params.ViewSize == CustomRenderSize;
  width = custom ? params.ViewSizeX : viewW;
  height = custom ? params.ViewSizeY : viewH;
  const int multiple = finished ? std::clamp(params.RenderSize, 0, kRenderSizeMultiples - 1) + 1 : 1;
  width = std::clamp(width, 1, kMaxPictureSide / multiple) * multiple;
  height = std::clamp(height, 1, kMaxPictureSide / multiple) * multiple;
}
