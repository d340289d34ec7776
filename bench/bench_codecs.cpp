// Mesh load speed in MB/s: our OBJ, binary STL and binary PLY codecs against
// Assimp and tinyobjloader on the same files, made once at start in a temp
// folder. After the run, the ratio of each peer to ours is printed.
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <benchmark/benchmark.h>
#include <tiny_obj_loader.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>

#include "interchange/MeshIO.h"

namespace {

std::string g_dir;

// A UV sphere of about 2 * n * n triangles with UVs and normals.
comms::cMesh Sphere(int n) {
  comms::cMesh m;
  m.name = "bench";
  int mat = m.AddMaterial("stone"), obj = m.AddObject("sphere");
  for (int j = 0; j <= n; j++)
    for (int i = 0; i <= n; i++) {
      float u = (float)i / n, v = (float)j / n;
      float th = u * 6.2831853f, ph = v * 3.1415926f;
      comms::cMeshVec3 p{std::sin(ph) * std::cos(th), std::cos(ph), std::sin(ph) * std::sin(th)};
      m.positions.push_back(p);
      m.normals.push_back(p);
      m.uvs.push_back({u, v});
    }
  for (int j = 0; j < n; j++)
    for (int i = 0; i < n; i++) {
      int a = j * (n + 1) + i, b = a + 1, c = a + n + 1, d = c + 1;
      const int t[2][3] = {{a, c, b}, {b, c, d}};
      for (const auto& tri : t) {
        m.BeginPolygon(3, mat, obj);
        for (int k : tri) m.AddCorner(k, k, k);
      }
    }
  return m;
}

std::string Path(const char* ext) { return g_dir + "bench." + ext; }

void MakeFiles() {
  g_dir = (std::filesystem::temp_directory_path() / "morvane_bench_codecs/").string();
  std::filesystem::create_directories(g_dir);
  comms::cMesh m = Sphere(300);
  for (const char* ext : {"obj", "stl", "ply"}) comms::cMeshIO::SaveMesh(m, Path(ext).c_str());
}

void SetBytes(benchmark::State& state, const char* ext) {
  state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)std::filesystem::file_size(Path(ext)));
}

void Morvane(benchmark::State& state, const char* ext) {
  for (auto _ : state) {
    std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(Path(ext).c_str()));
    if (!mesh) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(mesh.get());
  }
  SetBytes(state, ext);
}

void AssimpLoad(benchmark::State& state, const char* ext) {
  for (auto _ : state) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(Path(ext), 0);
    if (!scene) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(scene);
  }
  SetBytes(state, ext);
}

void TinyObj(benchmark::State& state) {
  for (auto _ : state) {
    tinyobj::attrib_t attrib;
    std::vector<tinyobj::shape_t> shapes;
    std::vector<tinyobj::material_t> materials;
    std::string warn, err;
    if (!tinyobj::LoadObj(&attrib, &shapes, &materials, &warn, &err, Path("obj").c_str(), g_dir.c_str(), false))
      state.SkipWithError("load failed");
    benchmark::DoNotOptimize(attrib.vertices.data());
  }
  SetBytes(state, "obj");
}

// Keeps each run's MB/s so that the ratios can be printed at the end.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      auto it = r.counters.find("bytes_per_second");
      if (it != r.counters.end()) speed[r.benchmark_name()] = it->second.value / 1e6;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> speed;
};

}  // namespace

BENCHMARK_CAPTURE(Morvane, Obj, "obj")->Name("Obj/Morvane")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AssimpLoad, Obj, "obj")->Name("Obj/Assimp")->Unit(benchmark::kMillisecond);
BENCHMARK(TinyObj)->Name("Obj/tinyobjloader")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Morvane, Stl, "stl")->Name("BinaryStl/Morvane")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AssimpLoad, Stl, "stl")->Name("BinaryStl/Assimp")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Morvane, Ply, "ply")->Name("BinaryPly/Morvane")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AssimpLoad, Ply, "ply")->Name("BinaryPly/Assimp")->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  MakeFiles();
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nFiles: OBJ %.1f MB, binary STL %.1f MB, binary PLY %.1f MB\n",
              std::filesystem::file_size(Path("obj")) / 1e6, std::filesystem::file_size(Path("stl")) / 1e6,
              std::filesystem::file_size(Path("ply")) / 1e6);
  for (const char* format : {"Obj", "BinaryStl", "BinaryPly"}) {
    auto ours = reporter.speed.find(std::string(format) + "/Morvane");
    if (ours == reporter.speed.end()) continue;
    for (const auto& [name, mbps] : reporter.speed)
      if (name.rfind(std::string(format) + "/", 0) == 0 && name != ours->first)
        std::printf("%-10s Morvane %7.1f MB/s, %-14s %7.1f MB/s: Morvane is %.2fx\n", format, ours->second,
                    name.substr(name.find('/') + 1).c_str(), mbps, ours->second / mbps);
  }
  std::filesystem::remove_all(g_dir);
  return 0;
}
