// From the indices of one palette to those of another.
#pragma once

#include <cstdint>
#include <span>

#include "color/nearest.h"
#include "tavo45.h"

namespace tavo::color {

using IndexTable = std::span<uint8_t, 256>;

// Fills `table` with the index in `to` that is nearest to each entry of `from`, and returns whether
// that leaves every index of `from` as it is. No search is made, and the table is the identity,
// when `from` is the beginning of `to`, all four bytes of each entry counting. Indices beyond
// `from` map to themselves in that case, otherwise to 0, and so does everything when `to` is
// empty. A null palette is the smallest built-in one with at least that many entries, and at most
// 256 entries count. `nearest` is work space; it is started for `to` when a search is made.
bool map_palette(const T_PaletteEntry* from, uint32_t from_count, const T_PaletteEntry* to,
                 uint32_t to_count, IndexTable table, NearestColor& nearest);

}  // namespace tavo::color
