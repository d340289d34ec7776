#include "ClassEngine/xml/XmlNode.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/BackgroundWriter.h"

namespace {
bool IsSpace(char c) { return c == '\n' || c == '\r' || c == ' ' || c == '\t'; }

void ReplaceAll(std::string& s, const char* from, const char* to) {
  size_t fromLen = std::strlen(from), toLen = std::strlen(to);
  for (size_t p = s.find(from); p != std::string::npos; p = s.find(from, p + toLen))
    s.replace(p, fromLen, to);
}

void Unescape(std::string& s) {
  if (s.find('&') == std::string::npos) return;
  ReplaceAll(s, "&lt", "<");
  ReplaceAll(s, "&gt", ">");
}

// The scanner's complaint. It goes to the log rather than a box: a broken
// settings file must not stop the program with a pile of dialogs.
void ReportParseError(const char* text) {
  Log("XML parsing error!\n%.150s", text);
}
}  // namespace

int XmlNode::Parse(const char* text) { return ParseAt(text, 0); }

int XmlNode::ParseAt(const char* text, int depth) {
  if (!text || !*text) {
    Unescape(value_);
    return 0;
  }
  name_.clear();
  const char* open = std::strchr(text, '<');
  if (!open || open[1] == '/') return -1;
  const char* close = std::strchr(open + 1, '>');
  if (!close) return -1;
  name_.assign(open + 1, close);
  if (depth >= kMaxDepth) {
    ReportParseError(text);
    return -1;
  }

  const char* p = close + 1;
  for (;;) {
    const char* next = std::strchr(p, '<');
    if (!next) return -1;
    // A text run before the next tag replaces the value: a later run wins.
    const char* first = p;
    while (first < next && IsSpace(*first)) first++;
    if (first < next) {
      const char* last = next - 1;
      while (IsSpace(*last)) last--;
      value_.assign(first, last + 1);
    }
    if (next[1] == '/') {
      if (std::strncmp(next + 2, name_.c_str(), name_.size()) != 0) {
        ReportParseError(text);
        return -1;
      }
      const char* end = std::strchr(next + 2, '>');
      if (!end) return -1;
      Unescape(value_);
      return (int)(end - text) + 1;
    }
    auto child = std::make_unique<XmlNode>();
    int used = child->ParseAt(next, depth + 1);
    if (used < 0) {
      ReportParseError(text);
      return -1;
    }
    children_.push_back(std::move(child));
    // The child's count starts at `next`, where its scan began.
    p = next + used;
  }
}

void XmlNode::Write(std::string& out, int depth) const {
  bool hasChildren = !children_.empty();
  out.append(depth, ' ');
  out += '<';
  out += name_;
  out += '>';
  if (hasChildren) out += '\n';
  if (!value_.empty()) {
    if (hasChildren) out.append(depth + 1, ' ');
    for (char c : value_) {
      if (c == '<')
        out += "&lt";
      else if (c == '>')
        out += "&gt";
      else
        out += c;
    }
    if (hasChildren) out += '\n';
  }
  for (const auto& child : children_)
    if (child) child->Write(out, depth + 1);
  if (hasChildren) out.append(depth, ' ');
  out += "</";
  out += name_;
  out += ">\n";
}

bool XmlNode::ReadFromFile(const char* name) {
  if (!name) return false;
  FILE* f = std::fopen(name, "rb");
  if (!f) return false;
  std::string text;
  char chunk[65536];
  for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, f)) > 0;) text.append(chunk, n);
  std::fclose(f);
  if (text.empty()) return false;
  // A zero byte inside the file ends the text, as it would for the scanner.
  if (ParseAt(text.c_str(), 0) < 0) {
    Log("XML Load Error! XML: %s", name);
    return false;
  }
  return true;
}

bool XmlNode::WriteToFile(const char* name) const {
  if (!name) return false;
  std::string text;
  Write(text, 0);
  std::string temp = std::string(name) + ".tmp";
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  bool ok = WriteAll(fd, text.data(), (int64_t)text.size());
  ok = ::close(fd) == 0 && ok;
  if (!ok || std::rename(temp.c_str(), name) != 0) {
    ::unlink(temp.c_str());
    return false;
  }
  return true;
}

int XmlNode::AddChild(XmlNode* child) {
  children_.emplace_back(child);
  return (int)children_.size() - 1;
}

XmlNode* XmlNode::AddChild(const char* name, const char* value) {
  auto* child = new XmlNode(name ? name : "");
  if (value) child->Assign(value);
  AddChild(child);
  return child;
}

XmlNode* XmlNode::Child(int i) const {
  return i >= 0 && i < (int)children_.size() ? children_[i].get() : nullptr;
}

XmlNode* XmlNode::FindChild(const char* name) const {
  if (!name) return nullptr;
  for (const auto& c : children_)
    if (c && c->name_ == name) return c.get();
  return nullptr;
}

void XmlNode::RemoveChild(int i) {
  if (i >= 0 && i < (int)children_.size()) children_.erase(children_.begin() + i);
}

void XmlNode::Clear() {
  name_.clear();
  value_.clear();
  children_.clear();
}
