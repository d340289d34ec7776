// One undo step for one gesture of the pointer. The interface opens a
// gesture when the left button goes down and closes it when the button comes
// up. An edit that arrives as many changes meanwhile (a slider dragged along
// a panel row, press to release) hands its record over with
// RecordWhenGestureEnds; what was handed over last under a key is written
// once, when the gesture closes, so the one step holds the state from before
// the press. Outside a gesture a record is written at once (a typed value).
// Main thread only.
#pragma once
#include <functional>

void OpenUndoGesture();
// Writes what waits and ends the gesture.
void CloseUndoGesture();
// Whether a record waits for the release: an edit is under way (its rows
// still point into what an undo would replace), so the stack takes no undo
// or redo meanwhile.
bool UndoGestureWaits();
// Runs `record` now outside a gesture; inside, keeps it to run when the
// gesture closes, in place of what `key` handed over before.
void RecordWhenGestureEnds(const void* key, std::function<void()> record);
// Drops what `key` handed over (its owner goes away).
void ForgetGestureRecord(const void* key);
