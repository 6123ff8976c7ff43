// image::bmp: BMP header blocks and pixel rows as other programs write them.
#include "image/bmp_read.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace image::bmp {
namespace {

// Limits on what a header may describe; beyond them a file is refused.
constexpr int64_t kMaxSide = 65535;
constexpr int64_t kMaxImageBytes = int64_t(1) << 30;
constexpr int64_t kMaxRunExpansion = 128;

bool IsInfoHeaderSize(DWORD size) {
  return size == 40 || size == 52 || size == 56 || size == 108 || size == 124;
}

bool IsDepth(int bits, bool core) {
  return bits == 1 || bits == 4 || bits == 8 || bits == 24 || (!core && (bits == 16 || bits == 32));
}

bool CompressionFits(DWORD compression, int bits, bool topDown) {
  switch (compression) {
    case BI_RGB:
      return true;
    case BI_RLE8:
      return bits == 8 && !topDown;  // run lengths always fill from the bottom
    case BI_BITFIELDS:
      return bits == 16 || bits == 32;
    default:
      return false;
  }
}

// The header's fields into a zeroed BITMAPV4HEADER (a core header's
// widened); with a 40-byte header the copy also takes the masks that
// BI_BITFIELDS puts after it. False for a header size that no writer uses or
// one beyond the block.
bool ReadFields(const BYTE* block, DWORD size, BITMAPV4HEADER& v4, bool& core) {
  DWORD headerSize = 0;
  std::memcpy(&headerSize, block, sizeof headerSize);
  core = headerSize == sizeof(BITMAPCOREHEADER);
  if (core) {
    BITMAPCOREHEADER c;
    std::memcpy(&c, block, sizeof c);
    BITMAPINFOHEADER& info = v4.bV4Info;  // the rest stays 0: BI_RGB, no sizes
    info.biSize = sizeof(BITMAPINFOHEADER);
    info.biWidth = c.bcWidth;
    info.biHeight = c.bcHeight;
    info.biPlanes = c.bcPlanes;
    info.biBitCount = c.bcBitCount;
    return true;
  }
  if (!IsInfoHeaderSize(headerSize) || headerSize > size) return false;
  std::memcpy(&v4, block, std::min<size_t>(size, sizeof v4));
  return true;
}

// The channel masks of 16- and 32-bit pixels: the file's with BI_BITFIELDS
// (false when they lie beyond the block), else the fixed 5-5-5 and 8-8-8.
bool ReadMasks(const BITMAPV4HEADER& v4, DWORD size, Layout& layout) {
  if (layout.compression == BI_BITFIELDS) {
    if (size < offsetof(BITMAPV4HEADER, bV4AlphaMask)) return false;
    layout.masks[0] = v4.bV4RedMask;
    layout.masks[1] = v4.bV4GreenMask;
    layout.masks[2] = v4.bV4BlueMask;
  } else {
    static constexpr DWORD kMasks16[3] = {0x7C00, 0x03E0, 0x001F};
    static constexpr DWORD kMasks32[3] = {0xFF0000, 0x00FF00, 0x0000FF};
    std::copy_n(layout.bitCount == 16 ? kMasks16 : kMasks32, 3, layout.masks);
  }
  return true;
}

// The colour table CDib keeps: the file's entries (3 bytes each after a core
// header, else 4), which must lie in the block. 16- and 32-bit pictures keep
// none, as they become 24-bit.
bool ReadTable(const BYTE* block, DWORD size, bool core, Layout& layout) {
  BITMAPINFOHEADER& info = layout.info;
  const int bits = layout.bitCount;
  int64_t entries = 0;
  int64_t tableAt = 0;
  size_t entryBytes = sizeof(RGBQUAD);
  if (core) {
    entryBytes = sizeof(RGBTRIPLE);
    tableAt = sizeof(BITMAPCOREHEADER);
    if (bits <= 8) {
      // The table is what fits before the pixels; a palette picture needs one.
      entries = std::min<int64_t>(int64_t(1) << bits, (size - tableAt) / int64_t(entryBytes));
      if (entries == 0) return false;
      if (entries < (int64_t(1) << bits)) info.biClrUsed = DWORD(entries);
    }
  } else if (bits != 16 && bits != 32) {
    entries = info.biClrUsed ? int64_t(info.biClrUsed) : bits <= 8 ? int64_t(1) << bits : 0;
    if (entries > 256) return false;
    DWORD headerSize = 0;
    std::memcpy(&headerSize, block, sizeof headerSize);
    tableAt = headerSize;
  }
  if (tableAt + entries * int64_t(entryBytes) > int64_t(size)) return false;
  layout.colors.resize(size_t(entries));
  for (size_t i = 0; i < layout.colors.size(); ++i) {
    const BYTE* entry = block + tableAt + i * entryBytes;
    layout.colors[i] = RGBQUAD{entry[0], entry[1], entry[2], core ? BYTE(0) : entry[3]};
  }
  return true;
}

// The bytes of pixel data the file must hold: run lengths take what the
// header states or the rest of the file, rows at least what they need.
bool FindPixelBytes(const BITMAPINFOHEADER& file,
                    DWORD offBits,
                    uint64_t fileBytes,
                    Layout& layout) {
  const int64_t rows = layout.info.biHeight;
  const int64_t fileRows = RowBytes(file.biWidth, layout.bitCount) * rows;
  const int64_t keptBytes = RowBytes(file.biWidth, layout.info.biBitCount) * rows;
  if (fileRows > kMaxImageBytes || keptBytes > kMaxImageBytes) return false;
  if (layout.compression == BI_RLE8) {
    layout.pixelBytes = file.biSizeImage ? file.biSizeImage : fileBytes - offBits;
    // Two bytes repeat at most 255 pixels and each row ends with two more, so
    // a stream that spells out its rows decodes to less than 128 times its
    // size; one that claims more through skips is refused, so that a small
    // file cannot take the memory of a huge picture.
    if (keptBytes > kMaxRunExpansion * int64_t(layout.pixelBytes)) return false;
  } else {
    if (file.biSizeImage != 0 && file.biSizeImage < fileRows) return false;
    layout.pixelBytes = file.biSizeImage ? file.biSizeImage : uint64_t(fileRows);
  }
  return layout.pixelBytes <= uint64_t(kMaxImageBytes) && offBits + layout.pixelBytes <= fileBytes;
}

// A channel of `mask` as 8 bits: a narrower one repeats its bits downwards
// (5 bits abcde give abcdeabc), as ImageMagick reads them, so that 0 stays 0
// and a full channel gives 255; a wider one keeps its top 8 bits.
BYTE Channel(DWORD pixel, DWORD mask) {
  if (mask == 0) return 0;
  const int shift = std::countr_zero(mask);
  const int width = std::bit_width(mask >> shift);
  const uint32_t value = (pixel & mask) >> shift;
  if (width >= 8) return BYTE(value >> (width - 8));
  uint32_t repeated = 0;
  int bits = 0;
  for (; bits < 8; bits += width) repeated = repeated << width | value;
  return BYTE(repeated >> (bits - 8));
}

void UnpackRow(const BYTE* from, int bytes, const DWORD (&masks)[3], int64_t width, BYTE* to) {
  for (int64_t x = 0; x < width; ++x, from += bytes, to += 3) {
    DWORD pixel = 0;
    for (int i = bytes - 1; i >= 0; --i) pixel = pixel << 8 | from[i];  // little-endian
    to[0] = Channel(pixel, masks[2]);
    to[1] = Channel(pixel, masks[1]);
    to[2] = Channel(pixel, masks[0]);
  }
}

// 8-bit run lengths: a pair (count, index) repeats the index; a zero count
// escapes: 0 ends the line, 1 the picture, 2 skips (dx, dy), 3 to 255 are
// that many literal indices padded to an even count. Pixels beyond the
// picture are dropped, so a broken stream cannot write outside it.
void DecodeRle8(
    const BYTE* in, uint64_t n, BYTE* out, int64_t width, int64_t rows, int64_t stride) {
  int64_t x = 0, y = 0;
  auto put = [&](BYTE index) {
    if (x < width && y < rows) out[y * stride + x] = index;
    ++x;
  };
  for (uint64_t i = 0; i + 1 < n && y < rows;) {
    const BYTE count = in[i], value = in[i + 1];
    i += 2;
    if (count > 0) {
      for (int k = 0; k < count; ++k) put(value);
    } else if (value == 0) {
      x = 0;
      ++y;
    } else if (value == 1) {
      return;
    } else if (value == 2) {
      if (i + 1 >= n) return;
      x += in[i];
      y += in[i + 1];
      i += 2;
    } else {
      for (int k = 0; k < value && i < n; ++k) put(in[i++]);
      i += value & 1;
    }
  }
}

}  // namespace

int64_t RowBytes(int64_t width, int bits) {
  const int64_t rowBits = int64_t(bits) * width;
  return 4 * ((rowBits >> 5) + ((rowBits & 31) ? 1 : 0));
}

bool Layout::Plain() const {
  return compression == BI_RGB && !topDown && bitCount != 16 && bitCount != 32;
}

bool ParseHeader(const BYTE* block, DWORD size, DWORD offBits, uint64_t fileBytes, Layout& layout) {
  if (size < sizeof(BITMAPCOREHEADER)) return false;
  BITMAPV4HEADER v4{};
  bool core = false;
  if (!ReadFields(block, size, v4, core)) return false;
  const BITMAPINFOHEADER& file = v4.bV4Info;
  const int64_t rows = file.biHeight < 0 ? -int64_t(file.biHeight) : file.biHeight;
  layout.bitCount = file.biBitCount;
  layout.compression = file.biCompression;
  layout.topDown = file.biHeight < 0;
  if (!IsDepth(file.biBitCount, core) || file.biWidth < 1 || file.biWidth > kMaxSide || rows < 1 ||
      rows > kMaxSide || !CompressionFits(file.biCompression, file.biBitCount, layout.topDown))
    return false;
  BITMAPINFOHEADER& kept = layout.info;
  kept = file;
  kept.biSize = sizeof(BITMAPINFOHEADER);
  kept.biHeight = LONG(rows);
  if (!layout.Plain()) {
    kept.biCompression = BI_RGB;
    kept.biSizeImage = 0;
  }
  if (file.biBitCount == 16 || file.biBitCount == 32) {
    kept.biBitCount = 24;
    kept.biClrUsed = kept.biClrImportant = 0;
    if (!ReadMasks(v4, size, layout)) return false;
  }
  return ReadTable(block, size, core, layout) && FindPixelBytes(file, offBits, fileBytes, layout);
}

void ConvertPixels(const Layout& layout, const BYTE* pixels, BYTE* out) {
  const int64_t width = layout.info.biWidth, rows = layout.info.biHeight;
  const int64_t keptStride = RowBytes(width, layout.info.biBitCount);
  std::memset(out, 0, size_t(keptStride * rows));
  if (layout.compression == BI_RLE8) {
    DecodeRle8(pixels, layout.pixelBytes, out, width, rows, keptStride);
    return;
  }
  const int64_t fileStride = RowBytes(width, layout.bitCount);
  for (int64_t y = 0; y < rows; ++y) {  // y counts the kept rows from the bottom
    const BYTE* from = pixels + (layout.topDown ? rows - 1 - y : y) * fileStride;
    BYTE* to = out + y * keptStride;
    if (layout.bitCount == layout.info.biBitCount)
      std::memcpy(to, from, size_t(fileStride));
    else
      UnpackRow(from, layout.bitCount / 8, layout.masks, width, to);
  }
}

}  // namespace image::bmp
