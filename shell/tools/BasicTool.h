// BasicTool: everything the user does with the pointer in the 3D view. A tool
// is a reflected class; its registered members are its parameters, so the same
// members give its panel (through PanelHost), its saved state and its presets.
// The tool table (ToolTable.h) holds one instance of each; the scene widget's
// router (ToolRouter.h) feeds it pointer events; the frame calls its frame
// hooks in a fixed order (ToolTable::RunFrame).
#pragma once
#include <cstdint>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"

class BinStream;
class Enumerator;

// Where a tool's parameter panel goes. The interface library implements it;
// the tools only hand over the object whose members become rows.
class PanelHost {
 public:
  virtual ~PanelHost() = default;
  // Builds the generated panel of `object` in the tool panel of `room`.
  virtual void ShowClassPanel(BaseClass* object, int room) = 0;
  // Marks a named panel ("TOOL_PARAM0", ...) for rebuilding.
  virtual void MarkForRebuild(const char* panelName) = 0;
};

// The tool's cell in an icon sheet cut in 32-pixel cells.
struct ToolIcon {
  int Texture = -1;
  int Columns = 1;
  int Rows = 1;
  int Cell = -1;
};

struct ToolBounds {
  float Min[3] = {-100, -100, -100};
  float Max[3] = {100, 100, 100};
};

// The pointer as the tools see it during one event; the router fills it.
struct ToolPointer {
  float X = 0, Y = 0;
  float PrevX = 0, PrevY = 0;
  bool Shift = false, Ctrl = false, Alt = false;
  bool Left = false, Right = false, Middle = false;
  int LastKey = -1;         // the key number of this frame's last key, -1 none
  int StraightLine = 0;     // 0 off; 1 Shift started a straight-line stroke
};
// The one pointer record of the main thread.
ToolPointer& Pointer();

class BasicTool : public BaseClass {
 public:
  static constexpr float kDefaultPriority = 100000.0f;

  // Run-time state, not parameters: these are plain fields and not members,
  // so they neither show as panel rows nor travel with saved parameters.
  _str Name;              // registered name, key of the saved state
  int Room = 0;           // index of its room, set when the room list is built
  int BlockIndex = -1;    // file block being read or written
  uint8_t Background = 0; // gets pointer events and frame calls when not current

  MV_CLASS(BasicTool, BaseClass) {}

  virtual float GetPriority() { return kDefaultPriority; }
  // Pointer hooks: true when the tool consumed the event.
  virtual bool OnLMBDown() { return false; }
  virtual bool OnLMBUp() { return false; }
  virtual bool OnRMBDown() { return false; }
  virtual bool OnRMBUp() { return false; }
  virtual bool OnMMBDown() { return false; }
  virtual bool OnMMBUp() { return false; }
  virtual bool OnMouseMove() { return false; }
  virtual bool OnLMBDouble() { return false; }
  virtual bool OnRMBDouble() { return false; }
  virtual bool OnMMBDouble() { return false; }
  // A key pressed over the view; the tool's own shortcuts.
  virtual bool OnKey(int /*key*/) { return false; }
  virtual bool OnKeySecond(int /*key*/) { return false; }
  // The current-tool flag is kept by the table; a tool may widen it.
  virtual bool IsActive() { return current_; }
  virtual void Activate() {}
  virtual void Deactivate() {}
  virtual void FrameUpdate() {}
  // True while the tool works with nothing moving (a brush that keeps acting
  // on a still pen): frames must then come without messages.
  virtual bool WantsFrames() { return false; }
  virtual void FrameEnd() {}
  virtual void FrameActive() {}
  virtual void OnSceneReset() {}
  // Text keys: the button and hint, the top bar, a third line.
  virtual const char* GetHintId() { return Name.cpchar(); }
  virtual const char* GetSecondHintId() { return ""; }
  virtual const char* GetThirdHintId() { return ""; }
  virtual bool GetIcon(ToolIcon& /*out*/) { return false; }
  virtual int GetGroup() { return 0; }
  // The default panel is the generated panel of the tool's own members.
  virtual void BuildPanel(PanelHost* host) {
    if (host) host->ShowClassPanel(this, Room);
  }
  virtual int GetOptionsSignature() { return 0; }
  virtual int GetStripSignature() { return 0; }
  virtual int GetPanelSignature() { return 0; }
  virtual void OnPanelsRebuilt() {}
  virtual bool UsesPenSettings() { return false; }
  virtual void OnRetopoChanged() {}
  virtual void OnUVChanged() {}
  virtual bool IsInToolList() { return true; }
  virtual const char* GetRoomName() { return "Paint"; }
  virtual bool ShowsTopBar() { return true; }
  virtual bool AcceptsBarMode(int /*mode*/) { return true; }
  virtual void RenderView() {}
  virtual bool SaveBlock(BinStream* /*stream*/) { return false; }
  // Four-character tag of the tool's scene-file block, 0 for none.
  virtual uint32_t GetBlockTag() { return 0; }
  virtual bool LoadBlock(BinStream* /*stream*/) { return false; }
  virtual void OnStateChange() {}
  virtual void OnMaskChanged() {}
  virtual bool TakesShift() { return false; }
  virtual bool TakesShiftForLine() { return false; }
  virtual bool NeedsTopBar() { return false; }
  // The pointer is taken over: the common stroke hooks stay out.
  virtual bool CapturesPointer() { return false; }
  virtual void OnClose() {}
  virtual bool WritesDirect() { return false; }
  virtual int GetBlockCount() { return 1; }
  virtual bool DrawsPaintMesh() { return true; }
  // False: the viewer's own matrix serves.
  virtual bool GetViewMatrix(float (&/*out*/)[16]) { return false; }
  virtual bool AllowsBackup() { return true; }
  virtual bool MovesVertices() { return false; }
  virtual void OnSceneSaved() {}
  // After the LoadBlock calls of a scene file: `complete` takes what they
  // read, false (the file failed) drops it and keeps the tool as it was.
  virtual void OnSceneLoaded(bool /*complete*/) {}
  // Entries of the left panel: "*" opens a group, under two characters a gap.
  virtual Enumerator* GetToolList() { return nullptr; }
  virtual Enumerator* GetCommandList() { return nullptr; }
  virtual void OnToolListClick(int /*i*/) {}
  virtual void OnCommandClick(int /*i*/) {}
  virtual bool GetBounds(ToolBounds& /*out*/) { return false; }
  virtual int GetListColumns() { return 3; }
  // The whole scene's box; an empty scene spans -100 to 100.
  virtual bool GetFullBounds(ToolBounds& out) {
    out = ToolBounds();
    return false;
  }
  // False for a tool whose room is not built yet; its panel says so.
  virtual bool IsAvailable() { return true; }

  // Set only by the tool table.
  void SetCurrentFlag(bool on) { current_ = on; }

 private:
  bool current_ = false;
};

// Runs in the background: gets pointer events and frame calls without being
// current, and has no button in the tool list.
class ActiveBasicTool : public BasicTool {
 public:
  MV_CLASS(ActiveBasicTool, BasicTool) {}
  bool IsInToolList() override { return false; }
};
