#include "color/nearest.h"

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "base/variants.h"

namespace tavo::color {

namespace {

constexpr uint32_t square_of_difference(uint32_t a, uint32_t b) {
  const int32_t difference = static_cast<int32_t>(a) - static_cast<int32_t>(b);
  return static_cast<uint32_t>(difference * difference);
}

constexpr bool is_gray_of(const T_PaletteEntry& entry, uint32_t level) {
  return entry.Red == level && entry.Green == level && entry.Blue == level;
}

// ---- The search by blocks ----
//
// A candidate is red | green << 8 | blue << 16 | hue class << 24. Its key is the distance << 9,
// plus what decides between equal distances: 255 - place in the list when the hue class is that of
// the colour sought, otherwise 256 + place. So the least key is the answer, except that exact
// matches have a rule of their own.

constexpr uint32_t kBlock = 8;
constexpr uint32_t kColorMask = 0x00FFFFFF;
constexpr uint32_t kCells = 16 * 16 * 16;
constexpr uint32_t kParts = 4 * 4 * 4;  // of a cell that has a long list
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

// Fills up a block: as near as the entry before, of no hue class, and later, so never chosen.
constexpr uint32_t filler_after(uint32_t candidate) { return candidate | 0xFF000000; }
constexpr bool is_filler(uint32_t candidate) { return candidate >> 24 == 0xFF; }

// A list of candidates: its first block in the pool, and how many there are. kUnknown: not made
// yet. A split cell has in its place where the lists of its parts are.
constexpr uint32_t kUnknown = 0;
constexpr uint32_t kIsSplit = 0x80000000;
constexpr uint32_t list_at(uint32_t first_block, uint32_t blocks) {
  return first_block << 8 | blocks;
}
constexpr uint32_t whole_list(uint32_t count) { return list_at(0, (count + kBlock - 1) / kBlock); }

struct Pool {
  std::array<uint32_t, kCells + kSplitCells*(kParts + 1)> cells;
  std::array<uint32_t, kPoolBlocks * kBlock> colors;
  std::array<uint8_t, kPoolBlocks * kBlock> indices;
};

struct Lists {
  const uint32_t* colors;
  const uint8_t* indices;
  const uint8_t* results;
  const uint32_t* by_cell;  // null: the caller names lists, not cells
};

// The three low bytes of each word squared and added.
__m128i sum_of_squares(__m128i v) {
  const __m128i outer = _mm_and_si128(v, _mm_set1_epi32(0x00FF00FF));
  const __m128i middle = _mm_and_si128(_mm_srli_epi32(v, 8), _mm_set1_epi32(0xFF));
  return _mm_add_epi32(_mm_madd_epi16(outer, outer), _mm_madd_epi16(middle, middle));
}

inline __m128i smaller(__m128i a, __m128i b) {
  const __m128i is_less = _mm_cmplt_epi32(a, b);
  return _mm_or_si128(_mm_and_si128(is_less, a), _mm_andnot_si128(is_less, b));
}

inline int32_t least_of(__m128i v) {
  v = smaller(v, _mm_shuffle_epi32(v, 0x4E));
  return _mm_cvtsi128_si32(smaller(v, _mm_shuffle_epi32(v, 0xB1)));
}

// Whether some colour of the box is at least as near to `candidate` as to `pivot`. The difference
// of the two distances is linear in the colour, so each component decides for one end.
bool can_be_nearer(uint32_t candidate, uint32_t pivot, uint32_t low, uint32_t high) {
  int32_t gain = 0;
  for (uint32_t shift = 0; shift < 24; shift += 8) {
    const auto c = static_cast<int32_t>(candidate >> shift & 255);
    const auto p = static_cast<int32_t>(pivot >> shift & 255);
    const auto end = static_cast<int32_t>((p > c ? low : high) >> shift & 255);
    gain += (p - c) * (p + c - 2 * end);
  }
  return gain >= 0;
}

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

// Finds the places of the candidates that can be nearest to a colour of the box, in their order.
// What is farther everywhere than one of them, the pivot, is left out. Equally near ones stay in.
size_t gather_candidates(std::span<const uint32_t> candidates, uint32_t low, uint32_t high,
                         std::array<uint8_t, 256>& found) {
  const __m128i lows = _mm_set1_epi32(static_cast<int>(low));
  const __m128i highs = _mm_set1_epi32(static_cast<int>(high));
  alignas(16) std::array<int32_t, 256> farthest, closest;
  __m128i least = _mm_set1_epi32(INT32_MAX);
  for (size_t i = 0; i < candidates.size(); i += 4) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&candidates[i]));
    const __m128i far = _mm_max_epu8(_mm_subs_epu8(v, lows), _mm_subs_epu8(highs, v));
    const __m128i near = _mm_or_si128(_mm_subs_epu8(lows, v), _mm_subs_epu8(v, highs));
    const __m128i far_sum = sum_of_squares(far);
    least = smaller(least, far_sum);
    _mm_store_si128(reinterpret_cast<__m128i*>(&farthest[i]), far_sum);
    _mm_store_si128(reinterpret_cast<__m128i*>(&closest[i]), sum_of_squares(near));
  }
  const int32_t bound = least_of(least);
  size_t pivot = 0;
  while (farthest[pivot] != bound) ++pivot;
  size_t count = 0;
  for (size_t i = 0; i < candidates.size(); i += 4) {
    const __m128i v = _mm_load_si128(reinterpret_cast<const __m128i*>(&closest[i]));
    const __m128i is_out = _mm_cmpgt_epi32(v, _mm_set1_epi32(bound));
    auto left = ~static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(is_out))) & 15;
    for (; left != 0; left &= left - 1) {
      const size_t place = i + static_cast<size_t>(std::countr_zero(left));
      if (is_filler(candidates[place])) break;
      if (!can_be_nearer(candidates[place], candidates[pivot], low, high)) continue;
      found[count++] = static_cast<uint8_t>(place);
    }
  }
  return count;
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

// The list for a cell number of prepare_targets.
inline uint32_t list_of(const uint32_t* by_cell, uint32_t cell) {
  const uint32_t list = by_cell[cell & (kCells - 1)];
  return (list & kIsSplit) != 0 ? by_cell[(list & ~kIsSplit) + (cell >> 12)] : list;
}

inline uint8_t chosen(const Lists& lists, uint32_t list, uint32_t key) {
  const uint32_t order = key & 511;
  const uint32_t place = order < 256 ? 255 - order : order - 256;
  const uint8_t index = lists.indices[(list >> 8) * kBlock + place];
  // Looked up either way: photographs would make a branch here a coin toss.
  return lists.results[(key < 512 ? 256u : 0u) + index];
}

// Each of these finds indices until it meets a cell without a list, and returns how many.
using Search = size_t(const Lists& lists, const uint32_t* targets, const uint32_t* cells,
                      size_t count, uint8_t* indices);

size_t search_sse2(const Lists& lists, const uint32_t* targets, const uint32_t* cells, size_t count,
                   uint8_t* indices) {
  for (size_t i = 0; i < count; ++i) {
    const uint32_t list = lists.by_cell != nullptr ? list_of(lists.by_cell, cells[i]) : cells[i];
    if (list == kUnknown) return i;
    const uint32_t* colors = lists.colors + (list >> 8) * kBlock;
    const __m128i target = _mm_set1_epi32(static_cast<int>(targets[i]));
    __m128i least = _mm_set1_epi32(INT32_MAX);
    __m128i places = _mm_setr_epi32(256, 257, 258, 259);
    for (uint32_t n = 2 * (list & 255); n != 0; --n) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(colors));
      const __m128i d = _mm_or_si128(_mm_subs_epu8(v, target), _mm_subs_epu8(target, v));
      const __m128i same_hue = _mm_cmpeq_epi32(_mm_srli_epi32(d, 24), _mm_setzero_si128());
      const __m128i order = _mm_xor_si128(places, _mm_and_si128(same_hue, _mm_set1_epi32(511)));
      least = smaller(least, _mm_or_si128(_mm_slli_epi32(sum_of_squares(d), 9), order));
      places = _mm_add_epi32(places, _mm_set1_epi32(4));
      colors += 4;
    }
    indices[i] = chosen(lists, list, static_cast<uint32_t>(least_of(least)));
  }
  return count;
}

__attribute__((target("avx2"))) size_t search_avx2(const Lists& lists, const uint32_t* targets,
                                                   const uint32_t* cells, size_t count,
                                                   uint8_t* indices) {
  const __m256i outer_bytes = _mm256_set1_epi32(0x00FF00FF);
  const __m256i low_byte = _mm256_set1_epi32(0xFF);
  for (size_t i = 0; i < count; ++i) {
    const uint32_t list = lists.by_cell != nullptr ? list_of(lists.by_cell, cells[i]) : cells[i];
    if (list == kUnknown) return i;
    const uint32_t* colors = lists.colors + (list >> 8) * kBlock;
    const __m256i target = _mm256_set1_epi32(static_cast<int>(targets[i]));
    __m256i least = _mm256_set1_epi32(INT32_MAX);
    __m256i places = _mm256_setr_epi32(256, 257, 258, 259, 260, 261, 262, 263);
    for (uint32_t n = list & 255; n != 0; --n) {
      const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(colors));
      const __m256i d = _mm256_or_si256(_mm256_subs_epu8(v, target), _mm256_subs_epu8(target, v));
      const __m256i outer = _mm256_and_si256(d, outer_bytes);
      const __m256i middle = _mm256_and_si256(_mm256_srli_epi32(d, 8), low_byte);
      const __m256i distance =
          _mm256_add_epi32(_mm256_madd_epi16(outer, outer), _mm256_madd_epi16(middle, middle));
      const __m256i same_hue = _mm256_cmpeq_epi32(_mm256_srli_epi32(d, 24), _mm256_setzero_si256());
      const __m256i order =
          _mm256_xor_si256(places, _mm256_and_si256(same_hue, _mm256_set1_epi32(511)));
      least = _mm256_min_epi32(least, _mm256_or_si256(_mm256_slli_epi32(distance, 9), order));
      places = _mm256_add_epi32(places, _mm256_set1_epi32(8));
      colors += kBlock;
    }
    __m128i half = _mm_min_epi32(_mm256_castsi256_si128(least), _mm256_extracti128_si256(least, 1));
    half = _mm_min_epi32(half, _mm_shuffle_epi32(half, 0x4E));
    half = _mm_min_epi32(half, _mm_shuffle_epi32(half, 0xB1));
    indices[i] = chosen(lists, list, static_cast<uint32_t>(_mm_cvtsi128_si32(half)));
  }
  return count;
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
  const size_t count = gather_candidates({from_colors, (from & 255) * kBlock}, low, high, found);
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
  const auto search = Variants{.any = search_sse2, .avx2 = search_avx2}.best();
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
      done += search(lists, targets.data() + done, cells.data() + done, count - done,
                     indices.data() + done);
      if (done < count) build_list(cells[done]);
    }
    colors = colors.subspan(count);
    indices = indices.subspan(count);
  }
}

}  // namespace tavo::color
