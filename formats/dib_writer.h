// Device-independent bitmaps as files of several formats have them: colours, rows from the bottom.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "io/output_file.h"
#include "tavo45.h"

namespace tavo::dib {

// Blue, green, red of all colours that `depth` has; none above 8 bits. `entry_bytes`: 4, RGBQUAD,
// whose last byte is reserved, or 3, RGBTRIPLE, as OS/2 has them.
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
