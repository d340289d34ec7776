// The simplifier on a dense closed surface (a voxel sphere's welded
// surface): a 90 % reduction stays closed, manifold and near the input, the
// result does not depend on the thread count, the stop hook ends the run
// early with a whole mesh, and the dialog decides the share when asked.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "ClassEngine/Log.h"
#include "SimplifyKit.h"

namespace {

const WeldedMeshBuilder& Sphere() {
  static const WeldedMeshBuilder sphere = simptest::SphereSurface(22.4f);
  return sphere;
}

comms::cMesh Reduce(float ratio, int threads, HalfEdgeMesh* keep = nullptr) {
  HalfEdgeMesh local;
  HalfEdgeMesh& m = keep ? *keep : local;
  m.Threads = threads;
  m.AddSurface(Sphere(), "Sphere");
  EXPECT_TRUE(m.Build());
  EXPECT_TRUE(m.Simplify(ratio, false));
  comms::cMesh out;
  m.Extract(out);
  return out;
}

}  // namespace

TEST(SimplifiedSurface, NinetyPercentLessStaysClosedAndNear) {
  const MeshTopology in = Analyse(Sphere());
  ExpectClosed(in);
  ASSERT_GT(in.faces, 10000);
  const comms::cMesh out = Reduce(0.9f, 0);
  ASSERT_EQ(out.materials.size(), 1u);
  EXPECT_EQ(out.materials[0].name, "VoxMtl");
  ASSERT_EQ(out.objects.size(), 1u);
  EXPECT_EQ(out.objects[0].name, "Sphere");
  EXPECT_TRUE(out.IsConsistent());
  const WeldedMeshBuilder w = simptest::Welded(out);
  const MeshTopology t = Analyse(w);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 2);
  EXPECT_LE(t.faces, in.faces / 10 + 2);
  EXPECT_GT(t.signedVolume, 0.97 * in.signedVolume);
  const double apart = simptest::TwoSidedDistance(Sphere(), w);
  std::printf("%d -> %d triangles, %.3f voxels apart\n", in.faces, t.faces, apart);
  EXPECT_LT(apart, 0.5);
}

TEST(SimplifiedSurface, AsFarAsItGoesStillClosed) {
  HalfEdgeMesh m;
  m.AddSurface(simptest::SphereSurface(9.7f));
  ASSERT_TRUE(m.Build());
  float ratio = 0.999f;
  ASSERT_TRUE(m.Simplify(ratio, false));
  EXPECT_FALSE(m.Stopped());
  comms::cMesh out;
  m.Extract(out);
  const MeshTopology t = Analyse(simptest::Welded(out));
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 2);
  EXPECT_LT(t.faces, 40);  // the heap ran dry near a tetrahedron's worth
}

TEST(SimplifiedSurface, ATorusAndANoisyBlobKeepTheirTopology) {
  struct Case {
    const char* name;
    std::unique_ptr<DensityShape> shape;
    int euler;
  };
  Case cases[2] = {{"torus", std::make_unique<TorusShape>(0.2f, 0.1f, -0.3f, 17.5f, 6.2f), 0},
                   {"blob", std::make_unique<NoiseShape>(0.f, 0.f, 0.f, 18.f, 5.f, 9.f, 7u), 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    VolumeObject v;
    FillVolume(v, *c.shape);
    v.UpdateSurface();
    WeldedMeshBuilder in;
    v.ExtractWeldedAll(in);
    ASSERT_EQ(Analyse(in).Euler(), c.euler);
    HalfEdgeMesh m;
    m.AddSurface(in);
    ASSERT_TRUE(m.Build());
    float ratio = 0.95f;
    m.Simplify(ratio, false);
    comms::cMesh out;
    m.Extract(out);
    const WeldedMeshBuilder w = simptest::Welded(out);
    const MeshTopology t = Analyse(w);
    ExpectClosed(t);
    EXPECT_EQ(t.Euler(), c.euler);
    EXPECT_LE(t.faces, Analyse(in).faces / 20 + 2);
    EXPECT_LT(simptest::TwoSidedDistance(in, w), 1.0);
  }
}

TEST(SimplifiedSurface, SameBytesWithOneAndTwoThreads) {
  const comms::cMesh one = Reduce(0.8f, 1), two = Reduce(0.8f, 2);
  ASSERT_EQ(one.positions.size(), two.positions.size());
  ASSERT_EQ(one.polygons.size(), two.polygons.size());
  EXPECT_EQ(0, std::memcmp(one.positions.data(), two.positions.data(), one.positions.size() * sizeof one.positions[0]));
  EXPECT_EQ(0, std::memcmp(one.polygons.data(), two.polygons.data(), one.polygons.size() * sizeof one.polygons[0]));
}

TEST(SimplifiedSurface, StopHookEndsTheRunWithAWholeMesh) {
  // Polled after collapses 2, 1026, 2050, ...: the third poll stops it.
  HalfEdgeMesh m;
  int polls = 0;
  std::string caption;
  m.Progress = [&](const char* text, int64_t done, int64_t total) {
    caption = text;
    EXPECT_LT(done, total);
    return ++polls == 3;
  };
  const size_t mark = LogMark();
  const comms::cMesh out = Reduce(0.9f, 0, &m);
  EXPECT_NE(LogTextSince(mark).find("Simp: "), std::string::npos);
  EXPECT_TRUE(m.Stopped());
  EXPECT_EQ(m.Collapses(), 2050);
  EXPECT_EQ(caption.rfind("#", 0), 0u) << caption;
  EXPECT_NE(caption.find("k->"), std::string::npos) << caption;
  EXPECT_NE(caption.find("s) Press ESC to stop."), std::string::npos) << caption;
  const MeshTopology t = Analyse(simptest::Welded(out));
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 2);
}

TEST(SimplifiedSurface, TheDialogDecidesTheShare) {
  for (float percent : {0.0f, 50.0f, -1.0f}) {  // -1: declined
    SCOPED_TRACE(percent);
    HalfEdgeMesh m;
    m.AddSurface(Sphere());
    ASSERT_TRUE(m.Build());
    const int before = m.LiveFaces();
    m.Ask = [&](BaseClass& params, const char* title) {
      EXPECT_STREQ(title, "REDUCTION_PARAMS");
      auto& p = static_cast<DecimationParams&>(params);
      EXPECT_EQ(p.CurrentPolycount, before);
      if (percent < 0) return false;
      p.ReductionPercent = percent;
      p.OnChange(&p, nullptr, nullptr, "ReductionPercent");
      EXPECT_EQ(p.ReducedPolycount, before - (int)std::lround(before * percent / 100));
      return true;
    };
    float ratio = 0.9f;
    EXPECT_EQ(m.Simplify(ratio, true), percent > 0);
    if (percent > 0) {
      EXPECT_FLOAT_EQ(ratio, percent);
      EXPECT_NEAR(m.LiveFaces(), before / 2, 2);
    } else {
      EXPECT_EQ(m.LiveFaces(), before);
    }
  }
}
