// Point clouds from mesh files, merged as spheres (see PointCloud.h).
#include "MC/mesh/PointCloud.h"

#include <chrono>

#include "MC/brushes/ApplyField.h"
#include "MC/mcubes/VolumeObject.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"

void RegisterCloudParams() {
  static bool done = false;
  if (done) return;
  done = true;
  CloudParams model;
  RegisterClass(&model, "Voxels", "CloudParams");
}

MeshBasedCloud::MeshBasedCloud(std::string extension) : extension_(std::move(extension)) {}
MeshBasedCloud::~MeshBasedCloud() = default;

bool MeshBasedCloud::Open(const std::string& path) {
  mesh_.reset(comms::cMeshIO::LoadMesh(path.c_str()));
  next_ = 0;
  return mesh_ != nullptr;
}

bool MeshBasedCloud::GetNext(float out[3]) {
  if (!mesh_ || next_ >= mesh_->positions.size()) return false;
  const auto& p = mesh_->positions[next_++];
  out[0] = p.x, out[1] = p.y, out[2] = p.z;
  return true;
}

void MeshBasedCloud::Close() {
  mesh_.reset();
  next_ = 0;
}

int MeshBasedCloud::GetProgress() {
  if (!mesh_ || mesh_->positions.empty()) return 100;
  return (int)(next_ * 100 / mesh_->positions.size());
}

std::vector<std::unique_ptr<BasicCloud>> CloudReaders() {
  std::vector<std::unique_ptr<BasicCloud>> out;
  for (int i = 0; i < comms::cMeshIO::CodecCount(); ++i)
    if (comms::cMeshIO::CanDecode(i)) out.push_back(std::make_unique<MeshBasedCloud>(comms::cMeshIO::CodecName(i)));
  return out;
}

int MergeCloud(VolumeObject& volume, BasicCloud& cloud, const std::string& path, const CloudParams& params,
               const std::function<bool(int)>& progress) {
  if (!cloud.Open(path)) return -1;
  using Clock = std::chrono::steady_clock;
  Clock::time_point told = Clock::now();
  int toldPercent = 0, merged = 0;
  FieldOptions options;
  options.Mode = kFieldUnion;
  options.Band = (float)volume.BandWidth;
  const float r = params.CloudSphereRadius;
  float p[3];
  while (r > 0 && cloud.GetNext(p)) {
    for (float& c : p) c *= params.CloudScale;
    ApplyField(volume, SphereField(p, r, options.Band), FieldBox::OfSpheres(p, r, p, r), options);
    ++merged;
    const int percent = cloud.GetProgress();
    if (progress && (percent >= toldPercent + 6 || Clock::now() - told > std::chrono::seconds(1))) {
      volume.UpdateSurface();
      told = Clock::now();
      toldPercent = percent;
      if (!progress(percent)) break;
    }
  }
  cloud.Close();
  volume.UpdateSurface();
  return merged;
}
