// ExifStamp: Exif metadata of snapshots through libexif.
#include "image/exif_stamp.h"

#include <libexif/exif-data.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/faults.h"
#include "platform/file.h"
#include "platform/safe_file.h"

namespace image {
namespace {

constexpr ExifByteOrder kOrder = EXIF_BYTE_ORDER_INTEL;
constexpr char kAsciiCharset[8] = {'A', 'S', 'C', 'I', 'I', 0, 0, 0};

struct ExifDataDeleter {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};

// Puts one entry of `components` values of `format` made of `bytes`,
// replacing an entry of that tag. False when memory runs out.
bool Put(ExifData* data,
         ExifIfd ifd,
         ExifTag tag,
         ExifFormat format,
         unsigned long components,
         const void* bytes,
         size_t size) {
  ExifContent* content = data->ifd[ifd];
  if (ExifEntry* old = exif_content_get_entry(content, tag))
    exif_content_remove_entry(content, old);
  ExifMem* mem = exif_mem_new_default();
  if (!mem) return false;
  ExifEntry* entry = exif_entry_new_mem(mem);
  if (entry) entry->data = static_cast<unsigned char*>(exif_mem_alloc(mem, ExifLong(size)));
  exif_mem_unref(mem);  // the entry keeps its own reference
  if (!entry) return false;
  const bool ok = entry->data != nullptr;
  if (ok) {
    std::memcpy(entry->data, bytes, size);
    entry->size = unsigned(size);
    entry->tag = tag;
    entry->format = format;
    entry->components = components;
    exif_content_add_entry(content, entry);
  }
  exif_entry_unref(entry);
  return ok;
}

bool PutText(ExifData* data, ExifIfd ifd, ExifTag tag, const std::string& text) {
  return Put(data, ifd, tag, EXIF_FORMAT_ASCII, text.size() + 1, text.c_str(), text.size() + 1);
}

bool PutRational(ExifData* data, ExifIfd ifd, ExifTag tag, double value, ExifLong denominator) {
  unsigned char bytes[8];
  exif_set_rational(bytes, kOrder, {ExifLong(std::lround(value * denominator)), denominator});
  return Put(data, ifd, tag, EXIF_FORMAT_RATIONAL, 1, bytes, sizeof bytes);
}

bool PutLong(ExifData* data, ExifIfd ifd, ExifTag tag, ExifLong value) {
  unsigned char bytes[4];
  exif_set_long(bytes, kOrder, value);
  return Put(data, ifd, tag, EXIF_FORMAT_LONG, 1, bytes, sizeof bytes);
}

std::string ExifTime(const SYSTEMTIME& t) {
  char text[32];
  std::snprintf(text,
                sizeof text,
                "%04u:%02u:%02u %02u:%02u:%02u",
                unsigned(t.wYear) % 10000,
                unsigned(t.wMonth) % 100,
                unsigned(t.wDay) % 100,
                unsigned(t.wHour) % 100,
                unsigned(t.wMinute) % 100,
                unsigned(t.wSecond) % 100);
  return text;
}

// Where the segment goes: after the start of image and a JFIF APP0; 0 when
// the bytes are not a JPEG file.
size_t InsertAt(const std::vector<uint8_t>& jpeg) {
  if (jpeg.size() < 4 || jpeg[0] != 0xFF || jpeg[1] != 0xD8) return 0;
  if (jpeg[2] != 0xFF || jpeg[3] != 0xE0 || jpeg.size() < 6) return 2;
  const size_t end = 4 + (size_t(jpeg[4]) << 8 | jpeg[5]);
  return end <= jpeg.size() ? end : 0;
}

}  // namespace

std::string ExifStamp::Comment(const SnapshotTags& tags) {
  char text[256];
  std::snprintf(text,
                sizeof text,
                "surveycam camera=%s V=%.6f H=%.6f station=%.4f,%.4f,%.4f zoom=%.2f",
                tags.camera.c_str(),
                tags.zenithDeg,
                tags.horizontalDeg,
                tags.stationX,
                tags.stationY,
                tags.stationZ,
                tags.zoom);
  return text;
}

std::vector<uint8_t> ExifStamp::Build(const SnapshotTags& tags) {
  if (platform::fault::Check("exif.build").fail) return {};
  std::unique_ptr<ExifData, ExifDataDeleter> data(exif_data_new());
  if (!data) return {};
  ExifData* d = data.get();
  exif_data_set_byte_order(d, kOrder);
  exif_data_set_data_type(d, EXIF_DATA_TYPE_COMPRESSED);
  std::string comment(kAsciiCharset, sizeof kAsciiCharset);
  comment += Comment(tags);
  const std::string taken = ExifTime(tags.taken);
  bool ok = PutText(d, EXIF_IFD_0, EXIF_TAG_MAKE, "surveycam") &&
            PutText(d, EXIF_IFD_0, EXIF_TAG_MODEL, tags.camera) &&
            PutText(d, EXIF_IFD_0, EXIF_TAG_DATE_TIME, taken) &&
            PutText(d, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, taken) &&
            PutText(d, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED, taken) &&
            PutRational(d, EXIF_IFD_EXIF, EXIF_TAG_FOCAL_LENGTH, tags.focalMm, 10000) &&
            PutLong(d, EXIF_IFD_EXIF, EXIF_TAG_PIXEL_X_DIMENSION, tags.width) &&
            PutLong(d, EXIF_IFD_EXIF, EXIF_TAG_PIXEL_Y_DIMENSION, tags.height) &&
            PutRational(d, EXIF_IFD_EXIF, EXIF_TAG_DIGITAL_ZOOM_RATIO, tags.zoom, 100) &&
            Put(d,
                EXIF_IFD_EXIF,
                EXIF_TAG_USER_COMMENT,
                EXIF_FORMAT_UNDEFINED,
                comment.size(),
                comment.data(),
                comment.size());
  if (!ok) return {};
  // The entries the standard asks for that are still missing (Orientation,
  // resolutions, Exif and FlashPix versions, colour space, ...).
  exif_data_fix(d);
  unsigned char* bytes = nullptr;
  unsigned int size = 0;
  exif_data_save_data(d, &bytes, &size);
  // An APP1 segment holds at most 65533 bytes after its length.
  std::vector<uint8_t> payload;
  if (bytes && size > 0 && size <= 65533) payload.assign(bytes, bytes + size);
  std::free(bytes);
  return payload;
}

BOOL ExifStamp::Stamp(const CString& path, const SnapshotTags& tags) {
  const std::vector<uint8_t> payload = Build(tags);
  if (payload.empty()) return FALSE;
  std::vector<uint8_t> jpeg;
  {
    CFile file;
    if (!file.Open(path, CFile::modeRead)) return FALSE;
    jpeg.resize(size_t(file.GetLength()));
    if (jpeg.empty() || file.Read(jpeg.data(), UINT(jpeg.size())) != jpeg.size()) return FALSE;
  }
  const size_t at = InsertAt(jpeg);
  if (at == 0) return FALSE;
  const size_t length = payload.size() + 2;
  const uint8_t marker[4] = {0xFF, 0xE1, uint8_t(length >> 8), uint8_t(length & 0xFF)};
  jpeg.insert(jpeg.begin() + std::ptrdiff_t(at), payload.begin(), payload.end());
  jpeg.insert(jpeg.begin() + std::ptrdiff_t(at), marker, marker + sizeof marker);
  return platform::SafeFile::WriteAll(path, jpeg.data(), jpeg.size());
}

}  // namespace image
