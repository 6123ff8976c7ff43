#include "camera/least_sq.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/safe_file.h"
#include "platform/text.h"

// The kernels below are always inlined into target_clones functions, so the
// vector-argument ABI note of GCC does not apply to any real call.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace {

using V4 = double __attribute__((vector_size(32)));

// noeq[i][j] = Σ_k (a_ki·w_k)·a_kj for `rows` (4 or 1) rows i from i0 and the
// four columns j0..j0+3, summed over k in order in registers.
template <int rows>
[[gnu::always_inline]] inline void NormalBlock(
    const double* a, const double* weight, int m, int n, int i0, int j0, double* noeq) {
  const int w = n + 1;
  V4 acc[rows] = {};
  for (int k = 0; k < m; ++k) {
    const double* r = a + k * w;
    V4 aj;
    std::memcpy(&aj, r + j0, sizeof aj);
    for (int q = 0; q < rows; ++q) acc[q] += (r[i0 + q] * weight[k]) * aj;
  }
  for (int q = 0; q < rows; ++q) std::memcpy(noeq + (i0 + q) * w + j0, &acc[q], sizeof acc[q]);
}

// The same for one row i and one column j (the columns left over at the end).
inline double NormalElement(const double* a, const double* weight, int m, int n, int i, int j) {
  const int w = n + 1;
  double s = 0.0;
  for (int k = 0; k < m; ++k) s += (a[k * w + i] * weight[k]) * a[k * w + j];
  return s;
}

// Forms noeq = [AᵀWA | AᵀWl] block by block. Without `full` only the blocks
// that reach the upper triangle are formed (the caller mirrors it).
__attribute__((target_clones("avx2", "default"))) void FormNormal(
    const double* a, const double* weight, int m, int n, bool full, double* noeq) {
  const int w = n + 1, vector_end = w - w % 4;
  int i0 = 0;
  for (; i0 + 4 <= n; i0 += 4)
    for (int j0 = full ? 0 : i0 - i0 % 4; j0 < vector_end; j0 += 4)
      NormalBlock<4>(a, weight, m, n, i0, j0, noeq);
  for (int i = i0; i < n; ++i)
    for (int j0 = full ? 0 : i - i % 4; j0 < vector_end; j0 += 4)
      NormalBlock<1>(a, weight, m, n, i, j0, noeq);
  for (int i = 0; i < n; ++i)
    for (int j = vector_end; j < w; ++j) noeq[i * w + j] = NormalElement(a, weight, m, n, i, j);
}

// Adds a_r·C·a_rᵀ to v[r] for `rows` observations (a constant 4 or 1, so the
// accumulators stay in registers): four columns of t = a·C at a time,
// summed over the rows of C, then dotted with a's four columns.
template <int rows>
[[gnu::always_inline]] inline void QuadraticForms(const double* a,
                                                  const double* c,
                                                  int n,
                                                  double* v) {
  const int w = n + 1;
  int j = 0;
  for (; j + 4 <= n; j += 4) {
    V4 acc[rows] = {};
    for (int i = 0; i < n; ++i) {
      V4 ci;
      std::memcpy(&ci, c + i * w + j, sizeof ci);
      for (int r = 0; r < rows; ++r) acc[r] += a[r * w + i] * ci;
    }
    for (int r = 0; r < rows; ++r) {
      V4 ar;
      std::memcpy(&ar, a + r * w + j, sizeof ar);
      const V4 p = acc[r] * ar;
      v[r] += (p[0] + p[1]) + (p[2] + p[3]);
    }
  }
  for (; j < n; ++j)
    for (int r = 0; r < rows; ++r) {
      double t = 0.0;
      for (int i = 0; i < n; ++i) t += a[r * w + i] * c[i * w + j];
      v[r] += t * a[r * w + j];
    }
}

// var[k] = a_k·C·a_kᵀ for every observation row k.
__attribute__((target_clones("avx2", "default"))) void ObservationVariances(
    const double* obeq, const double* c, int m, int n, double* var) {
  const int w = n + 1;
  int k = 0;
  for (; k + 4 <= m; k += 4) {
    double v[4] = {0.0, 0.0, 0.0, 0.0};
    QuadraticForms<4>(obeq + k * w, c, n, v);
    for (int r = 0; r < 4; ++r) var[k + r] = v[r];
  }
  for (; k < m; ++k) {
    double v[1] = {0.0};
    QuadraticForms<1>(obeq + k * w, c, n, v);
    var[k] = v[0];
  }
}

}  // namespace

CLeastSq::CLeastSq() = default;

CLeastSq::CLeastSq(int m, int n) { Create(m, n); }

CLeastSq::CLeastSq(int n) {
  m_nObeq = 1;
  m_nPara = n;
  m_nRowWidth = n + 1;
  m_nMatSize = n * (n + 1);
  m_Obeq.SetSize(n + 1);
  m_Weight.SetSize(1);
  m_Noeq.SetSize(m_nMatSize);
  m_Covar.SetSize(m_nMatSize);
  m_Work.SetSize(m_nMatSize);
  m_Bcor.SetSize(n);
  InitParameter(m_Obeq, 0.0);
  InitParameter(m_Weight, 1.0);
  InitParameter(m_Noeq, 0.0);
  InitParameter(m_Covar, 0.0);
  InitParameter(m_Bcor, 0.0);
}

CLeastSq::~CLeastSq() = default;

int CLeastSq::Create(int m, int n) {
  m_nObeq = m;
  m_nPara = n;
  m_nRowWidth = n + 1;
  m_nMatSize = n * (n + 1);
  m_Obeq.SetSize(m * (n + 1));
  m_Noeq.SetSize(m_nMatSize);
  m_Covar.SetSize(m_nMatSize);
  m_Work.SetSize(m_nMatSize);
  m_Bcor.SetSize(n);
  m_Weight.SetSize(m);
  m_Var.SetSize(m);
  InitParameter(m_Obeq, 0.0);
  InitParameter(m_Noeq, 0.0);
  InitParameter(m_Bcor, 0.0);
  InitParameter(m_Covar, 0.0);
  InitParameter(m_Weight, 1.0);
  InitObeq();
  return 1;
}

void CLeastSq::InitObeq() {
  m_nCurrentRow = -1;
  m_dComputationTime = 0.0;
  m_dFormTime = 0.0;
}

int CLeastSq::InitNoeq() {
  if (m_Noeq.GetSize() != m_nMatSize) return 0;
  InitParameter(m_Noeq, 0.0);
  m_dComputationTime = 0.0;
  m_dFormTime = 0.0;
  return 1;
}

int CLeastSq::InitBcor() {
  if (m_Bcor.IsEmpty()) return 0;
  return InitParameter(m_Bcor, 0.0);
}

int CLeastSq::InitParameter(CKvoArray<double, double>& a, double v) {
  for (double& x : a) x = v;
  return 1;
}

int CLeastSq::SetObeq(int i, double v) {
  if (i < 0 || i > m_nPara) return 0;
  if (i == 0 && ++m_nCurrentRow >= m_nObeq) {
    // One more observation than declared: grow by one zeroed row of weight 1.
    ++m_nObeq;
    m_Obeq.SetSize(m_nObeq * m_nRowWidth);
    m_Weight.Add(1.0);
  }
  // A column other than 0 before any row, or on a row that IncrementColumn
  // stepped past m, has no place to go.
  if (!CurrentRowExists()) return 0;
  m_Obeq[m_nCurrentRow * m_nRowWidth + i] = v;
  return 1;
}

// Only the row index moves: the row count m grows when column 0 is written.
void CLeastSq::IncrementColumn() { ++m_nCurrentRow; }

bool CLeastSq::CurrentRowExists() const { return m_nCurrentRow >= 0 && m_nCurrentRow < m_nObeq; }

int CLeastSq::SetWeight(double w) {
  if (!CurrentRowExists()) return 0;
  m_Weight[m_nCurrentRow] = w;
  return 1;
}

int CLeastSq::SetWeight(int k, double w) {
  m_Weight[k] = w;
  return 1;
}

void CLeastSq::SetNoeq(int i, int j, double v) {
  m_Noeq[i * m_nRowWidth + j] = v;
  if (j == m_nPara) m_Bcor[i] = v;
}

void CLeastSq::SetSigma(double sigma) { m_dSigma = sigma; }
void CLeastSq::SetFormTime(double seconds) { m_dFormTime = seconds; }

double CLeastSq::GetObeq(int i) {
  return CurrentRowExists() ? m_Obeq[m_nCurrentRow * m_nRowWidth + i] : 0.0;
}
double CLeastSq::GetNoeq(int i, int j) { return m_Noeq[i * m_nRowWidth + j]; }
double CLeastSq::GetBcor(int i) { return m_Bcor[i]; }
double CLeastSq::GetCovar(int i, int j) { return m_Covar[i * m_nRowWidth + j]; }
double CLeastSq::GetVar(int k) { return m_Var[k]; }
int CLeastSq::GetObeqSize() { return m_nObeq; }
int CLeastSq::GetCurrentObeqNumber() { return m_nCurrentRow + 1; }
int CLeastSq::GetDegreesOfFreedom() { return m_nObeq - m_nPara; }
double CLeastSq::GetFormTime() { return m_dFormTime; }
double CLeastSq::GetComputationTime() { return m_dComputationTime; }

unsigned long CLeastSq::time(unsigned long* t) {
  SYSTEMTIME now{};
  GetSystemTime(&now);
  const int64_t days = platform::clock::DaysFromCivil(now.wYear, now.wMonth, now.wDay);
  const unsigned long seconds =
      static_cast<unsigned long>(days * 86400 + now.wHour * 3600 + now.wMinute * 60 + now.wSecond);
  if (t) *t = seconds;
  return seconds;
}

// ---- forming -------------------------------------------------------------

int CLeastSq::Lessqu(int m, int n) {
  for (int i = 0; i < n * (n + 1); ++i) m_Noeq[i] = 0.0;
  FormNormal(m_Obeq.GetData(), m_Weight.GetData(), m, n, /*full=*/true, m_Noeq.GetData());
  return 1;
}

int CLeastSq::LessquFast(int m, int n) {
  const int w = n + 1;
  for (int i = 0; i < n * w; ++i) m_Noeq[i] = 0.0;
  double* noeq = m_Noeq.GetData();
  FormNormal(m_Obeq.GetData(), m_Weight.GetData(), m, n, /*full=*/false, noeq);
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j) noeq[j * w + i] = noeq[i * w + j];
  return 1;
}

// ---- solvers -------------------------------------------------------------

int CLeastSq::SolveTimed(int (CLeastSq::*form)(int, int), int (CLeastSq::*solve)()) {
  CheckParameterNumber();  // advisory only: a short system still gets solved
  unsigned long t0 = 0, t1 = 0;
  time(&t0);
  if (form && !(this->*form)(m_nObeq, m_nPara)) return 0;
  time(&t1);
  m_dFormTime = difftime(time_t(t1), time_t(t0));
  time(&t0);
  const int ok = (this->*solve)();
  time(&t1);
  m_dComputationTime = difftime(time_t(t1), time_t(t0));
  return ok;
}

int CLeastSq::Solve() { return SolveTimed(&CLeastSq::LessquFast, &CLeastSq::NewChores); }
int CLeastSq::PISolve() { return SolveTimed(&CLeastSq::Lessqu, &CLeastSq::PIChores); }
int CLeastSq::SolveWithSwpMat() { return SolveTimed(&CLeastSq::LessquFast, &CLeastSq::SwpMat); }

int CLeastSq::SolveWithReduc() {
  unsigned long t0 = 0, t1 = 0;
  time(&t0);
  const int ok = NewChores();
  time(&t1);
  m_dComputationTime = difftime(time_t(t1), time_t(t0));
  return ok;
}

int CLeastSq::NewChores() {
  if (!LUDivid()) return 0;
  ForwardSubstiotution();
  if (!BackwardSubstiotution()) return 0;
  if (!CalLInverse()) return 0;
  if (!CalNoeqInverse()) return 0;
  return Statistics();
}

int CLeastSq::Statistics() {
  if (m_nCurrentRow < 1) return 1;  // one row gives no redundancy to judge
  m_dSigma = CalSigma2();
  CalVarianceOfEstimate();
  CalVarianceOfObservation();
  return 1;
}

// Gaussian elimination of the square part of work = noeq without pivot
// search; the multipliers replace the eliminated elements (unit lower L),
// the upper triangle keeps U. The right-hand column is left to
// ForwardSubstiotution.
int CLeastSq::LUDivid() {
  m_Work.Copy(m_Noeq);
  const int n = m_nPara, w = m_nRowWidth;
  if (n < 2) return 1;
  double* a = m_Work.GetData();
  for (int k = 0; k < n - 1; ++k) {
    const double pivot = a[k * w + k];
    if (std::fabs(pivot) < m_dSingular) return 0;
    for (int i = k + 1; i < n; ++i) {
      const double l = a[i * w + k] / pivot;
      a[i * w + k] = l;
      for (int j = k + 1; j < n; ++j) a[i * w + j] -= l * a[k * w + j];
    }
  }
  return 1;
}

void CLeastSq::ForwardSubstiotution() {
  const int n = m_nPara, w = m_nRowWidth;
  double* a = m_Work.GetData();
  for (int i = 1; i < n; ++i) {
    double s = a[i * w + n];
    for (int k = 0; k < i; ++k) s -= a[i * w + k] * a[k * w + n];
    a[i * w + n] = s;
  }
}

int CLeastSq::BackwardSubstiotution() {
  const int n = m_nPara, w = m_nRowWidth;
  const double* a = m_Work.GetData();
  for (int i = n - 1; i >= 0; --i) {
    double s = a[i * w + n];
    for (int j = i + 1; j < n; ++j) s -= a[i * w + j] * m_Bcor[j];
    const double pivot = a[i * w + i];
    if (std::fabs(pivot) < m_dSingular) return 0;
    m_Bcor[i] = s / pivot;
  }
  return 1;
}

// Inverts the unit lower factor in place (strict lower part of work).
int CLeastSq::CalLInverse() {
  const int n = m_nPara, w = m_nRowWidth;
  double* a = m_Work.GetData();
  for (int i = 1; i < n; ++i) {
    for (int j = 0; j < i; ++j) {
      double s = a[i * w + j];
      for (int k = j + 1; k < i; ++k) s += a[i * w + k] * a[k * w + j];
      a[i * w + j] = -s;
    }
  }
  return 1;
}

// covar = U⁻¹ · L⁻¹, column by column by back substitution through U.
int CLeastSq::CalNoeqInverse() {
  const int n = m_nPara, w = m_nRowWidth;
  const double* a = m_Work.GetData();
  for (int i = 0; i < n; ++i)
    if (std::fabs(a[i * w + i]) < m_dSingular) return 0;
  double* c = m_Covar.GetData();
  for (int j = 0; j < n; ++j) {
    for (int i = n - 1; i >= 0; --i) {
      double s = i > j ? a[i * w + j] : (i == j ? 1.0 : 0.0);
      for (int k = i + 1; k < n; ++k) s -= a[i * w + k] * c[k * w + j];
      c[i * w + j] = s / a[i * w + i];
    }
  }
  return 1;
}

// Square-root-free Cholesky (L·D·Lᵀ) of noeq with the reciprocal pivots kept;
// bcor and covar are written only when every pivot passed.
int CLeastSq::PIChores() {
  const int n = m_nPara, w = m_nRowWidth;
  const double* N = m_Noeq.GetData();
  const size_t un = static_cast<size_t>(n);
  std::vector<double> L(un * un, 0.0), d(un), rd(un), y(un);
  for (int j = 0; j < n; ++j) {
    double p = N[j * w + j];
    for (int k = 0; k < j; ++k) p -= L[j * n + k] * L[j * n + k] * d[k];
    if (!(std::fabs(p) - m_dSingular > 0.0)) return 0;
    d[j] = p;
    rd[j] = 1.0 / p;
    L[j * n + j] = 1.0;
    for (int i = j + 1; i < n; ++i) {
      double s = N[i * w + j];
      for (int k = 0; k < j; ++k) s -= L[i * n + k] * L[j * n + k] * d[k];
      L[i * n + j] = s * rd[j];
    }
  }
  for (int i = 0; i < n; ++i) {  // L·y = u
    double s = N[i * w + n];
    for (int k = 0; k < i; ++k) s -= L[i * n + k] * y[k];
    y[i] = s;
  }
  for (int i = n - 1; i >= 0; --i) {  // Lᵀ·x = D⁻¹·y
    double s = y[i] * rd[i];
    for (int k = i + 1; k < n; ++k) s -= L[k * n + i] * m_Bcor[k];
    m_Bcor[i] = s;
  }
  // L⁻¹ in place (unit lower), then N⁻¹ = L⁻ᵀ·D⁻¹·L⁻¹.
  for (int i = 1; i < n; ++i)
    for (int j = 0; j < i; ++j) {
      double s = L[i * n + j];
      for (int k = j + 1; k < i; ++k) s += L[i * n + k] * L[k * n + j];
      L[i * n + j] = -s;
    }
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) {
      double s = 0.0;
      for (int k = std::max(i, j); k < n; ++k) s += L[k * n + i] * rd[k] * L[k * n + j];
      m_Covar[i * w + j] = s;
    }
  return Statistics();
}

// Gauss-Jordan sweep of the augmented matrix; deliberately no pivot test.
int CLeastSq::SwpMat() {
  m_Work.Copy(m_Noeq);
  const int n = m_nPara, w = m_nRowWidth;
  double* a = m_Work.GetData();
  for (int p = 0; p < n; ++p) {
    const double q = 1.0 / a[p * w + p];
    for (int j = 0; j < w; ++j) a[p * w + j] *= q;
    for (int r = 0; r < n; ++r) {
      if (r == p) continue;
      const double f = a[r * w + p];
      for (int j = 0; j < w; ++j) a[r * w + j] -= f * a[p * w + j];
    }
  }
  for (int i = 0; i < n; ++i) m_Bcor[i] = a[i * w + n];
  return 1;
}

// ---- checks and statistics -----------------------------------------------

int CLeastSq::CheckParameterNumber() {
  if (m_nCurrentRow < 0) return 0;
  if (m_nCurrentRow + 1 != m_nObeq) return 0;
  return m_nObeq >= m_nPara ? 1 : 0;
}

int CLeastSq::CheckNoeq() {
  for (int i = 0; i < m_nPara; ++i)
    if (std::fabs(m_Noeq[i * m_nRowWidth + i]) <= m_dSingular) return 0;
  return 1;
}

int CLeastSq::CheckWeight() {
  int below = 0;
  for (int k = 0; k < m_nObeq; ++k)
    if (m_Weight[k] < m_dSingular) ++below;
  return below == m_nObeq ? 0 : m_nPara;
}

// v_k = l_k - Σ_j a_kj·bcor_j, with four partial sums to keep the additions
// independent.
double CLeastSq::Residual(int k) const {
  const double* row = m_Obeq.GetData() + k * m_nRowWidth;
  const double* x = m_Bcor.GetData();
  double s[4] = {0.0, 0.0, 0.0, 0.0};
  int j = 0;
  for (; j + 4 <= m_nPara; j += 4)
    for (int q = 0; q < 4; ++q) s[q] += row[j + q] * x[j + q];
  for (; j < m_nPara; ++j) s[0] += row[j] * x[j];
  return row[m_nPara] - ((s[0] + s[1]) + (s[2] + s[3]));
}

double CLeastSq::CalStandard() {
  if (m_nObeq < 1) return DBL_MAX;
  double s = 0.0;
  for (int k = 0; k < m_nObeq; ++k) {
    const double v = Residual(k);
    s += v * v;
  }
  return std::sqrt(s / m_nObeq);
}

double CLeastSq::CalStandard2() {
  double s = 0.0;
  for (int k = 0; k < m_nObeq; ++k) {
    const double v = Residual(k);
    s += v * v;
  }
  const int dof = m_nObeq - m_nPara;
  return std::sqrt(s / (dof < 1 ? m_nObeq : dof));
}

double CLeastSq::CalSigma2() {
  double s = 0.0;
  for (int k = 0; k < m_nObeq; ++k) {
    const double v = Residual(k);
    s += m_Weight[k] * v * v;
  }
  const int dof = m_nObeq - m_nPara;
  return s / (dof < 1 ? m_nObeq : dof);
}

void CLeastSq::CalVarianceOfEstimate() {
  for (double& c : m_Covar) c *= m_dSigma;
}

void CLeastSq::CalVarianceOfObservation() {
  m_Var.SetSize(m_nObeq);
  ObservationVariances(m_Obeq.GetData(), m_Covar.GetData(), m_nObeq, m_nPara, m_Var.GetData());
}

// ---- diagnostics -----------------------------------------------------------

int CLeastSq::SaveErrorNoeqStatus(int col, int row) {
  platform::SafeFile file;
  if (!file.Open(L"\\Noeq.txt", CFile::modeCreate | CFile::modeWrite)) return 0;
  std::string text = platform::FormatA("Col:%d Row:%d\n", col, row);
  for (int r = 0; r < col; ++r) {
    for (int c = 0; c < row; ++c) {
      const int at = r * m_nRowWidth + c;
      if (at < 0 || at >= m_Noeq.GetSize()) break;  // beyond the matrix: nothing to show
      const double v = m_Noeq[at];
      if (r == c) text += v < m_dSingular ? "*" : "#";
      text += platform::FormatA("%.1le ", v);
    }
    text += "\n";
  }
  return file.Write(text.data(), UINT(text.size())) && file.Commit() ? 1 : 0;
}

int CLeastSq::SolveBuiltIn(const double* rows, int m, int n, const double* expected) {
  CLeastSq ls(m, n);
  for (int k = 0; k < m; ++k)
    for (int j = 0; j <= n; ++j) ls.SetObeq(j, rows[k * (n + 1) + j]);
  if (!ls.Solve()) return 0;
  for (int j = 0; j < n; ++j)
    if (std::fabs(ls.GetBcor(j) - expected[j]) > 1e-9 * (1.0 + std::fabs(expected[j]))) return 0;
  return 1;
}

// Straight line through four points (the textbook example): y = 1 + 2x.
int CLeastSq::TestBook() {
  const double rows[] = {1, 0, 1, 1, 1, 3, 1, 2, 5, 1, 3, 7};
  const double x[] = {1, 2};
  return SolveBuiltIn(rows, 4, 2, x);
}

// A 3 x 3 symmetric system solved through both Cholesky-type solvers.
int CLeastSq::TestChores() {
  CLeastSq ls(3);
  const double N[3][4] = {{4, 2, 0, 8}, {2, 5, 1, 15}, {0, 1, 3, 11}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) ls.SetNoeq(i, j, N[i][j]);
  if (!ls.SolveWithReduc()) return 0;
  const double x[] = {1, 2, 3};
  for (int j = 0; j < 3; ++j)
    if (std::fabs(ls.GetBcor(j) - x[j]) > 1e-12) return 0;
  return 1;
}

// Cubic through 31 exact samples: l = 0.5 - x + 0.25x² + 0.125x³.
int CLeastSq::TestData31() {
  std::vector<double> rows;
  for (int k = 0; k < 31; ++k) {
    const double x = -1.5 + 0.1 * k;
    rows.insert(rows.end(), {1, x, x * x, x * x * x, 0.5 - x + 0.25 * x * x + 0.125 * x * x * x});
  }
  const double c[] = {0.5, -1, 0.25, 0.125};
  return SolveBuiltIn(rows.data(), 31, 4, c);
}

// Four equations, four unknowns, exactly determined.
int CLeastSq::TestData4() {
  const double rows[] = {2, 1, 0, 0, 4, 1, 3, 1, 0, 10, 0, 1, 4, 1, 18, 0, 0, 1, 5, 23};
  const double x[] = {1, 2, 3, 4};
  return SolveBuiltIn(rows, 4, 4, x);
}

// The covariance of a well-conditioned system times its normal matrix is I.
int CLeastSq::TestInvers() {
  CLeastSq ls(3);
  const double N[3][4] = {{4, 1, 0.5, 1}, {1, 3, 0.25, 1}, {0.5, 0.25, 2, 1}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) ls.SetNoeq(i, j, N[i][j]);
  if (!ls.SolveWithReduc()) return 0;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      double s = 0.0;
      for (int k = 0; k < 3; ++k) s += ls.GetCovar(i, k) * N[k][j];
      if (std::fabs(s - (i == j ? 1.0 : 0.0)) > 1e-12) return 0;
    }
  return 1;
}
