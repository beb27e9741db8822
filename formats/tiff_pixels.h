// From stored TIFF rows to rows as bitmaps hold them.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "formats/tiff_image.h"
#include "formats/tiff_rows.h"

namespace tavo::tiff {

class PixelConverter {
 public:
  Status start(const Directory& directory, const Image& image);

  // Whether stored rows need at most a change in place: then they can be read into the row that
  // finish_row() gets, and convert() is not for them.
  bool is_direct() const { return is_direct_; }
  void finish_row(std::span<uint8_t> row) const;

  // Makes row `line` (below image.unit_height) of the stored row that `rows` stands at.
  void convert(const StoredRows& rows, uint32_t line, uint8_t* out);

 private:
  void take_samples(std::span<const uint8_t> row, uint32_t first, uint8_t* out) const;
  void take_units(std::span<const uint8_t> row, uint32_t line);
  Status start_ycc(const Directory& directory);
  uint8_t* samples(uint32_t which) { return samples_.data() + size_t{which} * image_->width; }

  // What the YCbCr samples add to the three colours, in 65536ths.
  struct YccTables {
    int32_t y[256];
    int32_t cr_to_red[256];
    int32_t cr_to_green[256];
    int32_t cb_to_green[256];
    int32_t cb_to_blue[256];
  };

  const Image* image_ = nullptr;
  ByteOrder order_;
  bool is_direct_ = false;
  Buffer samples_;  // one row of 8-bit samples for each that is used
  Array<YccTables> ycc_;
};

}  // namespace tavo::tiff
