#include "process/paint/scaled_rows.h"

#include <span>

#include "color/index_rows.h"
#include "color/paint_palette.h"
#include "color/palettes.h"

namespace tavo::process {

namespace {

constexpr uint64_t kSlack = 64;  // that row loops may write behind a row

}  // namespace

Status ScaledRows::start(const ScaledView& view, int32_t bits, const T_PaletteEntry* colors) {
  const BitmapHandle& picture = rows_.picture();
  view_ = view;
  bits_ = picture.BitsPerPixel;
  from_ = view.across.first / 8 * 8;
  count_ = static_cast<int32_t>(int64_t{view.across.first} + view.across.samples - from_);
  picked_bits_ = bits_ <= 8 ? 8 : bits_;
  if (view.takes_means()) TRY(start_means(colors));
  const uint32_t picked_bytes = picked_bits_ == 0 ? 1 : static_cast<uint32_t>(picked_bits_) / 8;
  if (bits_ < 8 || widens_) TRY(wide_.allocate(uint64_t{picked_bytes} * count_ + kSlack));
  TRY(across_.start(view.across, view.left, view.right, from_, picked_bytes));
  width_ = view.right - view.left;
  TRY(picked_.allocate(uint64_t{picked_bytes} * width_ + kSlack));
  const auto order = bits_ > 8 ? static_cast<int32_t>(picture.Order) : T_ORDER_BGR;
  finishes_ = bits != picked_bits_ || order != T_ORDER_BGR;
  if (!finishes_) return kOk;
  TRY(out_.allocate(uint64_t{4} * width_ + kSlack));
  return finish_.start(picked_bits_, bits, order, T_ORDER_BGR, colors, nullptr);
}

// Means are taken of levels, when all colors of a palette are grey, or of 24 or 32 bits.
Status ScaledRows::start_means(const T_PaletteEntry* colors) {
  const std::span<const T_PaletteEntry> palette(colors, 256);
  const bool is_gray = bits_ <= 8 && color::is_gray(palette);
  if (bits_ <= 8) picked_bits_ = is_gray ? 0 : 24;
  if (bits_ == 16) picked_bits_ = 24;
  widens_ = bits_ <= 16 && !(is_gray && bits_ == 8 && color::is_gray_ramp(palette));
  if (widens_) {
    const auto order = bits_ > 8 ? static_cast<int32_t>(rows_.picture().Order) : T_ORDER_BGR;
    TRY(widen_.start(bits_, picked_bits_, order, order, colors, nullptr));
  }
  const uint64_t channels = picked_bits_ == 0 ? 1 : static_cast<uint64_t>(picked_bits_) / 8;
  const auto most = static_cast<uint64_t>(view_.down.samples / view_.down.results) + 1;
  return mean_.start(static_cast<size_t>(channels * count_), view_.down.takes_means ? most : 0);
}

// The columns that are looked at: one byte a pixel or more, and for means what they are taken of.
Status ScaledRows::pixels_of(int64_t y, const uint8_t*& pixels) {
  if (y == widened_) {
    pixels = wide_.data();
    return kOk;
  }
  TRY(rows_.get(y, pixels));
  pixels += static_cast<uint64_t>(from_) * bits_ / 8;
  if (!widens_ && bits_ >= 8) return kOk;
  if (widens_) {
    TRY(widen_.convert(pixels, wide_.data(), count_));
  } else {
    color::unpack_indices(bits_, pixels, wide_.bytes().first(count_));
  }
  widened_ = y;
  pixels = wide_.data();
  return kOk;
}

Status ScaledRows::average(int32_t y) {
  if (!view_.down.takes_means) {
    const uint8_t* pixels = nullptr;
    TRY(pixels_of(view_.down.center(y), pixels));
    mean_.take(pixels);
    return kOk;
  }
  const AxisCell cell = view_.down.cell(y);
  AxisCell there;  // what is, of the cell
  const uint8_t* pixels = nullptr;
  mean_.begin();
  int64_t at = cell.first;
  if (cell.lead != 0 && rows_.has(at++)) {
    TRY(pixels_of(at - 1, pixels));
    mean_.add_lead(pixels);
    there.lead = cell.lead;
  }
  for (const int64_t end = at + cell.whole; at < end; ++at) {
    if (!rows_.has(at)) continue;
    TRY(pixels_of(at, pixels));
    mean_.add_whole(pixels);
    ++there.whole;
  }
  pixels = nullptr;
  if (cell.tail != 0 && rows_.has(at)) {
    TRY(pixels_of(at, pixels));
    there.tail = cell.tail;
  }
  mean_.finish(CellWeights(there, view_.down.results), pixels);
  return kOk;
}

Status ScaledRows::row(int32_t y, const uint8_t*& pixels) {
  pixels = finishes_ ? out_.data() : picked_.data();
  if (view_.takes_means()) {
    TRY(average(y));
    across_.shrink(mean_.result(), picked_.data());
  } else {
    const int64_t source = view_.down.center(y);
    if (source == made_) return kOk;
    const uint8_t* from = nullptr;
    TRY(pixels_of(source, from));
    across_.pick(from, picked_.data());
    made_ = source;
  }
  return finishes_ ? finish_.convert(picked_.data(), out_.data(), width_) : kOk;
}

}  // namespace tavo::process
