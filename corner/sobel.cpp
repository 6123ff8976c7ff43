#include "corner/sobel.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

// The gradient is computed eight pixels at a time in 32-bit lanes (one AVX2
// register, two SSE2 registers on the default build); the threshold test and
// the statistics then look only at the lanes that passed, in column order, so
// the result is the same as one pixel at a time.
// The vector helpers take and give their vectors by reference: the default
// clone is built without AVX, where passing a 32-byte vector by value would
// change the calling convention (clang refuses it; GCC warns).

namespace {

using I8 = int32_t __attribute__((vector_size(32)));
using H8 = int16_t __attribute__((vector_size(16)));
using H16 = int16_t __attribute__((vector_size(32)));
using B16 = uint8_t __attribute__((vector_size(16)));
constexpr int kLanes = 16;

struct Tally {
  uint32_t count = 0;
  uint64_t sum = 0;  // Σ S/1000 of the kept pixels
};

// Sixteen pixels widened to 16-bit lanes (gradients stay within ±1020).
[[gnu::always_inline]] inline void LoadWiden(const uint8_t* p, H16& out) {
  B16 b;
  std::memcpy(&b, p, sizeof b);
  out = __builtin_convertvector(b, H16);
}

// Lanes 0-7 (half 0) or 8-15 (half 1) widened to 32 bits.
[[gnu::always_inline]] inline void Half(const H16& v, int half, I8& out) {
  if (half)
    out = __builtin_convertvector(__builtin_shufflevector(v, v, 8, 9, 10, 11, 12, 13, 14, 15), I8);
  else
    out = __builtin_convertvector(__builtin_shufflevector(v, v, 0, 1, 2, 3, 4, 5, 6, 7), I8);
}

[[gnu::always_inline]] inline uint32_t Magnitude(const uint8_t* up,
                                                 const uint8_t* mid,
                                                 const uint8_t* down,
                                                 int x) {
  const int gx =
      -up[x - 1] + up[x + 1] - 2 * mid[x - 1] + 2 * mid[x + 1] - down[x - 1] + down[x + 1];
  const int gy = -up[x - 1] - 2 * up[x] - up[x + 1] + down[x - 1] + 2 * down[x] + down[x + 1];
  return uint32_t(gx * gx) + uint32_t(gy * gy);
}

[[gnu::always_inline]] inline void Keep(uint32_t s,
                                        uint32_t threshold,
                                        uint32_t* out,
                                        Tally& tally) {
  if (s < threshold) return;
  *out = s;
  ++tally.count;
  tally.sum += s / 1000;
}

using F8 = float __attribute__((vector_size(32)));

// S/1000 rounded down, in float: S < 2^22 is exact, and the correctly
// rounded quotient of a non-integer S/1000 stays more than 1e-4 away from the
// next integer, so truncating it gives the integer quotient.
[[gnu::always_inline]] inline void Thousands(const I8& s, I8& out) {
  out = __builtin_convertvector(__builtin_convertvector(s, F8) / 1000.0f, I8);
}

__attribute__((target_clones("avx2", "default"))) void SobelRow(const uint8_t* up,
                                                                const uint8_t* mid,
                                                                const uint8_t* down,
                                                                uint32_t* out,
                                                                int x0,
                                                                int x1,
                                                                uint32_t threshold,
                                                                Tally& tally) {
  // S never exceeds 2·1020², so a threshold above INT32_MAX keeps nothing.
  const I8 t = I8{} + int32_t(std::min<uint32_t>(threshold, 0x7fffffffu));
  I8 count{}, sum{};
  int x = x0;
  for (; x + kLanes <= x1; x += kLanes) {
    H16 ul, ur, uc, ml, mr, dl, dr, dc;
    LoadWiden(up + x - 1, ul);
    LoadWiden(up + x + 1, ur);
    LoadWiden(up + x, uc);
    LoadWiden(mid + x - 1, ml);
    LoadWiden(mid + x + 1, mr);
    LoadWiden(down + x - 1, dl);
    LoadWiden(down + x + 1, dr);
    LoadWiden(down + x, dc);
    const H16 gx = (ur - ul) + 2 * (mr - ml) + (dr - dl);
    const H16 gy = (dl - ul) + 2 * (dc - uc) + (dr - ur);
    for (int half = 0; half < 2; ++half) {
      I8 sx, sy, thousands;
      Half(gx, half, sx);
      Half(gy, half, sy);
      const I8 s = sx * sx + sy * sy;  // at most 2·1020², no overflow
      const I8 kept = s >= t;          // -1 where kept
      uint32_t* o = out + x + 8 * half;
      I8 old;
      std::memcpy(&old, o, sizeof old);
      const I8 now = kept ? s : old;
      std::memcpy(o, &now, sizeof now);
      count -= kept;
      Thousands(s, thousands);
      sum += thousands & kept;
    }
  }
  for (int i = 0; i < 8; ++i) {
    tally.count += uint32_t(count[i]);
    tally.sum += uint32_t(sum[i]);
  }
  for (; x < x1; ++x) Keep(Magnitude(up, mid, down, x), threshold, out + x, tally);
}

}  // namespace

CSobel::CSobel() : m_nThreshold(2000), m_nMeanStrength(0) {}
CSobel::CSobel(const CSobel& o)
    : m_nThreshold(o.m_nThreshold), m_nMeanStrength(o.m_nMeanStrength) {}
CSobel& CSobel::operator=(const CSobel& o) {
  m_nThreshold = o.m_nThreshold;
  m_nMeanStrength = o.m_nMeanStrength;
  return *this;
}
CSobel::~CSobel() = default;

void CSobel::SetParam(unsigned int t) { m_nThreshold = t; }

// A margin below 1 would read outside the image, so the kernel always stays
// inside it.
int CSobel::Sobel(unsigned char* src, unsigned int* dst, CSize size, int margin) {
  const int W = size.cx, H = size.cy;
  if (margin >= H - margin) return 0;
  const int edge = std::max(margin, 1);
  Tally tally;
  for (int y = edge; y < H - edge; ++y) {
    const uint8_t* mid = src + size_t(y) * size_t(W);
    if (edge < W - edge)
      SobelRow(
          mid - W, mid, mid + W, dst + size_t(y) * size_t(W), edge, W - edge, m_nThreshold, tally);
  }
  if (tally.count == 0) return 0;
  m_nMeanStrength = unsigned(tally.sum / tally.count) * 1000u;
  return 1;
}
