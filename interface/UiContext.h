// The interface's main-thread context: the renderer it draws with, the font,
// the UI scale of high-DPI screens, the tick, the screen size, the pointer and
// the widgets the router remembers (drag, popup owner). One per program,
// reached through Ui(); tests point it at a recording renderer.
#pragma once
#include <cstdint>
#include <string>

#include "interface/FontAtlas.h"

namespace comms {
class cRender;
}
class BaseWidget;

// Theme colours of the interface, 0xAARRGGBB.
// A widget's colour may name a slot of the theme instead of a colour (a
// fully transparent value below 16 is never a useful colour), so that the
// widget follows a change of theme: Theme::Resolve turns it into the colour.
enum ThemeSlot : uint32_t {
  kThemePanel = 1,
  kThemeField,
  kThemeFieldHover,
  kThemeFrame,
  kThemeHighlight,
  kThemeText,
  kThemeDimText,
  kThemeButton,
  kThemeHeader,
  kThemeMenu,  // the panel colour made opaque: lists that open over panels
};

struct Theme {
  uint32_t Panel = 0xf0383b40u;
  uint32_t Field = 0xff25272bu;
  uint32_t FieldHover = 0xff30333au;
  uint32_t Frame = 0xff5a5e66u;
  uint32_t Highlight = 0xff4f8fd9u;
  uint32_t Text = 0xffe6e6e6u;
  uint32_t DimText = 0xffa0a4aau;
  uint32_t Button = 0xff4a4e56u;
  uint32_t Header = 0xff2e3035u;  // folder captions

  // A slot's colour in this theme; any other value as it stands.
  uint32_t Resolve(uint32_t c) const {
    switch (c) {
      case kThemePanel: return Panel;
      case kThemeField: return Field;
      case kThemeFieldHover: return FieldHover;
      case kThemeFrame: return Frame;
      case kThemeHighlight: return Highlight;
      case kThemeText: return Text;
      case kThemeDimText: return DimText;
      case kThemeButton: return Button;
      case kThemeHeader: return Header;
      case kThemeMenu: return Panel | 0xff000000u;
      default: return c;
    }
  }
};

class UiContext {
 public:
  comms::cRender* Render = nullptr;
  FontAtlas Font;
  Theme Colors;
  float Scale = 1.0f;  // pixels per interface unit
  uint32_t Tick = 0;
  int ScreenW = 1280, ScreenH = 720;
  float PointerX = 0, PointerY = 0, PrevX = 0, PrevY = 0;
  bool LeftHeld = false, RightHeld = false, MiddleHeld = false;
  float Wheel = 0;
  int Key = -1;  // the key of the event being handled
  int Message = 0;
  uint32_t LastPress = 0;
  bool DrawingOff = false;
  // Set by a text box that drew its blinking caret in this frame, so the
  // program knows to draw again when the caret changes.
  bool CaretShown = false;
  BaseWidget* Drag = nullptr;
  BaseWidget* UnderDrag = nullptr;

  // Loads DejaVu Sans at 12 points times the scale; false if the font is missing.
  bool LoadFont(const std::string& path = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
  // Picks the scale for a screen of this many dots per inch (96 is 1.0).
  void SetDpi(float dpi);
  // Clears every reference to a widget that is being destroyed.
  void Forget(BaseWidget* w);

  // Interface units to pixels.
  float Px(float units) const { return units * Scale; }

  // 2D drawing in screen pixels, y downwards; nothing without a renderer.
  void FillRect(float x, float y, float w, float h, uint32_t color);
  void FrameRect(float x, float y, float w, float h, uint32_t color);
  void Line(float x0, float y0, float x1, float y1, uint32_t color);
  // Draws 8-bit text decoded by the text table's encoding; returns its width.
  // With maxWidth above 0, glyphs that would end past it are left out.
  float DrawText(float x, float y, const char* text, uint32_t color, float size = 12, float maxWidth = 0);
  float TextWidth(const char* text, float size = 12) const;
  // The scissor rectangle in screen pixels, y downwards; Reset clears it.
  void SetClip(float x, float y, float w, float h);
  void ResetClip();

 private:
  std::string fontPath_;
};

UiContext& Ui();
