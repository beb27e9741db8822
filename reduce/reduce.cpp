#include "reduce/reduce.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "base/depths.h"
#include "base/settings.h"
#include "color/convert.h"
#include "color/index_rows.h"
#include "color/paint_palette.h"
#include "color/palette_map.h"
#include "color/palettes.h"
#include "color/row_blocks.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "platform/platform.h"
#include "reduce/dither_bitmap.h"
#include "reduce/few_colors.h"
#include "reduce/fine_palette.h"
#include "reduce/optimize.h"

namespace tavo::color {

namespace {

constexpr uint32_t kOptimizingShare = 40;  // percent of a reduction to an optimised palette

// Makes each row of `to` from that of `from` by convert(row, out). Progress is told from
// `percent_done` on.
template <class Convert>
Status make_rows(BitmapHandle& from, BitmapHandle& to, core::Progress& progress,
                 uint32_t percent_done, const Convert& convert) {
  RowBlocks source(from);
  RowBlocks target(to);
  TRY(source.start());
  TRY(target.start());
  const auto height = static_cast<uint32_t>(from.Height);
  const uint32_t step = std::min(source.rows(), target.rows());
  for (uint32_t y = 0, n = 0; y < height; y += n) {
    n = std::min(step, height - y);
    const uint8_t* rows = nullptr;
    TRY(source.read(y, n, rows));
    for (uint32_t i = 0; i < n; ++i) {
      TRY(convert(rows + i * source.stride(), target.place(y) + i * target.stride()));
    }
    TRY(target.store(y, n));
    const uint64_t left = uint64_t{y + n} * (100 - percent_done);
    TRY(progress.at(uint64_t{height} * percent_done + left, uint64_t{height} * 100));
  }
  return kOk;
}

// Rows of `from` through the row conversion into `to`. `bits_out` is the depth of `to`, or 0 for
// grey levels.
Status convert_rows(BitmapHandle& from, BitmapHandle& to, int32_t bits_out,
                    core::Progress& progress) {
  const PaintPalette colors(from);
  RowConverter converter;
  TRY(converter.start(from.BitsPerPixel, bits_out, static_cast<int32_t>(from.Order),
                      static_cast<int32_t>(to.Order), colors.entries, to.Info.Palette));
  const bool is_copy = from.BitsPerPixel == bits_out && from.Order == to.Order;
  return make_rows(from, to, progress, 0, [&](const uint8_t* row, uint8_t* out) {
    if (!is_copy) return converter.convert(row, out, from.Width);
    std::memcpy(out, row, to.BytesPerLine);
    return kOk;
  });
}

void map_row_indices(const uint8_t* row, int32_t depth, uint32_t width, const uint8_t (&table)[256],
                     uint8_t* out, int32_t depth_out) {
  constexpr uint32_t kPiece = 512;
  uint8_t indices[kPiece];
  for (uint32_t x = 0, n = 0; x < width; x += n) {
    n = std::min(kPiece, width - x);
    const auto piece = std::span(indices).first(n);
    unpack_indices(depth, row + packed_offset(depth, x), table, piece);
    pack_indices(depth_out, piece, out + packed_offset(depth_out, x));
  }
}

// An indexed picture whose colours are greys, or a deeper one with the grey mark.
bool is_gray_picture(const BitmapHandle& bitmap) {
  if (bitmap.BitsPerPixel > 8) return core::has_flag(bitmap, T_FLAG_GRAY);
  const PaintPalette colors(bitmap);
  const auto used = std::span(colors.entries).first(colors.count);
  return !used.empty() && is_gray(std::span<const T_PaletteEntry>(used));
}

// The grey mark says that an index is its grey level.
void set_gray_mark(BitmapHandle& made) {
  T_PaletteEntry ramp[256];
  fill_gray_ramp(ramp);
  const bool is_ramp = made.BitsPerPixel == 8 && made.Colors == 256 &&
                       std::memcmp(ramp, made.Info.Palette, sizeof ramp) == 0;
  core::set_flag(made, T_FLAG_GRAY, is_ramp);
}

struct Reduction {
  PaletteType type;
  const T_PaletteEntry* palette;
  uint32_t colors;  // wanted; of a given palette: its size
  bool consumes;
};

// How pixels become indices.
enum class Choice { kDither, kSameColor, kGrayLevel, kNearest };

struct Chosen {
  OptimizedPalette palette;
  Choice choice = Choice::kDither;
};

// Whether every colour that the picture's indices can name is in the palette.
bool has_all_colors(const BitmapHandle& bitmap, const OptimizedPalette& palette) {
  if (bitmap.BitsPerPixel > 8) return false;
  const PaintPalette colors(bitmap);
  const auto used =
      std::span(colors.entries).first(std::clamp(colors.count, 1u, 1u << bitmap.BitsPerPixel));
  const auto given = std::span(palette.entries).first(palette.count);
  return std::ranges::all_of(used, [&](const T_PaletteEntry& color) {
    return std::ranges::any_of(given, [&](const T_PaletteEntry& entry) {
      return entry.Red == color.Red && entry.Green == color.Green && entry.Blue == color.Blue;
    });
  });
}

// Black and white, unless the picture has two colours or fewer.
Status choose_two_colors(BitmapHandle& bitmap, Chosen& chosen) {
  FewColors few;
  TRY(find_few_colors(bitmap, few));
  if (few.count <= 2) {
    chosen.palette.count = few.count;
    std::copy_n(few.colors, few.count, chosen.palette.entries);
    chosen.choice = Choice::kSameColor;
  } else {
    chosen.palette.count = 2;
    std::ranges::copy(builtin_palette(1), chosen.palette.entries);
  }
  return kOk;
}

// Whether the picture's own palette will do.
bool has_few_entries(const BitmapHandle& bitmap, uint32_t colors) {
  return bitmap.BitsPerPixel <= 8 && bitmap.Colors != 0 && bitmap.Colors <= colors;
}

Status choose_fine(BitmapHandle& bitmap, uint32_t colors, Chosen& chosen,
                   core::Progress& progress) {
  bool is_exact = false;
  TRY(make_fine_palette(bitmap, colors, chosen.palette, is_exact, progress, kOptimizingShare));
  if (!is_exact && bitmap.DitherMethod != T_DITHER_NONE) return fill_inverse(chosen.palette);
  chosen.choice = bitmap.BitsPerPixel > 8 ? Choice::kNearest : Choice::kSameColor;
  return kOk;
}

Status choose_palette(BitmapHandle& bitmap, int32_t depth, const Reduction& wanted, Chosen& chosen,
                      core::Progress& progress) {
  OptimizedPalette& palette = chosen.palette;
  const bool is_gray = is_gray_picture(bitmap);
  const bool keeps_levels = is_gray && depth == 8 && bitmap.BitsPerPixel > 8;
  if (wanted.type == PaletteType::kGiven) {
    palette.count = wanted.colors;
    std::copy_n(wanted.palette, palette.count, palette.entries);
  } else if (wanted.type == PaletteType::kFixed || (keeps_levels && wanted.colors == 256)) {
    palette.count = 1u << depth;
    const bool is_ramp =
        is_gray || (wanted.type == PaletteType::kFixed && settings.gray_fixed_palette);
    fixed_palette(depth, is_ramp, palette.entries);
    if (keeps_levels) chosen.choice = Choice::kGrayLevel;
  } else if (wanted.type == PaletteType::kFine && !has_few_entries(bitmap, wanted.colors)) {
    TRY(choose_fine(bitmap, wanted.colors, chosen, progress));
  } else if (depth == 1 && wanted.colors == 2) {
    TRY(choose_two_colors(bitmap, chosen));
  } else {
    TRY(optimize_palette(bitmap, wanted.colors, palette, progress, kOptimizingShare));
  }
  if (chosen.choice == Choice::kDither && has_all_colors(bitmap, palette)) {
    chosen.choice = Choice::kSameColor;
  }
  return kOk;
}

// The rows of an indexed picture, each index replaced by that of the same colour.
Status map_indices(BitmapHandle& from, BitmapHandle& to, uint32_t colors,
                   core::Progress& progress) {
  const PaintPalette painted(from);
  uint8_t table[256];
  NearestColor nearest;
  map_palette(painted.entries, 256, to.Info.Palette, colors, table, nearest);
  const auto width = static_cast<uint32_t>(from.Width);
  return make_rows(from, to, progress, 0, [&](const uint8_t* row, uint8_t* out) {
    map_row_indices(row, from.BitsPerPixel, width, table, out, to.BitsPerPixel);
    return kOk;
  });
}

// Rows above 8 bits, each pixel replaced by the nearest of the palette's colours.
Status map_nearest(BitmapHandle& from, BitmapHandle& to, const OptimizedPalette& palette,
                   core::Progress& progress) {
  RowConverter converter;
  TRY(converter.start(from.BitsPerPixel, 32, static_cast<int32_t>(from.Order), T_ORDER_RGB, nullptr,
                      nullptr));
  NearestColor nearest;
  nearest.start(std::span(palette.entries).first(palette.count));
  Array<uint32_t> colors;
  Buffer indices;
  TRY(colors.allocate(static_cast<uint32_t>(from.Width)));
  TRY(indices.allocate(static_cast<uint32_t>(from.Width)));
  return make_rows(from, to, progress, kOptimizingShare, [&](const uint8_t* row, uint8_t* out) {
    TRY(converter.convert(row, colors.data(), from.Width));
    nearest.find_all(colors.items(), indices.bytes());
    pack_indices(to.BitsPerPixel, indices.bytes(), out);
    return kOk;
  });
}

Status fill_reduced(BitmapHandle& bitmap, BitmapHandle& made, Chosen& chosen, bool consumes,
                    core::Progress& progress) {
  OptimizedPalette& palette = chosen.palette;
  if (chosen.choice == Choice::kGrayLevel) return convert_rows(bitmap, made, 0, progress);
  if (chosen.choice == Choice::kNearest) return map_nearest(bitmap, made, palette, progress);
  if (chosen.choice == Choice::kDither) {
    return dither_bitmap(bitmap, made, palette.entries, palette.count,
                         palette.inverse.size() != 0 ? palette.inverse.data() : nullptr, progress,
                         kOptimizingShare, consumes);
  }
  if (bitmap.BitsPerPixel > 8) return convert_rows(bitmap, made, made.BitsPerPixel, progress);
  return map_indices(bitmap, made, palette.count, progress);
}

Status reduce(BitmapHandle& bitmap, int32_t depth, const Reduction& wanted,
              core::Progress& progress) {
  Chosen chosen;
  TRY(choose_palette(bitmap, depth, wanted, chosen, progress));
  core::OwnedBitmap made;
  TRY(describe_like(*made, bitmap, depth));
  std::ranges::copy(chosen.palette.entries, made->Info.Palette);
  TRY(core::allocate_quietly(*made));
  TRY(fill_reduced(bitmap, *made, chosen, wanted.consumes, progress));
  set_gray_mark(*made);
  TRY(progress.finish());
  core::take_place(bitmap, *made);
  return kOk;
}

// Depths above 8 bits hold every colour that 1 to 8 bits can name.
Status widen(BitmapHandle& bitmap, int32_t depth, core::Progress& progress) {
  core::OwnedBitmap made;
  TRY(describe_like(*made, bitmap, depth));
  TRY(core::allocate_quietly(*made));
  TRY(convert_rows(bitmap, *made, depth, progress));
  core::set_flag(*made, T_FLAG_GRAY, is_gray_picture(bitmap));
  TRY(progress.finish());
  core::take_place(bitmap, *made);
  return kOk;
}

}  // namespace

Status describe_like(BitmapHandle& made, const BitmapHandle& bitmap, int32_t depth) {
  TRY(core::init_bitmap(made, bitmap.Width, bitmap.Height, depth));
  std::ranges::fill(made.Info.Palette, T_PaletteEntry{});
  if (depth > 8 && bitmap.BitsPerPixel > 8) made.Order = bitmap.Order;
  made.DitherMethod = bitmap.DitherMethod;
  return kOk;
}

Status describe_gray(BitmapHandle& made, const BitmapHandle& bitmap) {
  TRY(describe_like(made, bitmap, 8));
  fill_gray_ramp(made.Info.Palette);
  made.Colors = 256;
  made.Flags |= T_FLAG_GRAY;
  return kOk;
}

Status color_resolution(BitmapHandle& bitmap, int32_t depth, PaletteType type,
                        const T_PaletteEntry* palette, uint32_t colors, bool consumes) {
  if (!is_request_depth(depth)) return kBadArgument;
  if (type < PaletteType::kOptimized || type > PaletteType::kFine) return kBadArgument;
  if (depth <= 8) {
    if (type == PaletteType::kNone || colors > 1u << depth) return kBadArgument;
    if (type == PaletteType::kGiven && (palette == nullptr || colors == 0)) return kBadArgument;
  }
  if (!core::has_flag(bitmap, T_FLAG_ALLOCATED)) return kNoStorage;
  core::Progress progress;
  TRY(progress.start());
  if (depth > 8) return widen(bitmap, depth, progress);
  if (bitmap.DitherMethod > T_DITHER_ORDERED) return kBadArgument;
  return reduce(bitmap, depth, {type, palette, colors != 0 ? colors : 1u << depth, consumes},
                progress);
}

Status gray_scale_bitmap(BitmapHandle& bitmap) {
  if (!core::has_flag(bitmap, T_FLAG_ALLOCATED)) return kNoStorage;
  core::Progress progress;
  TRY(progress.start());
  core::OwnedBitmap made;
  TRY(describe_gray(*made, bitmap));
  TRY(core::allocate_quietly(*made));
  TRY(convert_rows(bitmap, *made, 0, progress));
  TRY(progress.finish());
  core::take_place(bitmap, *made);
  return kOk;
}

namespace {

Status exchange_palette(uintptr_t& object, std::span<const T_PaletteEntry> entries) {
  const uintptr_t made = platform::create_palette(entries);
  if (made == 0) return kNoMemory;
  if (object != 0) platform::delete_object(object);
  object = made;
  return kOk;
}

}  // namespace

Status create_paint_palette(BitmapHandle& bitmap) {
  const uint32_t count = std::min(bitmap.Colors, 256u);
  if (bitmap.BitsPerPixel > 8 || count == 0) return kBadArgument;
  return exchange_palette(bitmap.GdiObjectA, std::span(bitmap.Info.Palette).first(count));
}

Status create_screen_palette(BitmapHandle& bitmap) {
  T_PaletteEntry entries[256];
  fixed_palette(8, settings.gray_fixed_palette || is_gray_picture(bitmap), entries);
  return exchange_palette(bitmap.GdiObjectB, entries);
}

}  // namespace tavo::color
