// Device meshes of a volume's render groups, drawing them, and the offscreen
// picture of a volume.
#include "MC/mcubes/VolumeDraw.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "ClassEngine/Log.h"
#include "MC/mcubes/VolumeObject.h"
#include "interchange/IO.h"
#include "render/Background.h"
#include "render/OffscreenPicture.h"

using namespace comms;

VolumeDrawer::VolumeDrawer(cRender& render) : render_(render) {}
VolumeDrawer::~VolumeDrawer() { Clear(); }

void VolumeDrawer::Clear() { meshes_.clear(); }

int VolumeDrawer::Sync(VolumeObject& volume) {
  for (auto& [key, e] : meshes_) e.Seen = false;
  int uploaded = 0;
  volume.RenderGroups.ForEach([&](const CellKey&, RenderGroup& group) {
    const std::shared_ptr<GroupMesh>& src = group.Mesh;
    if (!src || src->VertexCount() == 0 || src->IndexCount() == 0) return;
    Entry& e = meshes_[src.get()];
    if (e.Mesh && e.Source.lock() == src && e.Version == src->Version) {
      e.Seen = true;
      return;
    }
    // New, refilled in place, or a stale entry of a freed mesh at the same address.
    const int nv = src->VertexCount(), ni = src->IndexCount();
    auto mesh = std::make_unique<StaticMesh>();
    mesh->Create(render_, nv, ni, kVfPosNormal);
    float* v = reinterpret_cast<float*>(mesh->GetVertices());
    const float* p = src->Positions.data();
    const float* n = src->Normals.data();
    for (int i = 0; i < nv; i++, v += 6, p += 3, n += 3) {
      v[0] = p[0], v[1] = p[1], v[2] = p[2];
      v[3] = n[0], v[4] = n[1], v[5] = n[2];
    }
    if (src->WideIndices)
      std::memcpy(mesh->GetIndices32(), src->Indices32.data(), size_t(ni) * 4);
    else
      std::memcpy(mesh->GetIndices16(), src->Indices16.data(), size_t(ni) * 2);
    mesh->SetVertexCount(nv);
    mesh->SetIndexCount(ni);
    mesh->Upload();
    e.Source = src;
    e.Version = src->Version;
    e.Mesh = std::move(mesh);
    e.Seen = true;
    ++uploaded;
  });
  for (auto it = meshes_.begin(); it != meshes_.end();)
    it = it->second.Seen ? std::next(it) : meshes_.erase(it);
  return uploaded;
}

int VolumeDrawer::Draw(VolumeObject& volume, cViewer& camera) {
  Sync(volume);
  if (!volume.Visible) return 0;
  if (shader_ < 0 || shaderName_ != volume.Shader || defines_ != Defines) {
    // The volume's own shader, or the clay one when it cannot be made.
    shaderName_ = volume.Shader;
    defines_ = Defines;
    shader_ = render_.GetShaderID(volume.Shader, kVfPosNormal, Defines);
    if (shader_ < 0) shader_ = render_.GetShaderID("mcubes", kVfPosNormal, "");
  }
  if (shader_ < 0) return 0;
  if (SetConstants) SetConstants(render_, shader_);
  if (depth_ < 0) depth_ = render_.GetDepthState(true, true, kCmpLessEqual);
  cMat4 world;
  std::memcpy(&world.m[0][0], volume.Transform, sizeof(float) * 16);
  render_.SetCamera(&camera);
  render_.SetWorldMatrix(world);
  render_.SetDepthState(depth_);
  render_.SetBlendState(-1);
  // The shader lights whichever side faces the camera, so no culling is needed
  // for cut-open surfaces.
  render_.SetCullMode(kCullNone);
  int drawn = 0;
  for (auto& [key, e] : meshes_) {
    e.Mesh->SetShader(shader_);
    e.Mesh->Draw();
    ++drawn;
  }
  render_.SetWorldMatrix(cMat4::Identity());
  return drawn;
}

void FrameVolume(const VolumeObject& volume, cFreeViewer& camera) {
  float mn[3], mx[3];
  for (int k = 0; k < 3; k++) {
    bool empty = volume.CellBoundsMin[k] > volume.CellBoundsMax[k];
    mn[k] = empty ? -32.0f : float(volume.CellBoundsMin[k] * volume.CellSide);
    mx[k] = empty ? 32.0f : float((volume.CellBoundsMax[k] + 1) * volume.CellSide);
  }
  float c[3], s[3];
  float lc[3] = {(mn[0] + mx[0]) / 2, (mn[1] + mx[1]) / 2, (mn[2] + mx[2]) / 2};
  volume.PointToScene(lc, c);
  float half[3] = {(mx[0] - mn[0]) / 2, (mx[1] - mn[1]) / 2, (mx[2] - mn[2]) / 2};
  volume.VectorToScene(half, s);
  float radius = std::sqrt(s[0] * s[0] + s[1] * s[1] + s[2] * s[2]);
  // The cell bounds carry a band round the surface; the solid is a bit smaller.
  float fit = radius * 0.8f / std::sin(camera.Fov * 0.5f * 3.14159265f / 180.0f);
  cQuat tilt = cQuat::FromAxisAngle(cVec3(1, 0, 0), -0.25f);
  cQuat turn = cQuat::FromAxisAngle(cVec3(0, 1, 0), 0.45f);
  camera.Znear = std::max(0.1f, fit * 0.01f);
  camera.Zfar = fit * 10.0f + radius * 2;
  camera.SetHome(cVec3(c[0], c[1], c[2]), fit, tilt * turn);
}

bool RenderVolumeToPng(cRender& render, VolumeObject& volume, cFreeViewer& camera, int width, int height,
                       const std::string& path) {
  camera.ViewRect = cRect(0, 0, float(width), float(height));
  camera.Update();
  std::string why;
  const bool ok = DrawPictureToPng(render, width, height, path, [&] {
    render.SetCamera(&camera);
    cBackground background;
    background.Draw(render, camera);
    VolumeDrawer drawer(render);
    drawer.Draw(volume, camera);
  }, &why);
  if (!ok) Log("RenderVolumeToPng(): %s (%s)", why.c_str(), path.c_str());
  return ok;
}
