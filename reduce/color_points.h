// The colours of a picture as points: each stands for pixels of one colour, or of neighbouring
// ones, and knows how many they are and their exact mean.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "core/progress.h"
#include "tavo45.h"

namespace tavo::color {

// Colours are packed as NearestColor takes them: red | green << 8 | blue << 16.
constexpr uint32_t component(uint32_t color, uint32_t c) { return color >> (8 * c) & 255; }
constexpr T_PaletteEntry entry_of(uint32_t color) {
  return {static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8),
          static_cast<uint8_t>(color), 0};
}

// Different colours, as long as they are few. Zeroed it is empty.
class ColorSet {
 public:
  // Forgets all about counting when there are more than `most` (1 to 256).
  explicit ColorSet(uint32_t most) : most_(most) {}

  bool is_over() const { return count_ > most_; }
  void add(uint32_t color);
  // Not is_over(): the colours in the order in which they came.
  std::span<const uint32_t> colors() const { return std::span(colors_).first(count_); }

 private:
  static constexpr uint32_t kSlots = 1024;  // at most a quarter full

  uint32_t most_;
  uint32_t count_ = 0;
  std::array<uint16_t, kSlots> slots_ = {};  // 1 + place in colors_
  std::array<uint32_t, 257> colors_ = {};
};

// The pixels of a point: their number, and the sums of their components above those of the least
// colour of its cell, which has the two low bits of each component zero.
struct ColorCell {
  uint32_t pixels;
  uint32_t low[3];
};

class ColorPoints {
 public:
  // Reads the picture once, or twice when its colours are not the same few and lie so close that
  // cells of 4 x 4 x 4 would be too coarse. With no more than `few` different colours there are no
  // points. Progress is told from 0 to `percent_share`.
  Status read(BitmapHandle& bitmap, uint32_t few, core::Progress& progress, uint32_t percent_share);

  // The different colours of a picture that has no more than `few`.
  const ColorSet& few_colors() const { return few_; }

  size_t size() const { return size_; }
  // The rounded means, ascending by their cells.
  std::span<const uint32_t> colors() const { return colors_.items().first(size_); }
  uint32_t pixels(size_t i) const { return pixels_[i]; }
  // The sum of component `c` of a point's pixels.
  uint64_t sum(size_t i, uint32_t c) const {
    if (cells_.size() == 0) return uint64_t{component(colors_[i], c)} * pixels_[i];
    return uint64_t{component(colors_[i], c) & ~3u} * pixels_[i] + cells_[i].low[c];
  }

 private:
  Status read_indices(BitmapHandle& bitmap, core::Progress& progress, uint32_t percent_share);
  Status read_cells(BitmapHandle& bitmap, core::Progress& progress, uint32_t percent_share);
  Status read_colors(BitmapHandle& bitmap, core::Progress& progress, uint32_t percent_done,
                     uint32_t percent_share);
  Status gather_cells();
  Status gather_colors();

  ColorSet few_{0};
  Array<ColorCell> cells_;  // of the points, unless each is a single colour
  Array<uint32_t> colors_;
  Array<uint32_t> pixels_;
  size_t size_ = 0;
};

}  // namespace tavo::color
