#include "ClassEngine/Assert.h"

#include <atomic>
#include <cstdlib>

#include "ClassEngine/CallStack.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"

namespace {
std::atomic<int> gCount{0};
constexpr int kLoggedAssertions = 20;
constexpr int kStackFrames = 64;
}  // namespace

void AssertFailed(const char* file, int line, const char* expression) {
  int before = gCount.fetch_add(1);
  if (before >= kLoggedAssertions) return;
  Log("Assertion failure (%s) :\nfile: %s, line %d\n\nCall stack state:\n", expression, file,
      line);
  for (const std::string& frame : CaptureCallStack(kStackFrames, 2)) Log("%s", frame.c_str());
  if (before != 0) return;
  SystemDialog d;
  d.title = "Assertion!";
  d.text =
      "Internal error occured! Please press \"Retry\" if you want to try to avoid it, "
      "\"Cancel\" to terminate program.\nPlease send the file Log.txt to the developers.";
  d.buttons = {"Retry", "Cancel"};
  d.defaultButton = 0;
  d.kind = SystemDialog::Kind::Stop;
  if (ShowSystemDialog(d) == 1) std::exit(1);
}

int AssertionCount() { return gCount.load(); }
void ResetAssertionCount() { gCount = 0; }
