#pragma once
// VKR3ZA_CALIB: the orientation calibration of the two telescope cameras and
// its text file, the orientation file.
//
// Units: image centres are whole pixels; Ccd2Offset is the position of the
// tele camera CCD2 relative to the wide camera CCD1 in the orientation
// model's units; Ccd2Angle is omega/phi/kappa in radians in memory and in
// degrees in the file.
//
// The file is eleven CR LF lines of single-byte (UTF-8) text: the header
// "VKR3ZA_ORIENT_FILEVER1.0", then one number per line followed by a comment
// ("320.000000\t// CCD1 CENTER X"). Read accepts a header with blanks or a
// carriage return around it, ignores the comments, truncates the centres
// towards zero, and stores each value as soon as it is read, so a file that
// breaks part-way leaves the earlier values changed. A value line that is not
// empty but holds no number keeps the value scanned last (the scan result is
// only checked for end-of-input).
//
// Errors are shown in a message box owned by MsgWnd, caption "ERROR", text
// "<path as given>\n<message-table entry>": entry 8 when the file cannot be
// opened or created, 9 for a wrong header, 6 for a missing or empty value line.
#include "camera/camera.h"
#include "camera/dist.h"
#include "geometry/wpk.h"
#include "geometry/xyz.h"
#include "platform/export.h"
#include "platform/file.h"
#include "platform/st_message.h"

class CWnd;

class SURVEYCAM_API VKR3ZA_CALIB {
 public:
  static constexpr const char* kHeader = "VKR3ZA_ORIENT_FILEVER1.0";

  VKR3ZA_CALIB();
  VKR3ZA_CALIB(const VKR3ZA_CALIB& other);
  VKR3ZA_CALIB& operator=(const VKR3ZA_CALIB& other);
  virtual ~VKR3ZA_CALIB() = default;

  // Keeps both pointers (not owned) for later error reports.
  void SetCaptureMsg(StMessage* msg, CWnd* wnd);
  // Replaces the file with the eleven lines; 1, or 0 when the file cannot be
  // created (reported) or the new file did not replace the old one (the old
  // one is kept).
  int Write(const wchar_t* path);
  // Reads the file; 1 on success, 0 on any failure (reported).
  int Read(const wchar_t* path);

  StMessage* Msg;
  CWnd* MsgWnd;
  int Ccd1CenterX;
  int Ccd1CenterY;
  int Ccd2CenterX;
  int Ccd2CenterY;
  CCamera Camera;
  CDist Dist;
  CXYZ Ccd2Offset;
  CWPK Ccd2Angle;

 protected:
  // Reads one line byte by byte up to and including its line feed; the line
  // feed (or the end) becomes the terminator. Returns the text's length. The
  // caller's buffer must hold the longest line: no limit is applied here.
  int ReadText1Line(CFile& f, char* buf);

 private:
  void Report(const wchar_t* path, int entry);
  void CopyFrom(const VKR3ZA_CALIB& other);
};
