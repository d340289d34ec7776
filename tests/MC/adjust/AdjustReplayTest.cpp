// The adjust tools' script lines: each gives the same bytes with one and two
// worker threads, on the seeded sphere and on the sculpted head, keeps the
// surface closed, and a wrong line names itself and stops the script.
#include <gtest/gtest.h>

#include <string>

#include "AdjustTestKit.h"

using namespace adjusttest;

namespace {

// Each line as it runs on the sphere (radius 28) and on the head (radius 60).
const char* const kLines[][2] = {
    {"axial 3  0 0 10  0 0 1", "axial 3  0 0 10  0 0 1"},
    {"wrap 4 0 180 6  0 0 0  0 1 0", "wrap 4 0 180 6  0 0 0  0 1 0"},
    {"barelief 0.4  0 0 10  0 0 80", "barelief 0.4  0 0 30  0 0 80"},
    {"transpose line 1  0 0 30  0 0 0  4 0 2", "transpose line 1  0 0 60  0 0 30  4 0 2"},
    {"transpose biline 1  0 0 30  0 0 0  4 0 2", "transpose biline 1  0 0 60  0 0 30  4 0 2"},
    {"transpose sphere 1.5  0 0 28  0 12 28  0 0 5", "transpose sphere 1.5  0 0 60  0 12 60  0 0 5"},
    {"transpose object 0.5  0 0 0  0 0 0  3 0 0", "transpose object 0.5  0 0 0  0 0 0  3 0 0"},
    {"copy  -20 0 20  20 0 20  22 2 19", "copy  0 42 42  46 0 46  47 1 46"},
};

VolumeSnapshot RunLine(const std::string& start, const std::string& line, int threads, bool head) {
  VolumeObject v;
  if (head) MakeHead(v);
  const ReplayResult r =
      RunReplayScript(start + "threads " + std::to_string(threads) + "\nradius 9\n" + line + "\n", v);
  SCOPED_TRACE(std::string(line) + (head ? " on the head" : " on the sphere"));
  EXPECT_EQ(r.Line, 0) << r.Error;
  ExpectClosed(Surface(v));
  return Snapshot(v);
}

TEST(AdjustReplay, EveryLineGivesTheSameBytesWithOneAndTwoThreads) {
  for (bool head : {false, true}) {
    const std::string start = head ? "" : "sphere 28\n";
    VolumeObject plain;
    if (head)
      MakeHead(plain);
    else
      RunReplayScript(start, plain);
    const VolumeSnapshot untouched = Snapshot(plain);
    for (const auto& lines : kLines) {
      const char* line = lines[head ? 1 : 0];
      const VolumeSnapshot one = RunLine(start, line, 1, head), two = RunLine(start, line, 2, head);
      EXPECT_TRUE(one == two) << line << (head ? " on the head" : " on the sphere");
      EXPECT_TRUE(one != untouched) << line << (head ? " on the head" : " on the sphere");
    }
  }
}

TEST(AdjustReplay, AWrongLineNamesItselfAndStopsTheScript) {
  for (const char* bad : {"axial 0 0 0 0 0 0 1", "axial 3 0 0", "wrap 0 0 90 0 0 0 0 0 1 0", "barelief 1 0 0",
                          "transpose wiggle 1 0 0 0 0 0 1 0 0 0", "transpose line 1 0 0", "copy 1 2 3",
                          "copy 1 2 3 4"}) {
    VolumeObject v;
    const ReplayResult r = RunReplayScript(std::string("sphere 10\n") + bad + "\nsphere 20\n", v);
    EXPECT_EQ(r.Line, 2) << bad;
    EXPECT_FALSE(r.Error.empty()) << bad;
    // The script stopped: the second sphere was not made.
    EXPECT_LT(v.SampleField(0, 15, 0), 1000.f) << bad;
  }
}

}  // namespace
