// The bitmaps in a metafile and what its records do with them.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"
#include "color/convert.h"
#include "draw/geometry.h"
#include "draw/raster_op.h"
#include "formats/wmf_records.h"
#include "process/dib_rows.h"
#include "process/source_picture.h"
#include "tavo45.h"

namespace tavo::wmf {

// What stands between the header of a device-independent bitmap and its pixels (ColorUsage,
// [MS-WMF] 2.1.1.6).
enum class ColorUsage : uint8_t {
  kColors,  // DIB_RGB_COLORS: a table of them
  kWords,   // DIB_PAL_COLORS: words that count in the palette selected
  kPixels,  // DIB_PAL_INDICES: nothing, as the pixels count in it themselves
};
// Values that there are not are the first one.
ColorUsage color_usage(int16_t word);

// How a bitmap is stored.
struct BitmapForm {
  bool is_dib = true;  // not the older kind, which knows no colours
  ColorUsage usage = ColorUsage::kColors;
  // Which of the rows that its header has are there, counted from the lower edge (StartScan and
  // ScanCount of SETDIBTODEV, [MS-WMF] 2.3.1.4): programs send a bitmap in bands.
  int32_t first_row = 0;
  int32_t rows = INT32_MAX;
};

// A record that puts a bitmap somewhere, or only a brush.
struct BitmapCall {
  // By the third byte of a TernaryRasterOperation ([MS-WMF] 2.1.1.31), which is its table.
  draw::RasterOp operation = draw::kCopySource;
  bool has_bitmap = true;
  BitmapForm form;
  bool is_from_below = false;  // source rows count from the lower edge, of top-down bitmaps too
  // Lengths below 0 mirror; those of source and window cancel each other out.
  int32_t source_x = 0, source_y = 0, source_width = 0, source_height = 0;
  int32_t x = 0, y = 0, width = 0, height = 0;  // in the window
};

// Of the six records of [MS-WMF] 2.3.1.
bool is_bitmap_function(uint16_t function);

// Takes the parameters of such a record up to the bitmap; false when it has fewer.
bool take_call(Records& records, BitmapCall& call);

struct Bitmap {
  dib::Header header;
  int32_t first_row = 0;  // in the bitmap of which it is a band
  T_PaletteEntry palette[256] = {};

  process::SourcePicture describe() const;
};

// Takes all but the pixels of a bitmap of which the file has `bytes`. kSubtype for codings that are
// not read, kReadError where the file has no such picture.
// `source` stands in front of the pixels afterwards.
Status take_bitmap(ByteSource& source, uint64_t bytes, const BitmapForm& form, Bitmap& bitmap);

// The part of the bitmap that is shown, counted from the top; of a band also what other bands show
// of it. kBadData for none.
Status source_box(const BitmapCall& call, const Bitmap& bitmap, draw::Box& box);

// Rows in the order of the file.
// start(), then next() or next_colors() for each row. `bitmap` and `source` outlive it.
class BitmapRows {
 public:
  BitmapRows(const Bitmap& bitmap, ByteSource& source)
      : bitmap_(bitmap), reader_(bitmap.header, source) {}

  Status start();

  // A row as `describe` says. Where the data end early: kReadError.
  Status next() { return reader_.next(row_.bytes()); }
  std::span<const uint8_t> row() const { return row_.bytes().first(line_bytes_); }
  // The same in 24 bits, blue first.
  Status next_colors();
  const uint8_t* colors() const { return colors_.data(); }

  // Which row of the picture, counted from the top, row `i` of the file is.
  int32_t place(int32_t i) const {
    return bitmap_.header.is_top_down ? i : bitmap_.header.height - 1 - i;
  }

 private:
  const Bitmap& bitmap_;
  dib::RowReader reader_;
  color::RowConverter convert_;
  Buffer row_;
  Buffer colors_;
  size_t line_bytes_ = 0;
};

}  // namespace tavo::wmf
