// Calibrations to and from OpenCV and COLMAP; OpenCV's calibrateCamera, projectPoints and
// FileStorage are the outside reference.
#include "camera/calib_interop.h"

#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

namespace {

constexpr double kPixel = 0.0056;  // mm/pixel
constexpr double kTolPx = 0.01;

// The live view's pixel of a camera-frame point (OpenCV axes), in OpenCV's pixel-centre origin.
cv::Point2d LiveViewPixel(const CCamera& c, const cv::Vec3d& p) {
  const double u = c.FocalLength * p[0] / p[2], v = -c.FocalLength * p[1] / p[2];
  double du = 0.0, dv = 0.0;
  EXPECT_TRUE(c.Dist.CalDistInv(u, v, du, dv, c.Resolution.X * 1e-5));
  return {(u + du + c.PrincipalPoint.X) / c.Resolution.X - 0.5,
          (c.PrincipalPoint.Y - (v + dv)) / c.Resolution.Y - 0.5};
}

struct Calibrated {
  cv::Mat k, dist;
  std::vector<cv::Mat> rvecs, tvecs;
  std::vector<cv::Point3d> board;
};

// A 9 x 6 board of 30 mm squares from nine poses, corners with 0.02 px of noise, calibrated.
Calibrated Calibrate(const std::vector<double>& truth, int flags) {
  Calibrated c;
  for (int j = 0; j < 6; ++j)
    for (int i = 0; i < 9; ++i) c.board.emplace_back(30.0 * i - 120.0, 30.0 * j - 75.0, 0.0);
  const cv::Matx33d k(820, 0, 318.7, 0, 820, 243.2, 0, 0, 1);
  cv::RNG rng(18);
  std::vector<std::vector<cv::Point3f>> objects;
  std::vector<std::vector<cv::Point2f>> images;
  for (int v = 0; v < 9; ++v) {
    const cv::Vec3d r(0.3 * std::sin(v * 0.8), 0.3 * std::cos(v * 1.1), 0.1 * v);
    const cv::Vec3d t(110.0 * (v % 3 - 1), 80.0 * (v / 3 - 1), 480.0 + 10.0 * v);
    std::vector<cv::Point2d> seen;
    cv::projectPoints(c.board, r, t, k, truth, seen);
    std::vector<cv::Point2f> noisy;
    for (const cv::Point2d& p : seen)
      noisy.emplace_back(float(p.x + rng.gaussian(0.02)), float(p.y + rng.gaussian(0.02)));
    objects.emplace_back(c.board.begin(), c.board.end());
    images.push_back(noisy);
  }
  c.k = cv::Mat::eye(3, 3, CV_64F);  // fx/fy = 1 kept: square pixels
  const int fixed = flags | cv::CALIB_FIX_ASPECT_RATIO;
  cv::calibrateCamera(objects, images, {640, 480}, c.k, c.dist, c.rvecs, c.tvecs, fixed);
  return c;
}

// Largest distance between OpenCV's projection through (k, dist) and the live view's.
double WorstPx(const Calibrated& c, const cv::Mat& k, const cv::Mat& dist, const CCamera& camera) {
  double worst = 0.0;
  for (size_t v = 0; v < c.rvecs.size(); ++v) {
    std::vector<cv::Point2d> ref;
    cv::projectPoints(c.board, c.rvecs[v], c.tvecs[v], k, dist, ref);
    cv::Matx33d r;
    cv::Rodrigues(c.rvecs[v], r);
    for (size_t i = 0; i < c.board.size(); ++i) {
      if (!cv::Rect2d(-0.5, -0.5, 640, 480).contains(ref[i])) continue;
      const cv::Vec3d p =
          r * cv::Vec3d(c.board[i].x, c.board[i].y, c.board[i].z) + cv::Vec3d(c.tvecs[v]);
      worst = std::max(worst, cv::norm(LiveViewPixel(camera, p) - ref[i]));
    }
  }
  return worst;
}

struct ModelCase {
  int model, flags;
  std::vector<double> truth;
};
void PrintTo(const ModelCase& m, std::ostream* os) { *os << "model " << m.model; }

class CalibInteropModel : public ::testing::TestWithParam<ModelCase> {};

TEST_P(CalibInteropModel, OpenCvCalibrationImportsAndExportsWithinAHundredthOfAPixel) {
  const ModelCase& m = GetParam();
  const Calibrated c = Calibrate(m.truth, m.flags);
  cv::FileStorage fs(".yml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY);
  fs << "image_width" << 640 << "image_height" << 480 << "camera_matrix" << c.k
     << "distortion_coefficients" << c.dist;
  calib::Intrinsics in;
  std::string error;
  ASSERT_TRUE(calib::ReadOpenCv(fs.releaseAndGetString(), in, error)) << error;
  calib::Options opt;
  opt.pixel_size_mm = kPixel;
  CCamera camera;
  calib::Report report;
  ASSERT_TRUE(calib::ToCamera(in, opt, camera, report)) << report.message;
  EXPECT_EQ(camera.Dist.GetDistModel(), m.model);
  EXPECT_LT(WorstPx(c, c.k, c.dist, camera), kTolPx);

  calib::Intrinsics out;
  ASSERT_TRUE(calib::FromCamera(camera, opt, out, report)) << report.message;
  for (bool json : {false, true}) {
    cv::FileStorage back(calib::WriteOpenCv(out, json),
                         cv::FileStorage::READ | cv::FileStorage::MEMORY);
    cv::Mat k, dist;
    back["camera_matrix"] >> k;
    back["distortion_coefficients"] >> dist;
    EXPECT_EQ(int(back["image_width"]), 640);
    ASSERT_FALSE(k.empty() || dist.empty()) << json;
    EXPECT_LT(WorstPx(c, k, dist, camera), kTolPx) << json;
  }
}

constexpr int kNoDist =
    cv::CALIB_FIX_K1 | cv::CALIB_FIX_K2 | cv::CALIB_FIX_K3 | cv::CALIB_ZERO_TANGENT_DIST;
INSTANTIATE_TEST_SUITE_P(
    Models,
    CalibInteropModel,
    ::testing::Values(ModelCase{0, kNoDist, {0, 0, 0, 0, 0}},
                      ModelCase{2, cv::CALIB_FIX_K3, {-0.04, 0.015, 2e-4, -3e-4, 0}},
                      ModelCase{3, 0, {-0.04, 0.03, -1.5e-4, 2.5e-4, -0.02}}),
    [](const auto& info) { return "Model" + std::to_string(info.param.model); });

// COLMAP lines both ways; every refusal names the model it cannot express, unless fitted.
TEST(CalibInterop, ColmapTextAndRefusals) {
  struct Case {
    std::string colmap;  // cameras.txt line, or empty for an OpenCV camera
    std::vector<double> dist;
    const char* named;  // refusal names this; nullptr: accepted
    bool fit_helps;
  };
  const Case cases[] = {
      {"7 PINHOLE 640 480 800 800 320 240", {}, nullptr, false},
      {"7 SIMPLE_RADIAL 640 480 800 320 240 -0.05", {}, nullptr, false},
      {"7 RADIAL 640 480 800 320 240 -0.05 0.01", {}, nullptr, false},
      {"7 OPENCV 640 480 800 801 320 240 -0.05 0.01 1e-4 -1e-4", {}, nullptr, false},
      {"7 FULL_OPENCV 640 480 800 800 320 240 -0.05 0.01 1e-4 -1e-4 0.01 0.02 0 0",
       {},
       "rational",
       true},
      {"7 OPENCV_FISHEYE 640 480 800 800 320 240 0.1 0 0 0", {}, "OPENCV_FISHEYE", false},
      {"", {-0.05, 0, 0, 0, 0, 0, 0, 0, 1e-3}, "thin-prism", true},
      {"", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.01}, "tilted-sensor", false},
  };
  for (const Case& c : cases) {
    calib::Intrinsics in{640, 480, 800, 800, 319.5, 239.5, 0, c.dist};
    std::string error, text;
    if (!c.colmap.empty() && !calib::ReadColmap("# cameras\n" + c.colmap + "\n", 7, in, error)) {
      EXPECT_NE(error.find(c.named), std::string::npos) << error;
      continue;
    }
    calib::Options opt;
    opt.pixel_size_mm = kPixel;
    CCamera camera;
    calib::Report report;
    const int ok = calib::ToCamera(in, opt, camera, report);
    EXPECT_EQ(ok, c.named == nullptr) << c.colmap << report.message;
    if (c.named) {
      EXPECT_NE(report.message.find(c.named), std::string::npos) << report.message;
    }
    opt.fit = true;
    EXPECT_EQ(calib::ToCamera(in, opt, camera, report), c.named == nullptr || c.fit_helps)
        << report.message;
    if (!ok || c.colmap.empty()) continue;
    ASSERT_TRUE(calib::WriteColmap(in, 7, text, error));
    EXPECT_NE(text.find(c.colmap.substr(0, c.colmap.find(' ', 2))), std::string::npos) << text;
    calib::Intrinsics back;
    ASSERT_TRUE(calib::ReadColmap(text, -1, back, error));
    EXPECT_DOUBLE_EQ(back.cx, in.cx);
    EXPECT_EQ(back.dist, in.dist);
  }
  for (int model : {1, 4}) {  // K4 and the 8-term model have no OpenCV counterpart
    CCamera camera;
    camera.FocalLength = 4.48;
    camera.PrincipalPoint.SetXYZ(1.792, 1.344, 0);
    camera.Resolution.SetXYZ(kPixel, kPixel, 0);
    camera.Dist.SetDistModel(DIST_MODEL(model));
    camera.Dist.AddPara(0, 1e-3);
    calib::Options opt;
    calib::Intrinsics out;
    calib::Report report;
    EXPECT_FALSE(calib::FromCamera(camera, opt, out, report));
    EXPECT_NE(report.message.find("model " + std::to_string(model)), std::string::npos)
        << report.message;
    opt.fit = true;
    EXPECT_TRUE(calib::FromCamera(camera, opt, out, report)) << report.message;
    EXPECT_GT(report.max_residual_px, 0.0);
  }
}

}  // namespace
