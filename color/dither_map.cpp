// Rows to indices without error diffusion: the nearest colour, and ordered dither.
#include <algorithm>

#include "color/dither_pass.h"
#include "color/packed_indices.h"

namespace tavo::color {

namespace {

// Four times the classic 8 x 8 threshold pattern, but for entries in rows 3, 5 and 7: these are
// the values whose output programs know.
constexpr uint8_t kThresholds[8][8] = {
    {0, 128, 32, 160, 8, 136, 40, 168},   {192, 64, 224, 96, 200, 72, 232, 104},
    {48, 176, 16, 144, 56, 184, 24, 152}, {236, 112, 208, 80, 244, 120, 216, 88},
    {12, 140, 44, 172, 4, 132, 36, 164},  {204, 76, 232, 108, 196, 68, 228, 100},
    {60, 188, 28, 156, 52, 180, 20, 148}, {248, 124, 220, 92, 240, 116, 212, 84}};

constexpr uint32_t kPiece = 256;  // pixels, a multiple of 8

// A piece of a row by channel, and the indices it gets.
struct Planes {
  alignas(16) uint8_t red[kPiece];
  alignas(16) uint8_t green[kPiece];
  alignas(16) uint8_t blue[kPiece];
  alignas(16) uint8_t indices[kPiece];
};

void split(const uint8_t* at, const Pixels& layout, uint32_t n, Planes& planes) {
  for (uint32_t i = 0; i < n; ++i, at += layout.step) {
    planes.red[i] = at[layout.red];
    planes.green[i] = at[layout.green];
    planes.blue[i] = at[layout.blue];
  }
}

void read_planes(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n,
                 Planes& planes) {
  const Pixels layout = pixel_layout(pass);
  if (is_read_in_place(pass)) {
    split(row + static_cast<size_t>(x) * layout.step, layout, n, planes);
    return;
  }
  uint8_t rgb[3 * kPiece];
  read_rgb(pass, row, x, n, rgb);
  split(rgb, layout, n, planes);
}

// Adds the same 8 offsets again and again, each sum clamped to a byte. An offset is up or down,
// the other of the two being 0.
struct Offsets {
  uint8_t up[8];
  uint8_t down[8];
};

void shift_plane(uint8_t* plane, const Offsets& offsets) {
  for (uint32_t i = 0; i < kPiece; i += 8) {
    for (uint32_t k = 0; k < 8; ++k) {
      const int32_t value = plane[i + k] + offsets.up[k] - offsets.down[k];
      plane[i + k] = static_cast<uint8_t>(std::clamp(value, 0, 255));
    }
  }
}

Offsets offsets_of(const DitherPass& pass, const uint8_t* thresholds) {
  Offsets offsets = {};
  for (uint32_t k = 0; k < 8; ++k) {
    const int32_t m = thresholds[k];
    const int32_t d = pass.depth_out == 1   ? m - 128
                      : pass.depth_out == 4 ? (m >> 2) - 32
                                            : (m >> 3) - 16;
    offsets.up[k] = static_cast<uint8_t>(std::max(d, 0));
    offsets.down[k] = static_cast<uint8_t>(std::max(-d, 0));
  }
  return offsets;
}

void map_classes(DitherPass& pass, Planes& planes, uint32_t n) {
  for (uint32_t i = 0; i < n; ++i) {
    const uint32_t choice =
        pass.choose(color_class(planes.red[i], planes.green[i], planes.blue[i]));
    planes.indices[i] = static_cast<uint8_t>(choice >> 24);
  }
}

void map_cube(Planes& planes) {
  for (uint32_t i = 0; i < kPiece; ++i) {
    planes.indices[i] =
        static_cast<uint8_t>(cube_index(planes.red[i], planes.green[i], planes.blue[i]));
  }
}

// Grey levels that reach `least` become white. least[k] = threshold + 1, up to 256.
void map_black_white(Planes& planes, const uint16_t (&least)[8]) {
  for (uint32_t i = 0; i < kPiece; i += 8) {
    for (uint32_t k = 0; k < 8; ++k) {
      const uint32_t sum = 2u * planes.red[i + k] + 5u * planes.green[i + k] + planes.blue[i + k];
      const auto gray = static_cast<uint16_t>((sum + 4) >> 3);
      planes.indices[i + k] = static_cast<uint8_t>(gray >= least[k]);
    }
  }
}

void map_sixteen(Planes& planes, const uint16_t (&least)[8]) {
  for (uint32_t i = 0; i < kPiece; i += 8) {
    for (uint32_t k = 0; k < 8; ++k) {
      const int bits = (planes.red[i + k] >= least[k]) | (planes.green[i + k] >= least[k]) << 1 |
                       (planes.blue[i + k] >= least[k]) << 2;
      planes.indices[i + k] = static_cast<uint8_t>(bits != 0 ? bits + 8 : 0);
    }
  }
}

}  // namespace

void map_row(DitherPass& pass, const uint8_t* row, uint8_t* out, uint32_t y) {
  const bool is_ordered = pass.method == T_DITHER_ORDERED;
  const uint8_t* thresholds = kThresholds[y % 8];
  const Offsets offsets = offsets_of(pass, thresholds);
  const bool adds_offsets =
      is_ordered && pass.mapping != Mapping::kBlackWhite && pass.mapping != Mapping::kSixteen;
  uint16_t least[8];
  for (uint32_t k = 0; k < 8; ++k) {
    least[k] = is_ordered ? static_cast<uint16_t>(thresholds[k] + 1) : 128;
  }

  Planes planes = {};
  for (uint32_t x = 0; x < pass.width; x += kPiece) {
    const uint32_t n = std::min(kPiece, pass.width - x);
    read_planes(pass, row, x, n, planes);
    if (adds_offsets) {
      shift_plane(planes.red, offsets);
      shift_plane(planes.green, offsets);
      shift_plane(planes.blue, offsets);
    }
    switch (pass.mapping) {
      case Mapping::kBlackWhite:
        map_black_white(planes, least);
        break;
      case Mapping::kSixteen:
        map_sixteen(planes, least);
        break;
      case Mapping::kCube:
        map_cube(planes);
        break;
      default:
        map_classes(pass, planes, n);
    }
    pack_indices(out, x, pass.depth_out, {planes.indices, n});
    if (pass.width - x <= kPiece) break;
  }
}

}  // namespace tavo::color
