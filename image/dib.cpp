// CDib: header and pixel blocks, palette, BMP reading and writing.
#include "image/dib.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "image/bmp_read.h"
#include "platform/faults.h"
#include "platform/gdi.h"
#include "platform/handles.h"
#include "platform/message_table.h"

IMPLEMENT_SERIAL(CDib, CObject, 1)

namespace image {

BYTE* AllocBlock(size_t n) {
  if (platform::fault::Check("alloc", "image").fail) return nullptr;
  return new (std::nothrow) BYTE[n == 0 ? 1 : n];
}

}  // namespace image

namespace {

// Bytes of a bottom-up image: rows rounded to 32-bit words.
int64_t ImageBytes(const BITMAPINFOHEADER& h) {
  return int64_t(h.biHeight) * image::bmp::RowBytes(h.biWidth, h.biBitCount);
}

// A file that cannot be read safely: the operator is told, nothing is kept.
int Refuse(CDib& dib) {
  dib.Empty();
  platform::ShowError(platform::kMsgInvalidBitmap);
  return FALSE;
}

}  // namespace

CDib::CDib()
    : m_colorTable(nullptr),
      m_sectionBitmap(nullptr),
      m_imageBits(nullptr),
      m_infoHeader(nullptr),
      m_globalHandle(nullptr),
      m_headerAlloc(noAlloc),
      m_imageAlloc(noAlloc),
      m_imageSize(0),
      m_colorEntries(0),
      m_fileHandle(nullptr),
      m_mapHandle(nullptr),
      m_mapView(nullptr),
      m_palette(nullptr) {
  Empty();
}

CDib::CDib(CSize size, int nBitCount) : CDib() {
  ComputePaletteSize(nBitCount);
  m_infoHeader = reinterpret_cast<BITMAPINFOHEADER*>(image::AllocBlock(size_t(GetSizeHeader())));
  if (!m_infoHeader) return;
  m_headerAlloc = crtAlloc;
  *m_infoHeader = BITMAPINFOHEADER{40,
                                   size.cx,
                                   size.cy,
                                   1,
                                   WORD(nBitCount),
                                   BI_RGB,
                                   0,
                                   0,
                                   0,
                                   DWORD(m_colorEntries),
                                   DWORD(m_colorEntries)};
  ComputeMetrics();
  std::memset(m_colorTable, 0, size_t(m_colorEntries) * sizeof(RGBQUAD));
  m_imageBits = nullptr;
}

CDib::~CDib() { Empty(); }

CSize CDib::GetDimensions() const {
  if (!m_infoHeader) return CSize(0, 0);
  return CSize(m_infoHeader->biWidth, m_infoHeader->biHeight);
}

int CDib::AttachMemory(void* mem, int mustDelete, void* hGlobal) {
  Empty();
  m_globalHandle = hGlobal;
  m_headerAlloc = !mustDelete ? noAlloc : (hGlobal ? heapAlloc : crtAlloc);
  m_infoHeader = static_cast<BITMAPINFOHEADER*>(mem);
  ComputePaletteSize(m_infoHeader->biBitCount);
  ComputeMetrics();
  m_imageBits = m_colorTable + sizeof(RGBQUAD) * size_t(m_colorEntries);
  MakePalette();
  return TRUE;
}

HBITMAP CDib::CreateSection(CDC* dc) {
  if (!m_infoHeader || m_imageBits) return nullptr;
  void* bits = nullptr;
  m_sectionBitmap = ::CreateDIBSection(dc ? dc->GetSafeHdc() : nullptr,
                                       reinterpret_cast<const BITMAPINFO*>(m_infoHeader),
                                       DIB_RGB_COLORS,
                                       &bits,
                                       nullptr,
                                       0);
  m_imageBits = static_cast<BYTE*>(bits);
  return m_sectionBitmap;
}

int CDib::MakePalette() {
  if (m_colorEntries == 0) return FALSE;
  if (m_palette) ::DeleteObject(m_palette);
  std::vector<BYTE> block(sizeof(LOGPALETTE) + sizeof(PALETTEENTRY) * size_t(m_colorEntries));
  auto* logical = reinterpret_cast<LOGPALETTE*>(block.data());
  logical->palVersion = 0x300;
  logical->palNumEntries = WORD(m_colorEntries);
  const auto* table = reinterpret_cast<const RGBQUAD*>(m_colorTable);
  for (int i = 0; i < m_colorEntries; ++i)
    logical->palPalEntry[i] = PALETTEENTRY{table[i].rgbRed, table[i].rgbGreen, table[i].rgbBlue, 0};
  m_palette = ::CreatePalette(logical);
  return TRUE;
}

unsigned int CDib::UsePalette(CDC* dc, int background) {
  if (!m_palette || !dc) return 0;
  ::SelectPalette(dc->GetSafeHdc(), m_palette, background);
  return ::RealizePalette(dc->GetSafeHdc());
}

int CDib::SetSystemPalette(CDC* dc) {
  if (m_colorEntries != 0 || !dc) return FALSE;
  if (!(dc->GetDeviceCaps(RASTERCAPS) & RC_PALETTE)) return FALSE;
  int n = dc->GetDeviceCaps(SIZEPALETTE);
  if (n == 0) n = dc->GetDeviceCaps(NUMCOLORS);
  if (n <= 0) return FALSE;
  std::vector<BYTE> block(sizeof(LOGPALETTE) + sizeof(PALETTEENTRY) * size_t(n));
  auto* logical = reinterpret_cast<LOGPALETTE*>(block.data());
  logical->palVersion = 0x300;
  logical->palNumEntries = WORD(n);
  ::GetSystemPaletteEntries(dc->GetSafeHdc(), 0, UINT(n), logical->palPalEntry);
  m_palette = ::CreatePalette(logical);
  return TRUE;
}

int CDib::Draw(CDC* dc, CPoint origin, CSize size) {
  if (!m_infoHeader || !dc) return FALSE;
  if (m_palette) ::SelectPalette(dc->GetSafeHdc(), m_palette, TRUE);
  const int height = dc->m_hAttribDC ? size.cy : -size.cy;
  ::StretchDIBits(dc->GetSafeHdc(),
                  origin.x,
                  origin.y,
                  size.cx,
                  height,
                  0,
                  0,
                  m_infoHeader->biWidth,
                  m_infoHeader->biHeight,
                  m_imageBits,
                  reinterpret_cast<const BITMAPINFO*>(m_infoHeader),
                  DIB_RGB_COLORS,
                  SRCCOPY);
  return TRUE;
}

int CDib::Read(CFile* file) {
  Empty();
  if (!file) return FALSE;
  BITMAPFILEHEADER fileHeader{};
  if (file->Read(&fileHeader, sizeof fileHeader) != sizeof fileHeader) return FALSE;
  const ULONGLONG length = file->GetLength();
  if (fileHeader.bfType != DIB_HEADER_MARKER || fileHeader.bfOffBits < sizeof fileHeader ||
      fileHeader.bfOffBits > length)
    return Refuse(*this);
  // The header block runs from the end of the file header to the pixels.
  std::vector<BYTE> block(fileHeader.bfOffBits - sizeof fileHeader);
  if (file->Read(block.data(), UINT(block.size())) != block.size()) return FALSE;
  image::bmp::Layout layout;
  if (!image::bmp::ParseHeader(
          block.data(), DWORD(block.size()), fileHeader.bfOffBits, length, layout))
    return Refuse(*this);
  if (!AdoptHeader(layout.info, layout.colors)) return FALSE;
  m_imageBits = image::AllocBlock(m_imageSize);
  if (!m_imageBits) return FALSE;
  m_imageAlloc = crtAlloc;
  if (layout.Plain()) {
    if (file->Read(m_imageBits, m_imageSize) != m_imageSize) return FALSE;
  } else {
    std::vector<BYTE> pixels(layout.pixelBytes);
    if (file->Read(pixels.data(), UINT(pixels.size())) != pixels.size()) return FALSE;
    image::bmp::ConvertPixels(layout, pixels.data(), m_imageBits);
  }
  ComputePaletteSize(m_infoHeader->biBitCount);
  MakePalette();
  return TRUE;
}

bool CDib::AdoptHeader(const BITMAPINFOHEADER& info, const std::vector<RGBQUAD>& colors) {
  const size_t tableBytes = colors.size() * sizeof(RGBQUAD);
  m_infoHeader = reinterpret_cast<BITMAPINFOHEADER*>(image::AllocBlock(sizeof info + tableBytes));
  if (!m_infoHeader) return false;
  m_headerAlloc = crtAlloc;
  *m_infoHeader = info;
  ComputeMetrics();
  if (tableBytes) std::memcpy(m_colorTable, colors.data(), tableBytes);
  return true;
}

int CDib::Write(CFile* file) {
  if (!file || !m_infoHeader) return FALSE;
  const int headerSize = GetSizeHeader();
  BITMAPFILEHEADER fileHeader{};
  fileHeader.bfType = DIB_HEADER_MARKER;
  // bfSize counts only the headers and the colour table: the format's
  // readers take the pixel count from the information header.
  fileHeader.bfSize = DWORD(headerSize + sizeof(BITMAPFILEHEADER));
  fileHeader.bfReserved1 = 0;
  fileHeader.bfReserved2 = 0;
  fileHeader.bfOffBits = DWORD(sizeof(RGBQUAD) * size_t(m_colorEntries) + 54);
  if (!file->Write(&fileHeader, sizeof fileHeader)) return FALSE;
  if (!file->Write(m_infoHeader, UINT(headerSize))) return FALSE;
  if (m_imageSize && (!m_imageBits || !file->Write(m_imageBits, m_imageSize))) return FALSE;
  return TRUE;
}

void CDib::Serialize(CArchive& ar) {
  ar.Flush();
  if (ar.IsStoring())
    Write(ar.GetFile());
  else
    Read(ar.GetFile());
}

void CDib::Empty() {
  DetachMapFile();
  if (m_headerAlloc == crtAlloc)
    delete[] reinterpret_cast<BYTE*>(m_infoHeader);
  else if (m_headerAlloc == heapAlloc)
    platform::ShowError(platform::kMsgNotSupported);
  if (m_imageAlloc == crtAlloc) delete[] m_imageBits;
  if (m_palette) ::DeleteObject(m_palette);
  if (m_sectionBitmap) ::DeleteObject(m_sectionBitmap);
  m_colorTable = nullptr;
  m_sectionBitmap = nullptr;
  m_imageBits = nullptr;
  m_infoHeader = nullptr;
  m_globalHandle = nullptr;
  m_headerAlloc = noAlloc;
  m_imageAlloc = noAlloc;
  m_imageSize = 0;
  m_colorEntries = 0;
  m_fileHandle = nullptr;
  m_mapHandle = nullptr;
  m_mapView = nullptr;
  m_palette = nullptr;
}

void CDib::ComputePaletteSize(int nBitCount) {
  if (m_infoHeader && m_infoHeader->biClrUsed != 0) {
    m_colorEntries = int32_t(m_infoHeader->biClrUsed);
    return;
  }
  switch (nBitCount) {
    case 1:
      m_colorEntries = 2;
      break;
    case 4:
      m_colorEntries = 16;
      break;
    case 8:
      m_colorEntries = 256;
      break;
    case 16:
    case 24:
    case 32:
      m_colorEntries = 0;
      break;
    default:
      break;  // other depths keep the current count
  }
}

void CDib::ComputeMetrics() {
  m_imageSize = m_infoHeader->biSizeImage;
  if (m_imageSize == 0) m_imageSize = DWORD(ImageBytes(*m_infoHeader));
  m_colorTable = reinterpret_cast<BYTE*>(m_infoHeader) + sizeof(BITMAPINFOHEADER);
}

void CDib::DetachMapFile() {
  if (!m_fileHandle) return;
  ::UnmapViewOfFile(m_mapView);
  ::CloseHandle(m_mapHandle);
  ::CloseHandle(m_fileHandle);
  m_fileHandle = nullptr;
}
