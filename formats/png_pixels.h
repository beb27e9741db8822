// The pixels of PNG files as bitmaps hold them.
#pragma once

#include <cstdint>
#include <span>

#include "formats/png_header.h"
#include "process/source_picture.h"

namespace tavo::png {

// What the reader delivers: 1 bit, 2 and 4 bits as 4, other single samples as 8; colours of 24
// bits, or of 32 with their opacity when `keeps_alpha` and there is any.
process::SourcePicture describe(const Header& header, bool keeps_alpha);

// Brings rows to that: shows them in front of the background, unless their opacity is kept.
// One serves all rows, and all passes of an interlaced picture.
class PixelMaker {
 public:
  PixelMaker(const Header& header, bool keeps_alpha);

  // `raw` are samples as stored. `row` gets the pixels; bits behind them in the last byte are zero.
  void make(std::span<const uint8_t> raw, uint32_t pixels, uint8_t* row) const;

 private:
  void keep_alpha(const uint8_t* raw, uint32_t pixels, uint8_t* row) const;
  void replace_transparent(const uint8_t* raw, uint32_t pixels, uint8_t* row) const;
  bool is_transparent(const uint8_t* pixel) const;
  uint8_t level_at(const uint8_t* sample) const;
  void blend(const uint8_t* raw, uint32_t pixels, uint8_t* row) const;

  const Header& header_;
  bool keeps_alpha_;
  bool has_table_;              // the opacity goes by values of up to 8 bits
  uint8_t key_[6] = {};         // the colour that is transparent, as stored
  uint8_t background_[3] = {};  // in 8 bits
  uint8_t table_[256][4] = {};  // kept opacity: pixels by their values
};

}  // namespace tavo::png
