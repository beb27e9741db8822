#include <algorithm>
#include <cstring>

#include "base/trigonometry.h"
#include "base/vector_sse2.h"
#include "process/adjust/adjust.h"
#include "process/adjust/color_rows.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

using sse2::V;

// Once around the six edges of the hexagon red, yellow, green, cyan, blue, magenta. A colour lies
// on an edge at a place between 0 and its range c; a turn leads over whole edges and a part, which
// depends on c alone.
class HueTurn {
 public:
  explicit HueTurn(int32_t degrees) : edges_(degrees / 60), rest_(degrees % 60) {
    const int32_t rest = rest_;
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

  // Sixteen pixels.
  void turn(V& red, V& green, V& blue) const;

 private:
  int32_t edges_;
  int32_t rest_;
  uint8_t further_[256];  // the part's length, by c
  uint8_t corner_[256];   // from where on it leads to the next edge
};

// (bytes * factor + rounding) / 60 as bytes; exact, since the sum is below 2^21 / 28.
V sixtieths(V bytes, int32_t factor, int32_t rounding) {
  const auto divide = [=](V words) {
    const V sum =
        sse2::add16(sse2::multiply16(words, sse2::splat16(factor)), sse2::splat16(rounding));
    return sse2::shift_right16<5>(sse2::multiply_high16_unsigned(sum, sse2::splat16(34953)));
  };
  return sse2::pack16_unsigned(divide(sse2::unpack_low8(bytes, V{})),
                               divide(sse2::unpack_high8(bytes, V{})));
}

V select(V mask, V a, V b) { return (mask & a) | (~mask & b); }

// The same step by step. Sums of bytes that pass 255 come back below when a range is taken off.
void HueTurn::turn(V& red, V& green, V& blue) const {
  const V most = sse2::max8_unsigned(sse2::max8_unsigned(red, green), blue);
  const V least = sse2::min8_unsigned(sse2::min8_unsigned(red, green), blue);
  const V c = sse2::sub8(most, least);
  const V is_red = sse2::equal8(red, most);
  const V is_green = sse2::equal8(green, most);
  const V next = select(is_red, green, select(is_green, blue, red));
  const V last = select(is_red, blue, select(is_green, red, green));
  const V back = sse2::sub8_clamped(last, next);
  const V is_back = ~sse2::equal8(back, V{});
  V along = select(is_back, sse2::sub8(c, back), sse2::sub8_clamped(next, last));
  V edge = select(is_red, sse2::splat8(6), select(is_green, sse2::splat8(2), sse2::splat8(4)));
  edge = sse2::add8(sse2::add8(edge, is_back), sse2::splat8(edges_));
  const V corner = sixtieths(c, 60 - rest_, 59);
  const V turns_corner = sse2::equal8(sse2::sub8_clamped(corner, along), V{});
  along = sse2::sub8(sse2::add8(along, sixtieths(c, rest_, 30)), turns_corner & c);
  edge = sse2::sub8(edge, turns_corner);
  for (int turn = 0; turn < 2; ++turn) {
    edge = sse2::sub8(edge, sse2::greater8(edge, sse2::splat8(5)) & sse2::splat8(6));
  }
  const V is_odd = sse2::equal8(edge & sse2::splat8(1), sse2::splat8(1));
  const V middle = select(is_odd, sse2::sub8(most, along), sse2::add8(least, along));
  const auto is_edge = [edge](int first, int second) {
    return sse2::equal8(edge, sse2::splat8(first)) | sse2::equal8(edge, sse2::splat8(second));
  };
  red = select(is_edge(0, 5), most, select(is_edge(1, 4), middle, least));
  green = select(is_edge(1, 2), most, select(is_edge(0, 3), middle, least));
  blue = select(is_edge(3, 4), most, select(is_edge(2, 5), middle, least));
}

void change_hue_row(const void* data, uint8_t* row, size_t width, ChannelLayout layout) {
  const auto& hue = *static_cast<const HueTurn*>(data);
  constexpr size_t kPixels = sizeof(V);
  size_t x = 0;
  for (; layout.step == 3 && x + kPixels <= width; x += kPixels) {
    V v[3];
    sse2::load_triples(row + 3 * x, v);
    hue.turn(v[layout.is_red_first ? 0 : 2], v[1], v[layout.is_red_first ? 2 : 0]);
    uint8_t turned[3 * kPixels + 2];  // two bytes more are written
    sse2::store_triples(turned, v[0], v[1], v[2]);
    std::memcpy(row + 3 * x, turned, 3 * kPixels);
  }
  for_each_color(
      row + layout.step * x, width - x, layout,
      [&hue](uint8_t& red, uint8_t& green, uint8_t& blue) { hue.turn(red, green, blue); });
}

}  // namespace

Status change_hue(BitmapHandle& bitmap, int32_t degrees) {
  if (degrees < -360 || degrees > 360) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (degrees % 360 == 0) return kOk;
  const HueTurn hue(within_turn(degrees, 360));
  return adjust_colors(bitmap, change_hue_row, &hue);
}

}  // namespace tavo::process
