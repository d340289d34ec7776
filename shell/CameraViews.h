// Stored views of the camera: the options' list of camera shortcuts, each
// taken from the camera as it stands and laid back onto it later.
#pragma once

class CameraShortcut;
namespace comms {
class cFreeViewer;
}

// Adds the camera's view to the list as "View <n>"; the new row.
CameraShortcut* StoreCameraView(const comms::cFreeViewer& camera);
// Lays stored view `index` onto the camera; false when there is none.
bool RecallCameraView(comms::cFreeViewer& camera, int index);
// The stored view after `cursor` (round to the first), laid onto the camera;
// `cursor` becomes its index. False when nothing is stored.
bool NextCameraView(comms::cFreeViewer& camera, int& cursor);
