// "JPEG_LIB.dll" over libjpeg-turbo.
#include "devices/jpeg_module.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include "image/jpeg_interface.h"
#include "platform/faults.h"
#include "platform/fs.h"
#include "platform/modules.h"
#include "platform/safe_file.h"

// After our types: libjpeg defines TRUE and FALSE only when they are not yet macros.
#include <jerror.h>
#include <jpeglib.h>

namespace devices {
namespace {

// libjpeg reports fatal errors through error_exit; we jump back instead of
// exiting the process.
struct ErrorManager {
  jpeg_error_mgr base;
  std::jmp_buf jump;
};

void OnError(j_common_ptr info) {
  std::longjmp(reinterpret_cast<ErrorManager*>(info->err)->jump, 1);
}
void OnMessage(j_common_ptr) {}

void InitErrors(ErrorManager& errors) {
  jpeg_std_error(&errors.base);
  errors.base.error_exit = OnError;
  errors.base.output_message = OnMessage;
}

// libjpeg's output goes straight into the temporary file of a safe save, in
// blocks large enough that a picture takes a handful of writes. A failed
// write ends the compression through error_exit.
constexpr size_t kWriteBlock = 64 * 1024;

struct FileDestination {
  jpeg_destination_mgr base;
  platform::SafeFile* file;
  JOCTET* buffer;
};

FileDestination* DestinationOf(j_compress_ptr info) {
  return reinterpret_cast<FileDestination*>(info->dest);
}

void FailWrite(j_compress_ptr info) {
  info->err->msg_code = JERR_FILE_WRITE;
  info->err->error_exit(reinterpret_cast<j_common_ptr>(info));
}

void InitDestination(j_compress_ptr info) {
  FileDestination* d = DestinationOf(info);
  d->base.next_output_byte = d->buffer;
  d->base.free_in_buffer = kWriteBlock;
}

boolean EmptyOutputBuffer(j_compress_ptr info) {
  // libjpeg asks for the whole block to be written, whatever free_in_buffer says.
  if (!DestinationOf(info)->file->Write(DestinationOf(info)->buffer, UINT(kWriteBlock)))
    FailWrite(info);
  InitDestination(info);
  return TRUE;
}

void TermDestination(j_compress_ptr info) {
  FileDestination* d = DestinationOf(info);
  const size_t pending = kWriteBlock - d->base.free_in_buffer;
  if (pending > 0 && !d->file->Write(d->buffer, UINT(pending))) FailWrite(info);
}

// Compresses rows bottom-up into `file`; false on a libjpeg error or a
// failed write (the file is then left uncommitted).
bool Compress(platform::SafeFile& file,
              JOCTET* block,
              const BYTE* bits,
              unsigned width,
              unsigned height,
              unsigned stride,
              bool color,
              int quality) {
  jpeg_compress_struct info{};
  ErrorManager errors;
  InitErrors(errors);
  info.err = &errors.base;
  FileDestination destination{{}, &file, block};
  destination.base.init_destination = InitDestination;
  destination.base.empty_output_buffer = EmptyOutputBuffer;
  destination.base.term_destination = TermDestination;
  if (setjmp(errors.jump)) {
    jpeg_destroy_compress(&info);
    return false;
  }
  jpeg_create_compress(&info);
  info.dest = &destination.base;
  info.image_width = width;
  info.image_height = height;
  info.input_components = color ? 3 : 1;
  info.in_color_space = color ? JCS_EXT_BGR : JCS_GRAYSCALE;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, quality < 1 ? 1 : (quality > 100 ? 100 : quality), TRUE);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < height) {
    JSAMPROW row = const_cast<BYTE*>(bits) + size_t(height - 1 - info.next_scanline) * stride;
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  return true;
}

}  // namespace

namespace jpeg {

int DibImageToJpegFile(const wchar_t* path,
                       BYTE* bits,
                       unsigned width,
                       unsigned height,
                       unsigned byteWidth,
                       int bFullColor,
                       int nQuality,
                       BYTE /*bGray: 8-bit rows are written as grey either way*/) {
  if (!path || !bits || width == 0 || height == 0) return FALSE;
  if (byteWidth < width * (bFullColor ? 3u : 1u)) return FALSE;
  if (platform::fault::Check("jpeg.encode").fail) return FALSE;
  // Encoded into a safe save: a failure at any point leaves an earlier file
  // of that name as it was.
  std::unique_ptr<JOCTET[]> block(new (std::nothrow) JOCTET[kWriteBlock]);
  if (!block) return FALSE;
  platform::SafeFile file;
  if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) return FALSE;
  const bool ok =
      Compress(file, block.get(), bits, width, height, byteWidth, bFullColor != 0, nQuality);
  return ok && file.Commit() ? TRUE : FALSE;
}

namespace {

class Decoder final : public image::JpegDecoder {
 public:
  Decoder() {
    InitErrors(errors_);
    info_.err = &errors_.base;
    jpeg_create_decompress(&info_);
  }
  ~Decoder() {
    jpeg_destroy_decompress(&info_);
    if (file_) std::fclose(file_);
    delete[] bits_;
  }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  int Reserved0() override { return 0; }
  BOOL Open(int mode, const wchar_t* path) override {
    if (mode != 0 || !path || file_) return FALSE;
    file_ = std::fopen(platform::fs::HostPath(path).c_str(), "rb");
    if (!file_) return FALSE;
    if (setjmp(errors_.jump)) return FALSE;
    jpeg_stdio_src(&info_, file_);
    if (jpeg_read_header(&info_, TRUE) != JPEG_HEADER_OK) return FALSE;
    open_ = true;
    return TRUE;
  }
  UINT GetSourceWidth() override { return open_ ? info_.image_width : 0; }
  UINT GetSourceHeight() override { return open_ ? info_.image_height : 0; }
  BOOL Decode(int scaleDenominator, int) override {
    if (!open_ || bits_ ||
        (scaleDenominator != 1 && scaleDenominator != 2 && scaleDenominator != 4 &&
         scaleDenominator != 8))
      return FALSE;
    if (platform::fault::Check("jpeg.decode").fail) return FALSE;
    if (setjmp(errors_.jump)) {
      delete[] bits_;
      bits_ = nullptr;
      return FALSE;
    }
    info_.scale_num = 1;
    info_.scale_denom = unsigned(scaleDenominator);
    info_.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&info_);
    width_ = info_.output_width;
    height_ = info_.output_height;
    const size_t stride = (size_t(width_) * 3 + 3) & ~size_t(3);
    if (platform::fault::Check("alloc", "jpeg").fail) longjmp(errors_.jump, 1);
    bits_ = new (std::nothrow) BYTE[stride * height_]();
    if (!bits_) longjmp(errors_.jump, 1);
    while (info_.output_scanline < height_) {
      JSAMPROW row = bits_ + size_t(height_ - 1 - info_.output_scanline) * stride;
      jpeg_read_scanlines(&info_, &row, 1);
    }
    jpeg_finish_decompress(&info_);
    return TRUE;
  }
  UINT GetWidth() override { return bits_ ? width_ : 0; }
  UINT GetHeight() override { return bits_ ? height_ : 0; }
  int Reserved7() override { return 0; }
  int Reserved8() override { return 0; }
  BYTE* DetachImage() override {
    BYTE* bits = bits_;
    bits_ = nullptr;
    return bits;
  }
  void PrepareDetach() override {}

 private:
  jpeg_decompress_struct info_{};
  ErrorManager errors_;
  FILE* file_ = nullptr;
  bool open_ = false;
  BYTE* bits_ = nullptr;
  UINT width_ = 0;
  UINT height_ = 0;
};

}  // namespace

image::JpegDecoder* CreateJpegInterface() { return new (std::nothrow) Decoder; }

void DestroyJpegInterface(image::JpegDecoder* decoder) { delete static_cast<Decoder*>(decoder); }

// The entry points must match the library's pointer types exactly.
static_assert(std::is_same_v<decltype(&DibImageToJpegFile), image::DibImageToJpegFileFn>);
static_assert(std::is_same_v<decltype(&CreateJpegInterface), image::CreateJpegInterfaceFn>);
static_assert(std::is_same_v<decltype(&DestroyJpegInterface), image::DestroyJpegInterfaceFn>);

}  // namespace jpeg

void RegisterJpegModule() {
  platform::modules::Register(
      L"JPEG_LIB.dll",
      {{"DibImageToJpegFile_ExplicitLoading", reinterpret_cast<void*>(&jpeg::DibImageToJpegFile)},
       {"Create_JpegInterface_ExplicitLoading",
        reinterpret_cast<void*>(&jpeg::CreateJpegInterface)},
       {"Destroy_JpegInterface_ExplicitLoading",
        reinterpret_cast<void*>(&jpeg::DestroyJpegInterface)}});
}

void UnregisterJpegModule() { platform::modules::Unregister(L"JPEG_LIB.dll"); }

}  // namespace devices
