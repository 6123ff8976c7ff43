#pragma once
// A photogrammetric job on an open project (storage/project.h): photographs
// come in with the image coordinates measured on them; solving gives each
// photograph's DLT from the control points it shows and intersects every
// other point seen from two or more stations. The report carries the DLT
// residuals of every photograph and, for points whose coordinates are known
// (check points), the difference between intersected and known coordinates.
// This is what a host runs for "measure the site from photographs".
#include <string>
#include <vector>

#include "geometry/xyz.h"
#include "platform/afx_string.h"
#include "platform/export.h"
#include "platform/kvo_array.h"
#include "platform/size.h"
#include "storage/project.h"

namespace photogrammetry {

struct JobPhoto {
  CString name;
  int measured = 0;             // image points on the photograph
  int solved = 0;               // 1 when its DLT was solved
  int controls = 0;             // control points the DLT used
  double sigma = 0.0;           // RMS control residual, pixels
  double worst_residual = 0.0;  // longest control residual, pixels
  CString worst_control;        // the control point that has it
  CXYZ centre;                  // projection centre from the DLT
};

struct JobPoint {
  CXYZ point;          // Name, X, Y, Z intersected
  int photos = 0;      // rays used
  double sigma = 0.0;  // RMS image residual of the rays, pixels
  double angle = 0.0;  // widest angle between the rays' projection centres, degrees
  int known = 0;       // 1 when a check coordinate was given
  CXYZ error;          // intersected minus known coordinates, metres
  double Error() const { return known ? error.Len() : 0.0; }
};

struct SURVEYCAM_API JobReport {
  std::vector<JobPhoto> photos;
  std::vector<JobPoint> points;
  int SolvedPhotos() const;
  // Largest error over the check points; -1 when none was intersected.
  double WorstError() const;
  // Human-readable lines: one per photograph, one per point, a summary.
  std::vector<std::string> Lines() const;
};

// Copies the JPEG picture into the project as a new photograph and stores its
// image coordinates (Name, X = x, Y = y in pixels, y down). `photo` receives
// the photograph's name. 1 done.
SURVEYCAM_API int AddMeasuredPhoto(CProject& project,
                                   const wchar_t* jpeg,
                                   CSize& size,
                                   CKvoArray<CXYZ, CXYZ&>& image,
                                   CString& photo);

// Solves every photograph's DLT, then intersects all non-control points.
// A photograph showing fewer than `min_controls` control points (at least
// the DLT's six) stays unsolved and out of the intersection: eleven
// parameters from barely more equations follow the measuring errors and
// go astray away from the controls. `known` (optional) holds check
// coordinates to compare with. 1 when the project is open and the result
// file was written, even if nothing could be solved.
SURVEYCAM_API int SolvePhotogrammetryJob(CProject& project,
                                         const CKvoArray<CXYZ, CXYZ&>* known,
                                         JobReport& report,
                                         int min_controls = 6);

}  // namespace photogrammetry
