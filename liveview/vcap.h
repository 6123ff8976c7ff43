#pragma once
// CVCap: the thin wrapper through which the library talks to the capture
// driver "CAP0:". Every operation but Open and Close is one DeviceIoControl
// call; the buffer conventions below are what the driver relies on and are
// kept exactly:
//  - the start and display records go by pointer with an input size of 0
//    (the driver trusts the record's own Size field);
//  - full and quarter frames share one control code and differ only in the
//    input size (0 full, 1 quarter), with no input buffer;
//  - the frame event comes back through the bytes-returned slot;
//  - a rectangle read passes the caller's RECT with the caller's n (always 1).
// Results are the system call's BOOL; CVCap itself reports nothing.
//
// Copies are shallow on purpose: both objects then hold the same handle and
// whichever is destroyed first closes it.
#include "platform/capture_records.h"
#include "platform/export.h"
#include "platform/types.h"

class SURVEYCAM_API CVCap {
 public:
  CVCap();
  CVCap(const CVCap& other) = default;
  CVCap& operator=(const CVCap& other);
  virtual ~CVCap();

  // CreateFileW("CAP0:"); 1 unless the handle is 0 (an invalid-handle value
  // counts as opened, as the driver interface has always treated it).
  int Open();
  // 0 when not open; otherwise CloseHandle's result, and the handle is cleared.
  int Close();
  int StartCapture(VCAP_START_PARAMETER* param);
  int StopCapture();
  // Full 640 x 480 frame of 5-6-5 pixels into buf (size bytes).
  int GetCaptureData(BYTE* buf, int size);
  // Quarter 320 x 240 frame.
  int GetCaptureDataQVGA(BYTE* buf, int size);
  // Writes the driver's frame event into *event.
  int ReadCaptureEvent(HANDLE* event);
  int SetCaptureDisplay(VCAP_DISP_PARAMETER* param);
  // The live picture under a screen rectangle; n is the input size sent with it.
  int GetCaptureData2(BYTE* buf, int size, RECT* rect, int n);

  HANDLE m_hDevice;
};
