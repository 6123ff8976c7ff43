#pragma once
// CDib: an in-memory device-independent bitmap (BITMAPINFOHEADER, colour
// table, pixel rows) with its palette and DIB section.
//
// Conventions: rows are stored bottom-up, each padded to a multiple of
// 4 bytes; the header block is the 40-byte header directly followed by the
// colour table (m_colorTable = m_infoHeader + 40). Ownership of the header
// and pixel blocks is recorded in m_headerAlloc / m_imageAlloc: noAlloc (0)
// the caller keeps the memory, crtAlloc (1) owned array freed with delete[],
// heapAlloc (2) owned global memory, which this platform does not support.
// Operations return 1 on success and 0 on failure and throw nothing.
#include <vector>

#include "platform/archive.h"
#include "platform/dc.h"
#include "platform/export.h"
#include "platform/file.h"
#include "platform/object.h"
#include "platform/point.h"
#include "platform/size.h"
#include "platform/types.h"

class SURVEYCAM_API CDib : public CObject {
  DECLARE_SERIAL(CDib)

 public:
  enum AllocKind : int32_t { noAlloc = 0, crtAlloc = 1, heapAlloc = 2 };

  BYTE* m_colorTable;
  HBITMAP m_sectionBitmap;
  BYTE* m_imageBits;
  BITMAPINFOHEADER* m_infoHeader;
  HANDLE m_globalHandle;
  AllocKind m_headerAlloc;
  AllocKind m_imageAlloc;
  DWORD m_imageSize;
  int32_t m_colorEntries;
  HANDLE m_fileHandle;
  HANDLE m_mapHandle;
  void* m_mapView;
  HPALETTE m_palette;

  CDib();
  // An owned header for a size.cx × size.cy image of nBitCount bits with a
  // zeroed colour table and no pixels yet.
  CDib(CSize size, int nBitCount);
  ~CDib() override;
  CDib(const CDib&) = delete;
  CDib& operator=(const CDib&) = delete;

  // (biWidth, biHeight); (0, 0) without a header.
  CSize GetDimensions() const;
  int GetSizeImage() const { return int(m_imageSize); }
  int GetSizeHeader() { return 4 * (m_colorEntries + 10); }
  // Adopts a packed DIB (header, table, pixels in one block); mustDelete
  // makes the header block owned (kind 2 when hGlobal is given). Always TRUE.
  int AttachMemory(void* mem, int mustDelete = FALSE, void* hGlobal = nullptr);
  // A DIB section for the current header; its rows become m_imageBits. Null
  // without a header or when pixels are already present.
  HBITMAP CreateSection(CDC* dc = nullptr);
  int MakePalette();
  unsigned int UsePalette(CDC* dc, int background = FALSE);
  int SetSystemPalette(CDC* dc);
  // Stretches the whole image to (origin, size); the height is negated when
  // the dc has no attribute context.
  int Draw(CDC* dc, CPoint origin, CSize size);
  // BMP file reading and writing. Read takes the files other programs write
  // (image/bmp_read.h) and keeps them in this class's form: a 40-byte header
  // with BI_RGB, bottom-up rows, 16- and 32-bit pixels as 24-bit. A file that
  // is not a bitmap or cannot be read safely is refused with "Invalid bitmap
  // file. E-513" (FALSE, nothing kept); a failed read answers FALSE.
  int Read(CFile* file);
  int Write(CFile* file);
  void Serialize(CArchive& ar) override;
  void Empty();

 protected:
  void ComputePaletteSize(int nBitCount);
  void ComputeMetrics();
  void DetachMapFile();
  // Takes an owned header block of info and the colour table after it.
  bool AdoptHeader(const BITMAPINFOHEADER& info, const std::vector<RGBQUAD>& colors);
};

namespace image {
// An owned pixel or header block of n bytes (fault point "alloc"); null on
// failure. Freed with delete[].
SURVEYCAM_API BYTE* AllocBlock(size_t n);
}  // namespace image
