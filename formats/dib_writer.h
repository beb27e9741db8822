// Device-independent bitmaps as files of several formats have them: header, colours, rows from the
// bottom.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "io/output_file.h"
#include "tavo45.h"

namespace tavo::dib {

// All the colours of the depth; none above 8 bits.
constexpr uint32_t table_entries(int32_t depth) { return depth <= 8 ? 1u << depth : 0; }

// BITMAPINFOHEADER of a picture whose rows are not coded and go upward, which all programs read;
// `to` has room for its 40 bytes, which are zero.
void store_info_header(const BitmapHandle& picture, int32_t depth, uint32_t image_bytes,
                       uint32_t colors_used, uint8_t* to);

// `entry_bytes`: 4, RGBQUAD, or 3, RGBTRIPLE.
Status write_table(io::OutputFile& file, const BitmapHandle& picture, int32_t depth,
                   size_t entry_bytes);

// Puts rows that come top first in their places in the file, from the end on.
class ReversedRows {
 public:
  // `end`: where in the file the rows end.
  void start(uint64_t end) { end_ = end; }
  Status put(io::OutputFile& file, std::span<const uint8_t> rows, size_t row_bytes);

 private:
  uint64_t end_ = 0;  // of what is still to come
  Buffer reversed_;
};

}  // namespace tavo::dib
