#include "reduce/optimize.h"

#include <algorithm>
#include <utility>

#include "color/paint_palette.h"
#include "color/widen.h"
#include "core/bitmap.h"
#include "dither/dither.h"
#include "reduce/count_rows.h"
#include "reduce/dither_bitmap.h"
#include "reduce/histogram.h"

namespace tavo::color {

namespace {

// Moments of some colour classes: pixels, and per channel (red, green, blue) the sums of the
// 5-bit field and of its square over all pixels. Sums of a part are those of the whole less
// those of the rest.
struct Moments {
  uint64_t pixels = 0;
  uint64_t sum[3] = {};
  uint64_t squares[3] = {};

  void add(uint32_t color_class, uint64_t count) {
    pixels += count;
    for (uint32_t c = 0; c < 3; ++c) {
      const uint64_t field = color_class >> (10 - 5 * c) & 31;
      sum[c] += field * count;
      squares[c] += field * field * count;
    }
  }

  Moments operator-(const Moments& part) const {
    Moments rest = *this;
    rest.pixels -= part.pixels;
    for (uint32_t c = 0; c < 3; ++c) {
      rest.sum[c] -= part.sum[c];
      rest.squares[c] -= part.squares[c];
    }
    return rest;
  }
};

struct Box {
  uint32_t first = 0;  // in the class list
  uint32_t count = 0;
  Moments moments;
  uint64_t mean[3] = {};      // truncated
  uint64_t variance[3] = {};  // against the truncated mean, truncated
  uint64_t total = 0;

  void set_moments(const Moments& sums) {
    moments = sums;
    total = 0;
    for (uint32_t c = 0; c < 3; ++c) {
      const uint64_t m = mean[c] = sums.sum[c] / sums.pixels;
      // The sum of (field - m) squared over the pixels.
      const uint64_t deviation = sums.squares[c] + m * m * sums.pixels - 2 * m * sums.sum[c];
      variance[c] = deviation / sums.pixels;
      total += variance[c];
    }
  }

  uint32_t axis() const {
    if (variance[0] >= variance[1] && variance[0] >= variance[2]) return 0;
    return variance[1] >= variance[2] ? 1 : 2;
  }
};

class BoxSplitter {
 public:
  BoxSplitter(std::span<uint16_t> classes, const Array<uint32_t>& counts)
      : classes_(classes), counts_(counts) {}

  Status split(uint32_t wanted);
  std::span<const Box> boxes() const { return boxes_.items().first(box_count_); }

 private:
  Moments measure(uint32_t first, uint32_t count) const {
    Moments sums;
    for (const uint16_t each : classes_.subspan(first, count)) sums.add(each, counts_[each]);
    return sums;
  }
  void halve(Box& box, Box& added);

  std::span<uint16_t> classes_;
  const Array<uint32_t>& counts_;
  Array<Box> boxes_;
  uint32_t box_count_ = 0;
};

// The classes above the mean become a new box. Neither half is empty: fields of a positive variance
// lie on both sides of their truncated mean.
void BoxSplitter::halve(Box& box, Box& added) {
  const uint32_t shift = 10 - 5 * box.axis();
  const uint64_t mean = box.mean[box.axis()];
  const auto segment = classes_.subspan(box.first, box.count);
  const auto upper = std::partition(segment.begin(), segment.end(),
                                    [&](uint16_t each) { return (each >> shift & 31u) <= mean; });
  const Moments whole = box.moments;
  const auto kept = static_cast<uint32_t>(upper - segment.begin());
  added.first = box.first + kept;
  added.count = box.count - kept;
  box.count = kept;
  Box& smaller = added.count <= box.count ? added : box;
  Box& larger = added.count <= box.count ? box : added;
  smaller.set_moments(measure(smaller.first, smaller.count));
  larger.set_moments(whole - smaller.moments);
}

Status BoxSplitter::split(uint32_t wanted) {
  TRY(boxes_.allocate(wanted));
  boxes_[0].count = static_cast<uint32_t>(classes_.size());
  boxes_[0].set_moments(measure(0, boxes_[0].count));
  for (box_count_ = 1; box_count_ < wanted; ++box_count_) {
    const auto largest = std::ranges::max_element(boxes_.items().first(box_count_), {},
                                                  [](const Box& box) { return box.total; });
    if (largest->total == 0) break;
    halve(*largest, boxes_[box_count_]);
  }
  return kOk;
}

uint8_t widen_mean(uint64_t mean) { return widen_5_bits(static_cast<uint32_t>(mean)); }

uint32_t sort_key(const T_PaletteEntry& entry) {
  return static_cast<uint32_t>(entry.Blue) << 24 | static_cast<uint32_t>(entry.Green) << 16 |
         static_cast<uint32_t>(entry.Red) << 8 | entry.Reserved;
}

void sort_entries(std::span<T_PaletteEntry> entries) { std::ranges::sort(entries, {}, sort_key); }

// Boxes lie apart, so no two have the same mean.
void take_boxes(std::span<const Box> boxes, std::span<const uint16_t> classes,
                OptimizedPalette& palette) {
  palette.count = static_cast<uint32_t>(boxes.size());
  T_PaletteEntry means[256] = {};
  for (size_t i = 0; i < boxes.size(); ++i) {
    means[i] = {widen_mean(boxes[i].mean[2]), widen_mean(boxes[i].mean[1]),
                widen_mean(boxes[i].mean[0]), 0};
    palette.entries[i] = means[i];
  }
  const auto sorted = std::span(palette.entries).first(palette.count);
  sort_entries(sorted);
  for (size_t i = 0; i < boxes.size(); ++i) {
    const auto at = std::ranges::lower_bound(sorted, sort_key(means[i]), {}, sort_key);
    const auto value = static_cast<uint32_t>(at - sorted.begin()) + 1;
    for (const uint16_t each : classes.subspan(boxes[i].first, boxes[i].count)) {
      palette.inverse[each] = value;
    }
  }
}

}  // namespace

Status optimize_palette(BitmapHandle& bitmap, uint32_t wanted, OptimizedPalette& palette,
                        core::Progress& progress, uint32_t percent_share) {
  if (!core::has_flag(bitmap, T_FLAG_ALLOCATED) || wanted == 0) return kBadArgument;
  const PaintPalette colors(bitmap);
  if (bitmap.BitsPerPixel <= 8 && bitmap.Colors != 0 && bitmap.Colors <= wanted) {
    palette.count = bitmap.Colors;
    std::copy_n(colors.entries, palette.count, palette.entries);
    sort_entries(std::span(palette.entries).first(palette.count));
    return kOk;
  }
  ClassHistogram histogram;
  TRY(histogram.allocate(bitmap.BitsPerPixel));
  TRY(count_rows(bitmap, histogram, progress, 0, percent_share));
  histogram.finish(bitmap.BitsPerPixel, colors);
  BoxSplitter splitter(histogram.classes(), histogram.counts());
  TRY(splitter.split(std::min(wanted, 256u)));
  palette.inverse = std::move(histogram.counts());
  take_boxes(splitter.boxes(), histogram.classes(), palette);
  return kOk;
}

namespace {

constexpr uint32_t kCountingShare = 40;  // percent of the work

Status fill_optimized(BitmapHandle& source, BitmapHandle& destination, uint32_t colors) {
  core::Progress progress;
  TRY(progress.start());
  OptimizedPalette palette;
  TRY(optimize_palette(source, colors, palette, progress, kCountingShare));
  destination.Order = T_ORDER_BGR;
  destination.ViewPerspective = source.ViewPerspective;
  destination.XResolution = source.XResolution;
  destination.YResolution = source.YResolution;
  std::ranges::copy(palette.entries, destination.Info.Palette);
  TRY(dither_bitmap(source, destination, palette.entries, palette.count,
                    palette.inverse.size() != 0 ? palette.inverse.data() : nullptr, progress,
                    kCountingShare, /*consumes=*/false));
  return progress.finish();
}

}  // namespace

Status optimize_bitmap(BitmapHandle& source, BitmapHandle& destination, uint32_t colors) {
  if (colors > 256) return kNoFormat;
  if (!core::has_flag(source, T_FLAG_ALLOCATED) || colors == 0) return kBadArgument;
  TRY(core::init_bitmap(destination, source.Width, source.Height, index_depth(colors)));
  TRY(core::allocate_quietly(destination));
  const Status status = fill_optimized(source, destination, colors);
  if (!status.ok()) core::free_bitmap(destination);
  return status;
}

}  // namespace tavo::color
