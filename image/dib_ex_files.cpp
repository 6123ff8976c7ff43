// CDibEx: BMP files through CDib, JPEG files through "JPEG_LIB.dll".
#include <algorithm>

#include "image/dib_ex.h"
#include "image/jpeg_interface.h"
#include "platform/file.h"
#include "platform/kvo_utils.h"
#include "platform/safe_file.h"

namespace {

constexpr const wchar_t* kJpegModule = L"JPEG_LIB.dll";

// The largest side decoded at each scale; 16000 pixels or more is refused
// so that large photographs stay within the device's memory.
int ScaleDenominator(UINT largestSide) {
  if (largestSide <= 1999) return 1;
  if (largestSide <= 3999) return 2;
  if (largestSide <= 7999) return 4;
  if (largestSide <= 15999) return 8;
  return 0;
}

// Looks a module entry up and releases the module when it goes out of scope.
template <class Fn>
struct ModuleEntry {
  HMODULE module = nullptr;
  Fn fn = nullptr;
  explicit ModuleEntry(const wchar_t* name) {
    fn = reinterpret_cast<Fn>(GetLibraryFunction(kJpegModule, name, &module));
  }
  ~ModuleEntry() {
    if (module) FreeLibraryFunction(module);
  }
  ModuleEntry(const ModuleEntry&) = delete;
  ModuleEntry& operator=(const ModuleEntry&) = delete;
};

// Decodes with a created decoder; null when any step fails.
BYTE* Decode(image::JpegDecoder* decoder,
             const CString& path,
             unsigned* pWidth,
             unsigned* pHeight) {
  if (!decoder->Open(0, path)) return nullptr;
  const int denominator =
      ScaleDenominator(std::max(decoder->GetSourceWidth(), decoder->GetSourceHeight()));
  if (denominator == 0 || !decoder->Decode(denominator, 0)) return nullptr;
  *pWidth = decoder->GetWidth();
  *pHeight = decoder->GetHeight();
  decoder->PrepareDetach();
  return decoder->DetachImage();
}

}  // namespace

int CDibEx::ReadBMP(CString& path) {
  CFile file;
  if (!file.Open(path, CFile::modeRead)) return FALSE;
  const int ok = Read(&file);
  file.Close();
  return ok;
}

int CDibEx::WriteBMP(CString& path) {
  platform::SafeFile file;
  if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) return FALSE;
  return Write(&file) && file.Commit() ? TRUE : FALSE;
}

int CDibEx::WriteJPEG(CString& path) {
  if (!HasPixels() || m_infoHeader->biWidth <= 0 || m_infoHeader->biHeight <= 0) return FALSE;
  // The encoder reads 3 bytes a pixel for colour and 1 for palette images.
  if (!IsPixelDepth()) return FALSE;
  return DibImageToJpegFile(path,
                            m_imageBits,
                            unsigned(m_infoHeader->biWidth),
                            unsigned(m_infoHeader->biHeight),
                            GetByteWidth(),
                            /*bFullColor=*/m_colorEntries == 0 ? 1 : 0,
                            /*nQuality=*/100);
}

int CDibEx::ReadJPEG(CString& path) {
  Empty();
  unsigned width = 0, height = 0;
  BYTE* bits = JpegFileToDibImage(path, &width, &height);
  if (!bits) {
    m_imageAlloc = noAlloc;
    return FALSE;
  }
  m_infoHeader = reinterpret_cast<BITMAPINFOHEADER*>(image::AllocBlock(sizeof(BITMAPINFOHEADER)));
  if (!m_infoHeader) {
    delete[] bits;
    return FALSE;
  }
  // The decoder hands over 24-bit rows: no colour table.
  *m_infoHeader = BITMAPINFOHEADER{40, LONG(width), LONG(height), 1, 24, BI_RGB, 0, 0, 0, 0, 0};
  m_headerAlloc = crtAlloc;
  m_imageAlloc = crtAlloc;
  m_imageBits = bits;
  ComputePaletteSize(m_infoHeader->biBitCount);
  ComputeMetrics();
  MakePalette();
  return TRUE;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the host calls it with this signature.
int CDibEx::DibImageToJpegFile(CString path,
                               BYTE* bits,
                               unsigned width,
                               unsigned height,
                               unsigned byteWidth,
                               int bFullColor,
                               int nQuality) {
  ModuleEntry<image::DibImageToJpegFileFn> encode(L"DibImageToJpegFile_ExplicitLoading");
  if (!encode.fn) return FALSE;
  const BYTE gray = IsGrayScale() ? 1 : 0;
  return encode.fn(path, bits, width, height, byteWidth, bFullColor, nQuality, gray) ? TRUE : FALSE;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the host calls it with this signature.
BYTE* CDibEx::JpegFileToDibImage(CString path, unsigned* pWidth, unsigned* pHeight) {
  *pWidth = 0;
  *pHeight = 0;
  ModuleEntry<image::CreateJpegInterfaceFn> create(L"Create_JpegInterface_ExplicitLoading");
  ModuleEntry<image::DestroyJpegInterfaceFn> destroy(L"Destroy_JpegInterface_ExplicitLoading");
  if (!create.fn || !destroy.fn) return nullptr;
  image::JpegDecoder* decoder = create.fn();
  if (!decoder) return nullptr;
  BYTE* bits = Decode(decoder, path, pWidth, pHeight);
  destroy.fn(decoder);
  if (!bits) *pWidth = *pHeight = 0;
  return bits;
}
