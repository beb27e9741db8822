#include "process/callback_lines.h"

#include <algorithm>

namespace tavo::process {

int32_t callback_lines(int32_t height) {
  if (height <= 32) return 16;
  // The quotient is a 16-bit number.
  const int32_t lines = ((height / 64 & 0xFFFF) + 15) / 16 * 16;
  return std::max(lines, 32);
}

}  // namespace tavo::process
