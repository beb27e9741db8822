#include "process/work_rows.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "base/endian.h"
#include "color/paint_palette.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "reduce/reduce.h"

namespace tavo::process {

namespace {

bool is_gray_ramp(std::span<const T_PaletteEntry, 256> palette) {
  for (uint32_t i = 0; i < 256; ++i) {
    const T_PaletteEntry& entry = palette[i];
    if (entry.Red != i || entry.Green != i || entry.Blue != i) return false;
  }
  return true;
}

int32_t work_depth(int32_t bits, Widening widening) {
  if (widening != Widening::kNone) return widening == Widening::kGray ? 8 : 24;
  return bits == 16 ? 24 : bits;
}

// Pixels, and of others what `mask` keeps. `out` may be `carried`.
template <class Pixel>
void join(const uint8_t* row, const uint8_t* carried, Pixel mask, uint8_t* out, size_t width) {
  for (size_t i = 0; i < width * sizeof(Pixel); i += sizeof(Pixel)) {
    const uint32_t kept = load_native<Pixel>(carried + i) & mask;
    const uint32_t made = load_native<Pixel>(row + i) & ~uint32_t{mask};
    store_native(out + i, static_cast<Pixel>(made | kept));
  }
}

}  // namespace

bool is_gray_ramp(const BitmapHandle& bitmap) {
  if (bitmap.BitsPerPixel != 8 || bitmap.Colors != 256) return false;
  return is_gray_ramp(color::PaintPalette(bitmap).entries);
}

Widening widening_of(const BitmapHandle& bitmap) {
  if (bitmap.BitsPerPixel > 8) return Widening::kNone;
  const color::PaintPalette palette(bitmap);
  const auto used = std::span(palette.entries).first(std::min(bitmap.Colors, 256u));
  return color::is_gray(std::span<const T_PaletteEntry>(used)) ? Widening::kGray : Widening::kColor;
}

bool keeps_layout(const BitmapHandle& bitmap, Widening widening) {
  if (widening != Widening::kGray) return widening == Widening::kNone;
  return is_gray_ramp(bitmap) && is_gray_ramp(std::span(bitmap.Info.Palette));
}

Status describe_widened(BitmapHandle& made, const BitmapHandle& bitmap, Widening widening) {
  return describe_widened(made, bitmap, widening, bitmap.Width, bitmap.Height);
}

Status describe_widened(BitmapHandle& made, const BitmapHandle& bitmap, Widening widening,
                        int32_t width, int32_t height) {
  if (!keeps_layout(bitmap, widening)) {
    BitmapHandle sized = bitmap;
    sized.Width = width;
    sized.Height = height;
    if (widening == Widening::kColor) return color::describe_like(made, sized, 24);
    return color::describe_gray(made, sized);
  }
  TRY(core::init_bitmap(made, width, height, bitmap.BitsPerPixel));
  // A picture of the same size keeps its words of Info, as it does when it is worked on in place.
  const bool is_resized = width != bitmap.Width || height != bitmap.Height;
  TRY(is_resized ? core::copy_description_resized(made, bitmap)
                 : core::copy_description(made, bitmap));
  if (widening == Widening::kGray) made.Flags |= T_FLAG_GRAY;
  return kOk;
}

WorkLayout::WorkLayout(const BitmapHandle& bitmap, Widening the_widening)
    : widening(the_widening),
      width(static_cast<uint32_t>(bitmap.Width)),
      height(static_cast<uint32_t>(bitmap.Height)),
      depth(work_depth(bitmap.BitsPerPixel, widening)),
      step(static_cast<size_t>(std::max(depth / 8, 1))),
      row_bytes(static_cast<size_t>(core::packed_bytes(width, depth))) {}

Status WorkReader::start() {
  TRY(rows_.start(1, RowWindow::kFewRows));
  const int32_t bits = bitmap_.BitsPerPixel;
  const bool is_ramp = layout_.widening == Widening::kGray && is_gray_ramp(bitmap_);
  copies_ = bits == layout_.depth && (layout_.widening == Widening::kNone || is_ramp);
  if (copies_) return kOk;
  // Colours keep their order; those of a palette get the usual one.
  const auto order = bits > 8 ? static_cast<int32_t>(bitmap_.Order) : T_ORDER_BGR;
  const color::PaintPalette palette(bitmap_);
  return converter_.start(bits, layout_.depth == 8 ? 0 : layout_.depth, order, order,
                          palette.entries, nullptr);
}

Status WorkReader::read(uint32_t y, uint8_t* row) {
  if (y - first_ >= count_) {
    first_ = y;
    count_ = std::min(rows_.capacity(), layout_.height - y);
    TRY(rows_.read(first_, count_));
  }
  if (!copies_) return converter_.convert(rows_.row(y), row, static_cast<int32_t>(layout_.width));
  std::memcpy(row, rows_.row(y), layout_.row_bytes);
  return kOk;
}

Status WorkWriter::start() {
  TRY(rows_.start(1, RowWindow::kFewRows));
  if (!carries()) return kOk;
  TRY(carried_.start(1, 0));
  return made_.BitsPerPixel == 16 ? narrow_.allocate(uint64_t{layout_.width} * 2) : kOk;
}

Status WorkWriter::write(uint32_t y, const uint8_t* row) {
  rows_.open(y);
  uint8_t* const out = rows_.row(y);
  if (!carries()) {
    std::memcpy(out, row, layout_.row_bytes);
    return rows_.store(y, 1);
  }
  TRY(carried_.read(y, 1));
  const uint8_t* const carried = carried_.row(y);
  if (made_.BitsPerPixel == 16) {
    color::pixel_kernel(24, 16, false)(row, narrow_.data(), layout_.width);
    join<uint16_t>(narrow_.data(), carried, 0x8000, out, layout_.width);
  } else {
    join<uint32_t>(row, carried, 0xFF000000, out, layout_.width);
  }
  return rows_.store(y, 1);
}

}  // namespace tavo::process
