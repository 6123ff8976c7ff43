#pragma once
// ExifStamp: the Exif metadata of a saved snapshot, inserted into its JPEG
// file as an APP1 segment (built with libexif). The picture's own bytes are
// not touched: the segment goes right after the start of the image and the
// JFIF header, so every decoder reads the same pixels.
//
// Tags (byte order Intel):
//   IFD0      Make "surveycam", Model the camera ("TELE" or "WIDE"), DateTime,
//             Orientation 1, X/YResolution, ResolutionUnit
//   Exif IFD  DateTimeOriginal, DateTimeDigitized, FocalLength (mm),
//             PixelXDimension, PixelYDimension, DigitalZoomRatio (the
//             display zoom), UserComment (ASCII) with the survey values:
//               "surveycam camera=WIDE V=90.000000 H=30.000000
//                station=1000.0000,2000.0000,101.6000 zoom=1.00"
//             V the zenith angle and H the horizontal angle in degrees at
//             which the picture was frozen, station the telescope's axis
//             point in survey axes (X, Y, and Z with the instrument height,
//             metres), zoom the display scale.
//
// Fault point: "exif.build" (platform/faults.h) fails building the segment,
// as an out-of-memory libexif would.
#include <cstdint>
#include <string>
#include <vector>

#include "platform/afx_string.h"
#include "platform/export.h"
#include "platform/types.h"

namespace image {

// What a snapshot's metadata says.
struct SnapshotTags {
  SYSTEMTIME taken{};
  std::string camera;  // "TELE" or "WIDE"
  double focalMm = 0;
  unsigned width = 0, height = 0;
  double zenithDeg = 0, horizontalDeg = 0;
  double stationX = 0, stationY = 0, stationZ = 0;
  double zoom = 1;
};

class SURVEYCAM_API ExifStamp {
 public:
  // The survey values as the UserComment carries them (without the charset
  // prefix).
  static std::string Comment(const SnapshotTags& tags);
  // The APP1 payload ("Exif\0\0" and the TIFF structure); empty when it
  // cannot be built.
  static std::vector<uint8_t> Build(const SnapshotTags& tags);
  // Inserts the metadata into the JPEG file at `path` in one safe save;
  // FALSE leaves the file exactly as it was.
  static BOOL Stamp(const CString& path, const SnapshotTags& tags);
};

}  // namespace image
