#include "color/palettes.h"

#include <algorithm>

#include <array>

namespace tavo::color {

namespace {

constexpr T_PaletteEntry rgb(uint32_t red, uint32_t green, uint32_t blue) {
  return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

constexpr std::array<T_PaletteEntry, 2> kBlackAndWhite = {rgb(0, 0, 0), rgb(255, 255, 255)};

constexpr std::array<T_PaletteEntry, 4> kFourGrays = {rgb(0, 0, 0), rgb(85, 85, 85),
                                                      rgb(170, 170, 170), rgb(255, 255, 255)};

constexpr std::array<T_PaletteEntry, 16> kStandardColors = {
    rgb(0, 0, 0),       rgb(128, 0, 0),   rgb(0, 128, 0),   rgb(128, 128, 0),
    rgb(0, 0, 128),     rgb(128, 0, 128), rgb(0, 128, 128), rgb(128, 128, 128),
    rgb(192, 192, 192), rgb(255, 0, 0),   rgb(0, 255, 0),   rgb(255, 255, 0),
    rgb(0, 0, 255),     rgb(255, 0, 255), rgb(0, 255, 255), rgb(255, 255, 255),
};

// Eight and four steps from 0 to 255, rounded to nearest.
constexpr uint32_t eighth(uint32_t step) { return (step * 255 * 2 + 7) / 14; }
constexpr uint32_t quarter(uint32_t step) { return step * 85; }

constexpr std::array<T_PaletteEntry, 256> make_cube() {
  std::array<T_PaletteEntry, 256> cube = {};
  for (uint32_t i = 0; i < 256; ++i) {
    cube[i] = rgb(eighth(i >> 5), eighth(i >> 2 & 7), quarter(i & 3));
  }
  return cube;
}

constexpr std::array<T_PaletteEntry, 256> kCube = make_cube();

}  // namespace

std::span<const T_PaletteEntry> builtin_palette(int32_t depth) {
  switch (depth) {
    case 1:
      return kBlackAndWhite;
    case 2:
      return kFourGrays;
    case 4:
      return kStandardColors;
    case 8:
      return kCube;
    default:
      return {};
  }
}

void fill_gray_ramp(std::span<T_PaletteEntry> palette) {
  const size_t last = palette.size() - 1;
  for (size_t i = 0; i < palette.size(); ++i) {
    palette[i] = gray_entry(static_cast<uint8_t>(last == 0 ? 0 : (i * 255 + last / 2) / last));
  }
}

bool is_gray_ramp(std::span<const T_PaletteEntry> palette) {
  T_PaletteEntry ramp[256];
  fill_gray_ramp(std::span(ramp).first(palette.size()));
  return std::ranges::equal(palette, std::span(ramp).first(palette.size()),
                            [](const T_PaletteEntry& a, const T_PaletteEntry& b) {
                              return a.Red == b.Red && a.Green == b.Green && a.Blue == b.Blue;
                            });
}

void fixed_palette(int32_t depth, bool is_gray, std::span<T_PaletteEntry, 256> palette) {
  const std::span<const T_PaletteEntry> built_in = builtin_palette(depth);
  if (is_gray) {
    fill_gray_ramp(palette.first(built_in.size()));
  } else {
    std::copy(built_in.begin(), built_in.end(), palette.begin());
  }
  std::fill(palette.begin() + static_cast<ptrdiff_t>(built_in.size()), palette.end(),
            T_PaletteEntry{});
}

}  // namespace tavo::color
