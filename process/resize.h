// Nearest-neighbour resampling: whole pixels and whole rows are repeated and dropped.
#pragma once

#include <array>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// How often each source position of one direction is repeated: `step` times and once more where
// the pattern, which repeats every 256 positions, says so.
struct ResizeRule {
  int32_t step = 0;
  std::array<uint8_t, 256> extra = {};

  void set(int32_t old_size, int32_t new_size);
  uint32_t count(uint32_t position) const {
    return static_cast<uint32_t>(step) + extra[position & 255u];
  }
  // The counts of the first `positions` together.
  uint64_t total(uint32_t positions) const;
};

// Resamples the rows of a picture, one at a time and in place.
class Resizer {
 public:
  // Sizes in pixels and rows. kBadArgument for sizes below 1.
  Status start(int32_t old_width, int32_t old_height, int32_t new_width, int32_t new_height);

  // How often source row `number` appears in the result; 0: it is dropped.
  uint32_t row_count(uint32_t number) const;

  // Resamples `row`, which has room for the larger of the two widths, at any depth of a bitmap.
  // Result positions that no source pixel reaches keep what the buffer held there: at the left end
  // of enlarged rows that is the source.
  void resize_row(uint8_t* row, int32_t bits);

  // The same from a row to another, which do not overlap; 8 bits and more. Positions that neither
  // a source pixel nor the source as it stood reaches become zero.
  void resize_row(const uint8_t* from, uint8_t* to, int32_t bits);

  int32_t new_width() const { return new_width_; }
  bool keeps_width() const { return new_width_ == old_width_; }

  // One store of result, whose first `count` bytes hold: they come from the source at `offset`,
  // each from where its shuffle says.
  struct Step {
    uint32_t offset;
    uint32_t count;
  };

 private:
  void prepare(int32_t bits);
  void prepare_shrinking(uint32_t pixel_bytes);
  void prepare_enlarging(uint32_t pixel_bytes);
  bool allocate_steps(uint32_t most);
  void shrink_row(const uint8_t* from, uint8_t* to) const;
  void enlarge_row(const uint8_t* from, uint8_t* to, size_t new_bytes, size_t first_byte) const;
  void resize_row_slowly(const uint8_t* from, uint8_t* to, int32_t bits) const;
  bool is_equal() const;

  int32_t old_width_ = 1;
  int32_t old_height_ = 1;
  int32_t new_width_ = 1;
  int32_t new_height_ = 1;
  ResizeRule across_;
  ResizeRule down_;

  // Result pixels that are written: the first ones (shrinking) or the last ones (enlarging).
  uint32_t reached_ = 0;

  int32_t prepared_bits_ = 0;
  Array<Step> steps_;  // step_count_ 0: the plain loops serve
  Array<uint8_t> shuffles_;
  uint32_t step_count_ = 0;
  uint32_t lanes_ = 0;       // bytes of one store, and of a step's shuffle
  uint32_t last_steps_ = 0;  // shrinking: those whose stores reach beyond the result
};

// The plain loops that say what a row becomes, pixel by pixel.
void resize_row_plain(uint8_t* row, int32_t bits, int32_t old_width, int32_t new_width,
                      const ResizeRule& rule);

// T_SizeBitmap: on failure the bitmap is as it was. T_ResizeBitmap: both must be allocated.
Status size_bitmap(BitmapHandle& bitmap, int32_t width, int32_t height);
Status resize_bitmap(BitmapHandle& source, BitmapHandle& destination);

}  // namespace tavo::process
