// The node setup of an LWO surface (its "NODS" subchunk) as a tree of tagged
// nodes, so that a setup read from a file goes back out unchanged and the
// writer can build one of its own (the normal-map link of a bumped material).
//
// Inside "NODS" every node is a subchunk: a four-character tag, a 16-bit
// big-endian size and the payload, padded to an even length. A node's tag
// decides what its payload is: a list of nodes (a tree), a zero-terminated
// string, or plain bytes kept as they are. A payload that does not parse as
// its kind says is kept as bytes, so nothing read is ever lost on the way back.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"

namespace comms {

class LwoNode : public BaseClass {
 public:
  uint32_t Tag = 0;

  MV_CLASS(LwoNode, BaseClass) {}
  // Takes the payload [begin, end); false when it does not hold this kind.
  virtual bool ReadPayload(const uint8_t* begin, const uint8_t* end);
  // Appends tag, size, payload and padding.
  virtual void WriteNode(std::vector<uint8_t>& out) const;
  // One line per node into the log, children indented below their tree.
  virtual void PrintNode(const std::string& indent) const;

  // The payload alone, as WriteNode would put it after the size.
  virtual void WritePayload(std::vector<uint8_t>& out) const;
  std::string TagText() const;
};

class LwoNodeString : public LwoNode {
 public:
  std::string Value;

  MV_CLASS(LwoNodeString, LwoNode) {}
  bool ReadPayload(const uint8_t* begin, const uint8_t* end) override;
  void PrintNode(const std::string& indent) const override;
  void WritePayload(std::vector<uint8_t>& out) const override;
};

class LwoNodeData : public LwoNode {
 public:
  std::vector<uint8_t> Bytes;

  MV_CLASS(LwoNodeData, LwoNode) {}
  bool ReadPayload(const uint8_t* begin, const uint8_t* end) override;
  void PrintNode(const std::string& indent) const override;
  void WritePayload(std::vector<uint8_t>& out) const override;
};

class LwoNodeTree : public LwoNode {
 public:
  ClassArray<LwoNode> Children;

  MV_CLASS(LwoNodeTree, LwoNode) {}
  bool ReadPayload(const uint8_t* begin, const uint8_t* end) override;
  void PrintNode(const std::string& indent) const override;
  void WritePayload(std::vector<uint8_t>& out) const override;

  // Builders for the writer's own trees; each returns the node it added.
  LwoNodeTree& AddTree(const char (&tag)[5]);
  LwoNodeString& AddString(const char (&tag)[5], const std::string& value);
  LwoNodeData& AddData(const char (&tag)[5], std::vector<uint8_t> bytes);
};

// The "NODS" subchunk itself: its header is the tag "NODS" and the size.
class LwoNodeRoot : public LwoNodeTree {
 public:
  LwoNodeRoot();
  MV_CLASS(LwoNodeRoot, LwoNodeTree) {}
  // Reads the body of a "NODS" subchunk (what follows its size).
  bool ReadBody(const std::vector<uint8_t>& body) { return ReadPayload(body.data(), body.data() + body.size()); }
  // The body again, without the header: what a surface keeps.
  std::vector<uint8_t> Body() const;
};

// An empty node of the kind `tag` calls for.
LwoNode* MakeLwoNode(uint32_t tag);

// The setup the writer gives a material with a bump texture: a normal-map
// node, shown as "NormalMap (mvn)", reading clip `clip` through the UV map
// `uvMap`, linked to the "Normal" input of the "Surface" node.
void BuildNormalMapNodes(LwoNodeRoot& root, uint32_t clip, const std::string& uvMap);

}  // namespace comms
