#pragma once
// Camera calibrations to and from OpenCV and COLMAP.
//
// OpenCV (cv::calibrateCamera, saved by cv::FileStorage as YAML or JSON with
// camera_matrix, distortion_coefficients, image_width, image_height) and
// COLMAP (cameras.txt) describe the same interior orientation as CCamera in
// other units and conventions. The conversions below follow these rules:
//
// Units and axes.
//  - Theirs: pixels. fx, fy are the focal length in pixels along x and y;
//    (cx, cy) the principal point in pixels; x runs right, y runs DOWN.
//    Normalised coordinates are xn = X/Z, yn = Y/Z in the camera frame
//    (x right, y down, looking along +Z).
//  - Ours: millimetres. FocalLength f [mm]; Resolution (X, Y) the pixel
//    pitch [mm/pixel]; image coordinates (x, y) in mm about the principal
//    point, x right, y UP. So x = f·xn, y = -f·yn, and fx = f / Resolution.X,
//    fy = f / Resolution.Y. Neither OpenCV nor COLMAP knows the pixel pitch:
//    importing needs it as an argument (the x pitch; the y pitch follows from
//    fx/fy so that one focal length serves both axes).
//
// Where pixels count from.
//  - Our sensor pixel coordinates (px, py) count from the top-left CORNER of
//    the top-left pixel (pixel (i, j) covers [i, i+1) x [j, j+1)); the live
//    view places a point at px = (x + PrincipalPoint.X) / Resolution.X,
//    py = (PrincipalPoint.Y - y) / Resolution.Y. So PrincipalPoint.X is the
//    principal point's distance from the sensor's left edge and
//    PrincipalPoint.Y its distance from the TOP edge, both in mm.
//  - COLMAP counts from the same corner (the centre of the top-left pixel is
//    (0.5, 0.5)): cx_colmap = PrincipalPoint.X / Resolution.X.
//  - OpenCV counts from the CENTRE of the top-left pixel (it is (0, 0)):
//    cx_opencv = PrincipalPoint.X / Resolution.X - 0.5, likewise for y.
//
// Direction of the lens model.
//  - Theirs maps an ideal normalised point to where it is observed:
//    observed = ideal + radial·ideal + tangential (OpenCV's k1 k2 p1 p2 k3,
//    in that order in distortion_coefficients).
//  - Ours is a correction of the observed point: the live view, the
//    simulator and the measurement tools take an observed image point s to
//    its ideal point s + CDist::CalDist(s) (and project an ideal point t to
//    the s with s + CalDist(s) = t, CDist::CalDistInv). The two are inverse
//    maps, so converting a lens model is a linear least-squares fit (CLeastSq)
//    of one direction to the other over the whole sensor; the largest
//    disagreement between the two projections on the sensor, in pixels, is
//    reported with every conversion.
//
// Terms of the same shape.
//  - Radial terms rescale by powers of the focal length: a term in r^(2i)
//    with r in mm is the normalised term divided by f^(2i) (f in mm), and
//    flips its sign to first order because the direction is reversed
//    (K1 ~ -k1/f^2, K2 ~ (3k1^2 - k2)/f^4, ...).
//  - Decentring: our models 2 and 3 apply P_a·(2x² + r²) + 2·P_b·x·y to x and
//    P_b·(2y² + r²) + 2·P_a·x·y to y, with P_a first ("P1") and P_b second
//    ("P2") in the parameter list; OpenCV's x term is p2·(r² + 2x²) + 2·p1·x·y.
//    So our P1 pairs with OpenCV's p2, our P2 with OpenCV's p1, and as y runs
//    the other way our P2 pairs with -p1: P1 ~ -p2/f, P2 ~ +p1/f once the
//    direction is reversed, to first order.
//  - Model pairs: our 0 <-> no distortion (COLMAP PINHOLE); our 2 (K1 K2 P1
//    P2) <-> k1 k2 p1 p2 (COLMAP SIMPLE_RADIAL, RADIAL, OPENCV); our 3 (K1 K2
//    K3 P1 P2) <-> k1 k2 p1 p2 k3 (COLMAP FULL_OPENCV with k4..k6 = 0).
//
// Refusals. A conversion is refused, with a message naming the model, when
// the source model has no counterpart (our model 1 with its K4, our 8-term
// model 4; OpenCV's rational k4..k6, thin-prism s1..s4 and tilted-sensor
// terms), or when the counterpart reproduces the source's projections no
// closer than Options::tolerance_px somewhere on the sensor. Options::fit
// asks for the least-squares refit anyway (into our model 3, or OpenCV's
// k1 k2 p1 p2 k3) and accepts whatever residual it reaches. A skewed camera
// matrix and tilted-sensor terms are refused even then.
#include <string>
#include <vector>

#include "camera/camera.h"
#include "platform/export.h"

namespace calib {

// A pinhole camera in OpenCV's conventions (pixels, y down, origin at the
// centre of the top-left pixel). COLMAP's cameras are read into and written
// from the same structure, shifting the principal point by half a pixel.
struct SURVEYCAM_API Intrinsics {
  int width = 0;   // image size [pixels]
  int height = 0;  //
  double fx = 0.0, fy = 0.0, cx = 0.0, cy = 0.0, skew = 0.0;
  // k1 k2 p1 p2 [k3 [k4 k5 k6 [s1 s2 s3 s4 [taux tauy]]]], as OpenCV orders them.
  std::vector<double> dist;
};

struct SURVEYCAM_API Options {
  double pixel_size_mm = 0.0;  // import: x pixel pitch [mm/pixel], required
  int width = 640;             // export: sensor size [pixels] (a camera file has none)
  int height = 480;            //
  bool fit = false;            // refit models without a counterpart
  int model = -1;              // import: our model 0, 2 or 3; -1 picks the counterpart
  double tolerance_px = 0.01;  // largest disagreement accepted without fit
};

struct SURVEYCAM_API Report {
  double max_residual_px = 0.0;  // largest disagreement of the projections on the sensor
  std::string message;           // why the conversion was refused, or what it did
};

// Their camera into ours. 1 on success; 0 with report.message on refusal.
// The result's values are rounded as the camera file keeps them, and the
// residual is that of the rounded camera.
SURVEYCAM_API int ToCamera(const Intrinsics& in, const Options& opt, CCamera& out, Report& report);
// Our camera into theirs over an opt.width x opt.height sensor.
SURVEYCAM_API int FromCamera(const CCamera& in,
                             const Options& opt,
                             Intrinsics& out,
                             Report& report);
// Largest distance [pixels] over the sensor between where `theirs` and `ours`
// observe the same rays.
SURVEYCAM_API double MaxDisagreementPx(const Intrinsics& theirs, const CCamera& ours);

// OpenCV FileStorage text. Writing gives YAML ("%YAML:1.0") or JSON; reading
// accepts both. 0 with `error` set when a field is missing or malformed.
SURVEYCAM_API std::string WriteOpenCv(const Intrinsics& in, bool json);
SURVEYCAM_API int ReadOpenCv(const std::string& text, Intrinsics& out, std::string& error);

// COLMAP cameras.txt. Writing picks the smallest model that holds `in`
// (PINHOLE, SIMPLE_RADIAL, RADIAL, OPENCV, FULL_OPENCV) under camera_id.
// Reading takes the camera with camera_id, or the first when camera_id < 0.
SURVEYCAM_API int WriteColmap(const Intrinsics& in,
                              int camera_id,
                              std::string& text,
                              std::string& error);
SURVEYCAM_API int ReadColmap(const std::string& text,
                             int camera_id,
                             Intrinsics& out,
                             std::string& error);

}  // namespace calib
