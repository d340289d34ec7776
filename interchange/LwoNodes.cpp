// The node tree of LWO surfaces: reading, writing and printing.
#include "interchange/LwoNodes.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "ClassEngine/Log.h"
#include "interchange/LwoChunks.h"

namespace comms {
namespace {

bool TagIn(uint32_t tag, std::initializer_list<const char*> names) {
  for (const char* t : names)
    if (tag == ((uint32_t)(uint8_t)t[0] << 24 | (uint32_t)(uint8_t)t[1] << 16 | (uint32_t)(uint8_t)t[2] << 8 |
                (uint32_t)(uint8_t)t[3]))
      return true;
  return false;
}
bool IsTreeTag(uint32_t tag) { return TagIn(tag, {"NNDS", "NTAG", "NDTA", "NCON"}); }
bool IsStringTag(uint32_t tag) { return TagIn(tag, {"NSRV", "NNME", "NRNM", "INME", "IINM", "IINN", "IONM"}); }

void PutU2(std::vector<uint8_t>& out, uint16_t v) {
  out.push_back((uint8_t)(v >> 8));
  out.push_back((uint8_t)v);
}
void PutU4(std::vector<uint8_t>& out, uint32_t v) {
  for (int s = 24; s >= 0; s -= 8) out.push_back((uint8_t)(v >> s));
}

}  // namespace

std::string LwoNode::TagText() const {
  std::string s(4, ' ');
  for (int i = 0; i < 4; i++) s[i] = (char)(Tag >> (24 - 8 * i));
  return s;
}

bool LwoNode::ReadPayload(const uint8_t* begin, const uint8_t* end) { return begin == end; }
void LwoNode::WritePayload(std::vector<uint8_t>&) const {}
void LwoNode::PrintNode(const std::string& indent) const {
  Log("%s%s [data, size=%d] [%s]", indent.c_str(), TagText().c_str(), 0, "");
}

void LwoNode::WriteNode(std::vector<uint8_t>& out) const {
  PutU4(out, Tag);
  size_t sizeAt = out.size();
  PutU2(out, 0);
  WritePayload(out);
  size_t size = out.size() - sizeAt - 2;
  out[sizeAt] = (uint8_t)(size >> 8);
  out[sizeAt + 1] = (uint8_t)size;
  if (size & 1) out.push_back(0);
}

bool LwoNodeString::ReadPayload(const uint8_t* begin, const uint8_t* end) {
  const uint8_t* zero = (const uint8_t*)memchr(begin, 0, (size_t)(end - begin));
  if (!zero) return false;
  // The string and its terminator, padded to an even length, fill the payload.
  size_t used = (size_t)(zero - begin) + 1;
  used += used & 1;
  if (used != (size_t)(end - begin) || (zero + 1 < end && zero[1] != 0)) return false;
  Value.assign((const char*)begin, (size_t)(zero - begin));
  return true;
}
void LwoNodeString::WritePayload(std::vector<uint8_t>& out) const {
  out.insert(out.end(), Value.begin(), Value.end());
  out.push_back(0);
  if ((Value.size() + 1) & 1) out.push_back(0);
}
void LwoNodeString::PrintNode(const std::string& indent) const {
  Log("%s%s [str] : %s", indent.c_str(), TagText().c_str(), Value.c_str());
}

bool LwoNodeData::ReadPayload(const uint8_t* begin, const uint8_t* end) {
  Bytes.assign(begin, end);
  return true;
}
void LwoNodeData::WritePayload(std::vector<uint8_t>& out) const { out.insert(out.end(), Bytes.begin(), Bytes.end()); }
void LwoNodeData::PrintNode(const std::string& indent) const {
  std::string hex;
  char two[4];
  for (size_t i = 0; i < Bytes.size() && i < 16; i++) {
    snprintf(two, sizeof two, "%02x", Bytes[i]);
    hex += two;
  }
  if (Bytes.size() > 16) hex += "...";
  Log("%s%s [data, size=%d] [%s]", indent.c_str(), TagText().c_str(), (int)Bytes.size(), hex.c_str());
}

bool LwoNodeTree::ReadPayload(const uint8_t* begin, const uint8_t* end) {
  Children.Clear();
  LwoCursor c(begin, end);
  while (!c.AtEnd()) {
    uint32_t tag = c.U4();
    uint16_t size = c.U2();
    if (!c.Ok() || size > c.Left()) return false;
    const uint8_t* body = c.Here();
    LwoNode* node = MakeLwoNode(tag);
    if (!node->ReadPayload(body, body + size)) {
      // Not the kind its tag says: keep the bytes as they are.
      delete node;
      auto* data = new LwoNodeData;
      data->Tag = tag;
      data->ReadPayload(body, body + size);
      node = data;
    }
    Children.Add(node);
    c.Skip(size);
    if (size & 1) {
      if (c.AtEnd()) return false;  // a pad byte the file lacks: not ours to invent
      c.Skip(1);
    }
  }
  return c.Ok();
}
void LwoNodeTree::WritePayload(std::vector<uint8_t>& out) const {
  for (int i = 0; i < Children.NValues; i++)
    if (Children[i]) Children[i]->WriteNode(out);
}
void LwoNodeTree::PrintNode(const std::string& indent) const {
  Log("%s%s [tree]", indent.c_str(), TagText().c_str());
  for (int i = 0; i < Children.NValues; i++)
    if (Children[i]) Children[i]->PrintNode(indent + "  ");
}

LwoNodeTree& LwoNodeTree::AddTree(const char (&tag)[5]) {
  auto* n = new LwoNodeTree;
  n->Tag = LwoTag(tag);
  Children.Add(n);
  return *n;
}
LwoNodeString& LwoNodeTree::AddString(const char (&tag)[5], const std::string& value) {
  auto* n = new LwoNodeString;
  n->Tag = LwoTag(tag);
  n->Value = value;
  Children.Add(n);
  return *n;
}
LwoNodeData& LwoNodeTree::AddData(const char (&tag)[5], std::vector<uint8_t> bytes) {
  auto* n = new LwoNodeData;
  n->Tag = LwoTag(tag);
  n->Bytes = std::move(bytes);
  Children.Add(n);
  return *n;
}

LwoNodeRoot::LwoNodeRoot() { Tag = LwoTag("NODS"); }

std::vector<uint8_t> LwoNodeRoot::Body() const {
  std::vector<uint8_t> out;
  WritePayload(out);
  return out;
}

LwoNode* MakeLwoNode(uint32_t tag) {
  LwoNode* node;
  if (IsTreeTag(tag)) node = new LwoNodeTree;
  else if (IsStringTag(tag)) node = new LwoNodeString;
  else node = new LwoNodeData;
  node->Tag = tag;
  return node;
}

void BuildNormalMapNodes(LwoNodeRoot& root, uint32_t clip, const std::string& uvMap) {
  std::vector<uint8_t> u4;
  PutU4(u4, 1);
  root.AddData("NVER", u4);
  LwoNodeTree& nodes = root.AddTree("NNDS");
  nodes.AddString("NSRV", "NormalMap");
  LwoNodeTree& tag = nodes.AddTree("NTAG");
  tag.AddString("NRNM", "NormalMap");
  tag.AddString("NNME", "NormalMap (mvn)");
  LwoNodeTree& data = tag.AddTree("NDTA");
  std::vector<uint8_t> index;
  PutU4(index, clip);
  data.AddData("IIMG", index);
  data.AddString("IUVI", uvMap);  // a string payload kept as bytes on reading
  std::vector<uint8_t> invertY;
  PutU2(invertY, 0);
  data.AddData("IINY", invertY);
  LwoNodeTree& link = root.AddTree("NCON");
  link.AddString("INME", "Surface");
  link.AddString("IINM", "Normal");
  link.AddString("IINN", "NormalMap (mvn)");
  link.AddString("IONM", "Normal");
}

}  // namespace comms
