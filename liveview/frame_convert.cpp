#include "liveview/frame_convert.h"

#include <array>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define SURVEYCAM_HAVE_X86 1
#endif

namespace liveview {
namespace {

// floor(x * 255 / 31) == (x * 1053) >> 7 and floor(x * 255 / 63) ==
// 4x + (x * 3121) >> 16 for every 5- and 6-bit x: the vector code uses these
// exact integer forms; the tables hold the same values for the scalar code.
constexpr std::array<uint8_t, 32> MakeTable5() {
  std::array<uint8_t, 32> t{};
  for (int x = 0; x < 32; ++x) t[x] = uint8_t(x * 255 / 31);
  return t;
}
constexpr std::array<uint8_t, 64> MakeTable6() {
  std::array<uint8_t, 64> t{};
  for (int x = 0; x < 64; ++x) t[x] = uint8_t(x * 255 / 63);
  return t;
}
constexpr auto kTable5 = MakeTable5();
constexpr auto kTable6 = MakeTable6();

void ConvertRowScalar(const WORD* src, int count, BYTE* dst) {
  for (int i = 0; i < count; ++i) {
    const WORD p = src[i];
    dst[3 * i] = kTable5[p >> 11];
    dst[3 * i + 1] = kTable6[(p >> 5) & 63];
    dst[3 * i + 2] = kTable5[p & 31];
  }
}

#ifdef SURVEYCAM_HAVE_X86
// Shuffle masks that interleave three 16-byte planes into 48 bytes: output
// byte k takes lane k/3 of plane k%3, every other lane is zeroed (0x80).
struct InterleaveMasks {
  alignas(16) int8_t m[3][3][16];  // [output block][plane][byte]
};
constexpr InterleaveMasks MakeMasks() {
  InterleaveMasks masks{};
  for (int block = 0; block < 3; ++block)
    for (int plane = 0; plane < 3; ++plane)
      for (int b = 0; b < 16; ++b) {
        int k = block * 16 + b;
        masks.m[block][plane][b] = int8_t(k % 3 == plane ? k / 3 : 0x80);
      }
  return masks;
}
constexpr InterleaveMasks kMasks = MakeMasks();

__attribute__((target("ssse3"))) inline __m128i Expand5(__m128i x) {
  return _mm_srli_epi16(_mm_mullo_epi16(x, _mm_set1_epi16(1053)), 7);
}
__attribute__((target("ssse3"))) inline __m128i Expand6(__m128i x) {
  return _mm_add_epi16(_mm_slli_epi16(x, 2), _mm_mulhi_epu16(x, _mm_set1_epi16(3121)));
}

__attribute__((target("ssse3"))) void ConvertRowSsse3(const WORD* src, int count, BYTE* dst) {
  const __m128i mask5 = _mm_set1_epi16(31);
  const __m128i mask6 = _mm_set1_epi16(63);
  __m128i m[3][3];
  for (int block = 0; block < 3; ++block)
    for (int plane = 0; plane < 3; ++plane)
      m[block][plane] = _mm_load_si128(reinterpret_cast<const __m128i*>(kMasks.m[block][plane]));
  int i = 0;
  for (; i + 16 <= count; i += 16) {
    __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i + 8));
    __m128i first = _mm_packus_epi16(Expand5(_mm_srli_epi16(lo, 11)), Expand5(_mm_srli_epi16(hi, 11)));
    __m128i second = _mm_packus_epi16(Expand6(_mm_and_si128(_mm_srli_epi16(lo, 5), mask6)),
                                      Expand6(_mm_and_si128(_mm_srli_epi16(hi, 5), mask6)));
    __m128i third = _mm_packus_epi16(Expand5(_mm_and_si128(lo, mask5)), Expand5(_mm_and_si128(hi, mask5)));
    for (int block = 0; block < 3; ++block) {
      __m128i out = _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(first, m[block][0]),
                                              _mm_shuffle_epi8(second, m[block][1])),
                                 _mm_shuffle_epi8(third, m[block][2]));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 3 * i + 16 * block), out);
    }
  }
  ConvertRowScalar(src + i, count - i, dst + 3 * i);
}

bool HaveSsse3() {
  static const bool have = __builtin_cpu_supports("ssse3");
  return have;
}
#endif

using RowFn = void (*)(const WORD*, int, BYTE*);

void ConvertWith(RowFn row, const WORD* pixels, int width, int height, BYTE* bits, int stride) {
  if (pixels == nullptr || bits == nullptr || width <= 0 || height <= 0) return;
  for (int y = 0; y < height; ++y)
    row(pixels + size_t(y) * size_t(width), width, bits + size_t(height - 1 - y) * size_t(stride));
}

}  // namespace

void ConvertFrame565To24Portable(const WORD* pixels, int width, int height, BYTE* bits, int stride) {
  ConvertWith(ConvertRowScalar, pixels, width, height, bits, stride);
}

void ConvertFrame565To24(const WORD* pixels, int width, int height, BYTE* bits, int stride) {
#ifdef SURVEYCAM_HAVE_X86
  if (HaveSsse3()) {
    ConvertWith(ConvertRowSsse3, pixels, width, height, bits, stride);
    return;
  }
#endif
  ConvertWith(ConvertRowScalar, pixels, width, height, bits, stride);
}

}  // namespace liveview
