// What a metafile holds, and so what is delivered of it.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "draw/geometry.h"
#include "formats/wmf_bitmaps.h"
#include "formats/wmf_records.h"
#include "io/input_file.h"

namespace tavo::wmf {

enum class Content : uint8_t {
  kNothing,  // that can be shown
  kBitmap,   // one that is the whole picture
  kBitmaps,  // a page in their resolution
  kDrawing,  // a page at 96 pixels per inch
};

struct Contents {
  Header header;
  Content content = Content::kNothing;
  bool is_cut = false;  // there is no last record
  // At 96 pixels per inch; of files that do not tell, the extent of their window.
  int32_t screen_width = 1;
  int32_t screen_height = 1;
  // Plain files without a window: units are pixels, and the page is what is drawn on. It begins at
  // this pixel.
  bool has_no_window = false;
  draw::Point corner;
  // Of the page; of a bitmap, of the part that is shown.
  int32_t width = 1;
  int32_t height = 1;
  int32_t x_resolution = 0;  // 0: not said
  int32_t y_resolution = 0;
  // Of the first bitmap, from here on; only kBitmap looks at them.
  uint64_t record = 0;  // of the bitmap
  Bitmap bitmap;
  draw::Box source;
  bool is_mirrored = false;
  bool is_flipped = false;
};

// Reads the file from its start, which has been opened by `records`.
// kBadData for another format; kReadError for a placeable header that is cut and for reads that
// fail. Records that say nothing that is known are passed over.
Status scan(io::InputFile& file, Records& records, Contents& contents);

}  // namespace tavo::wmf
