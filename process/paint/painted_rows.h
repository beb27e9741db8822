// Rows of a picture as a device takes them: its size, its depth, its colors.
#pragma once

#include <cstdint>
#include <optional>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "color/paint_palette.h"
#include "dither/dither.h"
#include "process/paint/device_table.h"
#include "process/paint/picture_rows.h"
#include "process/paint/scaled_rows.h"
#include "tavo45.h"

namespace tavo::process {

// What a picture's pixels become.
enum class PaintedAs {
  kColors,   // blue first
  kIndices,  // as they are, in 1, 4 or 8 bits; of pictures that are not averaged
  kTable,    // entries of the device's table
};

struct PaintPlan {
  ScaledView view;
  PaintedAs as = PaintedAs::kColors;
  int32_t color_bits = 32;  // or 24
  const DeviceTable* table = nullptr;
  bool dithers = false;
  bool is_ordered = false;  // whatever the picture's own method
};

class PaintedRows {
 public:
  explicit PaintedRows(PictureRows& rows) : rows_(rows), scaled_(rows) {}

  // `colors` is what the indices of the picture stand for. kNoMemory, and kBadArgument for a
  // dithering method that there is not.
  Status start(const PaintPlan& plan, const color::PaintPalette& colors);

  // The device's column with which rows begin, how many they have, and how they are stored: a row
  // takes a multiple of 4 bytes.
  int32_t left() const { return view_.left; }
  int32_t width() const { return view_.right - view_.left; }
  int32_t bits() const { return bits_; }
  size_t stride() const { return stride_; }

  // The device's row `y`; from call to call they go down.
  Status row(int32_t y, uint8_t* out);

 private:
  enum class Step { kCopy, kPack, kMap, kConvert, kDither };

  Status start_table(const PaintPlan& plan, const color::PaintPalette& colors);
  Status start_dithering(const PaintPlan& plan, const color::PaintPalette& colors);
  bool map_exactly(const DeviceTable& table, const color::PaintPalette& colors);
  Status dither_to(int32_t y, uint8_t* out);

  PictureRows& rows_;
  ScaledRows scaled_;
  ScaledView view_;
  Step step_ = Step::kCopy;
  int32_t bits_ = 32;
  size_t stride_ = 0;
  uint8_t map_[256] = {};
  color::RowConverter nearest_;
  BitmapHandle dithered_ = {};  // describes the scaled rows
  std::optional<color::PassScope> pass_;
  bool diffuses_ = false;
  int32_t next_ = 0;  // the row that the pass expects
  Buffer work_;
};

}  // namespace tavo::process
