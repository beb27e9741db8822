// Adjustments of colours as a whole.
#include <algorithm>
#include <numeric>
#include <utility>

#include "color/gray.h"
#include "core/progress.h"
#include "process/adjust/adjust.h"
#include "process/adjust/adjustment.h"
#include "process/rounding.h"
#include "process/trigonometry.h"
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

// Once around the six edges of the hexagon red, yellow, green, cyan, blue, magenta. A colour lies
// on an edge at a place between 0 and its range c; a turn leads over whole edges and a part, which
// depends on c alone.
class HueTurn {
 public:
  explicit HueTurn(int32_t degrees) : edges_(degrees / 60) {
    const int32_t rest = degrees % 60;
    for (int32_t c = 0; c < 256; ++c) {
      further_[c] = static_cast<uint8_t>((rest * c + 30) / 60);
      corner_[c] = static_cast<uint8_t>(((60 - rest) * c + 59) / 60);
    }
  }

  void turn(uint8_t& red, uint8_t& green, uint8_t& blue) const {
    const int32_t r = red, g = green, b = blue;
    const int32_t most = std::max({r, g, b});
    const int32_t c = most - std::min({r, g, b});
    if (c == 0) return;
    // The second edge of those that meet in the greatest channel's corner, and the way along it.
    int32_t edge = r == most ? 6 : g == most ? 2 : 4;
    int32_t along = r == most ? g - b : g == most ? b - r : r - g;
    if (along < 0) {
      --edge;
      along += c;
    }
    edge += edges_;
    const bool turns_corner = along >= corner_[c];
    along += further_[c] - (turns_corner ? c : 0);
    edge = (edge + (turns_corner ? 1 : 0)) % 6;
    const int32_t least = most - c;
    const int32_t values[3] = {most, edge % 2 == 0 ? least + along : most - along, least};
    // Which of the three each channel gets on the edges.
    static constexpr uint8_t kParts[6][3] = {{0, 1, 2}, {1, 0, 2}, {2, 0, 1},
                                             {2, 1, 0}, {1, 2, 0}, {0, 2, 1}};
    red = static_cast<uint8_t>(values[kParts[edge][0]]);
    green = static_cast<uint8_t>(values[kParts[edge][1]]);
    blue = static_cast<uint8_t>(values[kParts[edge][2]]);
  }

 private:
  int32_t edges_;
  uint8_t further_[256];  // the part's length, by c
  uint8_t corner_[256];   // from where on it leads to the next edge
};

// What a difference from the grey level becomes.
class Stretch {
 public:
  explicit Stretch(int32_t factor) {
    for (int32_t d = -255; d <= 255; ++d) {
      of_difference_[d + 255] = static_cast<int16_t>(divide_rounded(d * factor, 1000));
    }
  }

  void stretch(uint8_t& red, uint8_t& green, uint8_t& blue) const {
    const int32_t gray = color::gray_level(red, green, blue);
    for (uint8_t* const v : {&red, &green, &blue}) {
      *v = clamp_level(gray + of_difference_[*v - gray + 255]);
    }
  }

 private:
  int16_t of_difference_[511];
};

void change_hue_row(const void* data, uint8_t* row, size_t width, ChannelLayout layout) {
  const auto& hue = *static_cast<const HueTurn*>(data);
  for_each_color(row, width, layout, [&hue](uint8_t& red, uint8_t& green, uint8_t& blue) {
    hue.turn(red, green, blue);
  });
}

void change_saturation_row(const void* data, uint8_t* row, size_t width, ChannelLayout layout) {
  const auto& saturation = *static_cast<const Stretch*>(data);
  for_each_color(row, width, layout, [&saturation](uint8_t& red, uint8_t& green, uint8_t& blue) {
    saturation.stretch(red, green, blue);
  });
}

// What has no colour stays as it is.
Status adjust_colors(BitmapHandle& bitmap, ChangeColors change, const void* data) {
  Adjustment adjustment = {{}, change, data};
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
  const HueTurn hue(within_turn(degrees, 360));
  return adjust_colors(bitmap, change_hue_row, &hue);
}

Status change_saturation(BitmapHandle& bitmap, int32_t level) {
  if (level < -1000 || level > 1000) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (level == 0) return kOk;
  const Stretch saturation(1000 + level);
  return adjust_colors(bitmap, change_saturation_row, &saturation);
}

}  // namespace tavo::process
