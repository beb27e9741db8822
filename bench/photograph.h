// The picture that colour benchmarks work on: 4096 x 3072, photograph-like, the same everywhere.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

inline constexpr int kWidth = 4096;
inline constexpr int kHeight = 3072;
inline constexpr size_t kPixels = size_t{kWidth} * kHeight;

inline uint32_t noise(uint32_t x, uint32_t y, uint32_t seed) {
  uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
  h = (h ^ h >> 15) * 0x2C1B3C6Du;
  h = (h ^ h >> 12) * 0x297A2D39u;
  return h ^ h >> 15;
}

// Value noise with cells of 2^shift pixels, 0 to 255.
inline int smooth_noise(uint32_t x, uint32_t y, uint32_t shift, uint32_t seed) {
  const uint32_t cell = 1u << shift, fx = x & (cell - 1), fy = y & (cell - 1);
  const auto at = [&](uint32_t i, uint32_t j) {
    return noise((x >> shift) + i, (y >> shift) + j, seed + shift) & 255;
  };
  const uint32_t top = at(0, 0) * (cell - fx) + at(1, 0) * fx;
  const uint32_t bottom = at(0, 1) * (cell - fx) + at(1, 1) * fx;
  return static_cast<int>((top * (cell - fy) + bottom * fy) >> (2 * shift));
}

// Falling spectrum, hard edges between regions, colours that vary by region, sensor noise.
// Rows of red, green, blue.
inline std::vector<uint8_t> make_photograph() {
  std::vector<uint8_t> rows(3 * kPixels);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      int level = smooth_noise(x, y, 9, 1) * 2 / 3 + smooth_noise(x, y, 6, 1) / 4;
      const int texture = smooth_noise(x, y, 8, 2);
      if (texture > 120) level += (smooth_noise(x, y, 2, 3) - 128) * (texture - 120) / 250;
      level += (smooth_noise(x, y, 4, 4) - 128) / 10;
      if (smooth_noise(x, y, 7, 5) > 140) level += 50;
      for (uint32_t c = 0; c < 3; ++c) {
        int v = level + (smooth_noise(x, y, 8, 10 + c) - 128) * 2 / 3;
        v += static_cast<int>(noise(x, y, 20 + c) % 9) - 4;
        rows[3 * (size_t{y} * kWidth + x) + c] = static_cast<uint8_t>(v < 0     ? 0
                                                                      : v > 255 ? 255
                                                                                : v);
      }
    }
  }
  return rows;
}

inline const std::vector<uint8_t>& photograph() {
  static const std::vector<uint8_t> rows = make_photograph();
  return rows;
}

// Its green channel.
inline const std::vector<uint8_t>& gray_photograph() {
  static const std::vector<uint8_t> gray = [] {
    std::vector<uint8_t> bytes(kPixels);
    for (size_t i = 0; i < kPixels; ++i) bytes[i] = photograph()[3 * i + 1];
    return bytes;
  }();
  return gray;
}

// Figures count the picture's pixels.
inline void count_pixels(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kPixels));
}

}  // namespace bench
