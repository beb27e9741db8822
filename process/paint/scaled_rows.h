// Rows of a part of a picture at the size of a device, from any depth.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "process/paint/across_pixels.h"
#include "process/paint/axis.h"
#include "process/paint/down_mean.h"
#include "process/paint/picture_rows.h"
#include "tavo45.h"

namespace tavo::process {

// Which pixels of a device are wanted.
struct ScaledView {
  Axis across;
  Axis down;
  int32_t left = 0;
  int32_t right = 0;

  bool takes_means() const { return across.takes_means || down.takes_means; }
};

class ScaledRows {
 public:
  explicit ScaledRows(PictureRows& rows) : rows_(rows) {}

  // Rows of 24 or 32 bits, blue first, or of 8: indices, of pictures that are not averaged.
  // `colors` are those of 256 indices. kNoMemory.
  Status start(const ScaledView& view, int32_t bits, const T_PaletteEntry* colors);

  // Row `y` of the device, valid until the next one. Rows may be asked for in any order.
  Status row(int32_t y, const uint8_t*& pixels);

 private:
  Status start_means(const T_PaletteEntry* colors);
  Status pixels_of(int64_t y, const uint8_t*& pixels);
  Status average(int32_t y);

  PictureRows& rows_;
  ScaledView view_;
  int32_t bits_ = 0;
  int64_t from_ = 0;         // the first column that is looked at, a multiple of 8
  int32_t count_ = 0;        // columns
  int32_t width_ = 0;        // of the result
  int32_t picked_bits_ = 0;  // of what is picked or averaged, 0 for levels
  bool widens_ = false;      // before means are taken
  bool finishes_ = false;
  color::RowConverter widen_;
  color::RowConverter finish_;  // to the colors that are asked for
  DownMean mean_;
  AcrossPixels across_;
  int64_t widened_ = -1;  // the row in wide_
  int64_t made_ = -1;     // the row that the result shows, of single ones
  Buffer wide_;
  Buffer picked_;
  Buffer out_;
};

}  // namespace tavo::process
