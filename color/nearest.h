// The palette entry nearest to a colour, by the sum of squared component differences.
//
// Which of several equally near entries is taken:
// - an exact match: the first one; but black takes entry 0, else the last entry, before any other
//   black entry, and white takes the last entry, else entry 0;
// - otherwise the last of those whose hue class is the colour's, or the first when none's is.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "tavo45.h"

namespace tavo::color {

// 4 when blue exceeds red, plus 2 when green is below both, plus 1 when it is above both.
constexpr uint32_t hue_class(uint32_t red, uint32_t green, uint32_t blue) {
  const uint32_t low = red < blue ? red : blue;
  const uint32_t high = red < blue ? blue : red;
  return (blue > red ? 4u : 0u) + (green < low ? 2u : 0u) + (green > high ? 1u : 0u);
}

// Looks at every entry of `palette` (at most 256). Components 0 to 255. -1 without entries.
int32_t nearest_color_plain(std::span<const T_PaletteEntry> palette, uint32_t red, uint32_t green,
                            uint32_t blue);

struct NearestSearch;

// The same answers, for many colours and one palette.
class NearestColor {
 public:
  // Copies the palette: 1 to 256 entries. Cannot fail: without memory it is slower.
  void start(std::span<const T_PaletteEntry> palette);

  // Whether start() was last called with these very entries.
  bool is_for(std::span<const T_PaletteEntry> palette) const;

  // The index of the nearest entry; components 0 to 255.
  uint32_t find(uint32_t red, uint32_t green, uint32_t blue);

  // The same for many colours at once, each red | green << 8 | blue << 16 (the top byte is not
  // looked at). `indices` has as many elements as `colors`.
  void find_all(std::span<const uint32_t> colors, std::span<uint8_t> indices);

 private:
  using Entries = std::array<uint8_t, 256>;

  void fill_candidates(const Entries& first);
  void fill_results(const Entries& first);
  bool prepare_cells(size_t searches);
  void build_list(uint32_t cell);
  uint32_t make_list(uint32_t from, uint32_t low, uint32_t high);

  std::array<T_PaletteEntry, 256> entries_ = {};
  uint32_t count_ = 0;
  const NearestSearch* search_ = nullptr;
  // Entries as red | green << 8 | blue << 16 | hue class << 24, filled up to whole blocks, and
  // their indices.
  std::array<uint32_t, 256> packed_ = {};
  Entries packed_indices_ = {};
  uint32_t candidates_ = 0;
  // The index that stands for a candidate's: its own, and, from 256 on, after an exact match.
  std::array<uint8_t, 512> results_ = {};

  // The colour cube is cut into cells, each with a list of the entries that can be nearest to a
  // colour in it. Lists are made when they are first needed, in one pool.
  Buffer pool_;
  uint32_t used_blocks_ = 0;
  uint32_t used_splits_ = 0;
  uint64_t searches_ = 0;
  bool has_cells_ = false;
};

}  // namespace tavo::color
