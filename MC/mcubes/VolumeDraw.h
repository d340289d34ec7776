// Drawing a volume: the render groups that UpdateSurface builds on the CPU go
// up into device meshes (StaticMesh, position and normal per vertex, 16-bit
// indices below 65000 vertices) and are drawn with the volume shader "mcubes".
// A group rebuilt by UpdateSurface is a new GroupMesh, so the drawer keys its
// device meshes by the CPU mesh and drops those whose CPU mesh is gone.
#pragma once
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "render/Mesh.h"
#include "render/Viewer.h"

class VolumeObject;
struct GroupMesh;

class VolumeDrawer {
 public:
  explicit VolumeDrawer(comms::cRender& render);
  ~VolumeDrawer();
  VolumeDrawer(const VolumeDrawer&) = delete;
  VolumeDrawer& operator=(const VolumeDrawer&) = delete;

  // Uploads groups new since the last call and frees the device meshes of
  // groups that no longer exist; returns the number uploaded.
  int Sync(VolumeObject& volume);
  // Syncs, then draws every group with the volume's transform as the world
  // matrix through `camera`; returns the number of groups drawn.
  int Draw(VolumeObject& volume, comms::cViewer& camera);
  int Shader() const { return shader_; }
  // The shader's settings: #defines its source is compiled with (a change
  // compiles it again) and the constants set before the groups are drawn.
  std::string Defines;
  std::function<void(comms::cRender&, int shader)> SetConstants;
  int DeviceMeshes() const { return int(meshes_.size()); }
  // The device mesh made for a group's CPU mesh, null if none.
  const comms::StaticMesh* DeviceMesh(const GroupMesh* source) const {
    auto it = meshes_.find(source);
    return it == meshes_.end() ? nullptr : it->second.Mesh.get();
  }
  // Frees every device mesh (before the renderer goes away).
  void Clear();

 private:
  struct Entry {
    std::weak_ptr<GroupMesh> Source;
    uint64_t Version = 0;  // of the source when it was uploaded
    std::unique_ptr<comms::StaticMesh> Mesh;
    bool Seen = false;
  };
  comms::cRender& render_;
  int shader_ = -1, depth_ = -1;
  std::string shaderName_;  // the volume shader shader_ was made for
  std::string defines_;     // and the defines it was compiled with
  std::unordered_map<const GroupMesh*, Entry> meshes_;
};

// Points `camera` at the volume's bounding box from the front, a little above,
// far enough to see it whole, and makes that its Home position.
void FrameVolume(const VolumeObject& volume, comms::cFreeViewer& camera);

// Renders the volume offscreen at width x height from `camera` over the
// default gradient and writes a PNG; false (logged) when a step fails.
bool RenderVolumeToPng(comms::cRender& render, VolumeObject& volume, comms::cFreeViewer& camera, int width,
                       int height, const std::string& path);
