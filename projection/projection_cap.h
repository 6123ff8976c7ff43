#pragma once
// CProjection_Cap: a small fixed-function 3-D pipeline in homogeneous
// coordinates.
//
// Conventions: 4 x 4 matrices are row-major and act on column vectors
// (x, y, z, 1): v' = M·v. Model operations pre-multiply, so each new
// operation applies to a point after those already in the model matrix.
// Rotations are in radians. Screen coordinates are in the units of the
// frustum's left/right/top/bottom.
#include "platform/export.h"

enum MATRIX_MODE : int {
  MATRIX_MODEL = 0,
  MATRIX_PROJECTION = 1,
};

class SURVEYCAM_API CProjection_Cap {
 public:
  CProjection_Cap();
  CProjection_Cap(const CProjection_Cap& o);
  CProjection_Cap& operator=(const CProjection_Cap& o);
  virtual ~CProjection_Cap();

  // Model (0) or projection (1) matrix to the identity; others are ignored.
  void InitMatrix(MATRIX_MODE mode);
  // Perspective frustum (note: top before bottom) and the mapping of
  // normalised device coordinates -1..1 back to left..right, bottom..top.
  void SetPrjMatrix(double left, double right, double top, double bottom, double near, double far);
  void Translate(double tx, double ty, double tz);
  void Scale(double sx, double sy, double sz);
  void RotateX(double a);
  void RotateY(double a);
  void RotateZ(double a);
  // TransMatrix := ProjMatrix·ModelMatrix; with withInverse also its inverse
  // (0 when the determinant is exactly 0, InvMatrix then unchanged).
  int BeginTrans(int withInverse);
  // Point to screen; visible is 0 outside the clip volume (the point is still
  // projected). 0 when w is exactly 0 (outputs untouched).
  int Transform(const double& x,
                const double& y,
                const double& z,
                double& sx,
                double& sy,
                double& sz,
                int& visible);
  // Screen position and depth back to the point. Always 1.
  int Inverse(
      const double& sx, const double& sy, const double& sz, double& x, double& y, double& z);

  double ModelMatrix[16];
  double ProjMatrix[16];
  double TransMatrix[16];
  double InvMatrix[16];
  double ScaleX;
  double OffsetX;
  double ScaleY;
  double OffsetY;

 protected:
  void NorToScr(const double& nx, const double& ny, double& sx, double& sy);
  void ScrToNor(const double& sx, const double& sy, double& nx, double& ny);
  void ApplyMatrix(int n, const double* M, double* v);
  void MatrixMul2(int n, const double* A, const double* B, double* C);
  double lu(int n, double* a, int* ip);
  double matinv(int n, double* a, double* a_inv);

 private:
  void Copy(const CProjection_Cap& o);
  // ModelMatrix := M·ModelMatrix.
  void PreMultiplyModel(const double* M);
};
