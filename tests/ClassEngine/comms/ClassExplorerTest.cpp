// The Class Explorer's model: the panes show classes and rows, Open/Back/
// Forward walk into sub-objects, and every editing command can be undone to
// the exact text before it and redone again.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "ClassEngine/comms/ClassExplorer.h"
#include "ClassEngine/comms/cSettings.h"
#include "ClassEngine/comms/cSpline.h"
#include "ClassEngine/xml/XmlNode.h"

using namespace comms;

namespace {
std::string Text(BaseClass& o) {
  XmlNode tree;
  o.Save(&tree, &o, nullptr);
  std::string out;
  tree.Write(out);
  return out;
}

int RowOf(cClassExplorer& e, const char* name) {
  auto rows = e.ObjectPane();
  for (int i = 0; i < (int)rows.size(); i++)
    if (rows[i].Name == name) return i;
  return -1;
}
}  // namespace

TEST(ClassExplorer, PanesListClassesAndTheRowsOfTheObjectShown) {
  RegisterCommsClasses();
  EXPECT_EQ(cClassExplorer::Commands().size(), 12u);
  EXPECT_EQ(cClassExplorer::Commands()[7], "Move Up");
  cSettings s;
  s.GridLines = 9;
  cClassExplorer e(&s);
  auto classes = e.ClassPane();
  EXPECT_NE(std::find(classes.begin(), classes.end(), "comms/cSettings"), classes.end());
  EXPECT_TRUE(std::is_sorted(classes.begin(), classes.end()));
  for (const std::string& c : classes) EXPECT_EQ(c.find('.'), std::string::npos) << c;
  auto rows = e.ObjectPane();
  int lines = RowOf(e, "GridLines");
  ASSERT_GE(lines, 0);
  EXPECT_EQ(rows[lines].Value, "9");
  int clear = RowOf(e, "ClearColor");
  ASSERT_GE(clear, 0);
  EXPECT_TRUE(rows[clear].Opens);
  EXPECT_FALSE(rows[lines].Opens);

  ASSERT_TRUE(e.Open(clear));
  EXPECT_EQ(e.Current(), &s.ClearColor);
  EXPECT_EQ(e.ObjectPane()[1].Value, "FF404040");
  EXPECT_FALSE(e.Open(0)) << "a bool has nothing to open";
  ASSERT_TRUE(e.Back());
  EXPECT_EQ(e.Current(), &s);
  ASSERT_TRUE(e.Forward());
  EXPECT_EQ(e.Current(), &s.ClearColor);
  EXPECT_FALSE(e.Forward());
}

TEST(ClassExplorer, EditsUndoAndRedoExactly) {
  RegisterCommsClasses();
  cSpline s;
  s.AddNode(1, 0, 0);
  s.AddNode(2, 0, 0);
  s.AddNode(3, 0, 0);
  cClassExplorer e(&s);
  const std::string start = Text(s);
  ASSERT_TRUE(e.Open(RowOf(e, "Nodes")));

  ASSERT_TRUE(e.MoveDown(0));
  EXPECT_EQ(s.Nodes[1]->Position[0], 1.0f);
  EXPECT_FALSE(e.MoveDown(2)) << "the last cannot move down";
  ASSERT_TRUE(e.Copy(2));
  ASSERT_TRUE(e.Paste());
  ASSERT_EQ(s.Nodes.GetAmount(), 4);
  EXPECT_EQ(s.Nodes[3]->Position[0], 3.0f);
  ASSERT_TRUE(e.Delete(0));
  ASSERT_EQ(s.Nodes.GetAmount(), 3);
  const std::string edited = Text(s);

  ASSERT_TRUE(e.Undo());
  ASSERT_TRUE(e.Undo());
  ASSERT_TRUE(e.Undo());
  EXPECT_EQ(Text(s), start);
  EXPECT_FALSE(e.Undo());
  ASSERT_TRUE(e.Redo());
  ASSERT_TRUE(e.Redo());
  ASSERT_TRUE(e.Redo());
  EXPECT_EQ(Text(s), edited);
  EXPECT_FALSE(e.Redo());

  ASSERT_TRUE(e.Clear());
  EXPECT_EQ(s.Nodes.GetAmount(), 0);
  ASSERT_TRUE(e.Undo());
  EXPECT_EQ(Text(s), edited);
}

TEST(ClassExplorer, SaveAndLoadGoThroughTheClassFile) {
  RegisterCommsClasses();
  cSettings s;
  s.Wireframe = true;
  s.GridStep = 4;
  cClassExplorer e(&s);
  const std::string path = ::testing::TempDir() + "explorer-settings.xml";
  ASSERT_TRUE(e.Save(path.c_str()));
  cSettings other;
  cClassExplorer f(&other);
  ASSERT_TRUE(f.Load(path.c_str()));
  EXPECT_EQ(Text(other), Text(s));
  ASSERT_TRUE(f.Undo());
  EXPECT_FALSE(other.Wireframe);
  EXPECT_FALSE(f.Load((::testing::TempDir() + "missing-explorer.xml").c_str()));
}
