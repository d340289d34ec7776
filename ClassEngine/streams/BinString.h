// The binary form of a string:
//   0xFF, u16 index          a string known to the dictionary
//   length < 254, bytes      a short string (one byte of length)
//   0xFE, u16 length, bytes  a longer one
// No terminator. Lengths are kept to 16 bits: strings of 65,536 bytes or more
// are cut there, so callers keep them shorter.
#pragma once
#include <functional>
#include <string>

#include "ClassEngine/streams/BinStream.h"

// `dictionaryIndex` is the string's index in the dictionary, or -1.
void WriteBinString(BinStream& stream, const char* text, int dictionaryIndex = -1);

// `fromDictionary` turns an index into its text; without it, or for the index
// -1, a dictionary entry reads as an empty text. False when the stream ended early.
bool ReadBinString(BinStream& stream, std::string& out,
                   const std::function<const char*(int index)>& fromDictionary = nullptr);
