#pragma once
// The two records the library hands to the capture driver "CAP0:" by pointer,
// and the driver's control codes. The records are a wire format between the
// library and the driver: little-endian, explicit padding, every size and
// offset pinned by static_asserts below. No handle or pointer lives in them.
#include <cstddef>

#include "platform/types.h"

// Capture settings: which camera, brightness offset, picture turned by 180°.
struct VCAP_START_PARAMETER {
  WORD Size;         // always 12
  WORD Camera;       // 0 tele, 1 wide
  SHORT Brightness;  // exposure offset, kept within -112 ... 143 by the library
  WORD Padding;      // zero
  DWORD Reverse;     // 0 normal, 1 turned by 180 degrees
};
static_assert(sizeof(VCAP_START_PARAMETER) == 12);
static_assert(offsetof(VCAP_START_PARAMETER, Size) == 0);
static_assert(offsetof(VCAP_START_PARAMETER, Camera) == 2);
static_assert(offsetof(VCAP_START_PARAMETER, Brightness) == 4);
static_assert(offsetof(VCAP_START_PARAMETER, Padding) == 6);
static_assert(offsetof(VCAP_START_PARAMETER, Reverse) == 8);

// Where and how the driver paints the live picture: SrcRect in sensor pixels,
// DstRect in screen coordinates, both with right and bottom inclusive; the
// picture goes only where the screen holds a key colour.
struct VCAP_DISP_PARAMETER {
  WORD Size;           // always 52
  WORD Padding;        // zero
  DWORD DispFlag;      // written as 1
  RECT SrcRect;        // sensor rectangle, inclusive
  RECT DstRect;        // screen rectangle, inclusive
  COLORREF KeyColor1;  // 0x404040
  COLORREF KeyColor2;  // 0x404040
  DWORD DispEnable;    // written as 1
};
static_assert(sizeof(VCAP_DISP_PARAMETER) == 52);
static_assert(offsetof(VCAP_DISP_PARAMETER, Size) == 0);
static_assert(offsetof(VCAP_DISP_PARAMETER, Padding) == 2);
static_assert(offsetof(VCAP_DISP_PARAMETER, DispFlag) == 4);
static_assert(offsetof(VCAP_DISP_PARAMETER, SrcRect) == 8);
static_assert(offsetof(VCAP_DISP_PARAMETER, DstRect) == 24);
static_assert(offsetof(VCAP_DISP_PARAMETER, KeyColor1) == 40);
static_assert(offsetof(VCAP_DISP_PARAMETER, KeyColor2) == 44);
static_assert(offsetof(VCAP_DISP_PARAMETER, DispEnable) == 48);

// Control codes: device type 0x22, functions 0x71D..0x722, buffered, any access.
constexpr DWORD CAPTURE_CTL_CODE(DWORD function) { return (0x22u << 16) | (function << 2); }

constexpr DWORD IOCTL_VCAP_START_CAPTURE = 0x221C74;     // record pointer, input size 0
constexpr DWORD IOCTL_VCAP_STOP_CAPTURE = 0x221C78;      // no buffers
constexpr DWORD IOCTL_VCAP_GET_CAPTURE_DATA = 0x221C7C;  // input size 0 full, 1 quarter
constexpr DWORD IOCTL_VCAP_READ_EVENT = 0x221C80;        // event through bytes-returned slot
constexpr DWORD IOCTL_VCAP_SET_DISPLAY = 0x221C84;       // record pointer, input size 0
constexpr DWORD IOCTL_VCAP_GET_CAPTURE_RECT = 0x221C88;  // RECT pointer, input size 1

static_assert(CAPTURE_CTL_CODE(0x71D) == IOCTL_VCAP_START_CAPTURE);
static_assert(CAPTURE_CTL_CODE(0x71E) == IOCTL_VCAP_STOP_CAPTURE);
static_assert(CAPTURE_CTL_CODE(0x71F) == IOCTL_VCAP_GET_CAPTURE_DATA);
static_assert(CAPTURE_CTL_CODE(0x720) == IOCTL_VCAP_READ_EVENT);
static_assert(CAPTURE_CTL_CODE(0x721) == IOCTL_VCAP_SET_DISPLAY);
static_assert(CAPTURE_CTL_CODE(0x722) == IOCTL_VCAP_GET_CAPTURE_RECT);

// The key colour the library paints where live video must show (grey 64,64,64).
constexpr COLORREF VCAP_KEY_COLOR = 0x404040;
