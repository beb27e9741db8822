// The records of a Windows metafile, one after the other.
// Facts: Microsoft, [MS-WMF] "Windows Metafile Format".
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"
#include "io/input_file.h"

namespace tavo::wmf {

inline constexpr uint32_t kPlaceableKey = 0x9AC6CDD7;
inline constexpr uint32_t kPlaceableBytes = 22;
inline constexpr uint32_t kHeaderBytes = 18;
inline constexpr uint32_t kHeadBytes = 6;  // of a record: size in words, function

// Functions ([MS-WMF] 2.1.1.1). The high byte of most is how many words of parameters there are.
enum Function : uint16_t {
  kEof = 0x0000,
  kSaveDc = 0x001E,
  kCreatePalette = 0x00F7,
  kSetBkMode = 0x0102,
  kSetMapMode = 0x0103,
  kSetRop2 = 0x0104,
  kSetPolyFillMode = 0x0106,
  kSetStretchMode = 0x0107,
  kRestoreDc = 0x0127,
  kInvertRegion = 0x012A,
  kPaintRegion = 0x012B,
  kSelectClipRegion = 0x012C,
  kSelectObject = 0x012D,
  kSetTextAlign = 0x012E,
  kDibCreatePatternBrush = 0x0142,
  kDeleteObject = 0x01F0,
  kCreatePatternBrush = 0x01F9,
  kSetBkColor = 0x0201,
  kSetTextColor = 0x0209,
  kSetTextJustification = 0x020A,
  kSetWindowOrg = 0x020B,
  kSetWindowExt = 0x020C,
  kOffsetWindowOrg = 0x020F,
  kLineTo = 0x0213,
  kMoveTo = 0x0214,
  kOffsetClipRegion = 0x0220,
  kFillRegion = 0x0228,
  kCreatePen = 0x02FA,
  kCreateFont = 0x02FB,
  kCreateBrush = 0x02FC,
  kPolygon = 0x0324,
  kPolyline = 0x0325,
  kScaleWindowExt = 0x0410,
  kExcludeClipRect = 0x0415,
  kIntersectClipRect = 0x0416,
  kEllipse = 0x0418,
  kRectangle = 0x041B,
  kSetPixel = 0x041F,
  kFrameRegion = 0x0429,
  kTextOut = 0x0521,
  kPolyPolygon = 0x0538,
  kRoundRect = 0x061C,
  kPatBlt = 0x061D,
  kCreateRegion = 0x06FF,
  kArc = 0x0817,
  kPie = 0x081A,
  kChord = 0x0830,
  kBitBlt = 0x0922,
  kDibBitBlt = 0x0940,
  kExtTextOut = 0x0A32,
  kStretchBlt = 0x0B23,
  kDibStretchBlt = 0x0B41,
  kSetDibToDev = 0x0D33,
  kStretchDib = 0x0F43,
};

// What parse_header accepted.
struct Header {
  bool is_placeable = false;
  // Of a placeable file; right and bottom may be below left and top. No side is 0.
  int32_t left = 0, top = 0, right = 0, bottom = 0;
  int32_t units_per_inch = 0;
  uint32_t first_record = 0;  // in the file
};

inline constexpr size_t kMostHeaderBytes = kPlaceableBytes + kHeaderBytes + kHeadBytes;

// `bytes`: kMostHeaderBytes of the file, fewer when it is shorter. kBadData; kReadError where it
// begins as a placeable file and ends.
Status parse_header(std::span<const uint8_t> bytes, Header& header);

class Records {
 public:
  explicit Records(io::InputFile& file) : file_(file), bytes_(file) {}

  Status start(uint32_t file_bytes) {
    file_bytes_ = file_bytes;
    return bytes_.start();
  }

  // Goes to a place in the file where a record begins.
  Status go_to(uint64_t position);

  // The next record; false behind the last one. What is left of the one before is skipped.
  bool next();

  uint16_t function() const { return function_; }
  // Where it begins, and how many bytes of parameters it says that it has.
  uint64_t record() const { return record_; }
  uint64_t size() const { return size_; }
  // Where in the file what is left of them begins.
  uint64_t position() const { return position_; }
  // What is left of them, and of that in the file.
  uint64_t left() const { return left_; }
  uint64_t left_in_file() const {
    return std::min(left_, file_bytes_ - std::min<uint64_t>(position_, file_bytes_));
  }

  // Whether the record has so much more, which is taken then.
  bool take(std::span<uint8_t> into);
  bool take(std::span<int16_t> words);
  // As ByteSource wants it: what is left of the record.
  Status read_some(std::span<uint8_t> into, size_t& got);

  // The file ended inside a record, or without a last one.
  bool is_cut() const { return is_cut_; }
  // A read that failed, not the end of the file.
  Status failure() const { return bytes_.failure(); }
  uint32_t file_bytes() const { return file_bytes_; }

  // Uses the file at another place: `use` gets a source of the bytes from `position` on.
  template <class Use>
  Status elsewhere(uint64_t position, Use use) {
    TRY(file_.seek(position));
    ByteSource bytes(file_);
    TRY(bytes.start(kAsideBytes));
    TRY(use(bytes));
    TRY(bytes.failure());
    TRY(file_.seek(position_));
    bytes_.reset();
    return kOk;
  }

 private:
  static constexpr size_t kAsideBytes = 4096;

  io::InputFile& file_;
  ByteSource bytes_;
  uint32_t file_bytes_ = 0;
  uint64_t position_ = 0;
  uint64_t record_ = 0;
  uint64_t size_ = 0;
  uint64_t left_ = 0;
  uint16_t function_ = kEof;
  bool is_cut_ = false;
};

}  // namespace tavo::wmf
