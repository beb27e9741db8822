#include "compress/stamped.h"

#include <array>
#include <cstring>

#include "base/buffer.h"
#include "color/palettes.h"
#include "compress/bitmap_compressor.h"
#include "compress/cmp_layout.h"
#include "compress/strip_rows.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "process/resize_rule.h"
#include "reduce/reduce.h"

namespace tavo::compress {

namespace {

constexpr int32_t kMaxStampSide = 255;  // JFIF 1.02 and CMP have a byte for each side

// kept: 4 pixels of width at least, 1 of height.
Status check_request(const StampRequest& request) {
  if (request.width < 4 || request.width > kMaxStampSide) return kBadSize;
  if (request.height < 1 || request.height > kMaxStampSide) return kBadSize;
  return request.bits == 8 || request.bits == 24 ? kOk : kBadArgument;
}

// The source position that each position of a stamp shows: those that resized bitmaps keep. Where
// their scheme, which knows the ratio in 256ths only, leaves the end of the stamp without any, the
// middle of each part is taken instead.
class Positions {
 public:
  Positions(int32_t source, int32_t stamp) {
    process::ResizeRule rule;
    rule.set(source, stamp);
    const auto length = static_cast<uint32_t>(source);
    const auto count = static_cast<uint32_t>(stamp);
    uint32_t filled = 0;
    for (uint32_t i = 0; i < length && filled < count; ++i) {
      for (uint32_t n = rule.count(i); n > 0 && filled < count; --n) at_[filled++] = i;
    }
    if (filled == count) return;
    for (uint32_t i = 0; i < count; ++i) {
      at_[i] = static_cast<uint32_t>((2 * uint64_t{i} + 1) * length / (2 * uint64_t{count}));
    }
  }
  uint32_t operator[](uint32_t i) const { return at_[i]; }

 private:
  std::array<uint32_t, kMaxStampSide> at_;
};

// Fills `small`, top row first, with pixels of `bitmap`: indices when both have 8 bits, otherwise
// 24-bit colours, blue first.
Status pick_pixels(BitmapHandle& bitmap, BitmapHandle& small) {
  const bool keeps_indices = small.BitsPerPixel == 8;
  const size_t pixel_bytes = keeps_indices ? 1 : 3;
  const Positions columns(bitmap.Width, small.Width);
  const Positions rows(bitmap.Height, small.Height);
  Buffer stored, colors, out;
  TRY(stored.allocate(bitmap.BytesPerLine));
  TRY(colors.allocate(static_cast<uint64_t>(bitmap.Width) * 3));
  TRY(out.allocate(small.BytesPerLine));
  StripRows convert;
  if (!keeps_indices) TRY(convert.start(bitmap, StripRows::Target::kColor));
  const core::AccessScope accessed(bitmap);
  const core::AccessScope accessed_small(small);
  const auto last = static_cast<uint32_t>(small.Height) - 1;
  for (uint32_t y = 0; y <= last; ++y) {
    // Bitmaps are resized in the order in which they are stored.
    const uint32_t from = rows[bitmap.ViewPerspective >= 2 ? last - y : y];
    TRY(core::get_row(bitmap, from, stored.bytes()));
    const uint8_t* row = stored.data();
    if (!keeps_indices) {
      TRY(convert.convert(row, colors.data()));
      row = colors.data();
    }
    for (uint32_t x = 0; x < static_cast<uint32_t>(small.Width); ++x) {
      std::memcpy(out.data() + x * pixel_bytes, row + columns[x] * pixel_bytes, pixel_bytes);
    }
    TRY(core::put_row(small, y, out.bytes()));
  }
  return kOk;
}

// To 256 colours: dithered to the built-in palette, or the nearest of a palette made for it.
Status reduce(BitmapHandle& small, const BitmapHandle& bitmap, bool dithers) {
  const core::QuietProgress quiet;
  small.DitherMethod = dithers ? bitmap.DitherMethod : T_DITHER_NONE;
  const auto type = dithers ? color::PaletteType::kFixed : color::PaletteType::kOptimized;
  return color::color_resolution(small, 8, type, nullptr, 0);
}

// An 8-bit picture keeps its palette in a stamp of 8 bits; any other is reduced, without progress,
// as the caller's callback follows the large picture.
Status make_small(BitmapHandle& bitmap, const StampRequest& request, BitmapHandle& small) {
  const bool keeps_indices = request.bits == 8 && bitmap.BitsPerPixel == 8;
  TRY(core::init_bitmap(small, request.width, request.height, keeps_indices ? 8 : 24));
  small.ViewPerspective = 0;
  TRY(core::allocate_quietly(small));
  TRY(pick_pixels(bitmap, small));
  if (keeps_indices) {
    std::memcpy(small.Info.Palette, bitmap.Info.Palette, sizeof(small.Info.Palette));
    return kOk;
  }
  if (request.bits == 24) return kOk;
  const bool dithers = request.dithers && bitmap.BitsPerPixel > 8;
  return reduce(small, bitmap, dithers);
}

// The bytes of the stamp, palette first, as cmp_layout.h and JFIF 1.02 have them in common.
Status collect(BitmapHandle& small, Buffer& data, Stamp& stamp) {
  const bool is_indexed = small.BitsPerPixel == 8;
  const size_t palette_size = is_indexed ? cmp::kStampPaletteSize : 0;
  const auto row_bytes = static_cast<size_t>(
      core::packed_bytes(static_cast<uint64_t>(small.Width), small.BitsPerPixel));
  const auto height = static_cast<uint32_t>(small.Height);
  TRY(data.allocate(palette_size + row_bytes * height));
  for (size_t i = 0; i < palette_size; i += 3) {
    color::put_rgb(small.Info.Palette[i / 3], data.data() + i);
  }
  const core::AccessScope accessed(small);
  for (uint32_t y = 0; y < height; ++y) {
    TRY(core::get_row(small, y, data.bytes().subspan(palette_size + y * row_bytes, row_bytes)));
  }
  stamp.width = static_cast<uint32_t>(small.Width);
  stamp.height = height;
  stamp.bits = static_cast<uint32_t>(small.BitsPerPixel);
  stamp.palette = data.bytes().first(palette_size);
  stamp.pixels = data.bytes().subspan(palette_size);
  return kOk;
}

}  // namespace

// What can be wrong with the request comes before what can be wrong with the picture, and both
// before there is a file.
Status compress_with_stamp(BitmapHandle& bitmap, const char* name, int32_t output_type,
                           int32_t quality, const StampRequest& request) {
  TRY(check_request(request));
  if (bitmap.Width <= 0 || bitmap.Height <= 0) return kNotCompressible;
  if (!core::has_storage(bitmap)) return kNoStorage;
  core::OwnedBitmap small;
  TRY(make_small(bitmap, request, *small));
  Buffer data;
  Stamp stamp;
  TRY(collect(*small, data, stamp));
  return compress_bitmap(bitmap, name, output_type, quality, &stamp);
}

}  // namespace tavo::compress
