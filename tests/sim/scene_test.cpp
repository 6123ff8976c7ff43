// Targets come from point files or from the host's point list.
#include "sim/scene.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

TEST(SimScene, LoadsTargetsFromAPointFileAndTheHostsList) {
  const std::filesystem::path path = std::filesystem::path(SURVEYCAM_BINARY_DIR) / "sim-site.csv";
  std::ofstream(path, std::ios::binary) << "P1, 10.5 ,20,30\r\n\n"
                                        << ",1,2,3\n"    // no name: skipped
                                        << "P2,1,x,3\n"  // unreadable number: skipped
                                        << "P3,2\n"      // too few columns: skipped
                                        << "B\xC3\xA4ume-7,-4.25,1e2,0.5,CODE,12\n";
  sim::Scene scene;
  ASSERT_TRUE(scene.LoadTargets(path.string(), 0.2));
  ASSERT_EQ(scene.targets().size(), 2u);
  const sim::Target& first = scene.targets()[0];
  EXPECT_EQ(first.name, L"P1");
  EXPECT_EQ(std::vector<double>({first.x, first.y, first.z, first.half_size}),
            std::vector<double>({10.5, 20.0, 30.0, 0.2}));
  EXPECT_EQ(scene.targets()[1].name, L"B\u00e4ume-7");
  EXPECT_DOUBLE_EQ(scene.targets()[1].y, 100.0);
  // A missing file leaves the scene alone; the host's points are added.
  EXPECT_FALSE(scene.LoadTargets("/nonexistent/dir/site.csv", 0.2));
  CKvoArray<CXYZ, CXYZ&> points;
  CXYZ b(L"B", -5.5, 6.25, 7.0);
  points.Add(b);
  scene.AddTargets(points, 0.3);
  ASSERT_EQ(scene.targets().size(), 3u);
  const sim::Target& added = scene.targets()[2];
  EXPECT_EQ(added.name, L"B");
  EXPECT_EQ(std::vector<double>({added.x, added.y, added.z, added.half_size}),
            std::vector<double>({-5.5, 6.25, 7.0, 0.3}));
}

}  // namespace
