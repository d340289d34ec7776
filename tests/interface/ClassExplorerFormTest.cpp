// The Class Explorer form on the engine settings: the panes show the classes
// and the object's rows, a double click opens a compound row and Back leaves
// it, the buttons run the commands (Clear, then Undo restores exactly), Save...
// and Load... go through the file-name box, and the key opens and closes it.
#include <gtest/gtest.h>

#include <filesystem>

#include "ClassEngine/comms/cSettings.h"
#include "WidgetTestKit.h"
#include "interface/ClassExplorerForm.h"
#include "platform/Keys.h"

namespace {
struct ExplorerFixture : ::testing::Test {
  UiScope ui;
  comms::cSettings settings;
  ClassExplorerForm* form = nullptr;
  void SetUp() override {
    comms::RegisterCommsClasses();
    settings.ShowGrid = true;
    settings.GridLines = 33;
    form = ToggleClassExplorer(ui.tree, &settings);
    ui.Frame();
  }
  // The widget of that name in the form, as the pointer finds it.
  BaseWidget* Named(const std::string& name) { return form->FindWidget(name.c_str(), false); }
  void Click(const std::string& name) {
    BaseWidget* w = Named(name);
    ASSERT_NE(w, nullptr) << name;
    ui.Click(w->AbsX + 3, w->AbsY + 3);
    ui.Frame();
  }
  bool ShowsText(const std::string& text) {
    for (BaseWidget* w : form->Children)
      if (auto* t = dynamic_cast<TextWidget*>(w); t && !w->Has(kWfDeleted) && text == t->Text.cpchar()) return true;
    return false;
  }
  int RowOf(const std::string& name) {
    const auto rows = form->Model().ObjectPane();
    for (size_t i = 0; i < rows.size(); ++i)
      if (rows[i].Name == name) return int(i);
    return -1;
  }
};
}  // namespace

TEST_F(ExplorerFixture, PanesShowTheClassesAndTheRowsOfTheObject) {
  const auto classes = form->Model().ClassPane();
  ASSERT_FALSE(classes.empty());
  EXPECT_TRUE(ShowsText(classes.front()));
  EXPECT_TRUE(ShowsText("Class"));
  EXPECT_TRUE(ShowsText("Object"));
  EXPECT_TRUE(ShowsText("ShowGrid = 1") || ShowsText("ShowGrid = true")) << "the grid row with its value";
  EXPECT_TRUE(ShowsText("GridLines = 33"));
  EXPECT_NE(Named("EXPLORER_Undo"), nullptr);
  EXPECT_NE(Named("EXPLORER_Load..."), nullptr);
}

TEST_F(ExplorerFixture, DoubleClickOpensACompoundRowAndBackLeavesIt) {
  const int clear = RowOf("ClearColor");
  ASSERT_GE(clear, 0);
  BaseWidget* row = Named("EXPLORER_ROW_" + std::to_string(clear));
  ASSERT_NE(row, nullptr);
  ui.tree.OnPointer(kEvLDouble, row->AbsX + 3, row->AbsY + 3);
  ui.tree.OnPointer(kEvLUp, row->AbsX + 3, row->AbsY + 3);
  ui.Frame();
  EXPECT_EQ(form->Model().Current(), &settings.ClearColor);
  EXPECT_GE(RowOf("Enabled"), 0);
  Click("EXPLORER_Back");
  EXPECT_EQ(form->Model().Current(), &settings);
}

TEST_F(ExplorerFixture, ClearThenUndoRestoresTheObject) {
  Click("EXPLORER_Clear");
  EXPECT_FALSE(settings.ShowGrid);
  EXPECT_NE(settings.GridLines, 33);
  EXPECT_TRUE(ShowsText("GridLines = " + std::to_string(settings.GridLines)));
  Click("EXPLORER_Undo");
  EXPECT_TRUE(settings.ShowGrid);
  EXPECT_EQ(settings.GridLines, 33);
  Click("EXPLORER_Redo");
  EXPECT_FALSE(settings.ShowGrid);
}

TEST_F(ExplorerFixture, SaveAndLoadGoThroughTheFileBox) {
  const auto file = std::filesystem::temp_directory_path() / ("explorer-" + std::to_string(getpid()) + ".xml");
  Click("EXPLORER_Save...");
  ASSERT_NE(form->FileBox(), nullptr);
  form->FileBox()->Edit = file.string();
  ui.tree.OnKey(kEvKeyDown, keys::Enter);
  ASSERT_TRUE(std::filesystem::exists(file));
  settings.GridLines = 5;
  settings.ShowGrid = false;
  ui.Frame();
  Click("EXPLORER_Load...");
  ASSERT_NE(form->FileBox(), nullptr);
  form->FileBox()->Edit = file.string();
  ui.tree.OnKey(kEvKeyDown, keys::Enter);
  EXPECT_EQ(settings.GridLines, 33);
  EXPECT_TRUE(settings.ShowGrid);
  std::filesystem::remove(file);
}

TEST_F(ExplorerFixture, TheKeyOpensAndClosesTheForm) {
  int opened = 0;
  ui.tree.Hooks().OpenClassExplorer = [&] { ++opened; };
  for (int k : {keys::Control, keys::Alt, keys::Shift}) ui.tree.OnKey(kEvKeyDown, k);
  ui.tree.OnKey(kEvKeyDown, keys::A + ('E' - 'A'));
  for (int k : {keys::Control, keys::Alt, keys::Shift}) ui.tree.OnKey(kEvKeyUp, k);
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(ToggleClassExplorer(ui.tree, &settings), nullptr) << "open: the toggle closes it";
  ui.Frame();
  EXPECT_NE(ToggleClassExplorer(ui.tree, &settings), nullptr);
}
