// One element of the program's small XML dialect: tags and text, nothing else.
// No prolog, no attributes; only "<" and ">" are escaped, as "&lt" and "&gt"
// without a semicolon; a leaf is written `<Name>text</Name>` on one line, one
// blank of indent per level. The scanner is hand-written because its limits
// are part of the file format: member names such as `GeneralPen::Color.x` or
// `EnableChannels[0]` are tags, and an end tag that merely begins with the
// element's name closes it. A document is its root node.
#pragma once
#include <memory>
#include <string>
#include <vector>

class XmlNode {
 public:
  XmlNode() = default;
  explicit XmlNode(std::string name) : name_(std::move(name)) {}
  XmlNode(const XmlNode&) = delete;
  XmlNode& operator=(const XmlNode&) = delete;

  // Fills this node from `text`: the number of characters consumed, or -1.
  // Trailing text behind the root's end tag is not looked at.
  int Parse(const char* text);
  // Appends this node's text at `depth`.
  void Write(std::string& out, int depth = 0) const;

  // True when the file exists, is not empty and parses.
  bool ReadFromFile(const char* name);
  // Writes the tree to a temporary file beside `name`, then renames it, so a
  // failed write leaves the old file. A file that cannot be created is skipped.
  bool WriteToFile(const char* name) const;

  void Assign(const char* text) { value_ = text ? text : ""; }
  const char* Value() const { return value_.c_str(); }
  const std::string& ValueString() const { return value_; }
  const char* GetName() const { return name_.c_str(); }
  void SetName(const char* name) { name_ = name ? name : ""; }

  // Takes ownership of `child`; returns its index.
  int AddChild(XmlNode* child);
  XmlNode* AddChild(const char* name, const char* value = nullptr);
  int ChildCount() const { return (int)children_.size(); }
  XmlNode* Child(int i) const;
  XmlNode* FindChild(const char* name) const;
  void RemoveChild(int i);
  void Clear();

  // Deepest nesting the scanner follows; deeper files are refused as malformed.
  static constexpr int kMaxDepth = 512;

 private:
  int ParseAt(const char* text, int depth);

  std::string name_;
  std::string value_;
  std::vector<std::unique_ptr<XmlNode>> children_;
};
