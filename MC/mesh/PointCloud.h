// Point clouds into voxels: BasicCloud reads points one after another,
// MeshBasedCloud serves every mesh format the mesh loader knows (one object
// per extension; the points are the vertices), and MergeCloud puts a sphere
// of the chosen radius at every point, scaled by CloudParams.
#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"

namespace comms {
class cMesh;
}
class VolumeObject;

// The dialog's parameters ("PointsCloudParams"): points are scaled by
// CloudScale, and each becomes a sphere of CloudSphereRadius voxels.
class CloudParams : public BaseClass {
 public:
  float CloudScale = 1.0f;
  float CloudSphereRadius = 3.0f;
  MV_CLASS(CloudParams, BaseClass) {
    Member("_float", CloudScale, "CloudScale");
    Member("_float", CloudSphereRadius, "CloudSphereRadius");
  }
};
// Registers CloudParams for its dialog (idempotent).
void RegisterCloudParams();

class BasicCloud {
 public:
  virtual ~BasicCloud() = default;
  // False when the file cannot be read; the cloud is then empty.
  virtual bool Open(const std::string& path) = 0;
  // The next point; false at the end.
  virtual bool GetNext(float out[3]) = 0;
  virtual void Close() = 0;
  // Percent of the points given so far, 0..100.
  virtual int GetProgress() = 0;
  // The file extension this reader serves, without the dot ("ply").
  virtual const char* GetExtension() = 0;
};

class MeshBasedCloud : public BasicCloud {
 public:
  explicit MeshBasedCloud(std::string extension);
  ~MeshBasedCloud() override;
  bool Open(const std::string& path) override;
  bool GetNext(float out[3]) override;
  void Close() override;
  int GetProgress() override;
  const char* GetExtension() override { return extension_.c_str(); }

 private:
  std::string extension_;
  std::unique_ptr<comms::cMesh> mesh_;
  size_t next_ = 0;
};

// One MeshBasedCloud per loadable mesh format of the loader, for the file
// dialog's list.
std::vector<std::unique_ptr<BasicCloud>> CloudReaders();

// Reads the cloud to its end, uniting a sphere at every point (times
// CloudScale) with the volume, and updates the surface. `progress` is told
// the percent when at least 6 more are done or a second passed; it returns
// false to stop (the Esc key). Returns the number of points merged, or -1
// when the file cannot be read.
int MergeCloud(VolumeObject& volume, BasicCloud& cloud, const std::string& path, const CloudParams& params,
               const std::function<bool(int percent)>& progress = nullptr);
