#include "reduce/fine_palette.h"

#include <algorithm>
#include <array>

#include "color/gray.h"
#include "color/nearest.h"
#include "dither/dither.h"
#include "reduce/clusters.h"
#include "reduce/color_points.h"

namespace tavo::color {

namespace {

void take_colors(std::span<const uint32_t> colors, OptimizedPalette& palette) {
  palette.count = static_cast<uint32_t>(colors.size());
  std::ranges::transform(colors, palette.entries, entry_of);
  std::ranges::sort(std::span(palette.entries).first(palette.count), {},
                    [](const T_PaletteEntry& entry) {
                      return uint32_t{gray_level(entry)} << 24 | uint32_t{entry.Blue} << 16 |
                             uint32_t{entry.Green} << 8 | entry.Red;
                    });
}

}  // namespace

Status make_fine_palette(BitmapHandle& bitmap, uint32_t wanted, OptimizedPalette& palette,
                         bool& is_exact, core::Progress& progress, uint32_t percent_share) {
  ColorPoints points;
  const uint32_t reading_share = percent_share * 3 / 4;
  TRY(points.read(bitmap, wanted, progress, reading_share));
  is_exact = !points.few_colors().is_over();
  if (is_exact) {
    take_colors(points.few_colors().colors(), palette);
    return kOk;
  }
  Clusters clusters(points);
  TRY(clusters.start(wanted));
  TRY(clusters.refine(progress, reading_share, percent_share - reading_share));
  std::array<uint32_t, 256> colors;
  const uint32_t count = clusters.take_colors(colors);
  take_colors(std::span(colors).first(count), palette);
  return kOk;
}

Status fill_inverse(OptimizedPalette& palette) {
  constexpr uint32_t kMiddle = 4;
  constexpr uint32_t kPiece = 1024;  // classes of one red
  TRY(palette.inverse.allocate(kColorClasses));
  NearestColor nearest;
  nearest.start(std::span<const T_PaletteEntry>(palette.entries).first(palette.count));
  uint32_t colors[kPiece];
  uint8_t indices[kPiece];
  for (uint32_t red = 0; red < 32; ++red) {
    for (uint32_t i = 0; i < kPiece; ++i) {
      colors[i] = (red << 3 | (i >> 5) << 11 | (i & 31) << 19) + kMiddle * 0x010101;
    }
    nearest.find_all(colors, indices);
    for (uint32_t i = 0; i < kPiece; ++i) palette.inverse[red * kPiece + i] = indices[i] + 1u;
  }
  return kOk;
}

}  // namespace tavo::color
