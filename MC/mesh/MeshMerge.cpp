// The merge tool's mesh, placement and merge (see MeshMerge.h).
#include "MC/mesh/MeshMerge.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "MC/mesh/MergeMeshSkin.h"
#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/Random.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"

#include <filesystem>

namespace {

constexpr float kPreviewRadius = 150;

// out = a x b, row vectors: a applies first.
void Multiply(const float a[16], const float b[16], float out[16]) {
  float r[16];
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      float s = 0;
      for (int k = 0; k < 4; ++k) s += a[i * 4 + k] * b[k * 4 + j];
      r[i * 4 + j] = s;
    }
  std::copy(r, r + 16, out);
}

// A turn by `degrees` in the plane of axes i and j (from i towards j).
void Turn(int i, int j, float degrees, float out[16]) {
  std::fill(out, out + 16, 0.0f);
  for (int k = 0; k < 4; ++k) out[k * 5] = 1;
  const float r = degrees * (float)M_PI / 180.0f, c = std::cos(r), s = std::sin(r);
  out[i * 4 + i] = c, out[i * 4 + j] = s;
  out[j * 4 + i] = -s, out[j * 4 + j] = c;
}

}  // namespace

void RegisterMergeClasses() {
  static bool done = false;
  if (done) return;
  done = true;
  MergeSamplePaths();
  MergeSettings settings;
  MergeParams params;
  HullParams hull;
  ExtrudeParams extrude;
  RegisterClass(&settings, "Voxels", "MergeSettings");
  RegisterClass(&params, "Voxels", "MergeParams");
  RegisterClass(&hull, "Voxels", "HullParams");
  RegisterClass(&extrude, "Voxels", "ExtrudeParams");
}

int MergeModeOf(bool invert, bool intersectHeld) {
  if (!invert) return kMergeUnion;
  return intersectHeld ? kMergeIntersect : kMergeSubtract;
}

int MergeTargetTriangles(const comms::cMesh& mesh, const float* matrix, float degree) {
  double area = 0;
  int triangles = 0;
  auto placed = [&](int i) {
    const comms::cMeshVec3& p = mesh.positions[size_t(i)];
    if (!matrix) return std::array<double, 3>{p.x, p.y, p.z};
    std::array<double, 3> q;
    for (int a = 0; a < 3; ++a) q[size_t(a)] = p.x * matrix[a] + p.y * matrix[4 + a] + p.z * matrix[8 + a] + matrix[12 + a];
    return q;
  };
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    for (int k = 1; k + 1 < h.a; ++k) {
      const auto a = placed(c[0].a), b = placed(c[k].a), d = placed(c[k + 1].a);
      const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v[3] = {d[0] - a[0], d[1] - a[1], d[2] - a[2]};
      const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
      area += std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]) / 2;
      ++triangles;
    }
  });
  const double lattice = std::max(2 * area, 4.0);
  if (triangles <= lattice) return triangles;
  const double kept = triangles - std::clamp(double(degree), 0.0, 1.0) * (triangles - lattice);
  return (int)std::lround(kept);
}

const comms::cMesh& MeshMerge::MeshToMerge(const float* matrix) {
  mergedTriangles_ = 0;
  mesh_->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell*) {
    mergedTriangles_ += std::max(h.a - 2, 0);
  });
  if (!Simplification.PerformSimplification || !Simplifier) return *mesh_;
  const int target = MergeTargetTriangles(*mesh_, matrix, Simplification.SimpDegree);
  if (target >= mergedTriangles_) return *mesh_;
  if (!simplified_ || simplifiedTarget_ != target) {
    auto copy = std::make_unique<comms::cMesh>(*mesh_);
    const bool whole = Simplifier(*copy, target);
    simplified_ = std::move(copy);
    // A run stopped by the user serves this merge only.
    simplifiedTarget_ = whole ? target : -1;
  }
  mergedTriangles_ = simplified_->PolygonCount();
  return *simplified_;
}

MeshMerge::MeshMerge() {
  // A pick in the panel's list holds that sample; one that fails leaves the
  // held mesh and shows no sample picked.
  Settings.SampleChosen = [this](int index) {
    if (!LoadSample(index)) Settings.MergeBrowser = -1;
  };
}
MeshMerge::~MeshMerge() = default;

void MergeSettings::MergeObject() {
  if (ObjectAsked) ObjectAsked();
}

bool MergeSettings::OnChange(BaseClass*, void*, void*, const char* name) {
  if (name && std::string(name) == "MergeBrowser" && SampleChosen) SampleChosen(MergeBrowser);
  return false;
}

std::vector<std::string> MergeSamplePaths() {
  std::vector<std::string> paths;
  const std::string folder = comms::DataFilePath("Samples");
  std::error_code ec;
  for (const auto& e : std::filesystem::directory_iterator(folder, ec)) {
    std::string ext = e.path().extension().string();
    for (char& c : ext) c = char(std::tolower((unsigned char)c));
    if (ext == ".obj") paths.push_back(e.path().string());
  }
  std::sort(paths.begin(), paths.end());
  Enumerator* list = GetEnumerator("MERGE_SAMPLES");
  list->Clear();
  for (size_t i = 0; i < paths.size(); ++i)
    list->Add(std::filesystem::path(paths[i]).stem().string().c_str(), int(i));
  return paths;
}

bool MeshMerge::LoadFile(const std::string& path, std::string* why) {
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  const char* reason = !mesh ? "it cannot be read as a mesh" : mesh->positions.empty() ? "it holds no vertices" : nullptr;
  if (reason || !SetMesh(std::move(mesh))) {
    if (why) *why = path + ": " + (reason ? reason : "it holds no vertices");
    Log("MeshMerge::LoadFile(): %s: %s", path.c_str(), reason ? reason : "nothing to hold");
    return false;
  }
  Settings.MergeBrowser = -1;
  return true;
}

bool MeshMerge::LoadSample(int index, std::string* why) {
  const std::vector<std::string> paths = MergeSamplePaths();
  if (index < 0 || index >= (int)paths.size()) {
    if (why) *why = "there is no sample " + std::to_string(index);
    return false;
  }
  if (!LoadFile(paths[size_t(index)], why)) return false;
  Settings.MergeBrowser = index;
  return true;
}

bool MeshMerge::SetMesh(std::unique_ptr<comms::cMesh> mesh) {
  if (!mesh || mesh->positions.empty()) return false;
  float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
  for (const auto& p : mesh->positions) {
    const float q[3] = {p.x, p.y, p.z};
    for (int a = 0; a < 3; ++a) lo[a] = std::min(lo[a], q[a]), hi[a] = std::max(hi[a], q[a]);
  }
  const float c[3] = {(lo[0] + hi[0]) / 2, (lo[1] + hi[1]) / 2, (lo[2] + hi[2]) / 2};
  float far = 0;
  for (const auto& p : mesh->positions)
    far = std::max(far, std::sqrt((p.x - c[0]) * (p.x - c[0]) + (p.y - c[1]) * (p.y - c[1]) + (p.z - c[2]) * (p.z - c[2])));
  const float s = far > 0 ? kPreviewRadius / far : 1.0f;
  for (auto& p : mesh->positions) p = {(p.x - c[0]) * s, (p.y - c[1]) * s, (p.z - c[2]) * s};
  mesh_ = std::move(mesh);
  simplified_.reset();
  simplifiedTarget_ = -1;
  MergeSettings rest;
  Settings.MrgYaw = rest.MrgYaw, Settings.MrgPitch = rest.MrgPitch, Settings.MrgRoll = rest.MrgRoll;
  Settings.ShiftX = rest.ShiftX, Settings.ShiftY = rest.ShiftY, Settings.ShiftZ = rest.ShiftZ;
  Settings.MergeScale = rest.MergeScale;
  return true;
}

void MeshMerge::Placement(float out[16]) const {
  const float k = Settings.MergeScale;
  float m[16] = {k, 0, 0, 0, 0, k, 0, 0, 0, 0, k, 0, 0, 0, 0, 1};
  float t[16];
  Turn(0, 1, Settings.MrgRoll, t);  // about z
  Multiply(m, t, m);
  Turn(1, 2, Settings.MrgPitch, t);  // about x
  Multiply(m, t, m);
  Turn(2, 0, Settings.MrgYaw, t);  // about y
  Multiply(m, t, m);
  m[12] += Settings.ShiftX, m[13] += Settings.ShiftY, m[14] += Settings.ShiftZ;
  std::copy(m, m + 16, out);
}

bool MeshMerge::Merge(VolumeObject& volume, int mode, const std::vector<std::vector<float>>& mirrors,
                      std::vector<SeparatePart>* separate, const std::vector<VolumeObject*>& below, bool keepUndo,
                      uint32_t seed) {
  if (!mesh_) return false;
  std::vector<std::vector<float>> copies = mirrors;
  if (copies.empty()) copies.push_back({1, 0, 0, 0, 1, 0, 0, 0, 1});
  float placed[16];
  {
    // The jitters turn this merge only: the placement shown stays as set.
    const float yaw = Settings.MrgYaw, pitch = Settings.MrgPitch, roll = Settings.MrgRoll;
    Random rnd(seed);
    Settings.MrgYaw += Settings.MrgYawJitter * (2 * rnd.Unit() - 1);
    Settings.MrgPitch += Settings.MrgPitchJitter * (2 * rnd.Unit() - 1);
    Settings.MrgRoll += Settings.MrgRollJitter * (2 * rnd.Unit() - 1);
    Placement(placed);
    Settings.MrgYaw = yaw, Settings.MrgPitch = pitch, Settings.MrgRoll = roll;
  }
  Multiply(placed, volume.InverseTransform, placed);
  const comms::cMesh& mesh = MeshToMerge(placed);
  for (const std::vector<float>& mirror : copies) {
    if (mirror.size() != 9) continue;
    const float mirror4[16] = {mirror[0], mirror[1], mirror[2], 0, mirror[3], mirror[4], mirror[5], 0,
                               mirror[6], mirror[7], mirror[8], 0, 0,         0,         0,         1};
    float m[16];
    Multiply(placed, mirror4, m);
    if (Settings.MergeAsSkin) {
      MergeMeshSkin(volume, mesh, m, mode, Settings.InSkinThickness, Settings.OutSkinThickness, -1, keepUndo);
    } else if (Settings.MergeToSeparateVolumes && separate) {
      std::vector<SeparatePart> parts = MergeMeshSeparate(volume, below, mesh, m, Settings.RespectNegativeVolumes,
                                                          Settings.CutThroughVolumes, keepUndo);
      for (SeparatePart& p : parts) separate->push_back(std::move(p));
    } else {
      MergeMesh(volume, mesh, m, mode, Settings.RespectNegativeVolumes, -1, keepUndo);
    }
  }
  return true;
}
