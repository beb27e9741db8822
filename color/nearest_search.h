// The search of NearestColor by blocks of candidates.
//
// A candidate is red | green << 8 | blue << 16 | hue class << 24. Its key is the distance << 9,
// plus what decides between equal distances: 255 - place in the list when the hue class is that of
// the colour sought, otherwise 256 + place. So the least key is the answer, except that exact
// matches have a rule of their own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::color {

inline constexpr uint32_t kBlock = 8;  // candidates; a list is filled up to whole ones

// Fills up a block: as near as the entry before, of no hue class, and later, so never chosen.
constexpr uint32_t filler_after(uint32_t candidate) { return candidate | 0xFF000000; }
constexpr bool is_filler(uint32_t candidate) { return candidate >> 24 == 0xFF; }

// The colour cube is cut into cells, and a cell that has a long list into parts.
inline constexpr uint32_t kCells = 16 * 16 * 16;
inline constexpr uint32_t kParts = 4 * 4 * 4;

// A list of candidates: its first block in the pool, and how many there are. kUnknown: not made
// yet. A split cell has in its place where the lists of its parts are.
inline constexpr uint32_t kUnknown = 0;
inline constexpr uint32_t kIsSplit = 0x80000000;
constexpr uint32_t list_at(uint32_t first_block, uint32_t blocks) {
  return first_block << 8 | blocks;
}
constexpr uint32_t whole_list(uint32_t count) { return list_at(0, (count + kBlock - 1) / kBlock); }

struct Lists {
  const uint32_t* colors;
  const uint8_t* indices;
  const uint8_t* results;   // the index that stands for a candidate's; from 256 on, after a match
  const uint32_t* by_cell;  // null: the caller names lists, not cells
};

// The list for a cell (12 bits) and the part of it (6 bits).
inline uint32_t list_of(const uint32_t* by_cell, uint32_t cell) {
  const uint32_t list = by_cell[cell & (kCells - 1)];
  return (list & kIsSplit) != 0 ? by_cell[(list & ~kIsSplit) + (cell >> 12)] : list;
}

struct NearestSearch {
  // Finds the indices of targets, which are like candidates, until it meets a cell without a list;
  // returns how many.
  size_t (*find)(const Lists& lists, const uint32_t* targets, const uint32_t* cells, size_t count,
                 uint8_t* indices);
  // Finds the places of the candidates that can be nearest to a colour between `low` and `high`,
  // in their order.
  size_t (*gather)(std::span<const uint32_t> candidates, uint32_t low, uint32_t high,
                   std::array<uint8_t, 256>& found);
};

extern const NearestSearch kNearestSearchSse2;
extern const NearestSearch kNearestSearchAvx2;

}  // namespace tavo::color
