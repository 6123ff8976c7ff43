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
    __m128i first =
        _mm_packus_epi16(Expand5(_mm_srli_epi16(lo, 11)), Expand5(_mm_srli_epi16(hi, 11)));
    __m128i second = _mm_packus_epi16(Expand6(_mm_and_si128(_mm_srli_epi16(lo, 5), mask6)),
                                      Expand6(_mm_and_si128(_mm_srli_epi16(hi, 5), mask6)));
    __m128i third =
        _mm_packus_epi16(Expand5(_mm_and_si128(lo, mask5)), Expand5(_mm_and_si128(hi, mask5)));
    for (int block = 0; block < 3; ++block) {
      __m128i out = _mm_or_si128(
          _mm_or_si128(_mm_shuffle_epi8(first, m[block][0]), _mm_shuffle_epi8(second, m[block][1])),
          _mm_shuffle_epi8(third, m[block][2]));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 3 * i + 16 * block), out);
    }
  }
  ConvertRowScalar(src + i, count - i, dst + 3 * i);
}

// AVX2, 16 pixels a step, with fewer operations than the SSSE3 code: each
// field is masked in place and scaled with one high multiply, because
//   floor(r * 255 / 31) == (hi16((r << 11) * 1053)) >> 2
//   floor(g * 255 / 63) ==  hi16((g << 5) * 8290)
// hold for every 5-bit r and 6-bit g (8290 / 2048 overshoots 255 / 63 by less
// than the smallest fractional part 3g mod 63 can leave). The pixels become
// 32-bit words (first, second, third byte, 0) and one shuffle a lane packs
// four of them into 12 bytes; the 16-byte stores overlap, so the last block
// of a row is left to the scalar code.
__attribute__((target("avx2"))) void ConvertRowAvx2(const WORD* src, int count, BYTE* dst) {
  const __m256i highMask = _mm256_set1_epi16(static_cast<short>(0xF800));
  const __m256i middleMask = _mm256_set1_epi16(0x07E0);
  const __m256i lowMask = _mm256_set1_epi16(31);
  const __m256i scale5 = _mm256_set1_epi16(1053);
  const __m256i scale6 = _mm256_set1_epi16(8290);
  // Bytes 0-2, 4-6, 8-10, 12-14 of each lane to bytes 0-11.
  const __m256i pack = _mm256_setr_epi8(0,
                                        1,
                                        2,
                                        4,
                                        5,
                                        6,
                                        8,
                                        9,
                                        10,
                                        12,
                                        13,
                                        14,
                                        -1,
                                        -1,
                                        -1,
                                        -1,  //
                                        0,
                                        1,
                                        2,
                                        4,
                                        5,
                                        6,
                                        8,
                                        9,
                                        10,
                                        12,
                                        13,
                                        14,
                                        -1,
                                        -1,
                                        -1,
                                        -1);
  int i = 0;
  for (; i + 18 <= count; i += 16) {
    const __m256i p = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
    const __m256i first =
        _mm256_srli_epi16(_mm256_mulhi_epu16(_mm256_and_si256(p, highMask), scale5), 2);
    const __m256i second = _mm256_mulhi_epu16(_mm256_and_si256(p, middleMask), scale6);
    const __m256i third =
        _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_and_si256(p, lowMask), scale5), 7);
    const __m256i firstTwo = _mm256_or_si256(first, _mm256_slli_epi16(second, 8));
    // Lane 0 holds pixels 0-7, lane 1 pixels 8-15.
    const __m256i quadsA =
        _mm256_shuffle_epi8(_mm256_unpacklo_epi16(firstTwo, third), pack);  // 0-3 | 8-11
    const __m256i quadsB =
        _mm256_shuffle_epi8(_mm256_unpackhi_epi16(firstTwo, third), pack);  // 4-7 | 12-15
    BYTE* out = dst + 3 * i;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(quadsA));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 12), _mm256_castsi256_si128(quadsB));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 24), _mm256_extracti128_si256(quadsA, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 36), _mm256_extracti128_si256(quadsB, 1));
  }
  ConvertRowScalar(src + i, count - i, dst + 3 * i);
}

bool HaveSsse3() {
  static const bool have = __builtin_cpu_supports("ssse3");
  return have;
}

bool HaveAvx2() {
  static const bool have = __builtin_cpu_supports("avx2");
  return have;
}
#endif

using RowFn = void (*)(const WORD*, int, BYTE*);

void ConvertWith(RowFn row, const WORD* pixels, int width, int height, BYTE* bits, int stride) {
  if (pixels == nullptr || bits == nullptr || width <= 0 || height <= 0) return;
  for (int y = 0; y < height; ++y)
    row(pixels + size_t(y) * size_t(width), width, bits + size_t(height - 1 - y) * size_t(stride));
}

RowFn RowFor(FrameConvertPath path) {
  switch (path) {
    case FrameConvertPath::kPortable:
      return ConvertRowScalar;
#ifdef SURVEYCAM_HAVE_X86
    case FrameConvertPath::kSsse3:
      return HaveSsse3() ? ConvertRowSsse3 : nullptr;
    case FrameConvertPath::kAvx2:
      return HaveAvx2() ? ConvertRowAvx2 : nullptr;
#else
    default:
      return nullptr;
#endif
  }
  return nullptr;
}

RowFn BestRow() {
  for (FrameConvertPath path : {FrameConvertPath::kAvx2, FrameConvertPath::kSsse3})
    if (RowFn row = RowFor(path)) return row;
  return ConvertRowScalar;
}

}  // namespace

void ConvertFrame565To24Portable(
    const WORD* pixels, int width, int height, BYTE* bits, int stride) {
  ConvertWith(ConvertRowScalar, pixels, width, height, bits, stride);
}

void ConvertFrame565To24(const WORD* pixels, int width, int height, BYTE* bits, int stride) {
  static const RowFn best = BestRow();
  ConvertWith(best, pixels, width, height, bits, stride);
}

bool ConvertFrame565To24Using(
    FrameConvertPath path, const WORD* pixels, int width, int height, BYTE* bits, int stride) {
  const RowFn row = RowFor(path);
  if (row == nullptr) return false;
  ConvertWith(row, pixels, width, height, bits, stride);
  return true;
}

}  // namespace liveview
