// The binary form of reflected objects: the shared parts that the templates
// ClassArray and ClassPtr call, and the dictionary helpers of strings. The
// compound form itself is BaseClass::SaveBin/LoadBin in ClassBin.cpp:
//   count (u8), then count times (member index u8, member data),
// holding only the members that differ from a fresh, reset object.
#pragma once

class BaseClass;
class BinStream;
class Enumerator;

// A ClassArray: u32 count, then per element its class name (a string) and
// its SaveBin; an empty slot is named "NULL" and carries nothing more.
bool SaveBinArray(BaseClass* array, BinStream* stream, Enumerator* dictionary);
// Resets the array, then reads elements through ExpandWith. False on an
// unknown class, a count beyond the stream, or a broken element; the array
// is then empty again.
bool LoadBinArray(BaseClass* array, BinStream* stream, Enumerator* dictionary);

// A ClassPtr: byte 0 for none, or byte 1, the child's class name and SaveBin.
bool SaveBinPtr(BaseClass* holder, BinStream* stream, Enumerator* dictionary);
bool LoadBinPtr(BaseClass* holder, BinStream* stream, Enumerator* dictionary);

// The dictionary index under which `text` is written, or -1 to write it out.
int DictionaryIndex(Enumerator* dictionary, const char* text);
// The text of dictionary index `index`, or null.
const char* DictionaryText(Enumerator* dictionary, int index);
