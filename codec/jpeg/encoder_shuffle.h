// Byte shuffles that the SSSE3 and the AVX2 kernels share.
#pragma once

#include "codec/jpeg/encoder_kernels.h"

namespace tavo::jpeg {

using ShuffleMask = std::array<uint8_t, 16>;

// From a block in column order, 16 bytes a source, to 16 bytes of stream order: place[out][source]
// takes from the source what belongs to that part of the stream, zero elsewhere.
struct ZigzagShuffle {
  alignas(16) ShuffleMask place[4][4];
  bool is_used[4][4];
};
inline constexpr ZigzagShuffle kZigzagShuffle = [] {
  ZigzagShuffle shuffle{};
  for (auto& out : shuffle.place) {
    for (auto& mask : out) mask.fill(0x80);
  }
  for (size_t k = 0; k < kBlockSize; ++k) {
    const size_t from = kColumnZigzag[k];
    shuffle.place[k / 16][from / 16][k % 16] = from % 16;
    shuffle.is_used[k / 16][from / 16] = true;
  }
  return shuffle;
}();

// Four 3-byte pixels to the high bytes of 16-bit lanes: `first` in lanes 0 to 3, `second` in
// lanes 4 to 7; -1 leaves its lanes zero.
constexpr ShuffleMask spread_components(int first, int second) {
  ShuffleMask mask{};
  mask.fill(0x80);
  for (int i = 0; i < 4; ++i) {
    if (first >= 0) mask[static_cast<size_t>(2 * i + 1)] = static_cast<uint8_t>(3 * i + first);
    if (second >= 0) mask[static_cast<size_t>(2 * i + 9)] = static_cast<uint8_t>(3 * i + second);
  }
  return mask;
}
alignas(16) inline constexpr ShuffleMask kSpreadBlueGreen = spread_components(0, 1);
alignas(16) inline constexpr ShuffleMask kSpreadRedLow = spread_components(2, -1);
alignas(16) inline constexpr ShuffleMask kSpreadRedHigh = spread_components(-1, 2);

}  // namespace tavo::jpeg
