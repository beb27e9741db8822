#include "color/nearest.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "base/variants.h"
#include "color/nearest_search.h"

namespace tavo::color {

namespace {

constexpr uint32_t square_of_difference(uint32_t a, uint32_t b) {
  const int32_t difference = static_cast<int32_t>(a) - static_cast<int32_t>(b);
  return static_cast<uint32_t>(difference * difference);
}

constexpr bool is_gray_of(const T_PaletteEntry& entry, uint32_t level) {
  return entry.Red == level && entry.Green == level && entry.Blue == level;
}

constexpr uint32_t kColorMask = 0x00FFFFFF;
constexpr uint32_t kSplitCells = 256;
constexpr uint32_t kPoolBlocks = 8192;
constexpr uint32_t kLongList = 1;  // blocks; a cell with more is split
constexpr uint64_t kSearchesBeforeCells = 512;

constexpr uint32_t pack_color(uint32_t red, uint32_t green, uint32_t blue) {
  return red | green << 8 | blue << 16;
}
constexpr uint32_t pack_color(const T_PaletteEntry& entry) {
  return pack_color(entry.Red, entry.Green, entry.Blue);
}

struct Pool {
  std::array<uint32_t, kCells + kSplitCells*(kParts + 1)> cells;
  std::array<uint32_t, kPoolBlocks * kBlock> colors;
  std::array<uint8_t, kPoolBlocks * kBlock> indices;
};

// For each entry the first one of its colour.
std::array<uint8_t, 256> first_of_each_color(std::span<const T_PaletteEntry> palette) {
  constexpr uint32_t kSlots = 512;          // at most half full
  std::array<uint16_t, kSlots> slots = {};  // entry + 1
  std::array<uint8_t, 256> first = {};
  for (uint32_t i = 0; i < palette.size(); ++i) {
    const uint32_t color = pack_color(palette[i]);
    uint32_t slot = color * 0x9E3779B1u >> 23;
    while (slots[slot] != 0 && pack_color(palette[slots[slot] - 1u]) != color) {
      slot = (slot + 1) % kSlots;
    }
    if (slots[slot] == 0) slots[slot] = static_cast<uint16_t>(i + 1);
    first[i] = static_cast<uint8_t>(slots[slot] - 1);
  }
  return first;
}

// The least and the greatest colour of a part of a cell, numbered as by prepare_targets.
constexpr uint32_t low_corner(uint32_t cell) {
  const uint32_t part = cell >> 12;
  return pack_color((cell & 15) << 4 | (part & 3) << 2, (cell & 0xF0) | (part & 12),
                    (cell >> 4 & 0xF0) | (part >> 2 & 12));
}

// Adds its hue class to each colour, and finds its cell (12 bits) and the part of it (6 bits).
void prepare_targets(const uint32_t* colors, size_t count, uint32_t* targets, uint32_t* cells) {
  for (size_t i = 0; i < count; ++i) {
    const uint32_t red = colors[i] & 255, green = colors[i] >> 8 & 255,
                   blue = colors[i] >> 16 & 255;
    targets[i] = (colors[i] & kColorMask) | hue_class(red, green, blue) << 24;
    const uint32_t cell = red >> 4 | (green & 0xF0) | (blue & 0xF0) << 4;
    const uint32_t part = (red >> 2 & 3) | (green & 12) | (blue & 12) << 2;
    cells[i] = cell | part << 12;
  }
}

}  // namespace

int32_t nearest_color_plain(std::span<const T_PaletteEntry> palette, uint32_t red, uint32_t green,
                            uint32_t blue) {
  if (palette.empty()) return -1;
  const int32_t last = static_cast<int32_t>(palette.size()) - 1;
  if ((red | green | blue) == 0) {
    if (is_gray_of(palette.front(), 0)) return 0;
    if (is_gray_of(palette.back(), 0)) return last;
  }
  if ((red & green & blue) == 255) {
    if (is_gray_of(palette.back(), 255)) return last;
    if (is_gray_of(palette.front(), 255)) return 0;
  }
  const uint32_t hue = hue_class(red, green, blue);
  uint32_t least = UINT32_MAX;
  int32_t best = 0;
  for (int32_t i = 0; i <= last && least != 0; ++i) {
    const T_PaletteEntry& entry = palette[static_cast<size_t>(i)];
    const uint32_t distance = square_of_difference(red, entry.Red) +
                              square_of_difference(green, entry.Green) +
                              square_of_difference(blue, entry.Blue);
    if (distance < least ||
        (distance == least && hue_class(entry.Red, entry.Green, entry.Blue) == hue)) {
      least = distance;
      best = i;
    }
  }
  return best;
}

void NearestColor::start(std::span<const T_PaletteEntry> palette) {
  assert(!palette.empty() && palette.size() <= 256);
  std::ranges::copy(palette, entries_.begin());
  count_ = static_cast<uint32_t>(palette.size());
  search_ = Variants<const NearestSearch*>{.any = &kNearestSearchSse2, .avx2 = &kNearestSearchAvx2}
                .best();
  const Entries first = first_of_each_color(palette);
  fill_candidates(first);
  fill_results(first);
  searches_ = 0;
  has_cells_ = false;
}

// Of entries of one colour only the first and the last can be chosen.
void NearestColor::fill_candidates(const Entries& first) {
  Entries last;
  for (uint32_t i = 0; i < count_; ++i) last[first[i]] = static_cast<uint8_t>(i);
  candidates_ = 0;
  for (uint32_t i = 0; i < count_; ++i) {
    if (i != first[i] && i != last[first[i]]) continue;
    const T_PaletteEntry& e = entries_[i];
    packed_[candidates_] = pack_color(e) | hue_class(e.Red, e.Green, e.Blue) << 24;
    packed_indices_[candidates_++] = static_cast<uint8_t>(i);
  }
  for (size_t i = candidates_; i % kBlock != 0; ++i) packed_[i] = filler_after(packed_[i - 1]);
}

void NearestColor::fill_results(const Entries& first) {
  const auto last = static_cast<uint8_t>(count_ - 1);
  const uint32_t first_color = pack_color(entries_[0]);
  const uint32_t last_color = pack_color(entries_[last]);
  for (uint32_t i = 0; i < count_; ++i) {
    const uint32_t color = pack_color(entries_[i]);
    const bool is_black_at_end = color == 0 && first_color != 0 && last_color == 0;
    const bool is_white_at_end = color == kColorMask && last_color == kColorMask;
    results_[i] = static_cast<uint8_t>(i);
    results_[256 + i] = is_black_at_end || is_white_at_end ? last : first[i];
  }
}

bool NearestColor::is_for(std::span<const T_PaletteEntry> palette) const {
  return palette.size() == count_ &&
         std::memcmp(palette.data(), entries_.data(), palette.size_bytes()) == 0;
}

// Whether the lists by cell are there. They come with the first longer run of searches, and not
// for palettes that fill two blocks: those are searched whole as quickly.
bool NearestColor::prepare_cells(size_t searches) {
  if (has_cells_) return true;
  if (candidates_ <= 2 * kBlock) return false;
  searches_ += searches;
  if (searches_ < kSearchesBeforeCells) return false;
  if (pool_.size() == 0 && !pool_.allocate(sizeof(Pool)).ok()) {
    searches_ = 0;  // asked again after as many searches
    return false;
  }
  auto& pool = *reinterpret_cast<Pool*>(pool_.data());
  std::ranges::copy(packed_, pool.colors.begin());
  std::ranges::copy(packed_indices_, pool.indices.begin());
  std::fill_n(pool.cells.begin(), kCells, kUnknown);
  used_blocks_ = 256 / kBlock;  // the whole palette is the first list
  used_splits_ = 0;
  has_cells_ = true;
  return true;
}

// Makes the list that list_of did not find. A long one splits its cell, as long as there is room.
void NearestColor::build_list(uint32_t cell) {
  auto& pool = *reinterpret_cast<Pool*>(pool_.data());
  uint32_t& whole_cell = pool.cells[cell & (kCells - 1)];
  if ((whole_cell & kIsSplit) != 0) {
    uint32_t* parts = &pool.cells[whole_cell & ~kIsSplit];
    const uint32_t low = low_corner(cell);
    parts[cell >> 12] = make_list(parts[kParts], low, low | 0x030303);
    return;
  }
  const uint32_t low = low_corner(cell) & 0xF0F0F0;
  const uint32_t list = make_list(whole_list(candidates_), low, low | 0x0F0F0F);
  if ((list & 255) <= kLongList || used_splits_ == kSplitCells) {
    whole_cell = list;
    return;
  }
  const uint32_t at = kCells + used_splits_++ * (kParts + 1);
  std::fill_n(&pool.cells[at], kParts, kUnknown);
  pool.cells[at + kParts] = list;  // from which those of the parts are taken
  whole_cell = kIsSplit | at;
}

// The list of those of `from` that can be nearest to a colour between `low` and `high`.
uint32_t NearestColor::make_list(uint32_t from, uint32_t low, uint32_t high) {
  auto& pool = *reinterpret_cast<Pool*>(pool_.data());
  const uint32_t* from_colors = &pool.colors[(from >> 8) * kBlock];
  const uint8_t* from_indices = &pool.indices[(from >> 8) * kBlock];
  std::array<uint8_t, 256> found;
  const size_t count = search_->gather({from_colors, (from & 255) * kBlock}, low, high, found);
  const auto blocks = static_cast<uint32_t>((count + kBlock - 1) / kBlock);
  if (blocks == (from & 255) || used_blocks_ + blocks > kPoolBlocks) return from;
  uint32_t* colors = &pool.colors[used_blocks_ * kBlock];
  uint8_t* indices = &pool.indices[used_blocks_ * kBlock];
  for (size_t i = 0; i < count; ++i) {
    colors[i] = from_colors[found[i]];
    indices[i] = from_indices[found[i]];
  }
  for (size_t i = count; i % kBlock != 0; ++i) colors[i] = filler_after(colors[i - 1]);
  const uint32_t list = list_at(used_blocks_, blocks);
  used_blocks_ += blocks;
  return list;
}

uint32_t NearestColor::find(uint32_t red, uint32_t green, uint32_t blue) {
  const uint32_t color = pack_color(red, green, blue);
  uint8_t index = 0;
  find_all({&color, 1}, {&index, 1});
  return index;
}

void NearestColor::find_all(std::span<const uint32_t> colors, std::span<uint8_t> indices) {
  assert(indices.size() == colors.size() && count_ != 0);
  constexpr size_t kChunk = 256;
  std::array<uint32_t, kChunk> targets;
  std::array<uint32_t, kChunk> cells;
  while (!colors.empty()) {
    const size_t count = std::min(kChunk, colors.size());
    const bool by_cell = prepare_cells(count);
    const auto* pool = reinterpret_cast<const Pool*>(pool_.data());
    const Lists lists =
        by_cell
            ? Lists{pool->colors.data(), pool->indices.data(), results_.data(), pool->cells.data()}
            : Lists{packed_.data(), packed_indices_.data(), results_.data(), nullptr};
    prepare_targets(colors.data(), count, targets.data(), cells.data());
    if (!by_cell) std::fill_n(cells.begin(), count, whole_list(candidates_));
    for (size_t done = 0; done < count;) {
      done += search_->find(lists, targets.data() + done, cells.data() + done, count - done,
                            indices.data() + done);
      if (done < count) build_list(cells[done]);
    }
    colors = colors.subspan(count);
    indices = indices.subspan(count);
  }
}

}  // namespace tavo::color
