#pragma once
// CHough: straight-line Hough transform of a thinned binary edge image
// (row-major bytes, no padding, edge pixels 255), peak picking with
// non-maximum suppression, and the segments that lie along each peak line.
//
// Conventions: as CLineSeg: x to the right, y down, pixel centres at whole
// numbers, lines x cos(theta) + y sin(theta) = rho with theta in [0, pi).
// The accumulator has one cell per theta step (pi / theta steps) and per rho
// step; rho runs symmetrically over +-(image diagonal), so the cell of
// (rho, theta + pi) is the mirrored rho cell of theta. size.cx is the row
// length and size.cy the number of rows, as CMedian and CSobel read it.
#include <vector>

#include "corner/line_seg.h"
#include "platform/export.h"
#include "platform/kvo_array.h"
#include "platform/size.h"

class SURVEYCAM_API CHough {
 public:
  CHough();
  CHough(const CHough& o);
  CHough& operator=(const CHough& o);
  virtual ~CHough();

  // Accumulator resolution: theta steps over half a turn (36..720) and rho
  // step in pixels (0.25..4). Values outside are ignored.
  void SetResolution(int thetaSteps, double rhoStep);
  // Peaks need at least minVotes votes; a peak suppresses weaker ones within
  // suppressTheta steps and suppressRho cells (both at least 1).
  void SetPeakParam(int minVotes, int suppressTheta, int suppressRho);
  // Segments: edge pixels within band pixels of a peak line belong to it; a
  // run of them along the line ends at a gap longer than maxGap pixels, and
  // runs shorter than minLength pixels are dropped.
  void SetSegmentParam(double band, double maxGap, double minLength);

  // Votes every 255 pixel at least margin pixels inside the border. Returns
  // the number of pixels that voted; the accumulator is cleared first.
  int Transform(const unsigned char* img, CSize size, int margin);
  // Picks up to maxPeaks peaks, strongest first: each is the strongest cell
  // outside the neighbourhoods of the peaks before it (non-maximum
  // suppression, across theta = 0 / pi too), counted after the pixels on
  // the earlier peaks' lines (within the segment band) withdrew their votes.
  // Returns how many were found.
  int FindPeaks(int maxPeaks);
  int GetPeakCount() const { return int(m_Peaks.size()); }
  // Line of peak i (rho in pixels, theta in radians) and its votes; 0 when i
  // is out of range.
  int GetPeak(int i, double& rho, double& theta, int& votes) const;
  // Votes of one cell (0 outside the accumulator), for inspection.
  int GetVotes(int thetaIndex, int rhoIndex) const;
  int GetThetaSteps() const { return m_nThetaSteps; }
  int GetRhoCells() const { return m_nRhoCells; }

  // Appends the segments along every peak line of the last FindPeaks, from
  // the edge pixels of img (the image of the last Transform). Each segment
  // carries the number of its edge pixels in m_nVotes. Returns how many were
  // appended.
  int Extract(const unsigned char* img,
              CSize size,
              int margin,
              CKvoArray<CLineSeg, CLineSeg&>& segs);
  // Transform, FindPeaks and Extract in one; returns the number of segments.
  int Detect(const unsigned char* img,
             CSize size,
             int margin,
             int maxPeaks,
             CKvoArray<CLineSeg, CLineSeg&>& segs);

 protected:
  struct Peak {
    int t;
    int r;
    int votes;
  };
  double RhoOf(int r) const { return r * m_dRhoStep - m_dRhoMax; }
  bool Suppressed(const Peak& p) const;
  // Takes the votes of the edge pixels on peak p's line out of m_Work.
  void Withdraw(const Peak& p, std::vector<char>& withdrawn);
  void Tables();
  // The runs of edge pixels along one line (positions along it, sorted).
  void Runs(double rho,
            double theta,
            std::vector<double>& along,
            CKvoArray<CLineSeg, CLineSeg&>& segs) const;

  int m_nThetaSteps;
  double m_dRhoStep;
  int m_nMinVotes;
  int m_nSuppressTheta;
  int m_nSuppressRho;
  double m_dBand;
  double m_dMaxGap;
  double m_dMinLength;

  CSize m_Size;
  int m_nRhoCells;
  double m_dRhoMax;
  std::vector<int> m_Acc;   // m_nThetaSteps rows of m_nRhoCells cells
  std::vector<int> m_Work;  // the accumulator as peak picking withdraws votes
  std::vector<double> m_Cos;
  std::vector<double> m_Sin;
  std::vector<Peak> m_Peaks;
  std::vector<int> m_EdgeX;  // edge pixels of the last Transform or Extract
  std::vector<int> m_EdgeY;
};
