#include "color/nearest.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace tavo::color {

namespace {

constexpr uint32_t square_of_difference(uint32_t a, uint32_t b) {
  const int32_t difference = static_cast<int32_t>(a) - static_cast<int32_t>(b);
  return static_cast<uint32_t>(difference * difference);
}

constexpr bool is_gray_of(const T_PaletteEntry& entry, uint32_t level) {
  return entry.Red == level && entry.Green == level && entry.Blue == level;
}

}  // namespace

int32_t nearest_color_plain(std::span<const T_PaletteEntry> palette, uint32_t red, uint32_t green,
                            uint32_t blue) {
  if (palette.empty()) return -1;
  const int32_t last = static_cast<int32_t>(palette.size()) - 1;
  if ((red | green | blue) == 0) {
    if (is_gray_of(palette.front(), 0)) return 0;
    if (is_gray_of(palette.back(), 0)) return last;
  }
  if ((red & green & blue) == 255) {
    if (is_gray_of(palette.back(), 255)) return last;
    if (is_gray_of(palette.front(), 255)) return 0;
  }
  const uint32_t hue = hue_class(red, green, blue);
  uint32_t least = UINT32_MAX;
  int32_t best = 0;
  for (int32_t i = 0; i <= last && least != 0; ++i) {
    const T_PaletteEntry& entry = palette[static_cast<size_t>(i)];
    const uint32_t distance = square_of_difference(red, entry.Red) +
                              square_of_difference(green, entry.Green) +
                              square_of_difference(blue, entry.Blue);
    if (distance < least ||
        (distance == least && hue_class(entry.Red, entry.Green, entry.Blue) == hue)) {
      least = distance;
      best = i;
    }
  }
  return best;
}

void NearestColor::start(std::span<const T_PaletteEntry> palette) {
  assert(!palette.empty() && palette.size() <= 256);
  std::ranges::copy(palette, entries_.begin());
  count_ = static_cast<uint32_t>(palette.size());
}

bool NearestColor::is_for(std::span<const T_PaletteEntry> palette) const {
  return palette.size() == count_ &&
         std::memcmp(palette.data(), entries_.data(), palette.size_bytes()) == 0;
}

uint32_t NearestColor::find(uint32_t red, uint32_t green, uint32_t blue) {
  const auto palette = std::span<const T_PaletteEntry>(entries_).first(count_);
  return static_cast<uint32_t>(nearest_color_plain(palette, red, green, blue));
}

void NearestColor::find_all(std::span<const uint32_t> colors, std::span<uint8_t> indices) {
  assert(indices.size() == colors.size());
  for (size_t i = 0; i < colors.size(); ++i) {
    const uint32_t color = colors[i];
    indices[i] = static_cast<uint8_t>(find(color & 255, color >> 8 & 255, color >> 16 & 255));
  }
}

}  // namespace tavo::color
