// Targets come from point files or from the host's point list.
#include "sim/scene.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

std::string TempFile(const std::string& name, const std::string& text) {
  std::filesystem::path dir = std::filesystem::path(SURVEYCAM_BINARY_DIR) / "sim-scene";
  std::filesystem::create_directories(dir);
  std::string path = (dir / name).string();
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

TEST(SimScene, LoadsTargetsFromAPointFile) {
  std::string path = TempFile("site.csv",
                              "P1, 10.5 ,20,30\r\n"
                              "\n"
                              ",1,2,3\n"    // no name: skipped
                              "P2,1,x,3\n"  // unreadable number: skipped
                              "P3,2\n"      // too few columns: skipped
                              "Bäume-7,-4.25,1e2,0.5,CODE,12\n");
  sim::Scene scene;
  ASSERT_TRUE(scene.LoadTargets(path, 0.2));
  ASSERT_EQ(scene.targets().size(), 2u);
  const sim::Target& first = scene.targets()[0];
  EXPECT_EQ(first.name, L"P1");
  EXPECT_DOUBLE_EQ(first.x, 10.5);
  EXPECT_DOUBLE_EQ(first.y, 20.0);
  EXPECT_DOUBLE_EQ(first.z, 30.0);
  EXPECT_DOUBLE_EQ(first.half_size, 0.2);
  EXPECT_EQ(scene.targets()[1].name, L"B\u00e4ume-7");
  EXPECT_DOUBLE_EQ(scene.targets()[1].y, 100.0);
}

TEST(SimScene, MissingFileLeavesTheSceneAlone) {
  sim::Scene scene;
  scene.AddTarget({L"keep", 1, 2, 3, 0.1});
  EXPECT_FALSE(scene.LoadTargets("/nonexistent/dir/site.csv", 0.2));
  ASSERT_EQ(scene.targets().size(), 1u);
}

TEST(SimScene, TakesTheHostsPointList) {
  CKvoArray<CXYZ, CXYZ&> points;
  CXYZ a(L"A", 1.0, 2.0, 3.0);
  CXYZ b(L"B", -5.5, 6.25, 7.0);
  points.Add(a);
  points.Add(b);
  sim::Scene scene;
  scene.AddTargets(points, 0.3);
  ASSERT_EQ(scene.targets().size(), 2u);
  EXPECT_EQ(scene.targets()[1].name, L"B");
  EXPECT_DOUBLE_EQ(scene.targets()[1].x, -5.5);
  EXPECT_DOUBLE_EQ(scene.targets()[1].y, 6.25);
  EXPECT_DOUBLE_EQ(scene.targets()[1].half_size, 0.3);
}

TEST(SimScene, LightingPresetsOrderTheIllumination) {
  sim::Scene scene;
  scene.SetLighting(sim::Lighting::kDark);
  double dark = scene.illumination();
  scene.SetLighting(sim::Lighting::kBright);
  double bright = scene.illumination();
  scene.SetLighting(sim::Lighting::kNormal);
  EXPECT_LT(dark, scene.illumination());
  EXPECT_GT(bright, scene.illumination());
}

}  // namespace
