// Adjustments of colours as a whole.
#include <algorithm>
#include <numeric>
#include <utility>

#include "color/gray.h"
#include "core/progress.h"
#include "process/adjust/adjust.h"
#include "process/adjust/adjustment.h"
#include "process/rounding.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

// Calls turn(red, green, blue) with references to the channels of each pixel.
template <class Turn>
void for_each_color(uint8_t* row, size_t width, ChannelLayout layout, const Turn& turn) {
  const size_t red = layout.is_red_first ? 0 : 2;
  for (uint8_t* at = row; at != row + width * layout.step; at += layout.step) {
    turn(at[red], at[1], at[2 - red]);
  }
}

// Once around the six edges of the hexagon red, yellow, green, cyan, blue, magenta; an edge is 60
// degrees or as long as the colour's range, 60 c in the unit that needs no division.
void turn_hue(uint8_t& red, uint8_t& green, uint8_t& blue, int32_t degrees) {
  const int32_t r = red, g = green, b = blue;
  const int32_t most = std::max({r, g, b});
  const int32_t least = std::min({r, g, b});
  const int32_t c = most - least;
  if (c == 0) return;
  const int32_t hue = r == most   ? 60 * (g - b)
                      : g == most ? 120 * c + 60 * (b - r)
                                  : 240 * c + 60 * (r - g);
  const int32_t around = 360 * c;
  const int32_t turned = ((hue + degrees * c) % around + around) % around;
  const int32_t edge = turned / (60 * c);
  const int32_t along = (turned % (60 * c) + 30) / 60;
  const int32_t middle = edge % 2 == 0 ? least + along : most - along;
  // Which of the three values each channel gets on the edges: 0 the greatest, 1 the middle one.
  static constexpr uint8_t kParts[6][3] = {{0, 1, 2}, {1, 0, 2}, {2, 0, 1},
                                           {2, 1, 0}, {1, 2, 0}, {0, 2, 1}};
  const int32_t values[3] = {most, middle, least};
  red = static_cast<uint8_t>(values[kParts[edge][0]]);
  green = static_cast<uint8_t>(values[kParts[edge][1]]);
  blue = static_cast<uint8_t>(values[kParts[edge][2]]);
}

void change_hue_row(const void* data, uint8_t* row, size_t width, ChannelLayout layout) {
  const int32_t degrees = *static_cast<const int32_t*>(data);
  for_each_color(row, width, layout, [=](uint8_t& red, uint8_t& green, uint8_t& blue) {
    turn_hue(red, green, blue, degrees);
  });
}

void change_saturation_row(const void* data, uint8_t* row, size_t width, ChannelLayout layout) {
  const int32_t factor = *static_cast<const int32_t*>(data);
  for_each_color(row, width, layout, [=](uint8_t& red, uint8_t& green, uint8_t& blue) {
    const int32_t gray = color::gray_level(red, green, blue);
    for (uint8_t* const v : {&red, &green, &blue}) {
      *v = clamp_level(gray + divide_rounded((*v - gray) * factor, 1000));
    }
  });
}

// What has no colour stays as it is.
Status adjust_colors(BitmapHandle& bitmap, ChangeColors change, const int32_t& data) {
  Adjustment adjustment = {{}, change, &data};
  std::iota(adjustment.levels.begin(), adjustment.levels.end(), uint8_t{0});
  core::Progress progress;
  TRY(progress.start());
  return adjust_bitmap(bitmap, adjustment, progress);
}

}  // namespace

Status change_hue(BitmapHandle& bitmap, int32_t degrees) {
  if (degrees < -360 || degrees > 360) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (degrees % 360 == 0) return kOk;
  return adjust_colors(bitmap, change_hue_row, degrees);
}

Status change_saturation(BitmapHandle& bitmap, int32_t level) {
  if (level < -1000 || level > 1000) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (level == 0) return kOk;
  const int32_t factor = 1000 + level;
  return adjust_colors(bitmap, change_saturation_row, factor);
}

}  // namespace tavo::process
