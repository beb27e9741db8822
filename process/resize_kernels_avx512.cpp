#include <algorithm>

#include "base/vector_avx512.h"
#include "process/resize_kernels.h"

TAVO_FOR_AVX512

namespace tavo::process {

namespace {

using namespace avx512;

V shrink_step(const uint8_t* window, const uint8_t* shuffle) {
  return permute8(load(window), load(window + kBytes), load(shuffle));
}

void shrink(ResizeTable table, const uint8_t* from, uint8_t* to) {
  const uint8_t* base = from;
  for (uint32_t left = table.whole; left > 0; base += table.cycle_bytes) {
    const uint32_t steps = std::min(left, table.cycle);
    const uint8_t* shuffle = table.shuffles;
    for (uint32_t s = 0; s < steps; ++s, shuffle += kBytes) {
      store(to, shrink_step(base + table.steps[s].offset, shuffle));
      to += table.steps[s].count;
    }
    left -= steps;
  }
  const ResizeStep* step = table.steps + table.cycle;
  for (uint32_t i = 0; i < table.last; ++i, ++step) {
    const V result = shrink_step(from + step->offset, table.last_shuffles + i * kBytes);
    store_first(to, result, step->count);
    to += step->count;
  }
}

void enlarge(ResizeTable table, const uint8_t* from, uint8_t* end) {
  uint32_t back = 0;  // how far the cycles before have gone
  for (uint32_t left = table.whole; left > 0; back += table.cycle_bytes) {
    const uint32_t steps = std::min(left, table.cycle);
    const uint8_t* shuffle = table.shuffles;
    for (uint32_t s = 0; s < steps; ++s, shuffle += kBytes) {
      const V window = load(from + (table.steps[s].offset - back));
      store(end -= kBytes, permute8(window, load(shuffle)));
    }
    left -= steps;
  }
  const ResizeStep* step = table.steps + table.cycle;
  for (uint32_t i = 0; i < table.last; ++i, ++step) {
    const V result = permute8(load(from + step->offset), load(table.last_shuffles + i * kBytes));
    store_first(end -= step->count, result, step->count);
  }
}

}  // namespace

constexpr ResizeKernels kResizeAvx512 = {kResizeLanesAvx512, shrink, enlarge};

}  // namespace tavo::process

TAVO_END
