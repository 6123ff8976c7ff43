#pragma once
// CPrcCorner: finds the corner of an object nearest to a tapped point, so
// that the telescope can be aimed at it.
//
// A square window around the tap is cut out of the picture and greyed
// (luminance trunc(0.3 R + 0.59 G + 0.11 B)); CMedian removes noise, CSobel
// keeps the strong edges and CThinning thins them to one-pixel lines, on
// which CHough finds straight segments. Each segment's line is then fitted
// again, to sub-pixel accuracy, through the gradient of the grey window
// (pixels across the edge weighted by their gradient magnitude, only where
// the gradient is square to the line). Two segments whose lines cross at a
// large enough angle form a corner where the crossing lies on both segments
// or near their ends; the corner nearest to the tap wins.
//
// Conventions: picture pixels, x to the right and y down (rows counted from
// the top whatever the bitmap's row order), the centre of pixel (i, j) at
// (i, j). Window pixels outside the picture repeat the nearest border pixel,
// so a picture's edge is never taken for an object's.
#include <vector>

#include "corner/hough.h"
#include "corner/line_seg.h"
#include "corner/median.h"
#include "corner/sobel.h"
#include "corner/thinning.h"
#include "platform/export.h"
#include "platform/kvo_array.h"
#include "platform/point.h"
#include "platform/rect.h"
#include "platform/size.h"

class CDibEx;

class SURVEYCAM_API CPrcCorner {
 public:
  static constexpr int kDefaultWindow = 96;

  CPrcCorner();
  CPrcCorner(const CPrcCorner& o);
  CPrcCorner& operator=(const CPrcCorner& o);
  virtual ~CPrcCorner();

  // Side of the search window in pixels: even, 32..256; other values are
  // ignored.
  void SetWindowSize(int n);
  int GetWindowSize() const { return m_nWindow; }
  // Smallest angle between two lines that may form a corner, degrees in
  // (0, 90]; other values are ignored.
  void SetMinAngle(double degrees);
  double GetMinAngle() const { return m_dMinAngle; }
  // How far beyond a segment's end (pixels, >= 0) the crossing may lie: the
  // thinned edges stop short of a corner by a pixel or two.
  void SetEndTolerance(double pixels);
  // Smallest squared Sobel magnitude an edge needs (16 x contrast squared
  // for a step edge); weaker edges are texture, not objects.
  void SetEdgeThreshold(unsigned int threshold);

  // Finds the corner nearest to tap in an 8-bit or 24-bit picture. 1 with
  // the corner in (x, y), picture pixels; 0 when the tap is outside the
  // picture, the picture has no pixels of those depths, or no corner lies in
  // the window (x, y untouched).
  int FindCorner(CDibEx& image, CPoint tap, double& x, double& y);
  // The same on a grey picture: row-major bytes without padding, size.cx the
  // row length and size.cy the number of rows.
  int FindCorner(const unsigned char* grey, CSize size, CPoint tap, double& x, double& y);

  // The refined segments of the last search (picture pixels).
  int GetLineCount() const { return m_Lines.GetSize(); }
  const CLineSeg& GetLine(int i) const { return m_Lines[i]; }
  // The window of the last search (picture pixels; may reach outside).
  CRect GetSearchRect() const { return m_rcSearch; }

 protected:
  struct EdgePoint {
    double x;
    double y;
    double w;
  };
  // Cuts the window around the tap out of a picture read by `pixel`.
  template <class PixelFn>
  void CutWindow(CSize size, CPoint tap, PixelFn pixel);
  // Median, Sobel and thinning of the window into m_Edge; false without
  // strong edges.
  bool FindEdges();
  // Gradients of the grey window (Sobel on the unfiltered pixels).
  void Gradients();
  // Pixels across a segment's edge, weighted by gradient magnitude.
  void Collect(const CLineSeg& seg, double band, std::vector<EdgePoint>& pts) const;
  // Fits seg through its edge points, leaving out those within `keepOff`
  // pixels of `other` (when given). false when too few points remain.
  bool FitSegment(CLineSeg& seg,
                  const std::vector<EdgePoint>& pts,
                  const CLineSeg* other,
                  double keepOff) const;
  // The crossing nearest to the window centre over all segment pairs.
  bool PickCorner(double& x, double& y);

  int m_nWindow;
  double m_dMinAngle;
  double m_dEndTol;
  unsigned int m_nEdgeThreshold;
  int m_nMaxLines;

  CMedian m_Median;
  CSobel m_Sobel;
  CThinning m_Thinning;
  CHough m_Hough;

  CRect m_rcSearch;
  CKvoArray<CLineSeg, CLineSeg&> m_Lines;  // window pixels during a search
  std::vector<std::vector<EdgePoint>> m_Points;
  std::vector<unsigned char> m_Grey;
  std::vector<unsigned char> m_Smooth;
  std::vector<unsigned int> m_Strength;
  std::vector<unsigned char> m_Edge;
  std::vector<int> m_Gx;
  std::vector<int> m_Gy;
};
