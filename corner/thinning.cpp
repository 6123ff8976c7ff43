#include "corner/thinning.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

// Hilditch's thinning. Foreground is 255; a pixel deleted in the current pass
// is marked with that pass's marker M (100, 101, ...) so that later pixels of
// the same pass still see it as foreground where the rules ask for it.
//
// The deletion rules depend only on two neighbour masks: f (bit k set when
// neighbour k is 255 or M) and s (bit k set when neighbour k is 255). They are
// evaluated once for all 2^16 mask pairs into a table; a pass then scans each
// row for 255 bytes and looks the decision up.
namespace {

constexpr int kFirstMarker = 100;

// Neighbour k of a pixel: 0 right, 1 upper right, 2 up, 3 upper left, 4 left,
// 5 lower left, 6 down, 7 lower right.
constexpr int kDy[8] = {0, -1, -1, -1, 0, 1, 1, 1};
constexpr int kDx[8] = {1, 1, 0, -1, -1, -1, 0, 1};

int Connectivity(const unsigned char* nb) {
  int n = 0;
  for (int k = 0; k < 8; k += 2)
    if (nb[k] == 0 && (nb[k + 1] >= 255 || nb[k + 2] >= 255)) ++n;
  return n;
}

bool Deletable(unsigned f, unsigned s) {
  unsigned char first[9];
  int foreground = 0;
  for (int k = 0; k < 8; ++k) {
    first[k] = (f >> k & 1) ? 255 : 0;
    foreground += (f >> k & 1);
  }
  first[8] = first[0];
  if (first[0] + first[2] + first[4] + first[6] >= 1020) return false;  // interior
  if (foreground < 2) return false;                                     // end point
  if (s == 0) return false;                                             // isolated in this pass
  if (Connectivity(first) != 1) return false;
  const unsigned marked = f & ~s;  // neighbours deleted earlier in this pass
  for (int k : {2, 4}) {
    if (!(marked >> k & 1)) continue;
    first[k] = 0;
    const bool simple = Connectivity(first) == 1;
    first[k] = 255;
    if (!simple) return false;
  }
  return true;
}

const std::array<bool, 65536>& DecisionTable() {
  static const std::array<bool, 65536> table = [] {
    std::array<bool, 65536> t{};
    for (unsigned s = 0; s < 256; ++s)
      for (unsigned f = 0; f < 256; ++f) t[f | s << 8] = (s & ~f) == 0 && Deletable(f, s);
    return t;
  }();
  return table;
}

// One pass over the rows edge..rows-edge-1 and columns edge..cols-edge-1;
// returns the number of deleted pixels.
int ThinPass(unsigned char* img, int rows, int cols, int edge, unsigned char marker) {
  const auto& table = DecisionTable();
  int offset[8];
  for (int k = 0; k < 8; ++k) offset[k] = kDy[k] * cols + kDx[k];
  int deleted = 0;
  for (int y = edge; y < rows - edge; ++y) {
    unsigned char* row = img + size_t(y) * size_t(cols);
    unsigned char* p = row + edge;
    unsigned char* const end = row + (cols - edge);
    while (p < end) {
      p = static_cast<unsigned char*>(std::memchr(p, 255, size_t(end - p)));
      if (!p) break;
      unsigned f = 0, s = 0;
      for (int k = 0; k < 8; ++k) {
        const unsigned char v = p[offset[k]];
        f |= unsigned(v == 255 || v == marker) << k;
        s |= unsigned(v == 255) << k;
      }
      if (table[f | s << 8]) {
        *p = marker;
        ++deleted;
      }
      ++p;
    }
  }
  return deleted;
}

}  // namespace

CThinning::CThinning() = default;
CThinning::CThinning(const CThinning&) = default;
CThinning& CThinning::operator=(const CThinning&) = default;
CThinning::~CThinning() = default;

void CThinning::Thinning(
    unsigned int* strength, unsigned char* img, CSize size, int margin, unsigned int t) {
  const size_t count = size_t(std::max(size.cx, 0)) * size_t(std::max(size.cy, 0));
  for (size_t k = 0; k < count; ++k)
    if (strength[k] > t) img[k] = 255;
  Thinning(img, size, margin);
}

// size.cx is the number of rows and size.cy the row length. A margin below 1
// would read outside the image, so neighbourhoods always stay inside it.
void CThinning::Thinning(unsigned char* img, CSize size, int margin) {
  const int rows = size.cx, cols = size.cy;
  if (rows <= 0 || cols <= 0) return;
  const int edge = std::max(margin, 1);
  int marker = kFirstMarker;
  while (ThinPass(img, rows, cols, edge, static_cast<unsigned char>(marker)) > 0) ++marker;
  const size_t count = size_t(rows) * size_t(cols);
  for (size_t k = 0; k < count; ++k)
    if (img[k] < 255) img[k] = 0;
}

int CThinning::cconc(unsigned char* const nb) { return Connectivity(nb); }
