// Device-independent bitmap files: Windows (information headers of 40 to 124 bytes) and OS/2
// (12, 16 and 64 bytes), 1 to 32 bits, run-length coded, bit fields.
// Facts: Microsoft, "Bitmap Storage" and BITMAPINFOHEADER to BITMAPV5HEADER; IBM, "Bitmap File
// Format" (OS/2 2.0 Presentation Manager).
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"
#include "process/source_picture.h"

namespace tavo::bmp {

enum class Coding { kNone, kRle4, kRle8, kRle24 };

// Where the bits of one channel are in a pixel; a width of 0 means there is none.
struct Channel {
  uint32_t shift = 0;
  uint32_t width = 0;
};

// What parse_header accepted: sizes are 1 and more, a row fits 32 bits, pixel_bits is one of
// 1, 2, 4, 8, 16, 24, 32 and goes with the coding.
struct Header {
  int32_t width = 0;
  int32_t height = 0;
  bool is_top_down = false;
  bool is_os2 = false;     // a core header of 12 bytes: palette entries of 3 bytes
  int32_t pixel_bits = 0;  // as stored
  Coding coding = Coding::kNone;
  bool has_masks = false;  // the channels are not where plain pixels have them
  Channel red, green, blue, alpha;
  bool has_resolution = false;
  int32_t x_per_meter = 0;
  int32_t y_per_meter = 0;
  uint32_t palette_offset = 0;
  uint32_t palette_entries = 0;
  uint32_t data_offset = 0;
};

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(const char* name, BitmapHandle* bitmap, const io::SaveRequest& request);

}  // namespace tavo::bmp
