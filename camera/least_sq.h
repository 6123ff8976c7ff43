#pragma once
// CLeastSq: the library's least-squares adjustment engine.
//
// Conventions: all matrices are row-major arrays of doubles. The observation
// matrix obeq has m rows of n + 1 columns (n coefficients, then the observed
// value l). The normal equations noeq are the augmented n x (n + 1) matrix
// [AtWA | AtWl]; covar and work share its row stride n + 1. No solver searches
// for a pivot: every division by a pivot is guarded by one singularity
// threshold, so a singular or nearly singular system is refused with 0.
#include "platform/export.h"
#include "platform/kvo_array.h"

class SURVEYCAM_API CLeastSq {
 public:
  CLeastSq();
  CLeastSq(int m, int n);
  // A single observation row of n unknowns (m = 1); var stays empty.
  explicit CLeastSq(int n);
  virtual ~CLeastSq();

  // Sizes every array for m observations and n unknowns and clears them.
  int Create(int m, int n);
  void InitObeq();
  int InitNoeq();
  int InitBcor();
  int InitParameter(CKvoArray<double, double>& a, double v);

  // Column i (0..n, n = observed value) of the current row; column 0 starts a
  // new row and grows m when the rows run out. 0 for a bad column or when the
  // current row is not one of the m rows.
  int SetObeq(int i, double v);
  // Starts a new row without writing column 0; m does not grow, so stepping
  // past the last row leaves nothing to write until column 0 is written.
  void IncrementColumn();
  int SetWeight(double w);
  int SetWeight(int k, double w);
  // Writes the augmented normal matrix directly (reduced normal equations);
  // column n also goes to bcor.
  void SetNoeq(int i, int j, double v);
  void SetSigma(double sigma);
  void SetFormTime(double seconds);

  double GetObeq(int i);
  double GetNoeq(int i, int j);
  double GetBcor(int i);
  double GetCovar(int i, int j);
  double GetVar(int k);
  double GetSigma() const { return m_dSigma; }
  int GetObeqSize();
  int GetCurrentObeqNumber();
  int GetDegreesOfFreedom();
  int GetParameterSize() const { return m_nPara; }
  double GetFormTime();
  double GetComputationTime();

  // Solvers: 1 on success, 0 when forming or a pivot test fails.
  int Solve();
  int PISolve();
  int SolveWithSwpMat();
  int SolveWithReduc();

  int CheckParameterNumber();
  int CheckNoeq();
  int CheckWeight();
  double CalStandard();
  double CalStandard2();
  double CalSigma2();
  void CalVarianceOfEstimate();
  void CalVarianceOfObservation();

  // Writes noeq's top-left col x row block to "Noeq.txt" in the device root.
  int SaveErrorNoeqStatus(int col, int row);

  // Forming the normal equations from the first m rows and n unknowns.
  int Lessqu(int m, int n);
  int LessquFast(int m, int n);

  // Debugging aids: the Test members solve fixed example systems and return
  // 1 when the solution is the known one; the Display members do nothing.
  int TestBook();
  int TestChores();
  int TestData31();
  int TestData4();
  int TestInvers();
  void DisplayBcor() {}
  void DisplayNoeq() {}
  void DisplayObeq() {}
  void DisplayUnitMatrix() {}
  void DisplayWorkMemory(CKvoArray<double, double>&) {}

 protected:
  int NewChores();
  int PIChores();
  int SwpMat();
  int LUDivid();
  void ForwardSubstiotution();
  int BackwardSubstiotution();
  int CalLInverse();
  int CalNoeqInverse();
  int Statistics();
  // Seconds count of the platform's system clock, stored in *t and returned.
  unsigned long time(unsigned long* t);

  double m_dSigma = 0.0;
  int m_nObeq = 0;
  int m_nPara = 0;
  int m_nRowWidth = 0;
  int m_nMatSize = 0;
  int m_nCurrentRow = -1;
  double m_dComputationTime = 0.0;
  double m_dFormTime = 0.0;
  double m_dSingular = 2.2250738585072014e-307;
  CKvoArray<double, double> m_Obeq;
  CKvoArray<double, double> m_Noeq;
  CKvoArray<double, double> m_Weight;
  CKvoArray<double, double> m_Bcor;
  CKvoArray<double, double> m_Covar;
  CKvoArray<double, double> m_Work;
  CKvoArray<double, double> m_Var;

 private:
  bool CurrentRowExists() const;
  int SolveTimed(int (CLeastSq::*form)(int, int), int (CLeastSq::*solve)());
  double Residual(int k) const;
  int SolveBuiltIn(const double* rows, int m, int n, const double* expected);
};
