// The program's undo: one stack for every room. InstallUndo empties the
// stack left by the last session, registers the record makers of the rooms,
// has every stroke write its record at pen-up, empties the stack when another
// scene comes in, and binds the commands "EDIT_UNDO" and "EDIT_REDO" (Ctrl+Z,
// Ctrl+Y and the Edit menu).
#pragma once
#include <string>

class ToolTable;
class ViewportSeams;
class UndoStack;

void InstallUndo(UndoStack& stack, ToolTable& tools, ViewportSeams& view);
// The window's title with the mark of changes no file has yet.
std::string TitleWithChanges(const std::string& title, bool changed);
