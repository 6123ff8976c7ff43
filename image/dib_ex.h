#pragma once
// CDibEx: CDib plus creation, copying, thumbnails, colour conversions,
// histograms, pixel and rectangle access, partial and row-by-row drawing,
// and the BMP and JPEG files.
//
// Conventions: only 8-bit (palette) and 24-bit (B, G, R) images take the
// pixel operations. Points and rectangles given to GetPixel, SetPixel,
// PicupImage and ReplaceImage count rows from the top of the picture while
// the rows are stored bottom-up. The source rectangles of DrawEx and DrawEx2
// are in DIB coordinates as StretchDIBits takes them (a bottom-up image's y
// counts from its bottom row). Results are 1 for success and 0 for failure.
//
// Channel selector nMode for 24-bit pixels: 0 red, 1 green, 2 blue,
// 3 luminance (read only), 4 all three bytes in stored order B, G, R.
#include "image/dib.h"
#include "platform/afx_string.h"
#include "platform/export.h"
#include "platform/rect.h"

class SURVEYCAM_API CDibEx : public CDib {
 public:
  int32_t m_created;

  CDibEx();
  CDibEx(CSize size, int nBitCount);
  CDibEx(const CDibEx& other);
  CDibEx& operator=(const CDibEx& other);
  ~CDibEx() override;

  // A new owned image; nFill >= 0 fills every pixel byte with nFill & 255.
  int Create(CSize size, int nBitCount, int nNumColors, int bGrayPalette, int nFill);
  // Same header as src with own pixels (copied when bCopyBits).
  int CreateFrom(const CDibEx* src, int bCopyBits, int nFill);
  int CreateThumbnail(CDibEx* src, double xRatio, double yRatio);
  int CreateThumbnail(CDibEx* src, CSize size);
  int CreateThumbnail2(CDibEx* src, int nStep);
  int CreateThumbnail3(CDibEx* src, double xRatio, double yRatio);

  DWORD GetByteWidth() const;
  DWORD GetParityBytes() const;
  int GetNumColors() const { return m_colorEntries; }
  int GetSizePixel() const { return m_infoHeader ? m_infoHeader->biBitCount / 8 : 0; }

  int GetHistgram(int* red, int* green, int* blue);
  // pMin and pMax point to 4 ints: red, green, blue, all channels.
  int GetDensityRange(int* pMin, int* pMax);
  int IsGrayScale();
  int GrayScale(CDibEx* dst);
  int FullColor(CDibEx* dst);
  int Reverse();
  int ChangeDensity(const BYTE* red, const BYTE* green, const BYTE* blue);

  int GetPixel(BYTE* p, CPoint pt, int nMode);
  int SetPixel(BYTE* p, CPoint pt, int nMode);
  // rc must lie inside the image (a rectangle reaching outside is refused).
  int PicupImage(BYTE* p, CRect rc, int nMode);
  int ReplaceImage(BYTE* p, CRect rc, int nMode);

  int DrawEx(CDC* dc, CPoint dst, CSize dstSize, CPoint src, CSize srcSize);
  int Draw2(CDC* dc, CPoint dst, CSize dstSize);
  int DrawEx2(CDC* dc, CPoint dst, CSize dstSize, CPoint src, CSize srcSize);

  // Files: BMP through CDib::Read / Write; JPEG through "JPEG_LIB.dll".
  int ReadBMP(CString& path);
  int WriteBMP(CString& path);
  int WriteJPEG(CString& path);
  int ReadJPEG(CString& path);

 protected:
  int DibImageToJpegFile(CString path,
                         BYTE* bits,
                         unsigned width,
                         unsigned height,
                         unsigned byteWidth,
                         int bFullColor,
                         int nQuality);
  BYTE* JpegFileToDibImage(CString path, unsigned* pWidth, unsigned* pHeight);

 private:
  BYTE* PixelAddress(CPoint pt) const;
  bool HasPixels() const { return m_infoHeader && m_imageBits; }
  bool IsPixelDepth() const {
    return m_infoHeader && (m_infoHeader->biBitCount == 8 || m_infoHeader->biBitCount == 24);
  }
  // Rebuilds this image as an owned copy of src's header with a new size.
  void RebuildHeader(const CDibEx* src, int width, int height);
  int DrawRows(CDC* dc, CPoint dst, CSize dstSize, CPoint src, CSize srcSize);
  bool ResolveSource(CPoint& src, CSize& srcSize) const;
};
