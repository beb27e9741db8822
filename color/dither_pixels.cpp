// Rows as the dithering engines read and write them.
#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "color/dither_pass.h"

namespace tavo::color {

namespace {

// Calls use(i, index) for `n` pixels from pixel x (a multiple of 8) of an indexed row on.
template <class Use>
void each_index(const uint8_t* row, uint32_t x, uint32_t n, int32_t depth, Use use) {
  if (depth == 8) {
    for (uint32_t i = 0; i < n; ++i) use(i, row[x + i]);
  } else if (depth == 4) {
    for (uint32_t i = 0; i < n; ++i) use(i, row[(x + i) / 2] >> (i % 2 == 0 ? 4 : 0) & 15);
  } else {
    for (uint32_t i = 0; i < n; ++i) use(i, row[(x + i) / 8] >> (7 - i % 8) & 1);
  }
}

constexpr uint8_t widen_5_bits(uint32_t field) {
  return static_cast<uint8_t>((field & 31) << 3 | (field & 31) >> 2);
}

void read_16_bits(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n,
                  uint8_t* rgb) {
  const uint32_t red_shift = pass.order == T_ORDER_RGB ? 0 : 10;
  for (uint32_t i = 0; i < n; ++i) {
    const uint8_t* at = row + 2 * (static_cast<size_t>(x) + i);
    const uint32_t pixel = at[0] | static_cast<uint32_t>(at[1]) << 8;
    rgb[3 * i] = widen_5_bits(pixel >> red_shift);
    rgb[3 * i + 1] = widen_5_bits(pixel >> 5);
    rgb[3 * i + 2] = widen_5_bits(pixel >> (10 - red_shift));
  }
}

// Eight indices of one bit, each a byte, as one byte with the first in the high bit: every bit
// reaches the top byte of the product once, and no two meet.
uint8_t pack_8_bits(const uint8_t* indices) {
  uint64_t bytes = 0;
  for (int i = 7; i >= 0; --i) bytes = bytes << 8 | (indices[i] & 1u);
  return static_cast<uint8_t>(bytes * 0x8040201008040201u >> 56);
}

void write_bits(uint8_t* out, std::span<const uint8_t> indices) {
  const size_t whole = indices.size() / 8;
  for (size_t i = 0; i < whole; ++i) out[i] = pack_8_bits(indices.data() + 8 * i);
  const size_t rest = indices.size() % 8;
  if (rest == 0) return;
  uint8_t last[8] = {};
  std::memcpy(last, indices.data() + 8 * whole, rest);
  const auto others = static_cast<uint8_t>(0xFF >> rest);
  out[whole] = static_cast<uint8_t>((out[whole] & others) | pack_8_bits(last));
}

void write_nibbles(uint8_t* out, std::span<const uint8_t> indices) {
  const size_t whole = indices.size() / 2;
  for (size_t i = 0; i < whole; ++i) {
    out[i] = static_cast<uint8_t>(indices[2 * i] << 4 | (indices[2 * i + 1] & 15));
  }
  if (indices.size() % 2 != 0) {
    out[whole] = static_cast<uint8_t>((out[whole] & 15) | indices.back() << 4);
  }
}

}  // namespace

void read_rgb(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n, uint8_t* rgb) {
  if (pass.depth_in <= 8) {
    each_index(row, x, n, pass.depth_in, [&](uint32_t i, uint32_t index) {
      const T_PaletteEntry& entry = pass.input_palette[index];
      rgb[3 * i] = entry.Red;
      rgb[3 * i + 1] = entry.Green;
      rgb[3 * i + 2] = entry.Blue;
    });
    return;
  }
  if (pass.depth_in == 16) {
    read_16_bits(pass, row, x, n, rgb);
    return;
  }
  const Pixels pixels = pixel_layout(pass);
  const uint8_t* at = row + static_cast<size_t>(x) * pixels.step;
  for (uint32_t i = 0; i < n; ++i, at += pixels.step) {
    rgb[3 * i] = at[pixels.red];
    rgb[3 * i + 1] = at[pixels.green];
    rgb[3 * i + 2] = at[pixels.blue];
  }
}

void read_gray(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n, uint8_t* gray) {
  each_index(row, x, n, pass.depth_in,
             [&](uint32_t i, uint32_t index) { gray[i] = pass.input_palette[index].Red; });
}

Pixels pixel_layout(const DitherPass& pass) {
  if (is_read_in_place(pass)) {
    const uint32_t red = pass.order == T_ORDER_RGB ? 0 : 2;
    return {nullptr, static_cast<uint32_t>(pass.depth_in) / 8, red, 1, 2 - red};
  }
  if (pass.is_gray) return {nullptr, 1, 0, 0, 0};
  return {nullptr, 3, 0, 1, 2};
}

void write_indices(uint8_t* row, uint32_t x, std::span<const uint8_t> indices, int32_t depth) {
  if (depth == 8) {
    std::memcpy(row + x, indices.data(), indices.size());
  } else if (depth == 4) {
    write_nibbles(row + x / 2, indices);
  } else {
    write_bits(row + x / 8, indices);
  }
}

}  // namespace tavo::color
