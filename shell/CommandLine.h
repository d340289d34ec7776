// The command line: kept at start, read at the fourth application frame so
// that the scene stands. Leading words that begin with "-" are flags; the rest
// is a path. A path with ".mvn" is a scene to load; any other is a mesh to
// import, as a reference (-ref), by the third import path (-mv), or as a
// paint mesh. -recent opens the last recent file the same way.
#pragma once
#include <string>

struct CommandLineDecision {
  enum class Action { Nothing, LoadScene, ImportReference, ImportPaintMesh, ImportThirdPath };
  Action action = Action::Nothing;
  std::string path;
  bool recent = false, ref = false, mv = false;
};

// The line up to "-openautomate", if it holds one; `openAutomateArgs` gets
// what follows it, blanks and one pair of quotes removed.
std::string SplitOpenAutomate(const std::string& line, std::string& openAutomateArgs);
// `recentFile` is the last entry of the recent-files list, used with -recent.
CommandLineDecision DecideCommandLine(const std::string& line, const std::string& recentFile);
const char* ActionName(CommandLineDecision::Action action);

// Counts application frames down from 4 and hands out the line once.
class DelayedCommandLine {
 public:
  void Keep(const std::string& line) { line_ = line; }
  // True on the fourth call, once.
  bool Tick() { return countdown_ > 0 && --countdown_ == 0; }
  const std::string& Line() const { return line_; }

 private:
  std::string line_;
  int countdown_ = 4;
};
