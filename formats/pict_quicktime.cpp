#include "formats/pict_quicktime.h"

#include <algorithm>
#include <array>

#include "base/endian.h"

namespace tavo::pict {

namespace {

constexpr uint32_t tag(const char (&letters)[5]) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(letters[i]);
  return value;
}

// Fields in front of the image description: version (2), matrix (36), size of the matte (4), its
// rectangle (8), transfer mode (2), source rectangle (8), accuracy (4), size of the mask (4). Matte
// and mask follow, when their sizes are not 0.
constexpr size_t kMatrixAt = 2, kMatteBytesAt = 38, kSourceAt = 52, kMaskBytesAt = 64,
                 kHeadBytes = 68;

// Fields of the image description, of which only these are looked at; others may follow. Its size
// of the data is not heeded: files say 0, or a byte too few, where the record's own size is right.
constexpr size_t kCodecAt = 4, kWidthAt = 32, kHeightAt = 34, kXResolutionAt = 36,
                 kYResolutionAt = 40, kDepthAt = 82, kDescriptionBytes = 86;

constexpr int32_t kOne = 0x10000;  // of 16.16 numbers

int64_t load_fixed(const uint8_t* bytes) { return static_cast<int32_t>(load_be32(bytes)); }

// What a matrix that scales and moves makes of a rectangle; one that turns is not heeded.
Rect transform(const Rect& rect, const uint8_t* matrix) {
  // Nine longs, row by row; the third of each row, 2.30 numbers, is for perspective.
  constexpr size_t kA = 0, kB = 4, kC = 12, kD = 16, kTx = 24, kTy = 28;
  if (load_be32(matrix + kB) != 0 || load_be32(matrix + kC) != 0) return rect;
  const auto to = [](int64_t at, int64_t scale, int64_t shift) {
    const int64_t moved = (at * scale + shift + kOne / 2) >> 16;
    return static_cast<int32_t>(std::clamp<int64_t>(moved, INT16_MIN, INT16_MAX));
  };
  const int64_t a = load_fixed(matrix + kA), d = load_fixed(matrix + kD);
  const int64_t tx = load_fixed(matrix + kTx), ty = load_fixed(matrix + kTy);
  return {to(rect.top, d, ty), to(rect.left, a, tx), to(rect.bottom, d, ty), to(rect.right, a, tx)};
}

// A record that counts its bytes as they are taken. What is wrong in one, be it shorter than its
// fields, is kSubtype: its end is known, and so where the picture goes on.
class Record {
 public:
  Record(Stream& stream, uint64_t& left) : stream_(stream), left_(left) {}

  Status take(size_t count, std::span<const uint8_t>& bytes) {
    if (left_ < count) return kSubtype;
    left_ -= count;
    return stream_.take(count, bytes);
  }
  Status skip(uint64_t count) {
    if (left_ < count) return kSubtype;
    left_ -= count;
    return stream_.skip(count);
  }

 private:
  Stream& stream_;
  uint64_t& left_;
};

Status read_mask(Record& record, uint32_t bytes, Region& mask) {
  mask.set(kEverywhere);
  if (bytes == 0) return kOk;
  if (bytes > Stream::kMost) return kSubtype;
  std::span<const uint8_t> data;
  TRY(record.take(bytes, data));
  const Status status = mask.take(data);
  return status == kBadData ? kSubtype : status;
}

// Rows of pixels as they are; the data tell how long one is.
Status start_raw(uint32_t depth, uint64_t bytes, Bitmap& bitmap, RowReader& rows) {
  const auto width = static_cast<uint64_t>(bitmap.bounds.width());
  const auto height = static_cast<uint64_t>(bitmap.bounds.height());
  if (depth != 24 && depth != 32) return kSubtype;
  const uint64_t row_bytes = std::max(bytes / height, width * depth / 8);
  if (row_bytes > Stream::kMost) return kSubtype;
  bitmap.bits = 24;
  bitmap.row_bytes = static_cast<uint32_t>(row_bytes);
  bitmap.packing = depth == 32 ? Packing::kPlain : Packing::kTriples;
  rows.start(bitmap, bytes);
  return kOk;
}

}  // namespace

Status read_quicktime(Stream& stream, uint64_t bytes, uint64_t file_bytes, Bitmap& bitmap,
                      Region& mask, RowReader& rows, uint64_t& left) {
  left = bytes;
  Record record(stream, left);
  std::span<const uint8_t> data;
  TRY(record.take(kHeadBytes, data));
  std::array<uint8_t, kHeadBytes> head;
  std::ranges::copy(data, head.begin());
  TRY(record.skip(load_be32(&head[kMatteBytesAt])));
  TRY(read_mask(record, load_be32(&head[kMaskBytesAt]), mask));

  TRY(record.take(kDescriptionBytes, data));
  const uint32_t description = load_be32(data.data());
  const uint32_t codec = load_be32(&data[kCodecAt]);
  const uint32_t depth = load_be16(&data[kDepthAt]);
  bitmap.bounds = {0, 0, load_be16(&data[kHeightAt]), load_be16(&data[kWidthAt])};
  bitmap.x_resolution = load_be32(&data[kXResolutionAt]);
  bitmap.y_resolution = load_be32(&data[kYResolutionAt]);
  if (description < kDescriptionBytes || bitmap.bounds.is_empty()) return kSubtype;
  TRY(record.skip(description - kDescriptionBytes));

  if (codec == tag("jpeg")) {
    const Status status = rows.start_jpeg(left, file_bytes, bitmap);
    left = 0;  // what was not taken of it is the reader's to pass over
    // A stream that is no good costs this record, not the picture around it.
    if (status == kBadData || status == kReadError || status == kSubtype) {
      TRY(rows.finish());
      return kSubtype;
    }
    TRY(status);
  } else if (codec == tag("raw ")) {
    TRY(start_raw(depth, left, bitmap, rows));
  } else {
    return kSubtype;
  }
  const Rect source = load_rect(&head[kSourceAt]);
  bitmap.source = intersect(source, bitmap.bounds);
  // A source rectangle of zeros, or one that misses the picture, stands for all of it.
  if (bitmap.source.is_empty()) bitmap.source = bitmap.bounds;
  bitmap.destination = transform(source.is_empty() ? bitmap.bounds : source, &head[kMatrixAt]);
  return kOk;
}

}  // namespace tavo::pict
