// The text table: every word the user sees comes from Text(key). Keys are
// upper case; the user's table (text.xml in the user folder) learns every key
// ever asked for, taking its words from Languages/English.xml or, failing
// that, the key itself, so translators see what is missing. Languages are the
// *.xml files of Languages/; a language names its character decoding with the
// key "ENCODING". Main thread only: a lookup may change the table.
#pragma once
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"

class TextItem : public BaseClass {
 public:
  _str ID;
  _str Text;
  MV_CLASS(TextItem, BaseClass) {
    Member("_str", ID, "ID");
    Member("_str", Text, "Text");
  }
};

// One language file: its file name and its display name (the name without
// extension, upper case).
class OneLang : public BaseClass {
 public:
  _str FileName;
  _str DisplayName;
  MV_CLASS(OneLang, BaseClass) {
    Member("_str", FileName, "FileName");
    Member("_str", DisplayName, "DisplayName");
  }
};

// A word of the hint line and its replacement (Languages/replace.txt).
class reps : public BaseClass {
 public:
  _str Word;         // up to 31 characters
  _str Replacement;  // up to 63
  MV_CLASS(reps, BaseClass) {
    Member("_str", Word, "Word");
    Member("_str", Replacement, "Replacement");
  }
};

enum TextEncoding {
  kEncodingByte = 0,
  kEncodingGB2312 = 1,
  kEncodingUTF8 = 2,
  kEncodingShiftJIS = 3,
  kEncodingRUS = 4,
  kEncodingPolish = 5,
  kEncodingWin1250 = 6,
};

class TextTable {
 public:
  // `userFile`: the user's text.xml; `dataFolder`: holds Languages/.
  TextTable(std::string userFile, std::string dataFolder);
  TextTable(const TextTable&) = delete;
  TextTable& operator=(const TextTable&) = delete;

  // The words of `key`; learns an unknown key. The result lives as long as
  // the table is not reloaded.
  const char* Text(const char* key);
  // The words of a known key, null for a miss; learns nothing.
  const char* Find(const char* key);
  // Writes text.xml if a key was learnt since the last load or save.
  bool SaveText();
  // Clears both lists and reads text.xml and Languages/English.xml. A file
  // that is missing or does not parse leaves its list empty and is logged.
  void LoadText();
  // The languages of Languages/, found once.
  const ClassArray<OneLang>& Languages();
  // Copies the language file over text.xml and reloads; false for a bad index
  // or a file that cannot be read (the table then stays as it was).
  bool SetLanguage(int index);
  int Encoding() const { return encoding_; }
  void SetEncoding(int encoding) { encoding_ = encoding; }
  // The next character of `text` and its length in bytes.
  uint32_t DecodeChar(const char* text, int& length) const;
  // Applies the replacement pairs of replace.txt to a hint's text.
  void ApplyReplacements(std::string& text) const;
  const ClassArray<reps>& Replacements() const { return replacements_; }
  bool Changed() const { return changed_; }
  // Whether Languages/English.xml was read by the last load.
  bool EnglishLoaded() const { return englishLoaded_; }
  int UserCount() const { return user_.items.GetAmount(); }
  const std::string& UserFile() const { return userFile_; }

  // The key hash shared by both lists.
  static uint32_t HashKey(const char* key);

 private:
  struct List {
    ClassArray<TextItem> items;
    std::unordered_multimap<uint32_t, int> index;
    TextItem* Find(const char* key, uint32_t hash) const;
    void Rebuild();
  };
  void StartUp();
  bool LoadList(List& list, const std::string& path);
  void ReadReplacements();
  void WriteSymbolList();
  void MarkCharacters(const List& list, std::vector<bool>& marks) const;
  int EncodingOf(const char* value) const;

  std::string userFile_, dataFolder_;
  List user_, english_;
  // Keys asked for while the English table could not be read: shown as
  // themselves, never saved.
  List unsaved_;
  ClassArray<OneLang> languages_;
  ClassArray<reps> replacements_;
  bool started_ = false, changed_ = false, languagesFound_ = false, englishLoaded_ = false;
  int encoding_ = kEncodingByte;
};

// The program's table: the user folder's text.xml and the data folder.
TextTable& TheTextTable();
// Replaces the program's table (tests); null restores the default one.
void SetTextTable(TextTable* table);

const char* Text(const char* key);
bool SaveText();
void LoadText();
bool SetLanguage(int index);
uint32_t DecodeChar(const char* text, int& length);
