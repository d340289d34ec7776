// The one undo stack of every room, kept on disk so memory stays free for the
// scene. Every undoable step is one numbered file ("%08d") in the folder
// "Undo" of the user data folder, headed by a four-character tag. Files
// numbered below UndoPosition are undo records, files above it redo records.
// Applying a record first writes its inverse, which goes to the other side.
// The folder is kept under a byte budget and above a free-space reserve by
// dropping the oldest steps; a write the disk refuses shrinks the stack
// instead of harming the scene.
#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "paint/undo/BasicUndoMaker.h"

class BinStream;

class UndoStack {
 public:
  // The folder budget: trimming starts above it and stops below it.
  static constexpr int64_t kByteBudget = 300000000;
  // A record this big or bigger is undone without writing its redo record.
  static constexpr int64_t kNoRedoBytes = 12000000;
  // The free-space reserve each write asks for, in units of 1,000,000 bytes.
  static constexpr int kReserveMB = 200;

  // `folder` is created when missing; its numbered files are the stack.
  explicit UndoStack(std::string folder);
  ~UndoStack();
  UndoStack(const UndoStack&) = delete;
  UndoStack& operator=(const UndoStack&) = delete;

  int32_t UndoPosition = 0;  // number of the next file to write
  int64_t UndoBytes = 0;     // sizes of the record files counted so far
  bool InUndo = false, InRedo = false;

  // Adds a maker unless one with its tag is there already (the new one is
  // then freed). Returns whether it was added.
  bool RegisterUndoMaker(std::unique_ptr<BasicUndoMaker> maker);
  BasicUndoMaker* FindMaker(uint32_t tag) const;
  // Frees every maker (before the program registers those of a new scene).
  void RemoveUndoMakers() { makers_.clear(); }

  // Deletes every file of the folder and starts empty (a new or loaded scene).
  void ClearUndo();
  // The one entry for every writer: the stream begins with the tag and stays
  // the caller's. Outside an undo or redo it becomes the next undo record and
  // the redo tail goes; while a record applies it is that record's inverse
  // and goes to the other side. False when the disk refused it (LastError).
  bool PushUndoRecord(BinStream& stream);
  bool PushRedoRecord(BinStream& stream);
  // Deletes the redo files from UndoPosition upward.
  void DropRedoTail();
  // Drops the oldest files while free space is below `minFreeMB` or the
  // folder is over the byte budget.
  void TrimUndoFolder(int minFreeMB);
  // Applies the newest undo record / the next redo record. False when there
  // was nothing to do, or while a drag's record waits for its release
  // (UndoGesture.h).
  bool Undo();
  bool Redo();
  // Whether a record being applied wants its inverse written: not for
  // records of kNoRedoBytes or more. Makers may skip building it.
  bool InverseWanted() const { return !suppressInverse_; }

  // "(%d) " of UndoPosition and the tags of the files below it, newest first.
  std::string UndoStatusText() const;
  std::string FileName(int n) const;
  const std::string& Folder() const { return folder_; }
  // Moves the stack to another folder (the user folder changed), empty.
  void SetFolder(std::string folder);
  // Why the last write failed, empty after a good one.
  const std::string& LastError() const { return lastError_; }

  // Runs before every undo and redo: waits for background writers and ends
  // a pending stroke, so no record overlaps a write in flight.
  std::function<void()> BeforeApply;
  // Asked before an undo; false refuses it (a tool in the middle of work).
  std::function<bool()> AllowsBackup;
  // Free bytes on the folder's drive; statvfs unless a test replaces it.
  std::function<int64_t()> FreeBytes;
  // The write call under the files; a test replaces it to fill the disk.
  std::function<long(int fd, const void* data, size_t size)> WriteCall;

 private:
  // Writes the stream to file n through a temporary file; the old file n
  // stays when that fails.
  bool WriteRecordFile(BinStream& stream, int n);
  // Writes file n, dropping the oldest files and trying again while the
  // disk refuses; with nothing left to drop, empties the stack.
  bool WriteWithRoom(BinStream& stream, int n);
  // Reads file n whole; empty when it is missing or unreadable.
  std::vector<uint8_t> ReadRecordFile(int n) const;
  void ApplyRecord(std::vector<uint8_t>& bytes);
  // A step that is gone (trimmed, unreadable) still takes its place on the
  // other side, as a record of nothing, so redo can walk back over it.
  void WritePlaceholder(int n);
  // The numbered files of the folder, oldest first.
  std::vector<int> ListNumbers() const;

  std::string folder_;
  std::string lastError_;
  std::vector<std::unique_ptr<BasicUndoMaker>> makers_;
  bool suppressInverse_ = false;
};

// The program's stack, in "UserData/Undo" of the user folder.
UndoStack& TheUndoStack();
