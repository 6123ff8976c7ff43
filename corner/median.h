#pragma once
// CMedian: 3 x 3 or 5 x 5 median filter of an 8-bit grey image held as a
// row-major byte array (one byte a pixel, no row padding).
#include "platform/export.h"
#include "platform/size.h"

class SURVEYCAM_API CMedian {
 public:
  CMedian();
  CMedian(const CMedian& o);
  CMedian& operator=(const CMedian& o);
  virtual ~CMedian();

  // Window size: 3 or 5; any other value is ignored.
  void SetParam(int n);
  int GetParam() const { return m_nWindow; }
  // Median of each window whose centre lies at least margin pixels (margin + 1
  // for 5 x 5) inside the border; size.cx is the row length, size.cy the
  // number of rows. dst outside that rectangle keeps its contents; src and dst
  // must differ. Always 1.
  int Median_Fliter(unsigned char* src, unsigned char* dst, CSize size, int margin);

 protected:
  // Alternatives kept beside the filter (it does not use them).
  unsigned char Median_Value(unsigned char* const v);
  unsigned char Median_Value55(unsigned char* const v);
  unsigned char smooth(unsigned char* const v);
  void quickSort(unsigned char* v, int left, int right);
  void exchangeOfValues(unsigned char* a, unsigned char* b);
  unsigned char insertionSort(unsigned char* v, int n);

  int m_nWindow;
};
