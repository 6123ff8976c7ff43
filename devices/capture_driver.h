#pragma once
// The capture driver "CAP0:" as a stream driver of the platform.
//
// Requests (control codes in platform/capture_records.h) and their buffers:
//   start    0x221C74  in = VCAP_START_PARAMETER* (size not used: the record's
//                      own Size must be 12); camera, brightness and reverse
//                      take effect at once, also while capture runs
//   stop     0x221C78  no buffers; the last frame stays on screen and readable
//   data     0x221C7C  in size 0: full frame 640x480, 1: quarter 320x240 (every
//                      second pixel and row); out = 5-6-5 pixels, rows top to
//                      bottom, refused when the output buffer is too small
//   event    0x221C80  the frame event handle is written into the bytes-returned
//                      slot, which must therefore have room for a HANDLE
//   display  0x221C84  in = VCAP_DISP_PARAMETER* (Size must be 52)
//   rect     0x221C88  in = RECT* of screen coordinates (right/bottom exclusive),
//                      in size as the caller likes (the library passes 1); out =
//                      the live picture as displayed at those screen pixels,
//                      w x h 5-6-5 pixels (black outside DstRect), refused when
//                      the output buffer is smaller than w x h x 2
// Each open instance owns an auto-reset frame event, signalled once per frame.
//
// Frames: while capture runs, a frame is produced for every wait on the frame
// event that would block (on a fixed platform clock at once; in real time no
// sooner than 33 ms after the previous one) and for every present of the
// screen when the clock has moved on. Reverse turns the frame by 180 degrees
// after the frame source has rendered it.
//
// Painting (Paint, run after every paint of the desktop): SrcRect of the
// frame (inclusive) scaled into DstRect (inclusive), nearest pixel, only onto
// screen pixels holding KeyColor1 or KeyColor2, when DispEnable is non-zero.
//
// Failures: fault points "cap.open", "cap.start", "cap.stop", "cap.read"
// (full and quarter frames), "cap.event", "cap.display", "cap.read_rect" make
// that request return FALSE (last error ERROR_GEN_FAILURE) before it has any
// effect; "cap.open" with code 1 makes CreateFileW return 0 instead of
// INVALID_HANDLE_VALUE. A frame source that is not ready for the camera
// (FrameSource::Ready) fails start, full, quarter and rectangle reads the
// same way, and a wait on the frame event returns at once without a frame.
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/capture_records.h"
#include "platform/framebuffer.h"
#include "platform/types.h"

namespace devices::capture {

constexpr wchar_t kDeviceName[] = L"CAP0:";
constexpr int kQuarterWidth = 320;
constexpr int kQuarterHeight = 240;

// One request as the driver received it.
struct Request {
  DWORD code = 0;
  DWORD in_size = 0;
  DWORD out_size = 0;
  bool has_in = false;
  bool has_out = false;
  bool has_bytes_returned = false;
  BOOL result = FALSE;
  std::vector<uint8_t> input;  // the record or RECT read through the input pointer
};

// Registers "CAP0:" with the platform (idempotent).
void Register();
// Back to power-on: stopped, no records, no frame, empty log.
void Reset();

bool IsRunning();
std::optional<VCAP_START_PARAMETER> LastStart();
// The display record in effect (the last one set).
std::optional<VCAP_DISP_PARAMETER> LastDisplay();
// The display record in effect when capture last started on `camera`, updated
// by display requests while that camera runs.
std::optional<VCAP_DISP_PARAMETER> DisplayForCamera(int camera);
// The requests since the last Reset/ClearLog (the latest 2048 to 4096 of them).
std::vector<Request> Log();
void ClearLog();
uint64_t FramesProduced();
int OpenInstances();
// The last frame as served (after reverse); empty before the first frame.
std::vector<uint16_t> CurrentFrame();

// Paints the live picture into the screen (see the file comment).
void Paint(platform::Framebuffer& screen);

}  // namespace devices::capture
