#pragma once
// Reading BMP files as other programs write them into the one form CDib
// keeps. Files come with headers of 12 (core), 40, 52, 56, 108 or 124
// bytes, colour tables of 3- or 4-byte entries, top-down rows (negative
// height), channel masks (BI_BITFIELDS) and 8-bit run lengths (BI_RLE8).
// CDib keeps a 40-byte BITMAPINFOHEADER with BI_RGB, an RGBQUAD table right
// after it, and bottom-up rows padded to 4 bytes; 16- and 32-bit pixels
// become 24-bit B, G, R, the depth that the pixel operations, the drawing
// and the JPEG writer work on (an alpha channel is dropped: nothing in the
// library uses one).
#include <cstdint>
#include <vector>

#include "platform/types.h"

namespace image::bmp {

// Bytes of one row of `width` pixels of `bits`, rounded up to 32-bit words.
int64_t RowBytes(int64_t width, int bits);

struct Layout {
  BITMAPINFOHEADER info{};      // the header CDib keeps
  std::vector<RGBQUAD> colors;  // the table CDib keeps after it
  WORD bitCount = 0;            // bits a pixel in the file
  DWORD compression = BI_RGB;   // the file's
  bool topDown = false;         // the file stores its top row first
  DWORD masks[3] = {};          // red, green, blue of 16- and 32-bit pixels
  uint64_t pixelBytes = 0;      // bytes the file holds from its pixel offset

  // The file's rows are already the kept rows: they are read straight in.
  bool Plain() const;
};

// Reads the header block (the `size` bytes between the file header and the
// pixels at `offBits`) of a file of `fileBytes` bytes. False when it does not
// describe a picture that can be read safely: an unknown header size, depth
// or compression (4-bit run lengths included), sizes beyond the limits, a
// colour table or masks beyond the block, pixels beyond the file.
bool ParseHeader(const BYTE* block, DWORD size, DWORD offBits, uint64_t fileBytes, Layout& layout);

// Turns the file's pixels (layout.pixelBytes of them) into the kept rows,
// `out` being as large as layout.info describes.
void ConvertPixels(const Layout& layout, const BYTE* pixels, BYTE* out);

}  // namespace image::bmp
