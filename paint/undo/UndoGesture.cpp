// The gesture that gathers a drag's changes into one undo step (see
// UndoGesture.h).
#include "paint/undo/UndoGesture.h"

#include <utility>
#include <vector>

namespace {
struct Waiting {
  const void* Key;
  std::function<void()> Record;
};

struct Gesture {
  bool Open = false;
  std::vector<Waiting> Records;  // in the order their keys first handed over
};

Gesture& TheGesture() {
  static Gesture g;
  return g;
}
}  // namespace

void OpenUndoGesture() {
  // A release that never came (the window lost the pointer) ends the last one.
  CloseUndoGesture();
  TheGesture().Open = true;
}

void CloseUndoGesture() {
  Gesture& g = TheGesture();
  g.Open = false;
  // A record may hand over another: take the list first, so what it adds
  // is written at once.
  std::vector<Waiting> records = std::move(g.Records);
  g.Records.clear();
  for (Waiting& w : records) w.Record();
}

bool UndoGestureWaits() { return !TheGesture().Records.empty(); }

void RecordWhenGestureEnds(const void* key, std::function<void()> record) {
  Gesture& g = TheGesture();
  if (!g.Open) {
    record();
    return;
  }
  for (Waiting& w : g.Records)
    if (w.Key == key) {
      w.Record = std::move(record);
      return;
    }
  g.Records.push_back({key, std::move(record)});
}

void ForgetGestureRecord(const void* key) {
  std::vector<Waiting>& records = TheGesture().Records;
  std::erase_if(records, [key](const Waiting& w) { return w.Key == key; });
}
