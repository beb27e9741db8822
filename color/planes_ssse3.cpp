#include <array>

#include "base/vector_ssse3.h"
#include "color/planes.h"

TAVO_FOR_SSSE3

namespace tavo::color {

namespace {

using namespace ssse3;

// Which bytes of 16 at `from` belong to channel `c` of 3-byte pixels, where the others of the
// channel leave room: 0x80 gives a zero.
constexpr std::array<uint8_t, 16> third_of(int c, int block) {
  std::array<uint8_t, 16> mask = {};
  for (int i = 0; i < 16; ++i) {
    const int at = 3 * i + c - 16 * block;
    mask[static_cast<size_t>(i)] = at >= 0 && at < 16 ? static_cast<uint8_t>(at) : 0x80;
  }
  return mask;
}
constexpr std::array<uint8_t, 16> kThirds[3][3] = {
    {third_of(0, 0), third_of(0, 1), third_of(0, 2)},
    {third_of(1, 0), third_of(1, 1), third_of(1, 2)},
    {third_of(2, 0), third_of(2, 1), third_of(2, 2)}};

}  // namespace

uint32_t split_24_ssse3(const uint8_t* at, uint32_t count, uint8_t* const (&to)[3]) {
  uint32_t i = 0;
  for (; i + 16 <= count; i += 16, at += 48) {
    const V a = load(at);
    const V b = load(at + 16);
    const V c = load(at + 32);
    for (uint32_t k = 0; k < 3; ++k) {
      store(to[k] + i, shuffle8(a, load(kThirds[k][0].data())) |
                           shuffle8(b, load(kThirds[k][1].data())) |
                           shuffle8(c, load(kThirds[k][2].data())));
    }
  }
  return i;
}

}  // namespace tavo::color

TAVO_END
