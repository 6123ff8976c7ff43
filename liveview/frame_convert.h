#pragma once
// Frame conversion of the capture driver's 5-6-5 pixels into a 24-bit
// bottom-up DIB, for the grabs of CCaptureWnd (GetCapture, GetCaptureDisplay).
//
// To the owner of liveview/capture_wnd.cpp: CCaptureWnd::ConvertFrame can
// simply forward to liveview::ConvertFrame565To24; it has the same contract
// and is vectorised (AVX2 or SSSE3 when the processor has it, portable code
// otherwise), so a 640 x 480 frame converts in about the time of copying its
// output.
//
// Contract: source rows top to bottom, `width` pixels each, no padding;
// source row y lands on DIB row height-1-y, which starts at
// bits + (height-1-y) * stride. Each pixel becomes three bytes in this order:
// (bits 15-11) * 255 / 31, (bits 10-5) * 255 / 63, (bits 4-0) * 255 / 31,
// integer divisions truncating toward zero. Padding bytes at the end of each
// DIB row are left as they are.
#include "platform/export.h"
#include "platform/types.h"

namespace liveview {

SURVEYCAM_API void ConvertFrame565To24(
    const WORD* pixels, int width, int height, BYTE* bits, int stride);
// The portable version alone (tests compare both; benchmarks time both).
SURVEYCAM_API void ConvertFrame565To24Portable(
    const WORD* pixels, int width, int height, BYTE* bits, int stride);

// One code path by name, for tests and benchmarks; false (nothing written)
// when this processor cannot run it.
enum class FrameConvertPath { kPortable, kSsse3, kAvx2 };
SURVEYCAM_API bool ConvertFrame565To24Using(
    FrameConvertPath path, const WORD* pixels, int width, int height, BYTE* bits, int stride);

}  // namespace liveview
