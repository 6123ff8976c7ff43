#include "corner/hough.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double PI = 3.141592653589793;

}  // namespace

CHough::CHough()
    : m_nThetaSteps(180),
      m_dRhoStep(1.0),
      m_nMinVotes(10),
      m_nSuppressTheta(5),
      m_nSuppressRho(3),
      m_dBand(1.5),
      m_dMaxGap(4.0),
      m_dMinLength(8.0),
      m_Size(0, 0),
      m_nRhoCells(0),
      m_dRhoMax(0.0) {}

CHough::CHough(const CHough& o) = default;
CHough& CHough::operator=(const CHough& o) = default;
CHough::~CHough() = default;

void CHough::SetResolution(int thetaSteps, double rhoStep) {
  if (thetaSteps < 36 || thetaSteps > 720 || !(rhoStep >= 0.25 && rhoStep <= 4.0)) return;
  m_nThetaSteps = thetaSteps;
  m_dRhoStep = rhoStep;
  m_Size = CSize(0, 0);  // tables follow at the next Transform
}

void CHough::SetPeakParam(int minVotes, int suppressTheta, int suppressRho) {
  m_nMinVotes = std::max(minVotes, 1);
  m_nSuppressTheta = std::max(suppressTheta, 1);
  m_nSuppressRho = std::max(suppressRho, 1);
}

void CHough::SetSegmentParam(double band, double maxGap, double minLength) {
  if (band > 0.0) m_dBand = band;
  if (maxGap >= 0.0) m_dMaxGap = maxGap;
  if (minLength >= 0.0) m_dMinLength = minLength;
}

void CHough::Tables() {
  const double diag = std::hypot(double(m_Size.cx), double(m_Size.cy));
  m_nRhoCells = 2 * int(std::ceil(diag / m_dRhoStep)) + 1;
  const int halfCells = (m_nRhoCells - 1) / 2;  // exact: the cell count is odd
  m_dRhoMax = halfCells * m_dRhoStep;
  m_Cos.resize(size_t(m_nThetaSteps));
  m_Sin.resize(size_t(m_nThetaSteps));
  for (int t = 0; t < m_nThetaSteps; ++t) {
    const double theta = t * PI / m_nThetaSteps;
    m_Cos[size_t(t)] = std::cos(theta);
    m_Sin[size_t(t)] = std::sin(theta);
  }
}

int CHough::Transform(const unsigned char* img, CSize size, int margin) {
  m_Peaks.clear();
  if (size != m_Size || m_Cos.empty()) {
    m_Size = size;
    Tables();
  }
  m_Acc.assign(size_t(m_nThetaSteps) * size_t(m_nRhoCells), 0);
  m_EdgeX.clear();
  m_EdgeY.clear();
  if (!img || size.cx <= 0 || size.cy <= 0) return 0;
  const double inv = 1.0 / m_dRhoStep;
  const double shift = m_dRhoMax * inv + 0.5;  // rounds to the nearest cell
  m_EdgeX.clear();
  m_EdgeY.clear();
  for (int y = margin; y < size.cy - margin; ++y) {
    const unsigned char* row = img + size_t(y) * size_t(size.cx);
    for (int x = margin; x < size.cx - margin; ++x) {
      if (row[x] != 255) continue;
      m_EdgeX.push_back(x);
      m_EdgeY.push_back(y);
      int* cell = m_Acc.data();
      for (int t = 0; t < m_nThetaSteps; ++t, cell += m_nRhoCells) {
        const int r = int((x * m_Cos[size_t(t)] + y * m_Sin[size_t(t)]) * inv + shift);
        ++cell[r];
      }
    }
  }
  return int(m_EdgeX.size());
}

int CHough::GetVotes(int thetaIndex, int rhoIndex) const {
  if (thetaIndex < 0 || thetaIndex >= m_nThetaSteps || rhoIndex < 0 || rhoIndex >= m_nRhoCells)
    return 0;
  if (m_Acc.empty()) return 0;
  return m_Acc[size_t(thetaIndex) * size_t(m_nRhoCells) + size_t(rhoIndex)];
}

bool CHough::Suppressed(const Peak& p) const {
  for (const Peak& q : m_Peaks) {
    const int dt = std::abs(p.t - q.t);
    if (dt <= m_nSuppressTheta && std::abs(p.r - q.r) <= m_nSuppressRho) return true;
    const int mirrored = m_nRhoCells - 1 - q.r;
    if (m_nThetaSteps - dt <= m_nSuppressTheta && std::abs(p.r - mirrored) <= m_nSuppressRho)
      return true;
  }
  return false;
}

// Repeatedly takes the strongest cell that no accepted peak suppresses, then
// withdraws the votes of the edge pixels on its line: a line's pixels also
// vote for every line crossing it at a small angle, and those side lobes
// would otherwise come back as peaks of their own.
int CHough::FindPeaks(int maxPeaks) {
  m_Peaks.clear();
  if (m_Acc.empty() || maxPeaks <= 0) return 0;
  m_Work = m_Acc;
  std::vector<char> withdrawn(m_EdgeX.size(), 0);
  while (int(m_Peaks.size()) < maxPeaks) {
    Peak best{0, 0, m_nMinVotes - 1};
    for (int t = 0; t < m_nThetaSteps; ++t) {
      const int* row = m_Work.data() + size_t(t) * size_t(m_nRhoCells);
      for (int r = 0; r < m_nRhoCells; ++r) {
        if (row[r] > best.votes && !Suppressed({t, r, row[r]})) best = {t, r, row[r]};
      }
    }
    if (best.votes < m_nMinVotes) break;
    m_Peaks.push_back(best);
    Withdraw(best, withdrawn);
  }
  return int(m_Peaks.size());
}

void CHough::Withdraw(const Peak& p, std::vector<char>& withdrawn) {
  const double rho = RhoOf(p.r);
  const double c = m_Cos[size_t(p.t)], s = m_Sin[size_t(p.t)];
  const double inv = 1.0 / m_dRhoStep;
  const double shift = m_dRhoMax * inv + 0.5;
  for (size_t k = 0; k < m_EdgeX.size(); ++k) {
    const double x = m_EdgeX[k], y = m_EdgeY[k];
    if (withdrawn[k] || std::fabs(x * c + y * s - rho) > m_dBand) continue;
    withdrawn[k] = 1;
    int* cell = m_Work.data();
    for (int t = 0; t < m_nThetaSteps; ++t, cell += m_nRhoCells) {
      --cell[int((x * m_Cos[size_t(t)] + y * m_Sin[size_t(t)]) * inv + shift)];
    }
  }
}

int CHough::GetPeak(int i, double& rho, double& theta, int& votes) const {
  if (i < 0 || i >= int(m_Peaks.size())) return 0;
  const Peak& p = m_Peaks[size_t(i)];
  rho = RhoOf(p.r);
  theta = p.t * PI / m_nThetaSteps;
  votes = p.votes;
  return 1;
}

void CHough::Runs(double rho,
                  double theta,
                  std::vector<double>& along,
                  CKvoArray<CLineSeg, CLineSeg&>& segs) const {
  std::sort(along.begin(), along.end());
  const double c = std::cos(theta), s = std::sin(theta);
  size_t first = 0;
  for (size_t i = 1; i <= along.size(); ++i) {
    if (i < along.size() && along[i] - along[i - 1] <= m_dMaxGap) continue;
    const double t0 = along[first], t1 = along[i - 1];
    const int count = int(i - first);
    // Long enough, and dense enough to be a line rather than scattered
    // crossings (a diagonal 8-connected line has 0.71 pixels a pixel).
    if (t1 - t0 >= m_dMinLength && count >= 0.5 * (t1 - t0)) {
      CLineSeg seg(rho * c - t0 * s, rho * s + t0 * c, rho * c - t1 * s, rho * s + t1 * c);
      seg.SetLine(rho, theta);  // exact normal form, not rebuilt from the ends
      seg.m_nVotes = count;
      segs.Add(seg);
    }
    first = i;
  }
}

int CHough::Extract(const unsigned char* img,
                    CSize size,
                    int margin,
                    CKvoArray<CLineSeg, CLineSeg&>& segs) {
  if (!img) return 0;
  m_EdgeX.clear();
  m_EdgeY.clear();
  for (int y = margin; y < size.cy - margin; ++y) {
    for (int x = margin; x < size.cx - margin; ++x) {
      if (img[size_t(y) * size_t(size.cx) + size_t(x)] != 255) continue;
      m_EdgeX.push_back(x);
      m_EdgeY.push_back(y);
    }
  }
  const int before = segs.GetSize();
  std::vector<double> along;
  for (int i = 0; i < GetPeakCount(); ++i) {
    double rho = 0.0, theta = 0.0;
    int votes = 0;
    GetPeak(i, rho, theta, votes);
    const double c = std::cos(theta), s = std::sin(theta);
    along.clear();
    for (size_t k = 0; k < m_EdgeX.size(); ++k) {
      const double x = m_EdgeX[k], y = m_EdgeY[k];
      if (std::fabs(x * c + y * s - rho) <= m_dBand) along.push_back(-x * s + y * c);
    }
    if (!along.empty()) Runs(rho, theta, along, segs);
  }
  return segs.GetSize() - before;
}

int CHough::Detect(const unsigned char* img,
                   CSize size,
                   int margin,
                   int maxPeaks,
                   CKvoArray<CLineSeg, CLineSeg&>& segs) {
  if (Transform(img, size, margin) == 0) return 0;
  if (FindPeaks(maxPeaks) == 0) return 0;
  return Extract(img, size, margin, segs);
}
