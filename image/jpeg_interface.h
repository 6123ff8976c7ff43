#pragma once
// The binary interface of the JPEG module "JPEG_LIB.dll" as the library
// calls it: three entry points looked up by name, and the decoder object
// whose virtual slots are called by position (slot 0 first). The slot order
// is part of the module's interface: never reorder, insert or add a virtual
// destructor (it would take slots).
//
// Pixel layout: rows bottom-up, each padded to 4 bytes, 24-bit B, G, R. The
// block handed over by DetachImage is allocated with new BYTE[] and becomes
// the caller's (freed with delete[]).
#include "platform/types.h"

namespace image {

class JpegDecoder {
 public:
  virtual int Reserved0() = 0;                                  // 0: not used
  virtual BOOL Open(int mode, const wchar_t* path) = 0;         // 1: mode 0 = read a file
  virtual UINT GetSourceWidth() = 0;                            // 2
  virtual UINT GetSourceHeight() = 0;                           // 3
  virtual BOOL Decode(int scaleDenominator, int reserved) = 0;  // 4: 1, 2, 4 or 8; reserved 0
  virtual UINT GetWidth() = 0;                                  // 5: after Decode
  virtual UINT GetHeight() = 0;                                 // 6: after Decode
  virtual int Reserved7() = 0;                                  // 7: not used
  virtual int Reserved8() = 0;                                  // 8: not used
  virtual BYTE* DetachImage() = 0;                              // 9: the decoded rows
  virtual void PrepareDetach() = 0;                             // 10: called once before slot 9

 protected:
  ~JpegDecoder() = default;  // released through the destroy entry point only
};

// "DibImageToJpegFile_ExplicitLoading": non-zero on success.
using DibImageToJpegFileFn = int (*)(const wchar_t* path,
                                     BYTE* bits,
                                     unsigned width,
                                     unsigned height,
                                     unsigned byteWidth,
                                     int bFullColor,
                                     int nQuality,
                                     BYTE bGray);
// "Create_JpegInterface_ExplicitLoading": null on failure.
using CreateJpegInterfaceFn = JpegDecoder* (*)();
// "Destroy_JpegInterface_ExplicitLoading".
using DestroyJpegInterfaceFn = void (*)(JpegDecoder* decoder);

}  // namespace image
