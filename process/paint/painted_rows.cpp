#include "process/paint/painted_rows.h"

#include <algorithm>
#include <cstring>

#include "base/depths.h"
#include "color/index_rows.h"
#include "core/bitmap.h"
#include "dither/diffusion.h"

namespace tavo::process {

namespace {

// Ordered patterns repeat after as many rows.
constexpr int32_t kPatternRows = 8;

bool is_same_color(const T_PaletteEntry& a, const T_PaletteEntry& b) {
  return a.Red == b.Red && a.Green == b.Green && a.Blue == b.Blue;
}

}  // namespace

Status PaintedRows::start(const PaintPlan& plan, const color::PaintPalette& colors) {
  view_ = plan.view;
  const int32_t depth = rows_.picture().BitsPerPixel;
  int32_t scaled_bits = bits_ = plan.color_bits;
  if (plan.as == PaintedAs::kIndices) {
    step_ = Step::kPack;
    bits_ = request_depth(depth);
    scaled_bits = 8;
  } else if (plan.as == PaintedAs::kTable) {
    bits_ = plan.table->bits;
    scaled_bits = depth <= 8 && !view_.takes_means() ? 8 : 32;
    TRY(start_table(plan, colors));
  }
  stride_ = core::bytes_per_line(width(), bits_);
  if (step_ == Step::kMap) TRY(work_.allocate(static_cast<uint64_t>(width())));
  return scaled_.start(view_, scaled_bits, colors.entries);
}

Status PaintedRows::start_table(const PaintPlan& plan, const color::PaintPalette& colors) {
  const int32_t depth = rows_.picture().BitsPerPixel;
  const bool is_indexed = depth <= 8 && !view_.takes_means();
  if (is_indexed && map_exactly(*plan.table, colors)) {
    step_ = Step::kMap;
    return kOk;
  }
  if (plan.dithers) return start_dithering(plan, colors);
  step_ = Step::kConvert;
  return nearest_.start(is_indexed ? 8 : 32, bits_, T_ORDER_BGR, T_ORDER_BGR, colors.entries,
                        plan.table->entries);
}

// Whether the table has all colors of the picture; what is no color of it is white, or nearly.
bool PaintedRows::map_exactly(const DeviceTable& table, const color::PaintPalette& colors) {
  const std::span entries(table.entries, table.count);
  const uint32_t used = std::min(rows_.picture().Colors, 1u << rows_.picture().BitsPerPixel);
  for (uint32_t i = 0; i < 256; ++i) {
    const T_PaletteEntry& color = colors.entries[i];
    if (i < table.count && is_same_color(entries[i], color)) {
      map_[i] = static_cast<uint8_t>(i);
      continue;
    }
    const auto found = std::ranges::find_if(
        entries, [&](const T_PaletteEntry& entry) { return is_same_color(entry, color); });
    if (found == entries.end() && i < used) return false;
    map_[i] = static_cast<uint8_t>(
        found != entries.end()
            ? found - entries.begin()
            : color::nearest_color_plain(entries, color.Red, color.Green, color.Blue));
  }
  return true;
}

// All columns are dithered, and of diffused errors all rows above: the part that is drawn does not
// change what it shows.
Status PaintedRows::start_dithering(const PaintPlan& plan, const color::PaintPalette& colors) {
  const BitmapHandle& picture = rows_.picture();
  const bool is_indexed = picture.BitsPerPixel <= 8 && !view_.takes_means();
  step_ = Step::kDither;
  view_.left = 0;
  view_.right = view_.across.results;
  TRY(core::init_bitmap(dithered_, view_.right, 1, is_indexed ? 8 : 32));
  dithered_.Colors = 256;
  std::ranges::copy(colors.entries, dithered_.Info.Palette);
  dithered_.DitherMethod = plan.is_ordered ? T_DITHER_ORDERED : picture.DitherMethod;
  diffuses_ = color::is_diffusion(dithered_.DitherMethod);
  TRY(color::start_pass(dithered_, plan.table->entries, plan.table->count, nullptr, bits_));
  pass_.emplace(dithered_);
  return kOk;
}

// `out` takes the rows above, too. Of those a pattern only wants to know how many they are.
Status PaintedRows::dither_to(int32_t y, uint8_t* out) {
  const uint8_t* row = nullptr;
  if (!diffuses_) {
    TRY(scaled_.row(y, row));
    next_ += (y - next_) / kPatternRows * kPatternRows;
  }
  for (; next_ <= y; ++next_) {
    if (diffuses_) TRY(scaled_.row(next_, row));
    TRY(color::dither_rows(dithered_, row, 0, out, 0, 1));
  }
  return kOk;
}

Status PaintedRows::row(int32_t y, uint8_t* out) {
  if (step_ == Step::kDither) return dither_to(y, out);
  const uint8_t* row = nullptr;
  TRY(scaled_.row(y, row));
  const auto count = static_cast<size_t>(width());
  switch (step_) {
    case Step::kPack:
      color::pack_indices(bits_, {row, count}, out);
      return kOk;
    case Step::kMap:
      color::unpack_indices(8, row, map_, work_.bytes().first(count));
      color::pack_indices(bits_, work_.bytes().first(count), out);
      return kOk;
    case Step::kConvert:
      return nearest_.convert(row, out, width());
    default:
      std::memcpy(out, row, count * static_cast<size_t>(bits_ / 8));
      return kOk;
  }
}

}  // namespace tavo::process
