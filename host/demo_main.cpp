// surveycam-demo: reads a site point file and prints, for every point, its
// horizontal and zenith angle seen from the station, in D.MMSS.
//
// Site file convention (a comma-separated point file, survey axes, metres):
//   Name,X,Y,Z[,Code[,Num]]   X = northing, Y = easting, Z = height
// The station is the first point whose Code is "STN" (else the first point of
// the file); its Num column holds the instrument height above the station
// mark in millimetres. Codes of the other points: "CTRL" a control point,
// "TGT" a survey target; anything else is shown as a plain point.
//
// Horizontal angles count clockwise from north (from the first survey axis
// towards the second), zenith angles from straight up.
#include <cmath>
#include <cstdio>
#include <string>

#include "surveycam.h"

namespace host {
namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

int FindStation(const PointArray& points) {
  for (int i = 0; i < points.GetSize(); ++i)
    if (points[i].Code == L"STN") return i;
  return 0;
}

const char* Describe(const CXYZ& p) {
  if (p.Code == L"CTRL") return "control point";
  if (p.Code == L"TGT") return "survey target";
  return "point";
}

std::string Utf8(const CKvoString& text) { return platform::WideToUtf8(text.c_str()); }

void PrintPoint(const CXYZ& station, double instrumentHeight, const CXYZ& p) {
  double v = 0.0, h = 0.0;
  if (!CCalcXYZHV::XYZToHV(station, p, instrumentHeight, v, h)) {
    std::printf("%-8s %-5s %-14s  coincides with the station in plan\n",
                Utf8(p.Name).c_str(),
                Utf8(p.Code).c_str(),
                Describe(p));
    return;
  }
  const double distance = std::hypot(p.X - station.X, p.Y - station.Y);
  std::printf("%-8s %-5s %-14s  %10.4f  %10.4f  %10.3f\n",
              Utf8(p.Name).c_str(),
              Utf8(p.Code).c_str(),
              Describe(p),
              CCalcXYZHV::Angle100To60(h, /*wrap=*/1),
              CCalcXYZHV::Angle100To60(v, /*wrap=*/0),
              distance);
}

int Run(const char* sitePath) {
  PointArray points;
  const std::wstring path = platform::Utf8ToWide(sitePath);
  if (!ReadCSVFile(path.c_str(), points, /*mustExist=*/1) || points.GetSize() == 0) {
    std::fprintf(stderr, "surveycam-demo: cannot read points from %s\n", sitePath);
    return 1;
  }
  const int stationIndex = FindStation(points);
  const CXYZ& station = points[stationIndex];
  const double instrumentHeight = station.Num * 0.001;
  std::printf("station %s at N %.3f E %.3f Z %.3f, instrument height %.3f m\n",
              Utf8(station.Name).c_str(),
              station.X,
              station.Y,
              station.Z,
              instrumentHeight);
  std::printf("%-8s %-5s %-14s  %10s  %10s  %10s\n",
              "point",
              "code",
              "what",
              "H D.MMSS",
              "V D.MMSS",
              "dist. m");
  for (int i = 0; i < points.GetSize(); ++i)
    if (i != stationIndex) PrintPoint(station, instrumentHeight, points[i]);
  return 0;
}

}  // namespace
}  // namespace host

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: surveycam-demo <site.csv>\n");
    return 2;
  }
  return host::Run(argv[1]);
}
