#pragma once
// CCamera: the interior orientation of one camera and its camera file.
//
// Units: focal length, principal point and fiducial marks in millimetres,
// resolution (pixel size) in millimetres per pixel. The camera file is
// single-byte text, one value at the start of each line followed by a
// comment; the library's camera files carry the extension ".cmr".
#include "camera/dist.h"
#include "geometry/xyz.h"
#include "platform/export.h"
#include "platform/heap.h"
#include "platform/kvo_array.h"
#include "platform/kvo_string.h"

class SURVEYCAM_API CCamera {
 public:
  SURVEYCAM_DLMALLOC_OPERATORS

  CCamera();
  CCamera(const CCamera& o);
  CCamera& operator=(const CCamera& o);
  ~CCamera();

  // Empty name, zero values, no distortion, no marks.
  void Init();
  void Copy(const CCamera& o);
  void Trace() const {}

  // Writes the camera file (created or truncated) and sets Name to the file
  // name without folder and extension. 0 for a null or empty path, when the
  // file cannot be opened (a box tells the operator when access was refused)
  // or when the new file did not replace the old one (the old one is kept).
  int Write(const wchar_t* path);
  // Reads the camera file; 1 on success, 0 when it cannot be opened or a
  // mandatory line is missing (values read so far stay stored). The radial
  // table at the end is optional.
  int Read(const wchar_t* path);

  CKvoStringT<wchar_t> Name;
  int UseFiducial;
  double FocalLength;
  CXYZ PrincipalPoint;
  CXYZ Resolution;
  CDist Dist;
  CKvoArray<CXYZ, CXYZ&> FiducialMarks;
  // Image positions of the fiducial marks, kept for the host's own use (for
  // example while measuring them); cleared and copied, not part of the file.
  CKvoArray<CXYZ, CXYZ&> FiducialImageMarks;
};
