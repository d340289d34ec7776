// The command line; see CommandLine.h.
#include "shell/CommandLine.h"

#include <algorithm>
#include <cctype>

namespace {
std::string Trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && std::isspace((unsigned char)s[b])) ++b;
  while (e > b && std::isspace((unsigned char)s[e - 1])) --e;
  return s.substr(b, e - b);
}

std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower((unsigned char)c));
  return s;
}
}  // namespace

std::string SplitOpenAutomate(const std::string& line, std::string& args) {
  args.clear();
  size_t at = line.find("-openautomate");
  if (at == std::string::npos) return line;
  std::string rest = line.substr(at + 13);
  rest.erase(std::remove_if(rest.begin(), rest.end(), [](char c) { return std::isspace((unsigned char)c); }),
             rest.end());
  if (rest.size() >= 2 && rest.front() == '"' && rest.back() == '"') rest = rest.substr(1, rest.size() - 2);
  args = rest;
  return line.substr(0, at);
}

CommandLineDecision DecideCommandLine(const std::string& line, const std::string& recentFile) {
  CommandLineDecision d;
  std::string rest = line;
  rest.erase(std::remove(rest.begin(), rest.end(), '"'), rest.end());
  rest = Trim(rest);
  while (!rest.empty() && rest[0] == '-') {
    size_t end = rest.find_first_of(" \t");
    std::string word = rest.substr(0, end);
    rest = end == std::string::npos ? "" : Trim(rest.substr(end));
    if (word == "-mv") d.mv = true;
    if (word == "-recent") d.recent = true;
    if (word == "-ref") d.ref = true;
  }
  if (d.recent) rest = recentFile;
  if (rest.empty()) return d;
  d.path = rest;
  // Paths compare without case, so "Scene.MVN" is a scene too.
  if (Lower(rest).find(".mvn") != std::string::npos)
    d.action = CommandLineDecision::Action::LoadScene;
  else if (d.ref)
    d.action = CommandLineDecision::Action::ImportReference;
  else if (d.mv)
    d.action = CommandLineDecision::Action::ImportThirdPath;
  else
    d.action = CommandLineDecision::Action::ImportPaintMesh;
  return d;
}

const char* ActionName(CommandLineDecision::Action a) {
  using A = CommandLineDecision::Action;
  switch (a) {
    case A::Nothing: return "nothing";
    case A::LoadScene: return "load scene";
    case A::ImportReference: return "import reference mesh";
    case A::ImportPaintMesh: return "import paint mesh";
    case A::ImportThirdPath: return "import by the third path";
  }
  return "";
}
