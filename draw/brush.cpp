#include "draw/brush.h"

namespace tavo::draw {

std::array<uint8_t, 8> hatch_bits(uint32_t number) {
  constexpr std::array<uint8_t, 8> kHatches[] = {
      {0, 0, 0, 0, 0xFF, 0, 0, 0},          {8, 8, 8, 8, 8, 8, 8, 8},
      {0x80, 0x40, 0x20, 0x10, 8, 4, 2, 1}, {1, 2, 4, 8, 0x10, 0x20, 0x40, 0x80},
      {8, 8, 8, 8, 0xFF, 8, 8, 8},          {0x81, 0x42, 0x24, 0x18, 0x18, 0x24, 0x42, 0x81},
  };
  return kHatches[number < std::size(kHatches) ? number : 0];
}

}  // namespace tavo::draw
