// The XML dialect's scanner and writer, byte for byte.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "ClassEngine/Log.h"
#include "ClassEngine/xml/XmlNode.h"

TEST(XmlNodeTest, NestedElementsAndTheConsumedLength) {
  const char* text = "<A><B>1</B></A>";
  XmlNode root;
  ASSERT_EQ(root.Parse(text), (int)std::strlen(text));
  EXPECT_STREQ(root.GetName(), "A");
  ASSERT_EQ(root.ChildCount(), 1);
  EXPECT_STREQ(root.Child(0)->GetName(), "B");
  EXPECT_STREQ(root.Child(0)->Value(), "1");
  EXPECT_EQ(root.FindChild("C"), nullptr);
  // Trailing bytes behind the root's end tag are ignored.
  XmlNode again;
  EXPECT_EQ(again.Parse("<A>v</A>\n\ngarbage <"), 8);
}

TEST(XmlNodeTest, TextRunsTheLaterWins) {
  XmlNode root;
  ASSERT_GT(root.Parse("<A>x<B>1</B>y</A>"), 0);
  EXPECT_STREQ(root.Value(), "y");
  XmlNode blanks;
  ASSERT_GT(blanks.Parse("<A>  \r\n\t </A>"), 0);
  EXPECT_STREQ(blanks.Value(), "");
  XmlNode inner;
  ASSERT_GT(inner.Parse("<A>\n  two words  \n</A>"), 0);
  EXPECT_STREQ(inner.Value(), "two words");
}

TEST(XmlNodeTest, OnlyAngleBracketsAreEscapedWithoutSemicolon) {
  XmlNode root;
  ASSERT_GT(root.Parse("<A>1 &lt 2 &gt 0 & \"q\"</A>"), 0);
  EXPECT_STREQ(root.Value(), "1 < 2 > 0 & \"q\"");
  std::string out;
  root.Write(out);
  EXPECT_EQ(out, "<A>1 &lt 2 &gt 0 & \"q\"</A>\n");
}

TEST(XmlNodeTest, WriterLayoutIsExact) {
  XmlNode root("GeneralPen");
  root.Assign("top");
  root.AddChild("GeneralPen::Color.x", "0.500000");
  XmlNode* arr = root.AddChild("EnableChannels[0]");
  arr->AddChild("Leaf", "a<b");
  root.AddChild("Empty");
  std::string out;
  root.Write(out);
  EXPECT_EQ(out,
            "<GeneralPen>\n"
            " top\n"
            " <GeneralPen::Color.x>0.500000</GeneralPen::Color.x>\n"
            " <EnableChannels[0]>\n"
            "  <Leaf>a&ltb</Leaf>\n"
            " </EnableChannels[0]>\n"
            " <Empty></Empty>\n"
            "</GeneralPen>\n");
  XmlNode back;
  ASSERT_EQ(back.Parse(out.c_str()), (int)out.size() - 1);
  std::string again;
  back.Write(again);
  EXPECT_EQ(again, out);
}

TEST(XmlNodeTest, MalformedTextIsRefused) {
  XmlNode n;
  EXPECT_EQ(n.Parse("</A>"), -1);
  EXPECT_EQ(n.Parse("no tag at all"), -1);
  EXPECT_EQ(n.Parse("<A"), -1);
  EXPECT_EQ(n.Parse("<A>never closed"), -1);
  EXPECT_EQ(n.Parse("<A><B>1</C></A>"), -1);
  EXPECT_NE(LogText().find("XML parsing error!"), std::string::npos);
  // An end tag that merely begins with the element's name closes it.
  XmlNode prefix;
  EXPECT_EQ(prefix.Parse("<Name>v</Namex>"), 15);
  EXPECT_STREQ(prefix.Value(), "v");
  // Attributes and prologs are not understood: they stay in the tag name.
  XmlNode attr;
  ASSERT_GT(attr.Parse("<A b=\"1\">v</A b=\"1\">"), 0);
  EXPECT_STREQ(attr.GetName(), "A b=\"1\"");
  EXPECT_EQ(XmlNode().Parse("<?xml version=\"1.0\"?><A></A>"), -1);
}

TEST(XmlNodeTest, DeepNestingIsRefusedNotOverflowed) {
  std::string deep;
  for (int i = 0; i < 100000; i++) deep += "<a>";
  XmlNode n;
  EXPECT_EQ(n.Parse(deep.c_str()), -1);
  std::string ok;
  for (int i = 0; i < 100; i++) ok += "<a>";
  for (int i = 0; i < 100; i++) ok += "</a>";
  XmlNode fine;
  EXPECT_EQ(fine.Parse(ok.c_str()), (int)ok.size());
}

TEST(XmlNodeTest, FilesMissingEmptyOrBrokenGiveFalse) {
  std::string dir = ::testing::TempDir();
  std::string good = dir + "good.xml", empty = dir + "empty.xml", bad = dir + "bad.xml";
  XmlNode root("Settings");
  root.AddChild("Value", "12");
  ASSERT_TRUE(root.WriteToFile(good.c_str()));
  { std::ofstream(empty.c_str()); }
  { std::ofstream(bad.c_str()) << "<Settings><Value>12</Valu"; }
  XmlNode back;
  EXPECT_TRUE(back.ReadFromFile(good.c_str()));
  EXPECT_STREQ(back.FindChild("Value")->Value(), "12");
  EXPECT_FALSE(XmlNode().ReadFromFile((dir + "missing.xml").c_str()));
  EXPECT_FALSE(XmlNode().ReadFromFile(empty.c_str()));
  EXPECT_FALSE(XmlNode().ReadFromFile(bad.c_str()));
  EXPECT_NE(LogText().find("XML Load Error! XML: " + bad), std::string::npos);
  // A file that cannot be created is skipped and leaves nothing behind.
  EXPECT_FALSE(root.WriteToFile((dir + "no/such/folder/x.xml").c_str()));
  for (auto* p : {&good, &empty, &bad}) std::remove(p->c_str());
}
