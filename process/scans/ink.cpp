#include "process/scans/ink.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/endian.h"
#include "base/vector_sse2.h"
#include "color/gray.h"
#include "color/paint_palette.h"
#include "process/work_rows.h"

namespace tavo::process {

namespace {

constexpr uint32_t kRowsLookedAt = 512;  // for the threshold, about
constexpr uint32_t kLeastContrast = 40;  // of ink to paper

// The level from which on those of a histogram are paper: between the two groups whose means lie
// farthest apart, weighed with the groups' sizes, and well below the mean of the lighter one.
uint32_t threshold_of(const std::array<uint64_t, 256>& counts) {
  uint64_t all = 0;
  uint64_t sum = 0;
  for (uint32_t level = 0; level < 256; ++level) {
    all += counts[level];
    sum += counts[level] * level;
  }
  uint64_t best = 0;
  uint32_t threshold = 0;
  uint64_t dark = 0;
  uint64_t dark_sum = 0;
  for (uint32_t level = 0; level < 255; ++level) {
    dark += counts[level];
    dark_sum += counts[level] * level;
    if (dark == 0 || dark == all) continue;
    // Means in 16ths of a level, shares in 4096ths: the product fits.
    const uint64_t light_mean = (sum - dark_sum) * 16 / (all - dark);
    const uint64_t distance = light_mean - dark_sum * 16 / dark;
    const uint64_t share = dark * 4096 / all;
    const uint64_t value = distance * distance * share * (4096 - share);
    if (value <= best) continue;
    best = value;
    const auto paper = static_cast<uint32_t>(light_mean / 16);
    threshold = std::min(level + 1, paper - std::min(paper, kLeastContrast));
  }
  return threshold;
}

// One bit for each level, whether it is below the threshold; for whole sixty-fours.
void pack_below(const uint8_t* levels, size_t count, uint32_t threshold, uint8_t* bits) {
  using namespace sse2;
  const V least = splat8(static_cast<int>(threshold));
  for (size_t i = 0; i < count; i += 64) {
    uint64_t light = 0;
    for (uint32_t k = 0; k < 64; k += 16) {
      const V v = load(levels + i + k);
      light |= static_cast<uint64_t>(top_bits8(equal8(max8_unsigned(v, least), v))) << k;
    }
    store_le64(bits + i / 8, mirror_bits(~light));
  }
}

}  // namespace

Status InkReader::start() {
  TRY(check_bitmap(bitmap_));
  TRY(rows_.start(1, RowWindow::kFewRows));
  TRY(bits_.allocate((uint64_t{width()} + 63) / 64 * 8));
  const color::PaintPalette palette(bitmap_);
  if (bitmap_.BitsPerPixel == 1) {
    const uint8_t first = color::gray_level(palette.entries[0]);
    const uint8_t second = color::gray_level(palette.entries[1]);
    is_even_ = first == second;
    others_ = first < second ? 0xFF : 0;
    return kOk;
  }
  is_ramp_ = is_gray_ramp(bitmap_);
  TRY(converter_.start(bitmap_.BitsPerPixel, 0, static_cast<int32_t>(bitmap_.Order), T_ORDER_BGR,
                       palette.entries, nullptr));
  TRY(levels_.allocate((uint64_t{width()} + 63) / 64 * 64));
  return find_threshold();
}

Status InkReader::find_threshold() {
  std::array<uint64_t, 256> counts = {};
  const uint32_t step = std::max(height() / kRowsLookedAt, 1u);
  for (uint32_t y = step / 2; y < height(); y += step) {
    TRY(read_levels(y));
    for (const uint8_t level : levels_.bytes().first(width())) ++counts[level];
  }
  threshold_ = threshold_of(counts);
  count_ = 0;
  return kOk;
}

Status InkReader::fetch(uint32_t y) {
  if (y - first_ < count_) return kOk;
  first_ = y;
  count_ = std::min(rows_.capacity(), height() - y);
  return rows_.read(first_, count_);
}

Status InkReader::read_levels(uint32_t y) {
  TRY(fetch(y));
  if (!is_ramp_) return converter_.convert(rows_.row(y), levels_.data(), bitmap_.Width);
  std::memcpy(levels_.data(), rows_.row(y), width());
  return kOk;
}

void InkReader::read_bits(const uint8_t* row) {
  const size_t row_bytes = (size_t{width()} + 7) / 8;
  if (is_even_) return;
  for (size_t i = 0; i < row_bytes; ++i) bits_.data()[i] = row[i] ^ others_;
  if (width() % 8 != 0) bits_.data()[row_bytes - 1] &= static_cast<uint8_t>(0xFF00 >> width() % 8);
}

Status InkReader::read(uint32_t y, std::span<const uint8_t>& row) {
  row = bits_.bytes();
  if (bitmap_.BitsPerPixel == 1) {
    TRY(fetch(y));
    read_bits(rows_.row(y));
    return kOk;
  }
  TRY(read_levels(y));
  std::fill_n(levels_.data() + width(), levels_.size() - width(), uint8_t{255});
  pack_below(levels_.data(), width(), threshold_, bits_.data());
  return kOk;
}

}  // namespace tavo::process
