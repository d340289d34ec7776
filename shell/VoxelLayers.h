// The voxel room's layer panel in the window: a docked window over the
// viewport's volume tree whose clicks reach the voxel tool (a new current
// row is the volume the brushes work on), cache into the user's "Cache/"
// folder, and show refusals in a box. The window is shown only while the
// voxel room is the current room.
#pragma once

class Docks;
class ViewportSeams;
class WidgetTree;
class VoxTreePanel;

// Makes the window "VOXEL_LAYERS" and docks it above the window that is
// docked on the right, or on the right when none is.
VoxTreePanel* MakeVoxelLayersWindow(Docks& docks, WidgetTree& tree, ViewportSeams& view, float width, float height);
// Shows the window (and its dock header) in the voxel room, hides it in the
// others.
void ShowVoxelLayersFor(WidgetTree& tree, int room);
