// Rows as the dithering engines read and write them.
#include <algorithm>
#include <cstring>
#include <span>

#include "color/index_rows.h"
#include "color/pixel_kernels.h"
#include "color/widen.h"
#include "dither/dither_pass.h"

namespace tavo::color {

namespace {

constexpr uint32_t kIndices = 256;  // unpacked at a time

// Calls use(first, indices) for parts of `n` pixels from pixel x (a multiple of 8) of an indexed
// row on.
template <class Use>
void each_part(const uint8_t* row, uint32_t x, uint32_t n, int32_t depth, Use use) {
  uint8_t indices[kIndices];
  for (uint32_t done = 0; done < n; done += kIndices) {
    const auto part = std::span(indices).first(std::min(kIndices, n - done));
    unpack_indices(depth, row + packed_offset(depth, x + done), part);
    use(done, part);
  }
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

}  // namespace

void read_rgb(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n, uint8_t* rgb) {
  if (pass.depth_in <= 8) {
    each_part(row, x, n, pass.depth_in, [&](uint32_t first, std::span<const uint8_t> indices) {
      write_colors(24, indices, pass.input_colors, rgb + size_t{3} * first);
    });
    return;
  }
  if (pass.depth_in == 16) {
    read_16_bits(pass, row, x, n, rgb);
    return;
  }
  const uint8_t* const pixels =
      row + static_cast<size_t>(x) * static_cast<uint32_t>(pass.depth_in) / 8;
  const auto kernel = pixel_kernel(pass.depth_in, 24, pass.order != T_ORDER_RGB);
  if (kernel != nullptr) {
    kernel(pixels, rgb, n);
  } else {
    std::memcpy(rgb, pixels, size_t{3} * n);
  }
}

void read_gray(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n, uint8_t* gray) {
  each_part(row, x, n, pass.depth_in, [&](uint32_t first, std::span<const uint8_t> indices) {
    for (const uint8_t index : indices) gray[first++] = pass.input_palette[index].Red;
  });
}

Pixels pixel_layout(const DitherPass& pass) {
  if (pass.is_gray) return {nullptr, 1, 0, 0, 0};
  if (is_read_in_place(pass)) {
    const uint32_t red = pass.order == T_ORDER_RGB ? 0 : 2;
    return {nullptr, static_cast<uint32_t>(pass.depth_in) / 8, red, 1, 2 - red};
  }
  return {nullptr, 3, 0, 1, 2};
}

}  // namespace tavo::color
