#pragma once
// The calibration records in the instrument's non-volatile memory ("EEP.DLL",
// items 80..99): items 80..89 hold the camera (CCamera's focal length,
// principal point, distortion model and parameters, pixel size), items 90..99
// the orientation data (VKR3ZA_CALIB's image centres, the camera's offset and
// mounting angles). The names are those an operator sees when an item cannot
// be read or written ("<name> Read", "<name> Write").
namespace memory_items {

inline constexpr int kFirst = 80;
inline constexpr int kLast = 99;

inline constexpr const wchar_t* kNames[kLast - kFirst + 1] = {L"Focal Length",
                                                              L"Xp",
                                                              L"Yp",
                                                              L"Distortion Model",
                                                              L"Distortion Para(K1)",
                                                              L"Distortion Para(K2)",
                                                              L"Distortion Para(P1)",
                                                              L"Distortion Para(P2)",
                                                              L"X Resolution",
                                                              L"Y Resolution",
                                                              L"CCD1x Center",
                                                              L"CCD1y Center",
                                                              L"CCD2x Center",
                                                              L"CCD2y Center",
                                                              L"CCD Offset(X)",
                                                              L"CCD Offset(Y)",
                                                              L"CCD Offset(Z)",
                                                              L"CCD Angle OMEGA",
                                                              L"CCD Angle PHI",
                                                              L"CCD Angle KAPPA"};

// The name of item `index` (kFirst..kLast).
constexpr const wchar_t* Name(int index) { return kNames[index - kFirst]; }

// The length of each item in bytes, as it is written and read (little-endian
// values): 80..82 double; 83 int32; 84..89 double; 90..93 int16; 94..99 double.
inline constexpr int kLengths[kLast - kFirst + 1] = {8, 8, 8, 4, 8, 8, 8, 8, 8, 8,
                                                     2, 2, 2, 2, 8, 8, 8, 8, 8, 8};
constexpr int Length(int index) { return kLengths[index - kFirst]; }

// Where item `index` starts when the items kFirst..kLast lie packed one after
// the other in index order, and the size of that packed record.
constexpr int Offset(int index) {
  int offset = 0;
  for (int i = kFirst; i < index; ++i) offset += Length(i);
  return offset;
}
inline constexpr int kPackedSize = Offset(kLast) + Length(kLast);

static_assert(Offset(81) == 8 && Offset(83) == 24 && Offset(84) == 28 && Offset(88) == 60);
static_assert(Offset(90) == 76 && Offset(93) == 82 && Offset(94) == 84 && Offset(99) == 124);
static_assert(kPackedSize == 132);

}  // namespace memory_items
