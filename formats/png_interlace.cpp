#include "formats/png_interlace.h"

#include <cstddef>
#include <cstring>

namespace tavo::png {
namespace {

template <size_t kBytes>
void place_bytes(const uint8_t* from, uint8_t* to, const Places& p) {
  to += p.x * kBytes;
  for (uint32_t i = 0; i < p.count; ++i, from += p.from_dx * kBytes, to += p.dx * kBytes) {
    std::memcpy(to, from, kBytes);
  }
}

// 7.2: the leftmost of several pixels in a byte has the high bits.
template <uint32_t kBits>
void place_bits(const uint8_t* from, uint8_t* to, const Places& p) {
  constexpr uint32_t kMask = (1u << kBits) - 1;
  constexpr uint32_t kPerByte = 8 / kBits;
  const auto shift = [](uint32_t x) { return 8 - kBits - x % kPerByte * kBits; };
  for (uint32_t i = 0; i < p.count; ++i) {
    const uint32_t source = i * p.from_dx, x = p.x + i * p.dx;
    const uint32_t pixel = from[source / kPerByte] >> shift(source) & kMask;
    uint8_t& byte = to[x / kPerByte];
    byte = static_cast<uint8_t>((byte & ~(kMask << shift(x))) | pixel << shift(x));
  }
}

}  // namespace

// When a pass is whole, so is a grid: its own columns, at every column where it began later, in
// steps of `dx` and `dy` halved in turn.
Nearest nearest(const Progress& progress, uint32_t y) {
  constexpr uint32_t kDx[] = {8, 4, 4, 2, 2, 1, 1};
  constexpr uint32_t kDy[] = {8, 8, 4, 4, 2, 2, 1};
  if (progress.passes < kPassCount) {
    const Pass& pass = kPasses[progress.passes];
    const uint32_t from = y - y % kDy[progress.passes];
    const bool has_pixels = from % pass.dy == pass.y;
    // Rows that the pass does not have are as whole as the passes before left them.
    if (!has_pixels || from / pass.dy < progress.rows) return {true, from, kDx[progress.passes]};
  }
  if (progress.passes == 0) return {};
  const uint32_t last = progress.passes - 1;
  return {true, y - y % kDy[last], kDx[last]};
}

void place_pixels(const uint8_t* from, uint8_t* to, int32_t bits, const Places& places) {
  switch (bits) {
    case 1:
      return place_bits<1>(from, to, places);
    case 4:
      return place_bits<4>(from, to, places);
    case 8:
      return place_bytes<1>(from, to, places);
    case 24:
      return place_bytes<3>(from, to, places);
    default:
      return place_bytes<4>(from, to, places);
  }
}

}  // namespace tavo::png
