// Hot keys: the key tables, bindings with their modifiers and rooms, keys
// assigned in place over a control and what happens when a key is taken.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "WidgetTestKit.h"
#include "interface/Dialogs.h"
#include "interface/HotKeys.h"
#include "platform/Keys.h"

namespace {
int Letter(char c) { return keys::A + (c - 'A'); }

class HotKeysTest : public ::testing::Test {
 protected:
  void SetUp() override {
    HotKeyList().Clear();
    HotKeyRoom() = 0;
    RegisterCommand("TEST_SAVE", {[this] { ++saves; }, {}});
    RegisterCommand("TEST_OPEN", {[this] { ++opens; }, {}});
    tree.Hooks().HotKeys = [this](int key, bool down) {
      if (editor.OnKey(key, down, tree.Ctrl(), tree.Alt(), tree.Shift())) return true;
      return down && FireHotKey(key, tree.Ctrl(), tree.Alt(), tree.Shift());
    };
  }
  void TearDown() override {
    SetDialogPump(nullptr);
    HotKeyList().Clear();
  }
  // Presses `key` with the modifiers through the tree's router.
  void Press(int key, bool ctrl = false, bool shift = false) {
    if (ctrl) tree.OnKey(kEvKeyDown, keys::Control);
    if (shift) tree.OnKey(kEvKeyDown, keys::Shift);
    tree.OnKey(kEvKeyDown, key);
    tree.OnKey(kEvKeyUp, key);
    if (shift) tree.OnKey(kEvKeyUp, keys::Shift);
    if (ctrl) tree.OnKey(kEvKeyUp, keys::Control);
  }
  // The next boxes answer with these buttons.
  void Answer(int button) {
    SetDialogPump([this, button](const std::function<bool()>&) {
      for (BaseWidget* w : tree.Root().Children)
        if (auto* box = dynamic_cast<DialogBox*>(w); box && box->Visible()) box->Pick(button);
    });
  }
  FrameWidget* Control(const char* name, float x) {
    auto* b = new FrameWidget("button", x, 100, 80, 20);
    b->Name = name;
    tree.Root().AddChild(b);
    return b;
  }
  UiScope ui;
  WidgetTree& tree = ui.tree;
  HotKeyEditor editor{tree};
  int saves = 0, opens = 0;
};
}  // namespace

TEST(KeyTables, NamesAndNumbersAgree) {
  EXPECT_EQ(SystemKeyRows(), 103);
  EXPECT_EQ(SystemKeyCode("<"), SystemKeyCode(","));
  EXPECT_EQ(SystemKeyCode(">"), 0xbe);
  EXPECT_EQ(SystemKeyCode("?"), SystemKeyCode("/"));
  EXPECT_EQ(SystemKeyCode("BACK"), 8);
  EXPECT_STREQ(SystemKeyName(8), "BACK") << "the first row that fits";
  EXPECT_STREQ(SystemKeyName(0xbc), "<");
  EXPECT_STREQ(SystemKeyName(0xff), "");
  EXPECT_EQ(SystemKeyCode("NOSUCHKEY"), -1);
  EXPECT_EQ(SystemKeyCode("LMB"), 1);
  EXPECT_EQ(SystemKeyCode("MMB"), 4);
  // Every keyboard and mouse key of the program has one system key, and back.
  std::set<int> seen;
  for (int k = 0; k <= keys::MiddleButton; ++k) {
    int s = LayerToSystemKey(k);
    ASSERT_GE(s, 0) << k;
    EXPECT_TRUE(seen.insert(s).second) << "two keys share " << s;
    EXPECT_EQ(SystemToLayerKey(s), k);
  }
  EXPECT_EQ(LayerToSystemKey(keys::WheelUp), -1);
  EXPECT_EQ(LayerToSystemKey(500), -1);
  EXPECT_EQ(LayerToSystemKey(-1), -1);
}

TEST_F(HotKeysTest, ModifiersMustMatchExactly) {
  AddHotKey("TEST_SAVE", SystemKeyCode("S"), false, true, false, false, true);
  AddHotKey("TEST_OPEN", SystemKeyCode("S"), true, true, false, false, true);
  Press(Letter('S'), true, false);
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(opens, 0) << "the Shift binding does not fire without Shift";
  Press(Letter('S'), true, true);
  EXPECT_EQ(saves, 1) << "the plain binding does not fire with Shift";
  EXPECT_EQ(opens, 1);
  Press(Letter('S'));
  EXPECT_EQ(saves + opens, 2) << "no binding without Ctrl";
  EXPECT_EQ(HotKeyText("TEST_OPEN"), "CTRL+SHIFT+S");
}

TEST_F(HotKeysTest, DefaultsNeverTakeAUsersKey) {
  AddHotKey("TEST_OPEN", SystemKeyCode("O"), false, true, false, false, true);
  EXPECT_FALSE(AddDefaultHotKey("TEST_SAVE", SystemKeyCode("O"), false, true, false)) << "the key is taken";
  EXPECT_EQ(FindHotKey("TEST_SAVE"), nullptr);
  EXPECT_FALSE(AddDefaultHotKey("TEST_OPEN", SystemKeyCode("P"), false, true, false)) << "the name is bound";
  EXPECT_EQ(HotKeyText("TEST_OPEN"), "CTRL+O");
  EXPECT_TRUE(AddDefaultHotKey("TEST_SAVE", SystemKeyCode("S"), false, true, false));
}

TEST_F(HotKeysTest, AKeyAssignedInPlaceFiresItsCommand) {
  Control("$TEST_SAVE", 100);
  ui.Frame();
  tree.OnPointer(kEvMove, 120, 110);
  Press(keys::End);
  ASSERT_TRUE(editor.Open());
  EXPECT_EQ(editor.Command(), "TEST_SAVE");
  ASSERT_NE(tree.Root().FindWidget("ENTER_HOTKEY"), nullptr);
  tree.OnKey(kEvKeyDown, keys::Control);  // modifiers alone do not end the box
  EXPECT_TRUE(editor.Open());
  tree.OnKey(kEvKeyDown, Letter('K'));
  tree.OnKey(kEvKeyUp, Letter('K'));
  tree.OnKey(kEvKeyUp, keys::Control);
  EXPECT_FALSE(editor.Open());
  EXPECT_EQ(HotKeyText("TEST_SAVE"), "CTRL+K");
  EXPECT_EQ(saves, 0) << "the key that was assigned did not run the command";
  Press(Letter('K'), true);
  EXPECT_EQ(saves, 1);
  // Backspace over the control takes the binding away.
  Press(keys::Backspace);
  EXPECT_EQ(FindHotKey("TEST_SAVE"), nullptr);
  Press(Letter('K'), true);
  EXPECT_EQ(saves, 1);
}

TEST_F(HotKeysTest, EscCancelsTheBox) {
  Control("$TEST_SAVE", 100);
  ui.Frame();
  tree.OnPointer(kEvMove, 120, 110);
  Press(keys::End);
  Press(keys::Esc);
  EXPECT_FALSE(editor.Open());
  EXPECT_EQ(FindHotKey("TEST_SAVE"), nullptr);
}

TEST_F(HotKeysTest, ATakenKeyIsStackedRedefinedOrKept) {
  const int k = SystemKeyCode("K");
  AddHotKey("TEST_OPEN", k, false, true, false, false, true);
  Answer(3);  // Cancel
  EXPECT_FALSE(editor.Assign("TEST_SAVE", k, true, false, false));
  EXPECT_EQ(FindHotKey("TEST_SAVE"), nullptr);
  Answer(1);  // StackKey: both stay; the first binding answers the key
  EXPECT_TRUE(editor.Assign("TEST_SAVE", k, true, false, false));
  EXPECT_NE(FindHotKey("TEST_OPEN"), nullptr);
  EXPECT_NE(FindHotKey("TEST_SAVE"), nullptr);
  RemoveHotKey("TEST_SAVE");
  Answer(2);  // Redefine: the old binding goes
  EXPECT_TRUE(editor.Assign("TEST_SAVE", k, true, false, false));
  EXPECT_EQ(FindHotKey("TEST_OPEN"), nullptr);
  Press(Letter('K'), true);
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(opens, 0);
}

TEST_F(HotKeysTest, AFirmKeyCannotBeTakenOver) {
  const int k = SystemKeyCode("K");
  AddHotKey("TEST_OPEN", k, false, true, false, true, true);
  Answer(1);
  EXPECT_FALSE(editor.Assign("TEST_SAVE", k, true, false, false));
  EXPECT_EQ(FindHotKey("TEST_SAVE"), nullptr);
}

TEST_F(HotKeysTest, ABindingOfAnotherRoomIsNoConflict) {
  const int k = SystemKeyCode("K");
  AddHotKey("[Page2]TEST_OPEN", k, false, true, false, false, true);
  HotKeyRoom() = 1;
  Answer(3);  // were it asked, the answer would refuse
  EXPECT_TRUE(editor.Assign("TEST_SAVE", k, true, false, false));
  EXPECT_NE(FindHotKey("[Page2]TEST_OPEN"), nullptr);
  Press(Letter('K'), true);
  EXPECT_EQ(saves, 1);
  HotKeyRoom() = 2;
  Press(Letter('K'), true);
  EXPECT_EQ(opens, 1) << "in room 2 its own binding comes first";
}

TEST_F(HotKeysTest, ApplyHotKeysMakesTheKeyClickTheControl) {
  FrameWidget* b = Control("$TEST_WIDGET", 300);
  int clicks = 0;
  struct Counter : BaseWidget {
    int* n = nullptr;
    bool Hit() { return ++*n, true; }
  };
  auto* counter = new Counter;
  counter->n = &clicks;
  counter->SetVisible(false);
  tree.Root().AddChild(counter);
  b->AddCallback(kEvLDown, MakeCallback(counter, &Counter::Hit));
  AddHotKey("TEST_WIDGET", SystemKeyCode("J"), false, false, false, false, true);
  ApplyHotKeys(&tree.Root());
  ApplyHotKeys(&tree.Root());  // applying twice binds once
  Press(Letter('J'));
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(KeyName(b), "'J'");
  RemoveHotKey("TEST_WIDGET");
  ApplyHotKeys(&tree.Root());
  Press(Letter('J'));
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(KeyName(b), "");
}

TEST_F(HotKeysTest, HotkeyFilesRoundTrip) {
  AddHotKey("TEST_SAVE", SystemKeyCode("F5"), false, false, true, false, true);
  AddHotKey("[Page3]TEST_OPEN", SystemKeyCode("NUM+"), true, true, false, false, true);
  auto path = std::filesystem::temp_directory_path() / ("hk-" + std::to_string(getpid()) + ".hotkeys");
  ASSERT_TRUE(SaveHotkeys(path.c_str()));
  HotKeyList().Clear();
  ASSERT_TRUE(LoadHotkeys(path.c_str()));
  EXPECT_EQ(HotKeyText("TEST_SAVE"), "ALT+F5");
  EXPECT_EQ(HotKeyText("[Page3]TEST_OPEN"), "CTRL+SHIFT+NUM+");
  EXPECT_FALSE(LoadHotkeys("/nonexistent/x.hotkeys"));
  EXPECT_EQ(HotKeyList().GetAmount(), 2) << "a failed load leaves the list";
  std::filesystem::remove(path);
}
