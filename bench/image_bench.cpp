// Image operations on a 640 × 480 picture, and WriteJPEG against encoding
// the same rows with libjpeg-turbo directly (read the two as a ratio).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "devices/jpeg_module.h"
#include "image/dib_ex.h"
#include "platform/safe_file.h"

// After our types: libjpeg defines TRUE and FALSE only when they are not yet macros.
#include <jpeglib.h>

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;

// A camera-like picture: gradients plus texture.
CDibEx& Picture() {
  static CDibEx dib = [] {
    CDibEx d;
    d.Create(CSize(kWidth, kHeight), 24, 0, FALSE, 0);
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) {
        BYTE bgr[3] = {BYTE(x * 255 / kWidth), BYTE(y * 255 / kHeight), BYTE((x * y) % 251)};
        d.SetPixel(bgr, CPoint(x, y), 4);
      }
    return d;
  }();
  return dib;
}

std::string OutPath(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

// WriteJPEG saves safely: a temporary file, fsync, rename, fsync of the
// folder. With `durable` off the fsyncs are skipped, which is the same disk
// work as the direct encoder below; the difference between the two runs is
// the price of durability on this disk (read it in real time).
void BM_WriteJPEG(benchmark::State& state, bool durable) {
  devices::RegisterJpegModule();
  platform::SafeFile::SetDurable(durable);
  const std::string path = OutPath("surveycam_bench_ours.jpg");
  CString wide(std::wstring(path.begin(), path.end()).c_str());
  for (auto _ : state)
    if (!Picture().WriteJPEG(wide)) state.SkipWithError("WriteJPEG failed");
  platform::SafeFile::SetDurable(true);
  std::filesystem::remove(path);
}
BENCHMARK_CAPTURE(BM_WriteJPEG, durable, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_WriteJPEG, no_fsync, false)->Unit(benchmark::kMillisecond);

// The same rows, bottom-up BGR at quality 100, straight into libjpeg-turbo.
void BM_LibjpegDirect(benchmark::State& state) {
  CDibEx& dib = Picture();
  const std::string path = OutPath("surveycam_bench_direct.jpg");
  const DWORD stride = dib.GetByteWidth();
  for (auto _ : state) {
    FILE* file = std::fopen(path.c_str(), "wb");
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file);
    info.image_width = kWidth;
    info.image_height = kHeight;
    info.input_components = 3;
    info.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 100, TRUE);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
      JSAMPROW row = dib.m_imageBits + size_t(kHeight - 1 - info.next_scanline) * stride;
      jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::fclose(file);
  }
  std::filesystem::remove(path);
}
BENCHMARK(BM_LibjpegDirect)->Unit(benchmark::kMillisecond);

void BM_GrayScale(benchmark::State& state) {
  CDibEx grey;
  for (auto _ : state) benchmark::DoNotOptimize(Picture().GrayScale(&grey));
}
BENCHMARK(BM_GrayScale)->Unit(benchmark::kMicrosecond);

void BM_CreateThumbnail2(benchmark::State& state) {
  CDibEx thumb;
  for (auto _ : state)
    benchmark::DoNotOptimize(thumb.CreateThumbnail2(&Picture(), int(state.range(0))));
}
BENCHMARK(BM_CreateThumbnail2)->Arg(2)->Arg(4)->Unit(benchmark::kMicrosecond);

void BM_CreateThumbnail3(benchmark::State& state) {
  CDibEx thumb;
  for (auto _ : state) benchmark::DoNotOptimize(thumb.CreateThumbnail3(&Picture(), 2.5, 2.5));
}
BENCHMARK(BM_CreateThumbnail3)->Unit(benchmark::kMicrosecond);

}  // namespace
