// How often each colour class occurs in a picture, and in which order they first do.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "color/paint_palette.h"
#include "dither/dither.h"
#include "tavo45.h"

namespace tavo::color {

class ClassHistogram {
 public:
  // For rows of depth 1, 2, 4, 8, 16, 24 or 32.
  Status allocate(int32_t depth);

  // Counts the pixels of `rows` rows.
  void add_rows(const uint8_t* rows, size_t stride, uint32_t count, uint32_t width, int32_t depth,
                uint32_t order);
  // To be called after the last rows; indices are read through `palette`.
  void finish(int32_t depth, const PaintPalette& palette);

  // Pixels per class; a count stops at UINT32_MAX.
  Array<uint32_t>& counts() { return counts_; }
  // The classes that occur, in the order in which they first do.
  std::span<uint16_t> classes() { return classes_.items().first(class_count_); }

 private:
  void add_classes(std::span<const uint16_t> classes);
  void add_indices(std::span<const uint8_t> indices);
  void meet(uint32_t color_class) { classes_[class_count_++] = static_cast<uint16_t>(color_class); }

  // Neighbours are often alike; two tables in turn spare them the wait for each other's store.
  // Indexed pictures need one.
  Array<uint32_t> counts_;
  Array<uint32_t> odd_counts_;
  Array<uint16_t> classes_;
  uint32_t class_count_ = 0;

  // Indexed pictures: pixels per index, and the indices met, in order.
  uint64_t index_counts_[256] = {};
  uint8_t indices_met_[256] = {};
  uint32_t index_count_ = 0;
};

}  // namespace tavo::color
