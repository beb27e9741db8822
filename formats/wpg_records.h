// What stands in a WordPerfect Graphics file: the records of version 1 and 2 up to its bitmaps.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "formats/wpg_runs.h"
#include "io/input_file.h"
#include "tavo45.h"

namespace tavo::wpg {

inline constexpr uint32_t kHeaderBytes = 16;
inline constexpr uint8_t kMagic[] = {0xFF, 'W', 'P', 'C'};
inline constexpr uint8_t kProduct = 1;      // WordPerfect
inline constexpr uint8_t kFileType = 0x16;  // a graphics file

// Types of records of version 1.
// Without an effect here, and passed over: 03 and 04 markers, 11 and 1B PostScript, 12 output
// attributes, 15 and 16 figures and charts, 17 PlanPerfect data, 18 and 1A texts of types 2 and 3,
// 19 start of type 2. Fill attributes (01) are bytes of style and colour, line attributes (02)
// these and a width. Lines (05) have two points, polylines (06) and polygons (08) a count and
// points, all as signed words, x before y.
inline constexpr uint8_t kFillStyle = 0x01, kLineStyle = 0x02, kLine = 0x05, kPolyline = 0x06;
inline constexpr uint8_t kRectangle = 0x07, kPolygon = 0x08, kEllipse = 0x09, kText = 0x0C;
inline constexpr uint8_t kTextStyle = 0x0D, kCurve = 0x13;
inline constexpr uint8_t kBitmap1 = 0x0B, kColorMap = 0x0E, kStart = 0x0F, kEnd = 0x10;
inline constexpr uint8_t kBitmap2 = 0x14;

// Types of records of version 2.
// By libwpg's names: 16 polyspline, 17 polycurve, 1A compound polygon, 1C text line, 25 pen fore
// color, 31 brush fore color; what is long here is DP, double precision. Patterns, styles, back
// colours and ends of lines (27 to 2A, 2D to 30, 33 and up) are passed over, as are layers, groups,
// text blocks and texts along paths.
inline constexpr uint8_t kStart2 = 0x01, kEnd2 = 0x02, kColorMap2 = 0x0C, kBitmapData = 0x0E;
inline constexpr uint8_t kTextData = 0x0F, kPolyline2 = 0x15, kSpline2 = 0x16, kCurve2 = 0x17;
inline constexpr uint8_t kRectangle2 = 0x18, kArc2 = 0x19, kCompound = 0x1A, kBitmapPlace = 0x1B;
inline constexpr uint8_t kTextLine = 0x1C, kPenColor = 0x25, kLongPenColor = 0x26;
inline constexpr uint8_t kPenSize = 0x2B, kLongPenSize = 0x2C, kBrushColor = 0x31;
inline constexpr uint8_t kLongBrushColor = 0x32;

// Of version 1, and of version 2 where its start record has 0.
inline constexpr uint32_t kUnitsPerInch = 1200;
inline constexpr int32_t kScreenDotsPerInch = 96;

struct StoredBitmap {
  uint16_t width = 0;
  uint16_t height = 0;
  uint32_t bits = 0;  // 1, 2, 4, 8 or 24; 0: of a kind that is not read
  Coding coding = Coding::kRuns1;
  int32_t x_resolution = 0;  // 0: not said
  int32_t y_resolution = 0;
  bool is_mirrored = false;  // left to right,
  bool is_flipped = false;   // upside down,
  int32_t degrees = 0;       // then turned clockwise: 0, 90, 180, 270
  uint64_t data = 0;
  uint64_t data_bytes = 0;  // that the file has
};

// Where the page of a drawing is, in the units of positions.
// In version 1 its corner is (0, 0).
struct Frame {
  int64_t left = 0;
  int64_t bottom = 0;
  int64_t width = 0;
  int64_t height = 0;
};

// What scan() tells. With is_encrypted all else stays as it is here.
struct Contents {
  bool is_encrypted = false;
  int32_t count = 0;    // of bitmaps
  int32_t page = 1;     // the one asked for, or the last
  StoredBitmap bitmap;  // that one; meaningless without any
  T_PaletteEntry palette[256] = {};
  bool has_palette = false;  // a colour map stands before the bitmap
  int32_t width = 1;         // of the drawing, in pixels at 96 per inch
  int32_t height = 1;
  Frame frame;
  bool has_drawing = false;
  bool is_version2 = false;
  bool is_long = false;  // positions of version 2 have 32 bits
  uint32_t units_per_inch = kUnitsPerInch;
  uint32_t first_record = 0;
};

// Reads from the file's start. kBadData for another format and an empty bitmap, kNoMemory, and what
// keeps the file from being read.
// First of all that is done with a file; `page`, 1 and more, is the bitmap that is described.
Status scan(io::InputFile& file, uint32_t file_bytes, int32_t page, Contents& contents);

// The colours without a colour map: those of the VGA.
void default_palette(std::span<T_PaletteEntry, 256> palette);

}  // namespace tavo::wpg
