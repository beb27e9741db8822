#include "base/vector_ssse3.h"
#include "process/resize_kernels.h"

TAVO_FOR_SSSE3

namespace tavo::process {

using namespace ssse3;

// An index below sixteen means the first half of the window.
void shrink_ssse3(ResizeTable table, const uint8_t* from, uint8_t* to) {
  const V clears_above = splat8(0x80 - kResizeLanes);
  const V second_half = splat8(-static_cast<int>(kResizeLanes));
  const ResizeStep* step = table.steps;
  const uint8_t* shuffle = table.shuffles;
  uint32_t steps = table.count;
  for (; steps > table.last; --steps, ++step, shuffle += kResizeLanes) {
    const uint8_t* const window = from + step->offset;
    const V index = load(shuffle);
    const V low = shuffle8(load(window), add8(index, clears_above));
    const V high = shuffle8(load(window + kResizeLanes), add8(index, second_half));
    store(to, low | high);
    to += step->count;
  }
  for (; steps > 0; --steps, ++step, shuffle += kResizeLanes) {
    for (uint32_t b = 0; b < step->count; ++b) *to++ = from[step->offset + shuffle[b]];
  }
}

void enlarge_ssse3(ResizeTable table, const uint8_t* from, uint8_t* end) {
  const ResizeStep* step = table.steps;
  const uint8_t* shuffle = table.shuffles;
  uint32_t steps = table.count;
  for (; steps > table.last; --steps, ++step, shuffle += kResizeLanes) {
    store(end -= kResizeLanes, shuffle8(load(from + step->offset), load(shuffle)));
  }
  // Byte by byte from its end: results lie to the right of their source.
  for (; steps > 0; --steps, ++step, shuffle += kResizeLanes) {
    for (uint32_t b = step->count; b-- > 0;) *--end = from[step->offset + shuffle[b]];
  }
}

}  // namespace tavo::process

TAVO_END
