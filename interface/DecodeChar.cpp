// One character of 8-bit interface text by the language's encoding. The byte
// 0x85 always stands for itself; the two-byte code pages and the 8-bit pages
// of Polish and Windows-1250 go through iconv, one cached converter each.
#include <iconv.h>

#include <cstring>

#include "interface/TextTable.h"

namespace {
// Converts `bytes` bytes of a legacy code page to one code point; 0 on failure.
uint32_t ThroughCodePage(const char* page, const char* text, int bytes) {
  struct Cache {
    const char* page = nullptr;
    iconv_t cd = (iconv_t)-1;
  };
  static Cache caches[4];
  Cache* c = nullptr;
  for (Cache& k : caches)
    if (k.page == page || !k.page) {
      c = &k;
      break;
    }
  if (!c) return 0;
  if (!c->page) {
    c->page = page;
    c->cd = iconv_open("UTF-32LE", page);
  }
  if (c->cd == (iconv_t)-1) return 0;
  char in[2];
  memcpy(in, text, size_t(bytes));
  char* inp = in;
  size_t inLeft = size_t(bytes);
  uint32_t out = 0;
  char* outp = reinterpret_cast<char*>(&out);
  size_t outLeft = 4;
  iconv(c->cd, nullptr, nullptr, nullptr, nullptr);
  if (iconv(c->cd, &inp, &inLeft, &outp, &outLeft) == (size_t)-1) return 0;
  return out;
}

uint32_t Utf8(const unsigned char* s, int& length) {
  int n = s[0] >= 0xf0 ? 4 : s[0] >= 0xe0 ? 3 : s[0] >= 0xc0 ? 2 : 1;
  uint32_t code = n == 1 ? s[0] : n == 2 ? s[0] & 0x1fu : n == 3 ? s[0] & 0x0fu : s[0] & 0x07u;
  for (int i = 1; i < n; ++i) {
    // A broken sequence decodes its first byte alone rather than eating text.
    if ((s[i] & 0xc0) != 0x80) {
      length = 1;
      return s[0];
    }
    code = (code << 6) | (s[i] & 0x3fu);
  }
  length = n;
  return code;
}
}  // namespace

uint32_t TextTable::DecodeChar(const char* text, int& length) const {
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  length = s[0] ? 1 : 0;
  if (!s[0]) return 0;
  if (s[0] < 0x80 || s[0] == 0x85) return s[0];
  switch (encoding_) {
    case kEncodingUTF8:
      return Utf8(s, length);
    case kEncodingGB2312:
    case kEncodingShiftJIS: {
      const char* page = encoding_ == kEncodingGB2312 ? "GB2312" : "SHIFT_JIS";
      if (s[1]) {
        if (uint32_t c = ThroughCodePage(page, text, 2)) {
          length = 2;
          return c;
        }
      }
      uint32_t c = ThroughCodePage(page, text, 1);
      return c ? c : s[0];
    }
    case kEncodingRUS:
      if (s[0] == 0xa8) return 0x401;
      if (s[0] == 0xb8) return 0x451;
      return s[0] >= 0xc0 ? s[0] + 0x350u : s[0];
    case kEncodingPolish:
      if (s[0] >= 0xa0) {
        uint32_t c = ThroughCodePage("ISO-8859-2", text, 1);
        return c ? c : s[0];
      }
      return s[0];
    case kEncodingWin1250: {
      uint32_t c = ThroughCodePage("WINDOWS-1250", text, 1);
      return c ? c : s[0];
    }
    default:
      return s[0];
  }
}
