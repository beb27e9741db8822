#include "reduce/histogram.h"

#include <algorithm>

#include "color/index_rows.h"
#include "color/planes.h"

namespace tavo::color {

Status ClassHistogram::allocate(int32_t depth) {
  TRY(counts_.allocate(kColorClasses));
  if (depth > 8) TRY(odd_counts_.allocate(kColorClasses));
  return classes_.allocate(kColorClasses);
}

void ClassHistogram::add_rows(const uint8_t* rows, size_t stride, uint32_t count, uint32_t width,
                              int32_t depth, uint32_t order) {
  Planes planes;
  alignas(16) uint16_t classes[kPlanePixels];
  uint8_t indices[kPlanePixels];
  for (uint32_t y = 0; y < count; ++y) {
    const uint8_t* row = rows + y * stride;
    for (uint32_t x = 0, n = 0; x < width; x += n) {
      n = std::min(kPlanePixels, width - x);
      if (depth <= 8) {
        unpack_indices(depth, row + packed_offset(depth, x), std::span(indices).first(n));
        add_indices(std::span(indices).first(n));
      } else {
        split_pixels(row + static_cast<size_t>(x) * (static_cast<uint32_t>(depth) / 8), depth,
                     order, n, planes);
        classes_of(planes, n, classes);
        add_classes(std::span(classes).first(n));
      }
    }
  }
}

// Bitmaps above 8 bits have too few pixels to overflow a count.
void ClassHistogram::add_classes(std::span<const uint16_t> classes) {
  uint32_t* even = counts_.data();
  uint32_t* odd = odd_counts_.data();
  size_t i = 0;
  for (; i + 1 < classes.size(); i += 2) {
    const uint32_t a = classes[i];
    const uint32_t b = classes[i + 1];
    if (even[a]++ == 0 && odd[a] == 0) meet(a);
    if (odd[b]++ == 0 && even[b] == 0) meet(b);
  }
  if (i < classes.size()) {
    const uint32_t a = classes[i];
    if (even[a]++ == 0 && odd[a] == 0) meet(a);
  }
}

void ClassHistogram::add_indices(std::span<const uint8_t> indices) {
  for (const uint8_t index : indices) {
    if (index_counts_[index]++ == 0) indices_met_[index_count_++] = index;
  }
}

void ClassHistogram::finish(int32_t depth, const PaintPalette& palette) {
  if (depth > 8) {
    for (uint32_t i = 0; i < kColorClasses; ++i) counts_[i] += odd_counts_[i];
  }
  for (uint32_t i = 0; i < index_count_; ++i) {
    const T_PaletteEntry& entry = palette.entries[indices_met_[i]];
    const uint32_t c = color_class(entry.Red, entry.Green, entry.Blue);
    if (counts_[c] == 0) meet(c);
    const uint64_t sum = counts_[c] + index_counts_[indices_met_[i]];
    counts_[c] = static_cast<uint32_t>(std::min<uint64_t>(sum, UINT32_MAX));
  }
  odd_counts_.release();
}

}  // namespace tavo::color
