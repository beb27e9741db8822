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

inline constexpr uint32_t kPlaceableKey = 0x9AC6CDD7;  // Aldus; the bytes D7 CD C6 9A
inline constexpr uint32_t kPlaceableBytes = 22;        // META_PLACEABLE, 2.3.2.3
inline constexpr uint32_t kHeaderBytes = 18;           // META_HEADER, 2.3.2.2
inline constexpr uint32_t kHeadBytes = 6;              // of a record: size in words, function

// Functions ([MS-WMF] 2.1.1.1). The high byte of most is how many words of parameters there are.
// Behind each, its section and its parameters in the order of the file, for most the reverse of
// that of the call: words with a sign unless said otherwise.
enum Function : uint16_t {
  kEof = 0x0000,                    // 2.3.2.1: the last record, three words
  kSaveDc = 0x001E,                 // 2.3.5.11: none
  kCreatePalette = 0x00F7,          // 2.3.4.3: a Palette (2.2.1.3)
  kSetBkMode = 0x0102,              // 2.3.5.15: MixMode (2.1.1.20); a second word is optional
  kSetMapMode = 0x0103,             // 2.3.5.17: MapMode (2.1.1.16)
  kSetRop2 = 0x0104,                // 2.3.5.22: BinaryRasterOperation (2.1.1.2), 1 to 16
  kSetPolyFillMode = 0x0106,        // 2.3.5.20: PolyFillMode (2.1.1.25)
  kSetStretchMode = 0x0107,         // 2.3.5.23: StretchMode (2.1.1.30); is only written
  kRestoreDc = 0x0127,              // 2.3.5.10: which state, see States::restore
  kInvertRegion = 0x012A,           // 2.3.3.9: number of a region
  kPaintRegion = 0x012B,            // 2.3.3.11: number of a region
  kSelectClipRegion = 0x012C,       // 2.3.4.9: number of a region
  kSelectObject = 0x012D,           // 2.3.4.10: number of any object but a palette
  kSetTextAlign = 0x012E,           // 2.3.5.24: flags (2.1.2.3)
  kDibCreatePatternBrush = 0x0142,  // 2.3.4.8: style, ColorUsage, bitmap
  kDeleteObject = 0x01F0,           // 2.3.4.7: number
  kCreatePatternBrush = 0x01F9,     // 2.3.4.4: Bitmap16 (2.2.2.1), reserved bytes, rows
  kSetBkColor = 0x0201,             // 2.3.5.14: ColorRef (2.2.2.8)
  kSetTextColor = 0x0209,           // 2.3.5.26: ColorRef
  kSetWindowOrg = 0x020B,           // 2.3.5.31: y, x
  kSetWindowExt = 0x020C,           // 2.3.5.30: height, width
  kOffsetWindowOrg = 0x020F,        // 2.3.5.7: y, x
  kLineTo = 0x0213,                 // 2.3.3.10: y, x
  kMoveTo = 0x0214,                 // 2.3.5.4: y, x
  kOffsetClipRegion = 0x0220,       // 2.3.5.5: y, x
  kFillRegion = 0x0228,             // 2.3.3.6: numbers of a region and a brush
  kCreatePen = 0x02FA,              // 2.3.4.5: Pen (2.2.1.4)
  kCreateFont = 0x02FB,             // 2.3.4.2: Font (2.2.1.2)
  kCreateBrush = 0x02FC,            // 2.3.4.1: LogBrush (2.2.2.10)
  kPolygon = 0x0324,                // 2.3.3: count, points, x before y (2.2.2.16)
  kPolyline = 0x0325,               // the same
  kScaleWindowExt = 0x0410,         // 2.3.5.13: of y divisor and factor, of x likewise
  kExcludeClipRect = 0x0415,        // 2.3.5.2: bottom, right, top, left
  kIntersectClipRect = 0x0416,      // 2.3.5.3: the same
  kEllipse = 0x0418,                // 2.3.3.3: bottom, right, top, left
  kRectangle = 0x041B,              // 2.3.3.17: the same
  kSetPixel = 0x041F,               // 2.3.3.19: ColorRef, y, x
  kFrameRegion = 0x0429,            // 2.3.3.8: region, brush, height, width
  kTextOut = 0x0521,                // 2.3.3.20: length, characters, y, x
  kPolyPolygon = 0x0538,            // 2.3.3.16: PolyPolygon (2.2.2.17)
  kRoundRect = 0x061C,              // 2.3.3.18: height and width of the corners, box
  kPatBlt = 0x061D,                 // 2.3.3.12: raster operation (4 bytes), box
  kCreateRegion = 0x06FF,           // 2.3.4.6: Region (2.2.1.5)
  kArc = 0x0817,                    // 2.3.3.1: where it ends, where it begins, box
  kPie = 0x081A,                    // 2.3.3.13: the same
  kChord = 0x0830,                  // 2.3.3.2: the same
  kBitBlt = 0x0922,                 // 2.3.1.1; where words are: wmf_bitmaps.cpp
  kDibBitBlt = 0x0940,              // 2.3.1.2
  kExtTextOut = 0x0A32,             // 2.3.3.5: y, x, length, options, box, characters, widths
  kStretchBlt = 0x0B23,             // 2.3.1.5
  kDibStretchBlt = 0x0B41,          // 2.3.1.3
  kSetDibToDev = 0x0D33,            // 2.3.1.4
  kStretchDib = 0x0F43,             // 2.3.1.6
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

// Used in this order: start() once, go_to() the first record, then next() until it is false, with
// take() or a ByteSource on this object for what a record has. go_to() begins again, as often as
// wanted. Records may claim any length up to 8 GiB: positions have 64 bits, and nothing is set
// aside by what one claims.
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

  // Of the record at hand; kEof before the first one.
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
  // A header with 256 colours, and rows: what patterns and regions take.
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
