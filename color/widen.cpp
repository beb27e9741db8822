#include "color/widen.h"

namespace tavo::color {

// Runs from the last pixel to the first, so that no pixel is overwritten before it is read.
void widen_2_to_4(uint8_t* row, int32_t width) {
  for (int32_t byte = (width + 1) / 2 - 1; byte >= 0; --byte) {
    const uint32_t pair = row[byte / 2] >> (byte % 2 == 0 ? 4 : 0);
    const bool has_right = byte * 2 + 1 < width;
    row[byte] = static_cast<uint8_t>((pair & 0x0Cu) << 2 | (has_right ? pair & 0x03u : 0u));
  }
}

}  // namespace tavo::color
