// Stored views of the camera; see CameraViews.h.
#include "shell/CameraViews.h"

#include <string>

#include "interface/AppOptions.h"
#include "render/Viewer.h"

CameraShortcut* StoreCameraView(const comms::cFreeViewer& camera) {
  auto* view = new CameraShortcut;
  ClassArray<CameraShortcut>& list = AppOptions::CameraShortcuts();
  view->Name = ("View " + std::to_string(list.GetAmount() + 1)).c_str();
  view->Center[0] = camera.m_Center.x, view->Center[1] = camera.m_Center.y, view->Center[2] = camera.m_Center.z;
  view->ToEye = camera.m_ToEye;
  view->Orient[0] = camera.Orient.x, view->Orient[1] = camera.Orient.y;
  view->Orient[2] = camera.Orient.z, view->Orient[3] = camera.Orient.w;
  view->Fov = camera.Fov;
  view->Perspective = camera.m_Persp;
  view->OrthoScale = camera.m_OrthoScale;
  list.Add(view);
  return view;
}

bool RecallCameraView(comms::cFreeViewer& camera, int index) {
  ClassArray<CameraShortcut>& list = AppOptions::CameraShortcuts();
  if (index < 0 || index >= list.GetAmount() || !list[index]) return false;
  const CameraShortcut& v = *list[index];
  camera.m_Center = comms::cVec3(v.Center[0], v.Center[1], v.Center[2]);
  camera.m_ToEye = v.ToEye > 0 ? v.ToEye : camera.m_ToEye;
  camera.Orient = comms::cQuat(v.Orient[0], v.Orient[1], v.Orient[2], v.Orient[3]).Normalized();
  camera.Fov = v.Fov > 1 && v.Fov < 179 ? v.Fov : camera.Fov;
  camera.m_Persp = v.Perspective;
  camera.m_OrthoScale = v.OrthoScale > 0 ? v.OrthoScale : camera.m_OrthoScale;
  camera.Update();
  return true;
}

bool NextCameraView(comms::cFreeViewer& camera, int& cursor) {
  const int n = AppOptions::CameraShortcuts().GetAmount();
  if (n == 0) return false;
  cursor = cursor + 1 >= 0 && cursor + 1 < n ? cursor + 1 : 0;
  return RecallCameraView(camera, cursor);
}
