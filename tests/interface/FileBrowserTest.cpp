// The file browser: what a folder lists (parent, folders, the asked files,
// sorted without regard to case, hidden entries left out), where a typed
// name or a click leads on a case-sensitive disk, and the box driven as a
// user would: clicks, typing, Enter, Esc, the wheel, and the question before
// a save replaces a file.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "WidgetTestKit.h"
#include "interface/FileBrowser.h"
#include "platform/Keys.h"

namespace fs = std::filesystem;

namespace {

struct Folder {
  // One folder per test and process: ctest runs the tests side by side.
  fs::path root = fs::temp_directory_path() /
                  ("morvane_file_browser_" + std::to_string(getpid()) + "_" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
  Folder() {
    fs::remove_all(root);
    fs::create_directories(root / "Sub");
    fs::create_directories(root / "zeta");
    fs::create_directories(root / ".cache");
    for (const char* f : {"b.OBJ", "a.obj", "c.png", ".hidden.obj", "Sub/inner.obj"}) std::ofstream(root / f) << "x";
  }
  ~Folder() { fs::remove_all(root); }
};

std::vector<std::string> Names(const FileListing& l) {
  std::vector<std::string> names;
  for (const FileListing::Entry& e : l.Entries()) names.push_back(e.Name + (e.IsFolder ? "/" : ""));
  return names;
}

}  // namespace

TEST(FileListing, ParentThenFoldersThenTheAskedFilesEachSortedWithoutCase) {
  Folder f;
  FileListing l;
  l.Extensions = {"obj"};
  ASSERT_TRUE(l.Open(f.root.string()));
  EXPECT_EQ(Names(l), (std::vector<std::string>{"../", "Sub/", "zeta/", "a.obj", "b.OBJ"}));
  l.Extensions.clear();
  ASSERT_TRUE(l.Open(f.root.string()));
  EXPECT_EQ(Names(l), (std::vector<std::string>{"../", "Sub/", "zeta/", "a.obj", "b.OBJ", "c.png"}));
  // A folder that is not there keeps what is shown and says why.
  EXPECT_FALSE(l.Open((f.root / "nothing").string()));
  EXPECT_NE(l.Error().find("nothing"), std::string::npos);
  EXPECT_EQ(l.Folder(), f.root.string());
  // The disk's root has no parent entry.
  ASSERT_TRUE(l.Open("/"));
  ASSERT_FALSE(l.Entries().empty());
  EXPECT_NE(l.Entries()[0].Name, "..");
}

TEST(FileListing, TypedNamesOpenFoldersAndFindFilesWhateverTheirCaseOrSlashes) {
  Folder f;
  FileListing l;
  l.Extensions = {"obj"};
  ASSERT_TRUE(l.Open(f.root.string()));
  // A folder opens and gives no file; written in another case, it is found.
  EXPECT_EQ(l.Choose("SUB"), "");
  EXPECT_EQ(l.Folder(), (f.root / "Sub").string());
  EXPECT_EQ(l.Choose(".."), "");
  EXPECT_EQ(l.Folder(), f.root.string());
  EXPECT_EQ(l.Choose("A.OBJ"), (f.root / "a.obj").string());
  EXPECT_EQ(l.Choose("sub\\Inner.obj"), (f.root / "Sub" / "inner.obj").string());
  EXPECT_EQ(l.Choose((f.root / "b.obj").string()), (f.root / "b.OBJ").string());
  // Opening wants a file that is there.
  EXPECT_EQ(l.Choose("missing.obj"), "");
  EXPECT_NE(l.Error().find("missing.obj"), std::string::npos);
  EXPECT_EQ(l.Choose("   "), "");
  // Entries by index: the parent, a folder, a file.
  ASSERT_TRUE(l.Open((f.root / "Sub").string()));
  EXPECT_EQ(l.ChooseEntry(1), (f.root / "Sub" / "inner.obj").string());
  EXPECT_EQ(l.ChooseEntry(0), "");
  EXPECT_EQ(l.Folder(), f.root.string());
  EXPECT_EQ(l.ChooseEntry(99), "");
}

TEST(FileListing, SavingTakesNewNamesWithTheirExtensionAndKnowsWhatItReplaces) {
  Folder f;
  FileListing l;
  l.Extensions = {"mvn", "obj"};
  l.Saving = true;
  ASSERT_TRUE(l.Open(f.root.string()));
  const std::string fresh = l.Choose("scene");
  EXPECT_EQ(fresh, (f.root / "scene.mvn").string());
  EXPECT_FALSE(l.Replaces(fresh));
  EXPECT_EQ(l.Choose("a.obj"), (f.root / "a.obj").string());
  EXPECT_TRUE(l.Replaces(l.Choose("a.obj")));
  EXPECT_EQ(l.Choose("no/such/folder/x.mvn"), "");
  EXPECT_NE(l.Error().find("does not exist"), std::string::npos);
}

namespace {
struct BrowserFixture : ::testing::Test {
  Folder f;
  UiScope ui;
  std::vector<std::string> chosen;
  FileBrowserBox* Open(bool saving, const std::string& name = "") {
    FileBrowserBox* box = OpenFileBrowser(ui.tree, "FILE_OPEN", saving ? "BROWSE_SAVE" : "BROWSE_OPEN",
                                          f.root.string(), name, {"obj"}, saving,
                                          [this](const std::string& p) { chosen.push_back(p); });
    ui.Frame();
    return box;
  }
  // The middle of row r of the list.
  std::pair<float, float> Row(FileBrowserBox* box, int r) {
    return {box->AbsX + box->W / 2, box->AbsY + 52 + 20.f * float(r) + 10};
  }
  void Type(const std::string& text) {
    for (char c : text) {
      CurrentChar() = c;
      ui.tree.OnKey(kEvChar, -1);
    }
  }
  void Key(int key) {
    ui.tree.OnKey(kEvKeyDown, key);
    ui.tree.OnKey(kEvKeyUp, key);
  }
  bool Gone(WidgetHandle h) {
    ui.Frame();
    return h.Get() == nullptr;
  }
};
}  // namespace

TEST_F(BrowserFixture, ClicksOpenFoldersAndPickFilesAndEnterChoosesOnce) {
  FileBrowserBox* box = Open(false);
  const WidgetHandle handle = box->Handle();
  EXPECT_EQ(box->EntryAt(Row(box, 1).first, Row(box, 1).second), 1);
  // Row 1 is the folder "Sub": a click opens it.
  ui.Click(Row(box, 1).first, Row(box, 1).second);
  EXPECT_EQ(box->Listing.Folder(), (f.root / "Sub").string());
  // Row 1 is now its file: a click puts the name in the field.
  ui.Click(Row(box, 1).first, Row(box, 1).second);
  EXPECT_EQ(box->Edit, "inner.obj");
  EXPECT_TRUE(chosen.empty());
  Key(keys::Enter);
  ASSERT_EQ(chosen.size(), 1u);
  EXPECT_EQ(chosen[0], (f.root / "Sub" / "inner.obj").string());
  EXPECT_TRUE(Gone(handle));
}

TEST_F(BrowserFixture, TypingANameOrAFolderAndTheArrowKeysWork) {
  FileBrowserBox* box = Open(false, "offered.obj");
  // The offered name is selected: typing replaces it.
  Type("a.o");
  Type("bj");
  EXPECT_EQ(box->Edit, "a.obj");
  Key(keys::Backspace);
  Key(keys::Backspace);
  EXPECT_EQ(box->Edit, "a.o");
  // A name that is not there stays in the box with the reason under the list.
  box->Edit = "nope.obj";
  Key(keys::Enter);
  EXPECT_TRUE(chosen.empty());
  EXPECT_NE(box->Note().find("nope.obj"), std::string::npos);
  // A typed folder opens and the field empties.
  box->Edit.clear();
  Type("zeta");
  Key(keys::Enter);
  EXPECT_EQ(box->Listing.Folder(), (f.root / "zeta").string());
  EXPECT_EQ(box->Edit, "");
  // Arrows walk the list: the parent, and Enter on it goes up.
  Key(keys::Down);
  EXPECT_EQ(box->Edit, "..");
  Key(keys::Enter);
  EXPECT_EQ(box->Listing.Folder(), f.root.string());
  Key(keys::Down), Key(keys::Down), Key(keys::Down), Key(keys::Down);
  EXPECT_EQ(box->Edit, "a.obj");
  Key(keys::Enter);
  ASSERT_EQ(chosen.size(), 1u);
  EXPECT_EQ(chosen[0], (f.root / "a.obj").string());
}

TEST_F(BrowserFixture, EscCancelsWithoutChoosing) {
  FileBrowserBox* box = Open(false, "a.obj");
  const WidgetHandle handle = box->Handle();
  Key(keys::Esc);
  EXPECT_TRUE(Gone(handle));
  EXPECT_TRUE(chosen.empty());
  // The cancel button does the same.
  box = Open(false, "a.obj");
  BaseWidget* cancel = box->FindWidget("FILE_BROWSER_CANCEL");
  ASSERT_NE(cancel, nullptr);
  const WidgetHandle second = box->Handle();
  ui.Click(cancel->AbsX + 3, cancel->AbsY + 3);
  EXPECT_TRUE(Gone(second));
  EXPECT_TRUE(chosen.empty());
}

TEST_F(BrowserFixture, SavingOverAFileAsksForASecondPress) {
  FileBrowserBox* box = Open(true, "a.obj");
  BaseWidget* go = box->FindWidget("FILE_BROWSER_GO");
  ASSERT_NE(go, nullptr);
  ui.Click(go->AbsX + 3, go->AbsY + 3);
  EXPECT_TRUE(chosen.empty());
  EXPECT_FALSE(box->Note().empty());
  // Changing the name asks again for the new one; a new name saves at once.
  box->EditSelected = false;
  Type("x");
  Key(keys::Enter);
  ASSERT_EQ(chosen.size(), 1u);
  EXPECT_EQ(chosen[0], (f.root / "a.objx.obj").string());
  box = Open(true, "b.obj");
  Key(keys::Enter);
  EXPECT_EQ(chosen.size(), 1u);
  Key(keys::Enter);
  ASSERT_EQ(chosen.size(), 2u);
  EXPECT_EQ(chosen[1], (f.root / "b.OBJ").string());
}

TEST_F(BrowserFixture, TheWheelScrollsALongListAndRowsFollow) {
  for (int i = 0; i < 60; ++i) std::ofstream(f.root / ("many" + std::to_string(100 + i) + ".obj")) << "x";
  FileBrowserBox* box = Open(false);
  const int rows = box->VisibleRows();
  ASSERT_LT(rows, (int)box->Listing.Entries().size());
  ui.tree.OnPointer(kEvWheel, Row(box, 2).first, Row(box, 2).second, -1);
  EXPECT_EQ(box->Top, 3);
  EXPECT_EQ(box->EntryAt(Row(box, 0).first, Row(box, 0).second), 3);
  // Never past the end.
  for (int i = 0; i < 40; ++i) ui.tree.OnPointer(kEvWheel, Row(box, 2).first, Row(box, 2).second, -1);
  EXPECT_EQ(box->Top, (int)box->Listing.Entries().size() - rows);
  ui.Click(Row(box, rows - 1).first, Row(box, rows - 1).second);
  EXPECT_EQ(box->Edit, box->Listing.Entries().back().Name);
}
