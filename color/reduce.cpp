#include "color/reduce.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "color/convert.h"
#include "color/palettes.h"
#include "color/widen.h"
#include "core/bitmap.h"
#include "core/rows.h"

namespace tavo::color {

namespace {

constexpr uint32_t kSlack = 64;

// Puts a finished picture in the place of the one it was made from.
void replace(BitmapHandle& bitmap, BitmapHandle& made) {
  made.XResolution = bitmap.XResolution;
  made.YResolution = bitmap.YResolution;
  core::free_bitmap(bitmap);
  bitmap = made;
}

// Rows of `from` through the row conversion into `to`, both of one size. A depth of 0 in
// `bits_out` means grey levels.
Status convert_rows(BitmapHandle& from, BitmapHandle& to, int32_t bits_out) {
  const int32_t bits_in = from.BitsPerPixel == 2 ? 4 : from.BitsPerPixel;
  RowConverter converter;
  TRY(converter.start(bits_in, bits_out, static_cast<int32_t>(from.Order),
                      static_cast<int32_t>(to.Order), from.Info.Palette, to.Info.Palette));
  const uint32_t widened = core::bytes_per_line(from.Width, bits_in);
  Buffer row;
  TRY(row.allocate(uint64_t{std::max({widened, from.BytesPerLine, to.BytesPerLine})} + kSlack));
  const core::AccessScope accessed_from(from);
  const core::AccessScope accessed_to(to);
  for (uint32_t y = 0; y < static_cast<uint32_t>(from.Height); ++y) {
    TRY(core::get_row(from, y, row.bytes().first(from.BytesPerLine)));
    if (from.BitsPerPixel == 2) widen_2_to_4(row.data(), from.Width);
    if (bits_in != bits_out) TRY(converter.convert(row.data(), from.Width));
    const std::span<uint8_t> out = row.bytes().first(to.BytesPerLine);
    core::clear_padding(out, to.Width, to.BitsPerPixel);
    TRY(core::put_row(to, y, out));
  }
  return kOk;
}

// A bitmap of the same size and description in another depth, allocated.
Status make_like(BitmapHandle& made, const BitmapHandle& bitmap, int32_t depth) {
  TRY(core::init_bitmap(made, bitmap.Width, bitmap.Height, depth));
  const uint32_t colors = made.Colors;
  const uint32_t order = made.Order;
  TRY(core::copy_description(made, bitmap));
  made.Order = depth <= 8 || bitmap.BitsPerPixel <= 8 ? order : bitmap.Order;
  if (depth > 8) made.Colors = colors;
  return core::allocate_bitmap(made, 1);
}

// Every colour of the picture exists at the new depth.
Status widen(BitmapHandle& bitmap, int32_t depth) {
  core::OwnedBitmap made;
  TRY(make_like(*made, bitmap, depth));
  TRY(convert_rows(bitmap, *made, depth));
  replace(bitmap, *made);
  made->Flags = 0;  // its storage and objects have moved
  made->GdiObjectA = made->GdiObjectB = 0;
  return kOk;
}

}  // namespace

Status color_resolution(BitmapHandle& bitmap, int32_t depth, PaletteType type,
                        const T_PaletteEntry* palette, uint32_t colors) {
  if (depth > 8 || depth > bitmap.BitsPerPixel) return widen(bitmap, depth);
  static_cast<void>(type);
  static_cast<void>(palette);
  static_cast<void>(colors);
  return kNoMemory;
}

Status gray_scale_bitmap(BitmapHandle& bitmap) {
  core::OwnedBitmap made;
  TRY(make_like(*made, bitmap, 8));
  fill_gray_ramp(made->Info.Palette);
  made->Colors = 256;
  made->Flags |= T_FLAG_GRAY;
  TRY(convert_rows(bitmap, *made, 0));
  replace(bitmap, *made);
  made->Flags = 0;
  made->GdiObjectA = made->GdiObjectB = 0;
  return kOk;
}

}  // namespace tavo::color
