// The text table: learning of unknown keys, the English fallback, stable
// strings, saving, languages, decoding and damaged files.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "ClassEngine/DataFolder.h"
#include "interface/TextTable.h"

namespace fs = std::filesystem;

namespace {
struct TextFixture : ::testing::Test {
  fs::path dir;
  void SetUp() override {
    dir = fs::temp_directory_path() / ("morvane_text_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(dir);
    fs::create_directories(dir / "data" / "Languages");
    Write("data/Languages/English.xml",
          "<ClassArray.TextItem>\n <TextItem>\n  <ID>HELLO</ID>\n  <Text>Hello</Text>\n </TextItem>\n"
          " <TextItem>\n  <ID>EMPTY</ID>\n  <Text></Text>\n </TextItem>\n</ClassArray.TextItem>\n");
    Write("data/Languages/German.xml",
          "<ClassArray.TextItem>\n <TextItem>\n  <ID>HELLO</ID>\n  <Text>Hallo</Text>\n </TextItem>\n"
          " <TextItem>\n  <ID>ENCODING</ID>\n  <Text>RUS</Text>\n </TextItem>\n</ClassArray.TextItem>\n");
    Write("data/Languages/replace.txt", "LMB left-click\nRMB right-click\nbroken\nNEVER reached\n");
  }
  void TearDown() override { fs::remove_all(dir); }
  void Write(const std::string& rel, const std::string& text) { std::ofstream(dir / rel) << text; }
  std::string UserFile() const { return (dir / "text.xml").string(); }
  std::string Data() const { return (dir / "data").string(); }
};
}  // namespace

TEST_F(TextFixture, MarkedKeysPassUntranslatedAndAreNotLearnt) {
  TextTable t(UserFile(), Data());
  EXPECT_STREQ(t.Text("#abc"), "abc");
  EXPECT_STREQ(t.Text(" abc"), " abc");
  EXPECT_STREQ(t.Text(""), "");
  EXPECT_EQ(t.UserCount(), 0);
  EXPECT_FALSE(t.Changed());
}

TEST_F(TextFixture, NewKeyTakesEnglishAndIsSaved) {
  {
    TextTable t(UserFile(), Data());
    EXPECT_STREQ(t.Text("HELLO"), "Hello");
    EXPECT_STREQ(t.Text("NO_SUCH_KEY"), "NO_SUCH_KEY");
    EXPECT_STREQ(t.Text("EMPTY"), "");
    EXPECT_STREQ(t.Text("BRUSHES.XML"), "Brushes");
    EXPECT_EQ(t.UserCount(), 4);
    EXPECT_TRUE(t.SaveText());
  }
  std::ifstream in(UserFile());
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("NO_SUCH_KEY"), std::string::npos);
  TextTable again(UserFile(), Data());
  EXPECT_STREQ(again.Text("BRUSHES.XML"), "Brushes");
  EXPECT_EQ(again.UserCount(), 4);  // all four came back from text.xml
  EXPECT_FALSE(again.Changed());
}

TEST_F(TextFixture, ReturnedStringsStayPutWhileTheTableGrows) {
  TextTable t(UserFile(), Data());
  const char* hello = t.Text("HELLO");
  for (int i = 0; i < 2000; ++i) t.Text(("KEY_" + std::to_string(i)).c_str());
  EXPECT_EQ(t.Text("HELLO"), hello);
  EXPECT_STREQ(hello, "Hello");
  EXPECT_STREQ(t.Text("KEY_1234"), "KEY_1234");
}

TEST_F(TextFixture, MissingEnglishShowsKeysAsThemselves) {
  fs::remove(dir / "data/Languages/English.xml");
  TextTable t(UserFile(), Data());
  EXPECT_STREQ(t.Text("HELLO"), "HELLO");
}

// A run that could not read English.xml must not write keys into the user's
// table as their own words: once the file is back, the words come back too.
TEST_F(TextFixture, KeysShownBareWithoutEnglishAreNotSavedAsTheirWords) {
  const std::string english = (dir / "data/Languages/English.xml").string();
  fs::rename(english, english + ".away");
  {
    TextTable t(UserFile(), Data());
    EXPECT_STREQ(t.Text("HELLO"), "HELLO");
    EXPECT_STREQ(t.Text("HELLO"), "HELLO");
    EXPECT_FALSE(t.EnglishLoaded());
    EXPECT_TRUE(t.SaveText());
  }
  if (fs::exists(UserFile())) {
    std::ifstream in(UserFile());
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.find("HELLO"), std::string::npos) << text;
  }
  fs::rename(english + ".away", english);
  TextTable t(UserFile(), Data());
  EXPECT_STREQ(t.Text("HELLO"), "Hello");
}

// A text.xml that an earlier run filled with keys as their own words heals
// from the English table.
TEST_F(TextFixture, KeyStoredAsItsOwnWordsTakesTheEnglishWords) {
  Write("text.xml",
        "<ClassArray.TextItem>\n <TextItem>\n  <ID>HELLO</ID>\n  <Text>HELLO</Text>\n </TextItem>\n"
        " <TextItem>\n  <ID>MINE</ID>\n  <Text>MINE</Text>\n </TextItem>\n</ClassArray.TextItem>\n");
  {
    TextTable t(UserFile(), Data());
    EXPECT_STREQ(t.Text("HELLO"), "Hello");
    EXPECT_STREQ(t.Text("MINE"), "MINE");  // in no table: stays as it is
    EXPECT_TRUE(t.SaveText());
  }
  TextTable again(UserFile(), Data());
  EXPECT_STREQ(again.Find("HELLO"), "Hello");
}

TEST_F(TextFixture, DamagedUserFileLeavesTheEnglishTableWorking) {
  Write("text.xml", "<ClassArray.TextItem>\n <TextItem>\n  <ID>HEL");  // cut off
  TextTable t(UserFile(), Data());
  EXPECT_STREQ(t.Text("HELLO"), "Hello");
  Write("text.xml", std::string("\x01\xff<<>>\0garbage", 16));
  t.LoadText();
  EXPECT_STREQ(t.Text("HELLO"), "Hello");
}

TEST_F(TextFixture, LanguagesSwitchAndSetTheEncoding) {
  TextTable t(UserFile(), Data());
  const auto& langs = t.Languages();
  ASSERT_EQ(langs.GetAmount(), 2);
  EXPECT_STREQ(langs[0]->DisplayName.cpchar(), "ENGLISH");
  EXPECT_STREQ(langs[1]->DisplayName.cpchar(), "GERMAN");
  ASSERT_TRUE(t.SetLanguage(1));
  EXPECT_STREQ(t.Text("HELLO"), "Hallo");
  EXPECT_EQ(t.Encoding(), kEncodingRUS);
  EXPECT_FALSE(t.SetLanguage(7));
  EXPECT_STREQ(t.Text("HELLO"), "Hallo");
}

TEST_F(TextFixture, ReplacementsReadUntilALineLacksTwoWords) {
  TextTable t(UserFile(), Data());
  t.Text("HELLO");  // the start-up pass reads replace.txt
  ASSERT_EQ(t.Replacements().GetAmount(), 2);
  std::string hint = "LMB paints, RMB picks, LMB again";
  t.ApplyReplacements(hint);
  EXPECT_EQ(hint, "left-click paints, right-click picks, left-click again");
}

TEST(DecodeCharTest, EncodingsDecodeTheirBytes) {
  TextTable t("unused.xml", "unused");
  int n = 0;
  t.SetEncoding(kEncodingUTF8);
  EXPECT_EQ(t.DecodeChar("\xd0\x96z", n), 0x416u);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(t.DecodeChar("\xe2\x82\xac", n), 0x20acu);
  EXPECT_EQ(n, 3);
  EXPECT_EQ(t.DecodeChar("\x85\x80", n), 0x85u);  // 0x85 stands for itself
  EXPECT_EQ(n, 1);
  EXPECT_EQ(t.DecodeChar("\xd0", n), 0xd0u);  // a cut sequence eats one byte
  EXPECT_EQ(n, 1);
  t.SetEncoding(kEncodingRUS);
  EXPECT_EQ(t.DecodeChar("\xc0", n), 0x410u);
  EXPECT_EQ(t.DecodeChar("\xa8", n), 0x401u);
  EXPECT_EQ(t.DecodeChar("\xb8", n), 0x451u);
  EXPECT_EQ(t.DecodeChar("A", n), uint32_t('A'));
  t.SetEncoding(kEncodingPolish);
  EXPECT_EQ(t.DecodeChar("\xa1", n), 0x104u);  // ISO 8859-2: A with ogonek
  t.SetEncoding(kEncodingWin1250);
  EXPECT_EQ(t.DecodeChar("\x8a", n), 0x160u);  // S with caron
  t.SetEncoding(kEncodingShiftJIS);
  EXPECT_EQ(t.DecodeChar("\x82\xa0", n), 0x3042u);  // hiragana a
  EXPECT_EQ(n, 2);
  t.SetEncoding(kEncodingByte);
  EXPECT_EQ(t.DecodeChar("\xe9", n), 0xe9u);
}

TEST(TextHashTest, CollidingKeysAreToldApartByComparison) {
  // Equal hashes are allowed; lookups compare the key itself.
  EXPECT_EQ(TextTable::HashKey("AB"), TextTable::HashKey("AB"));
  EXPECT_NE(TextTable::HashKey("AB"), TextTable::HashKey("BA"));
}

TEST_F(TextFixture, SymgenListsTheCharactersOfEveryLanguage) {
  fs::create_directories(dir / "data/Symgen");
  Write("data/Symgen/Greek.xml",
        "<ClassArray.TextItem>\n <TextItem>\n  <ID>ENCODING</ID>\n  <Text>UTF8</Text>\n </TextItem>\n"
        " <TextItem>\n  <ID>W</ID>\n  <Text>\xe2\x82\xac\xe4\xb8\xad</Text>\n </TextItem>\n</ClassArray.TextItem>\n");
  TextTable t(UserFile(), Data());
  EXPECT_STREQ(t.Text("HELLO"), "Hello");  // the start-up pass ran and the tables are back
  std::ifstream in(dir / "data/Symgen/list.txt");
  std::string list((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(list.find("20AC\n"), std::string::npos);  // euro sign from the Symgen file
  EXPECT_NE(list.find("4E2D\n"), std::string::npos);
  EXPECT_NE(list.find("0410\n"), std::string::npos);  // the Cyrillic range
  EXPECT_EQ(list.find("0085\n"), std::string::npos);
  EXPECT_EQ(list.find("0021\n"), std::string::npos);  // not in the ranges, not used
  std::ifstream log(dir / "data/Symgen/log.txt");
  std::string line;
  std::getline(log, line);
  EXPECT_NE(line.find(" symbols, hash:"), std::string::npos);
}

// The shipped words: each item holds one key with its words, and no key is
// given twice (a merge of two lists once ran items together, and the table
// kept only one of each pair).
TEST(ShippedWords, EachItemHoldsOneKeyAndNoKeyComesTwice) {
  std::ifstream file(comms::DataFilePath("Languages/English.xml"));
  ASSERT_TRUE(file);
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  std::set<std::string> keys;
  size_t at = 0, items = 0;
  while ((at = text.find("<TextItem>", at)) != std::string::npos) {
    const size_t end = text.find("</TextItem>", at);
    ASSERT_NE(end, std::string::npos);
    const std::string item = text.substr(at, end - at);
    size_t ids = 0, words = 0;
    for (size_t p = item.find("<ID>"); p != std::string::npos; p = item.find("<ID>", p + 1)) ++ids;
    for (size_t p = item.find("<Text>"); p != std::string::npos; p = item.find("<Text>", p + 1)) ++words;
    EXPECT_EQ(ids, 1u) << item;
    EXPECT_EQ(words, 1u) << item;
    const size_t k = item.find("<ID>") + 4;
    const std::string key = item.substr(k, item.find("</ID>") - k);
    EXPECT_TRUE(keys.insert(key).second) << key << " is given twice";
    ++items, at = end;
  }
  EXPECT_GT(items, 500u);
}
