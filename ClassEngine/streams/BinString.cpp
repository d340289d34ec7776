#include "ClassEngine/streams/BinString.h"

#include <cstring>

void WriteBinString(BinStream& stream, const char* text, int dictionaryIndex) {
  if (dictionaryIndex >= 0) {
    stream.WriteBYTE(0xFF);
    stream.WriteWORD((uint16_t)dictionaryIndex);
    return;
  }
  size_t length = text ? std::strlen(text) : 0;
  if (length > 0xFFFF) length = 0xFFFF;
  if (length < 254) {
    stream.WriteBYTE((uint8_t)length);
  } else {
    stream.WriteBYTE(0xFE);
    stream.WriteWORD((uint16_t)length);
  }
  if (length) stream.Write(text, (int64_t)length);
}

bool ReadBinString(BinStream& stream, std::string& out,
                   const std::function<const char*(int)>& fromDictionary) {
  out.clear();
  uint8_t head = 0;
  if (stream.Read(&head, 1) != 1) return false;
  if (head == 0xFF) {
    uint8_t b[2];
    if (stream.Read(b, 2) != 2) return false;
    int index = (int16_t)(b[0] | b[1] << 8);
    if (index >= 0 && fromDictionary) {
      const char* text = fromDictionary(index);
      if (text) out = text;
    }
    return true;
  }
  int length = head;
  if (head == 0xFE) {
    uint8_t b[2];
    if (stream.Read(b, 2) != 2) return false;
    length = b[0] | b[1] << 8;
  }
  if (length == 0) return true;
  out.resize((size_t)length);
  int64_t got = stream.Read(out.data(), length);
  out.resize((size_t)(got > 0 ? got : 0));
  return got == length;
}
