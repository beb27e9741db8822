// Rows to indices without error diffusion: the nearest colour, and ordered dither.
#include <algorithm>
#include <cstring>

#include "base/vector_sse2.h"
#include "color/index_rows.h"
#include "color/planes.h"
#include "dither/dither_pass.h"

namespace tavo::color {

namespace {

using namespace sse2;

// Four times the classic 8 x 8 threshold pattern, but for entries in rows 3, 5 and 7: these are
// the values whose output programs know.
constexpr uint8_t kThresholds[8][8] = {
    {0, 128, 32, 160, 8, 136, 40, 168},   {192, 64, 224, 96, 200, 72, 232, 104},
    {48, 176, 16, 144, 56, 184, 24, 152}, {236, 112, 208, 80, 244, 120, 216, 88},
    {12, 140, 44, 172, 4, 132, 36, 164},  {204, 76, 232, 108, 196, 68, 228, 100},
    {60, 188, 28, 156, 52, 180, 20, 148}, {248, 124, 220, 92, 240, 116, 212, 84}};

constexpr uint32_t kPiece = kPlanePixels;

using Indices = uint8_t[kPiece];

// What a row's dithering does to sixteen neighbouring pixels: the pattern of eight twice.
struct RowPattern {
  alignas(16) uint8_t up[16];     // added to components,
  alignas(16) uint8_t down[16];   // and taken off; one of the two is 0
  alignas(16) uint8_t least[16];  // the least value that counts as bright
};

RowPattern make_pattern(const DitherPass& pass, uint32_t y) {
  RowPattern pattern = {};
  for (uint32_t k = 0; k < 16; ++k) {
    const int32_t m = kThresholds[y % 8][k % 8];
    // 2 bits: as far as from one of the four greys to the next.
    const int32_t d = pass.depth_out == 1   ? m - 128
                      : pass.depth_out == 2 ? (m * 85 >> 8) - 42
                      : pass.depth_out == 4 ? (m >> 2) - 32
                                            : (m >> 3) - 16;
    pattern.up[k] = static_cast<uint8_t>(std::max(d, 0));
    pattern.down[k] = static_cast<uint8_t>(std::max(-d, 0));
    pattern.least[k] = pass.method == T_DITHER_ORDERED ? static_cast<uint8_t>(m + 1) : 128;
  }
  return pattern;
}

// All ones where the unsigned `values` reach `least`.
V reach(V values, V least) { return equal8(max8_unsigned(values, least), values); }

V shifted(V values, V up, V down) { return sub8_clamped(add8_clamped(values, up), down); }

void shift_plane(uint8_t (&plane)[kPiece], uint32_t n, const RowPattern& pattern) {
  const V up = load(pattern.up), down = load(pattern.down);
  for (uint32_t i = 0; i < n; i += 16) store(plane + i, shifted(load(plane + i), up, down));
}

void map_classes(DitherPass& pass, const Planes& planes, uint32_t n, Indices& indices) {
  alignas(16) uint16_t classes[kPiece];
  classes_of(planes, n, classes);
  alignas(16) uint16_t found[kPiece];  // index + 1
  const uint16_t* const known = pass.class_indices.data();
#pragma GCC unroll 8
  for (uint32_t i = 0; i < n; ++i) found[i] = known[classes[i]];
  std::fill(found + n, found + (n + 15) / 16 * 16, uint16_t{1});
  for (uint32_t i = 0; i < n; i += 16) {
    V low = load(found + i), high = load(found + i + 8);
    if (top_bits8(equal16(min16(low, high), V{})) != 0) [[unlikely]] {
      for (uint32_t k = i; k < std::min(n, i + 16); ++k) {
        found[k] = static_cast<uint16_t>(pass.class_index(classes[k]) + 1);
      }
      low = load(found + i), high = load(found + i + 8);
    }
    store(indices + i, pack16_unsigned(sub16(low, splat16(1)), sub16(high, splat16(1))));
  }
}

template <bool kIsOrdered>
void map_cube(const Planes& planes, uint32_t n, const RowPattern& pattern, Indices& indices) {
  const V up = load(pattern.up), down = load(pattern.down);
  const auto read = [=](const uint8_t* plane) {
    return kIsOrdered ? shifted(load(plane), up, down) : load(plane);
  };
  for (uint32_t i = 0; i < n; i += 16) {
    const V red = read(planes.red + i) & splat8(0xE0);
    const V green = shift_right16<3>(read(planes.green + i) & splat8(0xE0));
    const V blue = shift_right16<6>(read(planes.blue + i)) & splat8(3);
    store(indices + i, red | green | blue);
  }
}

void map_sixteen(const Planes& planes, uint32_t n, const RowPattern& pattern, Indices& indices) {
  const V least = load(pattern.least);
  for (uint32_t i = 0; i < n; i += 16) {
    const V red = reach(load(planes.red + i), least) & splat8(9);
    const V green = reach(load(planes.green + i), least) & splat8(10);
    const V blue = reach(load(planes.blue + i), least) & splat8(12);
    store(indices + i, red | green | blue);
  }
}

// (2 red + 5 green + blue + 4) >> 3 of eight pixels in words.
V gray_words(V red, V green, V blue) {
  const V five_greens = add16(shift_left16<2>(green), green);
  const V others = add16(add16(red, red), blue);
  const V sum = add16(add16(five_greens, others), splat16(4));
  return shift_right16<3>(sum);
}

// In place of the green ones.
void make_gray(Planes& planes, uint32_t n) {
  for (uint32_t i = 0; i < n; i += 16) {
    const V red = load(planes.red + i);
    const V green = load(planes.green + i);
    const V blue = load(planes.blue + i);
    const V low =
        gray_words(unpack_low8(red, V{}), unpack_low8(green, V{}), unpack_low8(blue, V{}));
    const V high =
        gray_words(unpack_high8(red, V{}), unpack_high8(green, V{}), unpack_high8(blue, V{}));
    store(planes.green + i, pack16_unsigned(low, high));
  }
}

// `gray` has n levels, and some bytes to fill sixteen.
void map_black_white(const uint8_t* gray, uint32_t n, const RowPattern& pattern, Indices& indices) {
  const V least = load(pattern.least);
  for (uint32_t i = 0; i < n; i += 16) {
    store(indices + i, reach(load(gray + i), least) & splat8(1));
  }
}

// An indexed row, each index by the table.
void translate(const uint8_t* row, uint32_t x, uint32_t n, int32_t depth,
               const uint8_t (&table)[256], uint8_t* values) {
  unpack_indices(depth, row + packed_offset(depth, x), table, {values, n});
}

void read_planes(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n,
                 Planes& planes) {
  if (pass.depth_in > 8) {
    const size_t bytes = static_cast<uint32_t>(pass.depth_in) / 8;
    split_pixels(row + x * bytes, pass.depth_in, pass.order, n, planes);
    return;
  }
  uint8_t rgb[3 * kPiece];
  read_rgb(pass, row, x, n, rgb);
  split_pixels(rgb, 24, T_ORDER_RGB, n, planes);
}

void map_gray_piece(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n,
                    const RowPattern& pattern, Planes& planes, Indices& indices) {
  const uint8_t* gray = planes.green;
  if (pass.depth_in > 8) {
    read_planes(pass, row, x, n, planes);
    make_gray(planes, n);
  } else if (pass.is_gray_ramp && n % 16 == 0) {
    gray = row + x;
  } else {
    translate(row, x, n, pass.depth_in, pass.gray_levels, planes.green);
  }
  map_black_white(gray, n, pattern, indices);
}

void map_piece(DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n,
               const RowPattern& pattern, Planes& planes, Indices& indices) {
  if (pass.depth_in <= 8 && pass.method == T_DITHER_NONE) {
    translate(row, x, n, pass.depth_in, pass.index_map, indices);
    return;
  }
  if (pass.mapping == Mapping::kBlackWhite) {
    map_gray_piece(pass, row, x, n, pattern, planes, indices);
    return;
  }
  read_planes(pass, row, x, n, planes);
  if (pass.mapping == Mapping::kSixteen) {
    map_sixteen(planes, n, pattern, indices);
    return;
  }
  const bool is_ordered = pass.method == T_DITHER_ORDERED;
  if (pass.mapping == Mapping::kCube) {
    (is_ordered ? map_cube<true> : map_cube<false>)(planes, n, pattern, indices);
    return;
  }
  if (is_ordered) {
    shift_plane(planes.red, n, pattern);
    shift_plane(planes.green, n, pattern);
    shift_plane(planes.blue, n, pattern);
  }
  map_classes(pass, planes, n, indices);
}

}  // namespace

void map_row(DitherPass& pass, const uint8_t* row, uint8_t* out, uint32_t y) {
  const RowPattern pattern = make_pattern(pass, y);
  Planes planes;
  Indices indices;
  for (uint32_t x = 0, n = 0; x < pass.width; x += n) {
    n = std::min(kPiece, pass.width - x);
    map_piece(pass, row, x, n, pattern, planes, indices);
    pack_indices(pass.depth_out, {indices, n}, out + packed_offset(pass.depth_out, x));
  }
}

}  // namespace tavo::color
