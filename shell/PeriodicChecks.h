// Two polls of the application frame: Exchange/import.txt, written by other
// programs to hand over a mesh path, every 500 ms; and the clipboard, every
// 330 ms, whose six hex digits become the current colour.
#pragma once
#include <cstdint>
#include <string>

// The path in the first line of the import file (up to 8,191 bytes, trailing
// line ends cut); the file is deleted. Empty when there is none.
std::string TakeImportRequest(const std::string& path);

// The packed 0xAARRGGBB colour the pen reads; the clipboard rule sets it.
uint32_t CurrentColor();
void SetCurrentColor(uint32_t argb);

// True when `text` is exactly six hexadecimal digits; `rgb` gets the value.
bool ParseHexColour(const std::string& text, uint32_t& rgb);

class Interval {
 public:
  explicit Interval(uint32_t periodMs) : period_(periodMs) {}
  // True once per period; the first call starts the count.
  bool Due(uint32_t nowMs);

 private:
  uint32_t period_, last_ = 0;
  bool started_ = false;
};

class ClipboardColourWatch {
 public:
  // Sets the current colour when the text changed and is a colour.
  bool Check(const std::string& clipboard);

 private:
  std::string seen_;
  bool first_ = true;
};
