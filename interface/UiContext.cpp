// The interface context and its 2D drawing helpers; see UiContext.h.
#include "interface/UiContext.h"

#include <algorithm>
#include <cmath>

#include "interface/TextTable.h"
#include "render/Render.h"

UiContext& Ui() {
  static UiContext context;
  return context;
}

bool UiContext::LoadFont(const std::string& path) {
  fontPath_ = path;
  return Font.Bake(path, int(std::lround(12.0f * Scale * 96.0f / 72.0f)));
}

void UiContext::SetDpi(float dpi) {
  // Whole and half steps keep the pixel grid crisp.
  float s = std::max(1.0f, std::round(dpi / 96.0f * 2.0f) / 2.0f);
  if (s == Scale) return;
  Scale = s;
  if (!fontPath_.empty()) LoadFont(fontPath_);
}

void UiContext::Forget(BaseWidget* w) {
  if (Drag == w) Drag = nullptr;
  if (UnderDrag == w) UnderDrag = nullptr;
}

void UiContext::FillRect(float x, float y, float w, float h, uint32_t color) {
  if (Render && w > 0 && h > 0) Render->FillRect(comms::cRect(x, y, x + w, y + h), 0, color);
}

void UiContext::FrameRect(float x, float y, float w, float h, uint32_t color) {
  if (Render && w > 0 && h > 0) Render->DrawFrame(comms::cRect(x, y, x + w, y + h), 0, color);
}

void UiContext::Line(float x0, float y0, float x1, float y1, uint32_t color) {
  if (Render) Render->DrawLine(x0, y0, x1, y1, 0, color, color);
}

float UiContext::TextWidth(const char* text, float size) const {
  if (!text || !Font.Ready()) return 0;
  float k = size * Scale * 96.0f / 72.0f / float(Font.PixelSize());
  float w = 0;
  const TextTable& table = TheTextTable();
  for (const char* p = text; *p;) {
    int n = 1;
    uint32_t code = table.DecodeChar(p, n);
    if (const Glyph* g = Font.Find(code)) w += g->Advance * k;
    p += std::max(1, n);
  }
  return w;
}

float UiContext::DrawText(float x, float y, const char* text, uint32_t color, float size, float maxWidth) {
  if (!text || !Font.Ready()) return 0;
  float k = size * Scale * 96.0f / 72.0f / float(Font.PixelSize());
  float pen = std::round(x);
  float base = std::round(y + Font.Ascent() * k);
  if (Render) Render->Set2DTexture(Font.Upload(*Render), -1);
  const TextTable& table = TheTextTable();
  const uint32_t colors[4] = {color, color, color, color};
  for (const char* p = text; *p;) {
    int n = 1;
    uint32_t code = table.DecodeChar(p, n);
    p += std::max(1, n);
    const Glyph* g = Font.Find(code);
    if (!g) continue;
    if (maxWidth > 0 && pen + g->Advance * k > x + maxWidth) break;
    if (Render && g->W > 0) {
      float gx = pen + g->Left * k, gy = base - g->Top * k;
      float gw = g->W * k, gh = g->H * k;
      const comms::cVec2 pts[4] = {{gx, gy}, {gx + gw, gy}, {gx + gw, gy + gh}, {gx, gy + gh}};
      const comms::cVec2 uvs[4] = {{g->U0, g->V0}, {g->U1, g->V0}, {g->U1, g->V1}, {g->U0, g->V1}};
      Render->DrawTexturedQuad(pts, uvs, 0, colors);
    }
    pen += g->Advance * k;
  }
  if (Render) Render->Set2DTexture(-1, -1);
  return pen - x;
}

void UiContext::SetClip(float x, float y, float w, float h) {
  if (!Render) return;
  // The renderer's scissor counts from the bottom left.
  float top = float(ScreenH) - (y + std::max(0.0f, h));
  Render->SetScissor(comms::cRect(x, top, x + std::max(0.0f, w), top + std::max(0.0f, h)));
}

void UiContext::ResetClip() {
  if (Render) Render->SetScissor(comms::cRect(1, 1, 0, 0));  // inverted: off
}
