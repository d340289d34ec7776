// The text table's lists, lookup, learning, languages and replacements; see
// TextTable.h. Character decoding lives in DecodeChar.cpp.
#include "interface/TextTable.h"

#include <dirent.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>

#include "ClassEngine/Log.h"
#include "ClassEngine/TextLookup.h"
#include "ClassEngine/UserPaths.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "ClassEngine/DataFolder.h"

uint32_t TextTable::HashKey(const char* key) {
  const signed char* s = reinterpret_cast<const signed char*>(key);
  int n = int(strlen(key));
  uint32_t h = 0;
  for (int i = 0; i < n; ++i) h += uint32_t((i + 1) * s[i] * (s[i + 1] + 37));
  // Long keys also mix in their bytes four at a time.
  for (int i = 0; i < n - 4; i += 4) {
    uint32_t word;
    memcpy(&word, key + i, 4);
    h ^= word;
  }
  return h;
}

TextItem* TextTable::List::Find(const char* key, uint32_t hash) const {
  auto range = index.equal_range(hash);
  for (auto it = range.first; it != range.second; ++it) {
    TextItem* item = items[it->second];
    if (item && item->ID == key) return item;
  }
  return nullptr;
}

void TextTable::List::Rebuild() {
  index.clear();
  for (int i = 0; i < items.GetAmount(); ++i)
    if (items[i]) index.emplace(HashKey(items[i]->ID.cpchar()), i);
}

TextTable::TextTable(std::string userFile, std::string dataFolder)
    : userFile_(std::move(userFile)), dataFolder_(std::move(dataFolder)) {
  TextItem model;
  RegisterClass(&model, "Interface", "TextItem");
  model.RegisterMembers();
}

// Reads one list into a fresh array first, so a file that does not parse
// leaves nothing half-loaded.
bool TextTable::LoadList(List& list, const std::string& path) {
  list.items.Clear();
  list.index.clear();
  XmlNode tree;
  if (!tree.ReadFromFile(path.c_str())) {
    Log("TextTable::LoadText(): cannot read %s", path.c_str());
    return false;
  }
  ErrorCollector quiet(false);
  list.items.Load(&tree, &list.items, &quiet);
  list.Rebuild();
  return true;
}

void TextTable::LoadText() {
  LoadList(user_, userFile_);
  englishLoaded_ = LoadList(english_, dataFolder_ + "/Languages/English.xml");
  unsaved_.items.Clear();
  unsaved_.index.clear();
  changed_ = false;
  if (TextItem* e = user_.Find("ENCODING", HashKey("ENCODING")))
    encoding_ = EncodingOf(e->Text.cpchar());
  else if (TextItem* e2 = english_.Find("ENCODING", HashKey("ENCODING")))
    encoding_ = EncodingOf(e2->Text.cpchar());
}

int TextTable::EncodingOf(const char* value) const {
  static const char* const names[] = {"", "GB2312", "UTF8", "Shift_JIS", "RUS", "POLISH", "Win1250"};
  for (int i = 1; i < 7; ++i)
    if (strcmp(value, names[i]) == 0) return i;
  return kEncodingByte;
}

void TextTable::ReadReplacements() {
  replacements_.Clear();
  FILE* f = fopen((dataFolder_ + "/Languages/replace.txt").c_str(), "r");
  if (!f) return;
  char line[512], word[32], replacement[64];
  while (fgets(line, sizeof line, f) && sscanf(line, "%31s %63s", word, replacement) == 2) {
    auto* r = new reps;
    r->Word = word;
    r->Replacement = replacement;
    replacements_.Add(r);
  }
  fclose(f);
}

namespace {
std::vector<std::string> XmlFilesIn(const std::string& folder) {
  std::vector<std::string> files;
  if (DIR* d = opendir(folder.c_str())) {
    while (dirent* e = readdir(d)) {
      std::string name = e->d_name;
      if (name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".xml") == 0) files.push_back(name);
    }
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  return files;
}
}  // namespace

void TextTable::MarkCharacters(const List& list, std::vector<bool>& marks) const {
  for (int i = 0; i < list.items.GetAmount(); ++i) {
    if (!list.items[i]) continue;
    for (const char* p = list.items[i]->Text.cpchar(); *p;) {
      int n = 1;
      uint32_t code = DecodeChar(p, n);
      if (code < marks.size()) marks[code] = true;
      p += std::max(1, n);
    }
  }
}

// The font-generation list: every character that the languages of Symgen/
// use, with the built-in tables and the Latin, Greek and Cyrillic ranges.
void TextTable::WriteSymbolList() {
  std::string folder = dataFolder_ + "/Symgen";
  std::vector<std::string> files = XmlFilesIn(folder);
  if (files.empty()) return;
  std::vector<bool> marks(65536, false);
  int savedEncoding = encoding_;
  for (const std::string& f : files) {
    LoadList(user_, folder + "/" + f);
    TextItem* e = user_.Find("ENCODING", HashKey("ENCODING"));
    encoding_ = e ? EncodingOf(e->Text.cpchar()) : kEncodingByte;
    MarkCharacters(user_, marks);
  }
  encoding_ = savedEncoding;
  LoadList(user_, userFile_);
  LoadList(english_, dataFolder_ + "/Languages/English.xml");
  MarkCharacters(user_, marks);
  MarkCharacters(english_, marks);
  for (uint32_t c = 0x22; c <= 0xff; ++c) marks[c] = c != 0x85;
  for (uint32_t c = 0x37e; c <= 0x4e9; ++c) marks[c] = true;
  std::string list;
  int count = 0;
  char line[16];
  for (uint32_t c = 0x21; c < marks.size(); ++c)
    if (marks[c]) {
      snprintf(line, sizeof line, "%04X\n", unsigned(c));
      list += line;
      ++count;
    }
  if (FILE* out = fopen((folder + "/list.txt").c_str(), "w")) {
    fputs(list.c_str(), out);
    fclose(out);
  }
  if (FILE* log = fopen((folder + "/log.txt").c_str(), "w")) {
    fprintf(log, "%d symbols, hash:%X\n", count, unsigned(HashKey(list.c_str())));
    fclose(log);
  }
}

void TextTable::StartUp() {
  started_ = true;
  // The font-generation pass belongs to a fresh user folder only.
  if (FILE* f = fopen(userFile_.c_str(), "r"))
    fclose(f);
  else
    WriteSymbolList();
  ReadReplacements();
  LoadText();
}

const char* TextTable::Find(const char* key) {
  if (!key) return nullptr;
  if (!started_) StartUp();
  uint32_t h = HashKey(key);
  if (TextItem* item = user_.Find(key, h)) return item->Text.cpchar();
  if (TextItem* item = english_.Find(key, h)) return item->Text.cpchar();
  return nullptr;
}

const char* TextTable::Text(const char* key) {
  if (!key || !*key || key[0] == ' ') return key ? key : "";
  if (key[0] == '#') return key + 1;
  if (!started_) StartUp();
  uint32_t h = HashKey(key);
  if (TextItem* item = user_.Find(key, h)) {
    // A key stored as its own words (by a run that could not read the
    // English table) takes the English words once they are there again.
    if (item->ID == item->Text.cpchar())
      if (TextItem* english = english_.Find(key, h); english && !(english->Text == key)) {
        item->Text = english->Text;
        changed_ = true;
      }
    return item->Text.cpchar();
  }
  if (TextItem* item = unsaved_.Find(key, h)) return item->Text.cpchar();
  TextItem* english = english_.Find(key, h);
  // Without the English table a key is shown as itself but not written to
  // the user's table: its words are unknown, not the key.
  List& learnt = english || englishLoaded_ ? user_ : unsaved_;
  auto* item = new TextItem;
  item->ID = key;
  if (english) {
    item->Text = english->Text;
  } else if (const char* ext = strstr(key, ".XML")) {
    // A file name: shown without its extension, as a word.
    std::string word(key, size_t(ext - key));
    for (size_t i = 1; i < word.size(); ++i) word[i] = char(tolower((unsigned char)word[i]));
    item->Text = word.c_str();
  } else {
    item->Text = key;
  }
  item->SetParent(&learnt.items);
  learnt.index.emplace(h, learnt.items.Add(item));
  if (&learnt == &user_) changed_ = true;
  return item->Text.cpchar();
}

bool TextTable::SaveText() {
  if (!changed_) return true;
  if (!user_.items.WriteToFile(userFile_.c_str())) {
    Log("TextTable::SaveText(): cannot write %s", userFile_.c_str());
    return false;
  }
  changed_ = false;
  return true;
}

const ClassArray<OneLang>& TextTable::Languages() {
  if (languagesFound_) return languages_;
  languagesFound_ = true;
  std::vector<std::string> files = XmlFilesIn(dataFolder_ + "/Languages");
  for (const std::string& f : files) {
    auto* lang = new OneLang;
    lang->FileName = f.c_str();
    std::string display = f.substr(0, f.size() - 4);
    for (char& c : display) c = char(toupper((unsigned char)c));
    lang->DisplayName = display.c_str();
    languages_.Add(lang);
  }
  return languages_;
}

bool TextTable::SetLanguage(int index) {
  const ClassArray<OneLang>& langs = Languages();
  if (index < 0 || index >= langs.GetAmount()) return false;
  std::string source = dataFolder_ + "/Languages/" + langs[index]->FileName.cpchar();
  DString text;
  XmlNode probe;
  if (!text.ReadFromFile(source.c_str()) || probe.Parse(text.cpchar()) < 0) {
    Log("TextTable::SetLanguage(): cannot read %s", source.c_str());
    return false;
  }
  if (!text.WriteToFile(userFile_.c_str())) {
    Log("TextTable::SetLanguage(): cannot write %s", userFile_.c_str());
    return false;
  }
  started_ = true;
  LoadText();
  encoding_ = kEncodingByte;
  if (TextItem* e = user_.Find("ENCODING", HashKey("ENCODING"))) encoding_ = EncodingOf(e->Text.cpchar());
  return true;
}

void TextTable::ApplyReplacements(std::string& text) const {
  for (int i = 0; i < replacements_.GetAmount(); ++i) {
    const std::string from = replacements_[i]->Word.cpchar(), to = replacements_[i]->Replacement.cpchar();
    if (from.empty()) continue;
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
      text.replace(at, from.size(), to);
  }
}

namespace {
std::unique_ptr<TextTable> gDefault;
TextTable* gTable = nullptr;
}  // namespace

TextTable& TheTextTable() {
  if (gTable) return *gTable;
  if (!gDefault) {
    gDefault = std::make_unique<TextTable>(UserFilePath("text.xml"), comms::DataFolder());
    // The class engine's hints find their words here; a miss stays a miss.
    SetTextLookup([](const char* key) { return TheTextTable().Find(key); });
  }
  return *gDefault;
}

void SetTextTable(TextTable* table) { gTable = table; }

const char* Text(const char* key) { return TheTextTable().Text(key); }
bool SaveText() { return TheTextTable().SaveText(); }
void LoadText() { TheTextTable().LoadText(); }
bool SetLanguage(int index) { return TheTextTable().SetLanguage(index); }
uint32_t DecodeChar(const char* text, int& length) { return TheTextTable().DecodeChar(text, length); }
