#pragma once
// CSobel: squared Sobel gradient magnitude of an 8-bit grey image (row-major
// bytes, no padding), keeping only pixels at or above a threshold.
#include "platform/export.h"
#include "platform/size.h"

class SURVEYCAM_API CSobel {
 public:
  CSobel();
  CSobel(const CSobel& o);
  CSobel& operator=(const CSobel& o);
  virtual ~CSobel();

  // Minimum squared magnitude kept (default 2000).
  void SetParam(unsigned int t);
  unsigned int GetParam() const { return m_nThreshold; }
  // Mean kept squared magnitude of the last successful Sobel, rounded down to
  // a multiple of 1000.
  unsigned int GetMeanStrength() const { return m_nMeanStrength; }
  // dst(y, x) = Gx² + Gy² where that is at least the threshold, for pixels at
  // least margin inside the border (size.cx = row length, size.cy = rows);
  // other pixels of dst are untouched. 1 when some pixel was kept, else 0.
  int Sobel(unsigned char* src, unsigned int* dst, CSize size, int margin);

 protected:
  unsigned int m_nThreshold;
  unsigned int m_nMeanStrength;
};
