#include "corner/median.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

// The filter works on whole vectors of 32 pixels (one AVX2 register; two SSE2
// registers on the default build) with min/max compare-exchanges, and falls
// back to the same code on single bytes for short rows. Every path computes
// the exact median, so the result does not depend on the path taken.
// The helpers below are always inlined into the target_clones kernels, so the
// vector-return ABI note of GCC does not apply to any real call.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace {

using V = uint8_t __attribute__((vector_size(32)));
constexpr int kLanes = 32;
constexpr int kBlock = 512;  // output columns per block of column buffers

[[gnu::always_inline]] inline V Min(V a, V b) { return a < b ? a : b; }
[[gnu::always_inline]] inline V Max(V a, V b) { return a < b ? b : a; }
[[gnu::always_inline]] inline uint8_t Min(uint8_t a, uint8_t b) { return a < b ? a : b; }
[[gnu::always_inline]] inline uint8_t Max(uint8_t a, uint8_t b) { return a < b ? b : a; }

template <class T>
[[gnu::always_inline]] inline void Cx(T& a, T& b) {
  const T lo = Min(a, b);
  b = Max(a, b);
  a = lo;
}

template <class T>
[[gnu::always_inline]] inline T Load(const uint8_t* p) {
  if constexpr (sizeof(T) == 1) {
    return *p;
  } else {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
  }
}

template <class T>
[[gnu::always_inline]] inline void Store(uint8_t* p, T v) {
  std::memcpy(p, &v, sizeof v);
}

template <class T>
[[gnu::always_inline]] inline T Med3(T a, T b, T c) {
  return Max(Min(a, b), Min(Max(a, b), c));
}

// Runs body(i) for i in [0, n): whole vectors, then one last vector that
// overlaps the previous one (recomputing identical values), or single bytes
// when n is shorter than a vector.
template <class VecBody, class ByteBody>
[[gnu::always_inline]] inline void ForColumns(int n, VecBody vec, ByteBody byte) {
  if (n < kLanes) {
    for (int i = 0; i < n; ++i) byte(i);
    return;
  }
  int i = 0;
  for (; i + kLanes <= n; i += kLanes) vec(i);
  if (i < n) vec(n - kLanes);
}

// 3 x 3: sort each column of the three rows once (lo <= mid <= hi); the
// median of the window is then med3(max of the lows, med3 of the mids, min of
// the highs).
template <class T>
[[gnu::always_inline]] inline void SortColumn3(
    const uint8_t* const* rows, int i, uint8_t* lo, uint8_t* mid, uint8_t* hi) {
  T a = Load<T>(rows[0] + i), b = Load<T>(rows[1] + i), c = Load<T>(rows[2] + i);
  Cx(a, b);
  Cx(b, c);
  Cx(a, b);
  Store(lo + i, a);
  Store(mid + i, b);
  Store(hi + i, c);
}

template <class T>
[[gnu::always_inline]] inline T Median3FromColumns(const uint8_t* lo,
                                                   const uint8_t* mid,
                                                   const uint8_t* hi,
                                                   int i) {
  const T l = Max(Max(Load<T>(lo + i), Load<T>(lo + i + 1)), Load<T>(lo + i + 2));
  const T h = Min(Min(Load<T>(hi + i), Load<T>(hi + i + 1)), Load<T>(hi + i + 2));
  const T m = Med3(Load<T>(mid + i), Load<T>(mid + i + 1), Load<T>(mid + i + 2));
  return Med3(l, m, h);
}

// One output row segment of the 3 x 3 filter: columns x0..x0+n-1.
__attribute__((target_clones("avx2", "default"))) void Median3Segment(const uint8_t* const* rows,
                                                                      uint8_t* out,
                                                                      int x0,
                                                                      int n) {
  alignas(32) uint8_t lo[kBlock + 2], mid[kBlock + 2], hi[kBlock + 2];
  const uint8_t* const cols[3] = {rows[0] + x0 - 1, rows[1] + x0 - 1, rows[2] + x0 - 1};
  ForColumns(
      n + 2,
      [&](int i) { SortColumn3<V>(cols, i, lo, mid, hi); },
      [&](int i) { SortColumn3<uint8_t>(cols, i, lo, mid, hi); });
  ForColumns(
      n,
      [&](int i) { Store(out + x0 + i, Median3FromColumns<V>(lo, mid, hi, i)); },
      [&](int i) { out[x0 + i] = Median3FromColumns<uint8_t>(lo, mid, hi, i); });
}

// 5 x 5: sort each column of the five rows once, then select the median of
// the five sorted columns with a fixed compare-exchange network. The network
// was derived from Batcher's odd-even merge sort of 32 entries (25 pixels, 3
// minimum and 4 maximum pads), pruned to the comparators that reach the
// median and can still swap when the columns are sorted, and checked over all
// 6^5 column-sorted 0/1 inputs (which by the 0-1 principle covers every
// input). Slot s (3..27) starts with rank (s - 3) % 5 of column (s - 3) / 5;
// the median ends in slot 15.
template <class T>
[[gnu::always_inline]] inline void SortColumn5(const uint8_t* const* rows,
                                               int i,
                                               uint8_t* const* sorted) {
  T c[5];
  for (int r = 0; r < 5; ++r) c[r] = Load<T>(rows[r] + i);
  Cx(c[0], c[1]);
  Cx(c[3], c[4]);
  Cx(c[2], c[4]);
  Cx(c[2], c[3]);
  Cx(c[1], c[4]);
  Cx(c[0], c[3]);
  Cx(c[0], c[2]);
  Cx(c[1], c[3]);
  Cx(c[1], c[2]);
  for (int r = 0; r < 5; ++r) Store(sorted[r] + i, c[r]);
}

template <class T>
[[gnu::always_inline]] inline T Median5FromColumns(uint8_t* const* sorted, int i) {
  T s[28];
  for (int slot = 3; slot < 28; ++slot)
    s[slot] = Load<T>(sorted[(slot - 3) % 5] + i + (slot - 3) / 5);
#define CX(a, b) Cx(s[a], s[b])
  CX(12, 13);
  CX(13, 15);
  CX(13, 14);
  CX(8, 12);
  CX(10, 14);
  CX(10, 12);
  CX(9, 13);
  CX(11, 13);
  CX(9, 10);
  CX(11, 12);
  CX(13, 14);
  CX(4, 12);
  CX(4, 8);
  CX(6, 14);
  CX(6, 10);
  CX(6, 8);
  CX(10, 12);
  CX(5, 13);
  CX(5, 9);
  CX(3, 11);
  CX(7, 15);
  CX(7, 11);
  CX(3, 5);
  CX(7, 9);
  CX(11, 13);
  CX(5, 6);
  CX(7, 8);
  CX(9, 10);
  CX(11, 12);
  CX(13, 14);
  CX(16, 18);
  CX(17, 19);
  CX(17, 18);
  CX(22, 23);
  CX(20, 22);
  CX(21, 22);
  CX(16, 20);
  CX(18, 22);
  CX(18, 20);
  CX(19, 23);
  CX(19, 21);
  CX(17, 18);
  CX(19, 20);
  CX(21, 22);
  CX(20, 24);
  CX(18, 26);
  CX(22, 26);
  CX(18, 20);
  CX(22, 24);
  CX(17, 25);
  CX(21, 25);
  CX(19, 27);
  CX(23, 27);
  CX(19, 21);
  CX(23, 25);
  CX(17, 18);
  CX(19, 20);
  CX(21, 22);
  CX(23, 24);
  CX(8, 24);
  CX(8, 16);
  CX(12, 20);
  CX(12, 16);
  CX(10, 26);
  CX(10, 18);
  CX(6, 22);
  CX(14, 22);
  CX(14, 18);
  CX(14, 16);
  CX(9, 25);
  CX(9, 17);
  CX(5, 21);
  CX(13, 21);
  CX(13, 17);
  CX(11, 19);
  CX(7, 23);
  CX(15, 23);
  CX(15, 19);
  CX(15, 17);
  CX(15, 16);
#undef CX
  return s[15];
}

__attribute__((target_clones("avx2", "default"))) void Median5Segment(const uint8_t* const* rows,
                                                                      uint8_t* out,
                                                                      int x0,
                                                                      int n) {
  alignas(32) uint8_t buffer[5][kBlock + 4];
  uint8_t* const sorted[5] = {buffer[0], buffer[1], buffer[2], buffer[3], buffer[4]};
  const uint8_t* cols[5];
  for (int r = 0; r < 5; ++r) cols[r] = rows[r] + x0 - 2;
  ForColumns(
      n + 4,
      [&](int i) { SortColumn5<V>(cols, i, sorted); },
      [&](int i) { SortColumn5<uint8_t>(cols, i, sorted); });
  ForColumns(
      n,
      [&](int i) { Store(out + x0 + i, Median5FromColumns<V>(sorted, i)); },
      [&](int i) { out[x0 + i] = Median5FromColumns<uint8_t>(sorted, i); });
}

}  // namespace

CMedian::CMedian() : m_nWindow(3) {}
CMedian::CMedian(const CMedian& o) : m_nWindow(o.m_nWindow) {}
CMedian& CMedian::operator=(const CMedian& o) {
  m_nWindow = o.m_nWindow;
  return *this;
}
CMedian::~CMedian() = default;

void CMedian::SetParam(int n) {
  if (n == 3 || n == 5) m_nWindow = n;
}

// Windows whose centre is closer than the margin (plus one for 5 x 5) to the
// border are skipped. A margin below 1 would read outside the image, so the
// window always stays inside it.
int CMedian::Median_Fliter(unsigned char* src, unsigned char* dst, CSize size, int margin) {
  const int W = size.cx, H = size.cy;
  const int r = m_nWindow == 5 ? 2 : 1;
  const int edge = std::max(margin, 1) + r - 1;  // first centre row/column
  if (m_nWindow == 5 ? margin + 1 >= H - margin - 1 : margin >= H - margin) return 1;
  if (edge >= H - edge || edge >= W - edge) return 1;
  for (int y = edge; y < H - edge; ++y) {
    const uint8_t* rows[5];
    for (int k = 0; k < 2 * r + 1; ++k) rows[k] = src + size_t(y - r + k) * size_t(W);
    uint8_t* out = dst + size_t(y) * size_t(W);
    for (int x = edge; x < W - edge; x += kBlock) {
      const int n = std::min(kBlock, W - edge - x);
      if (r == 1)
        Median3Segment(rows, out, x, n);
      else
        Median5Segment(rows, out, x, n);
    }
  }
  return 1;
}

// Keeps the five largest values in descending order; the fifth is the median.
unsigned char CMedian::Median_Value(unsigned char* const v) {
  unsigned char top[5] = {0, 0, 0, 0, 0};
  int kept = 0;
  for (int k = 0; k < 9; ++k) {
    int at = 0;
    while (at < kept && !(v[k] > top[at])) ++at;
    if (at >= 5) continue;
    for (int j = std::min(kept, 4); j > at; --j) top[j] = top[j - 1];
    top[at] = v[k];
    kept = std::min(kept + 1, 5);
  }
  return top[4];
}

// The same with the thirteen largest of 25 values.
unsigned char CMedian::Median_Value55(unsigned char* const v) {
  unsigned char top[13] = {};
  int kept = 0;
  for (int k = 0; k < 25; ++k) {
    int at = 0;
    while (at < kept && !(v[k] > top[at])) ++at;
    if (at >= 13) continue;
    for (int j = std::min(kept, 12); j > at; --j) top[j] = top[j - 1];
    top[at] = v[k];
    kept = std::min(kept + 1, 13);
  }
  return top[12];
}

unsigned char CMedian::smooth(unsigned char* const v) {
  int sum = 0;
  for (int k = 0; k < 9; ++k) sum += v[k];
  return static_cast<unsigned char>(sum / 9);
}

void CMedian::exchangeOfValues(unsigned char* a, unsigned char* b) {
  const unsigned char t = *a;
  *a = *b;
  *b = t;
}

void CMedian::quickSort(unsigned char* v, int left, int right) {
  if (left >= right) return;
  const unsigned char pivot = v[(left + right) / 2];
  int i = left, j = right;
  while (i <= j) {
    while (v[i] < pivot) ++i;
    while (v[j] > pivot) --j;
    if (i <= j) exchangeOfValues(&v[i++], &v[j--]);
  }
  quickSort(v, left, j);
  quickSort(v, i, right);
}

unsigned char CMedian::insertionSort(unsigned char* v, int n) {
  for (int i = 1; i < n; ++i) {
    const unsigned char t = v[i];
    int j = i;
    for (; j > 0 && v[j - 1] > t; --j) v[j] = v[j - 1];
    v[j] = t;
  }
  return v[n / 2];
}
