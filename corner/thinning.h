#pragma once
// CThinning: binarises edge strengths and thins the 255-valued regions of an
// 8-bit image to one-pixel-wide lines (Hilditch's thinning with pass markers).
//
// Note the size reading: size.cx is the number of rows and size.cy the row
// length, the other way round from CMedian and CSobel.
#include "platform/export.h"
#include "platform/size.h"

class SURVEYCAM_API CThinning {
 public:
  CThinning();
  CThinning(const CThinning& o);
  CThinning& operator=(const CThinning& o);
  virtual ~CThinning();

  // img(k) = 255 wherever strength(k) > t over the whole image (other pixels
  // keep their value), then thins img in place.
  void Thinning(unsigned int* strength, unsigned char* img, CSize size, int margin, unsigned int t);
  // Thins a binary image (foreground 255) in place; the result holds 0 and 255.
  void Thinning(unsigned char* img, CSize size, int margin);
  // 8-connectivity number of a nine-entry neighbourhood (entries 0..7 from
  // the right counter-clockwise, entry 8 = entry 0; values 0 or 255).
  int cconc(unsigned char* const nb);
};
