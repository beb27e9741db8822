#include <algorithm>
#include <array>
#include <span>

#include "color/gray.h"
#include "core/progress.h"
#include "process/adjust/adjust.h"
#include "process/adjust/adjustment.h"
#include "process/adjust/gray_rows.h"
#include "process/rounding.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

constexpr uint32_t kCountingShare = 40;  // percent of the work

using Counts = std::array<uint64_t, 256>;

// Neighbours are often alike; several tables in turn spare them the wait for each other's store.
class LevelCounts {
 public:
  void add(std::span<const uint8_t> levels) {
    size_t i = 0;
    for (; i + kTables <= levels.size(); i += kTables) {
      for (size_t k = 0; k < kTables; ++k) ++tables_[k][levels[i + k]];
    }
    for (; i < levels.size(); ++i) ++tables_[0][levels[i]];
  }
  Counts sums() const {
    Counts sums = {};
    for (const Counts& table : tables_) {
      for (size_t level = 0; level < 256; ++level) sums[level] += table[level];
    }
    return sums;
  }

 private:
  static constexpr size_t kTables = 4;
  Counts tables_[kTables] = {};
};

// How many pixels have each level.
Status count_levels(BitmapHandle& bitmap, core::Progress& progress, Counts& counts) {
  GrayRows rows(bitmap);
  TRY(rows.start());
  LevelCounts levels;
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0; y < height; ++y) {
    std::span<const uint8_t> row;
    TRY(rows.read(y, row));
    levels.add(row);
    TRY(progress.at(kCountingShare * (y + uint64_t{1}), uint64_t{100} * height));
  }
  counts = levels.sums();
  return kOk;
}

// What the levels become. False: all pixels have one level, and nothing changes.
bool spread_levels(const Counts& counts, std::array<uint8_t, 256>& spread) {
  const auto first = std::ranges::find_if(counts, [](uint64_t count) { return count != 0; });
  uint64_t all = 0;
  for (const uint64_t count : counts) all += count;
  const auto rest = static_cast<int64_t>(all - *first);
  if (rest == 0) return false;
  int64_t above = -static_cast<int64_t>(*first);
  for (size_t level = 0; level < 256; ++level) {
    above += static_cast<int64_t>(counts[level]);
    spread[level] = clamp_level(divide_rounded(255 * std::max<int64_t>(above, 0), rest));
  }
  return true;
}

void shift_row(const void* data, uint8_t* row, size_t width, ChannelLayout layout) {
  const auto& spread = *static_cast<const std::array<uint8_t, 256>*>(data);
  const size_t red = layout.is_red_first ? 0 : 2;
  for (uint8_t* at = row; at != row + width * layout.step; at += layout.step) {
    const int32_t level = color::gray_level(at[red], at[1], at[2 - red]);
    const int32_t more = spread[static_cast<size_t>(level)] - level;
    for (size_t c = 0; c < 3; ++c) at[c] = clamp_level(at[c] + more);
  }
}

}  // namespace

Status equalize_bitmap(BitmapHandle& bitmap) {
  TRY(check_bitmap(bitmap));
  core::Progress progress;
  TRY(progress.start());
  Counts counts = {};
  TRY(count_levels(bitmap, progress, counts));
  Adjustment adjustment = {};
  if (!spread_levels(counts, adjustment.levels)) return progress.finish();
  adjustment.colors = shift_row;
  adjustment.data = &adjustment.levels;
  return adjust_bitmap(bitmap, adjustment, progress, kCountingShare);
}

}  // namespace tavo::process
