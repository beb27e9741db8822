// Pictures of black and white in formats that have no palette.
#pragma once

#include <cstdint>

#include "color/gray.h"
#include "color/palettes.h"
#include "io/row_writer.h"
#include "process/source_picture.h"

namespace tavo::formats {

// What a bit of 0 shows; 1 shows the other.
enum class ZeroIs : bool { kBlack, kWhite };

inline constexpr T_PaletteEntry kBlackWhite[] = {color::gray_entry(0), color::gray_entry(255),
                                                 color::gray_entry(0)};

// The two colours of such a format, in its order.
constexpr const T_PaletteEntry* two_levels(ZeroIs zero) {
  return kBlackWhite + (zero == ZeroIs::kWhite ? 1 : 0);
}

inline void describe_two_levels(ZeroIs zero, process::SourcePicture& picture) {
  picture.bits = 1;
  picture.colors = 2;
  picture.palette[0] = two_levels(zero)[0];
  picture.palette[1] = two_levels(zero)[1];
}

// How a writer asks for its rows, so that dark stays dark whatever the order of the bitmap's two
// colours: the one with the higher grey level becomes white, of equal ones the second.
inline void ask_two_levels(ZeroIs zero, const BitmapHandle& picture, io::RowLayout& layout) {
  if (picture.BitsPerPixel != 1) {
    layout.palette = two_levels(zero);
    return;
  }
  const T_PaletteEntry* const colors = picture.Info.Palette;
  const bool is_zero_light = color::gray_level(colors[0]) > color::gray_level(colors[1]);
  layout.inverts = is_zero_light != (zero == ZeroIs::kWhite);
}

}  // namespace tavo::formats
