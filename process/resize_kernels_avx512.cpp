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

template <bool kFull>
void shrink_whole(const ResizeTable& table, const uint8_t* from, uint8_t*& to) {
  uint8_t* out = to;
  for (uint32_t left = table.whole; left > 0; from += table.cycle_bytes) {
    const uint32_t steps = std::min(left, table.cycle);
    const ResizeStep* const end = table.steps + steps;
    const uint8_t* shuffle = table.shuffles;
    for (const ResizeStep* step = table.steps; step != end; ++step, shuffle += kBytes) {
      sse2::fetch_ahead(from + step->offset, table.ahead);
      sse2::fetch_ahead(from + step->offset + kBytes, table.ahead);
      store(out, shrink_step(from + step->offset, shuffle));
      out += kFull ? kBytes : step->count;
    }
    left -= steps;
  }
  to = out;
}

void shrink(ResizeTable table, const uint8_t* from, uint8_t* to) {
  table.are_full ? shrink_whole<true>(table, from, to) : shrink_whole<false>(table, from, to);
  const ResizeStep* step = table.steps + table.cycle;
  for (uint32_t i = 0; i < table.last; ++i, ++step) {
    const V result = shrink_step(from + step->offset, table.last_shuffles + i * kBytes);
    store_first(to, result, step->count);
    to += step->count;
  }
}

void enlarge_forward(ResizeTable table, const uint8_t* from, uint8_t* to) {
  for (uint32_t i = table.cycle; i-- > 0; to += kBytes) {
    const V window = load(from + (table.steps[i].offset - table.cycle_bytes));
    store(to, permute8(window, load(table.shuffles + i * kBytes)));
  }
}

void enlarge(ResizeTable table, const uint8_t* from, uint8_t* end) {
  uint32_t back = 0;  // how far the cycles before have gone
  for (uint32_t left = table.whole; left > 0; back += table.cycle_bytes) {
    const uint32_t steps = std::min(left, table.cycle);
    const uint8_t* shuffle = table.shuffles;
    const ResizeStep* const steps_end = table.steps + steps;
    for (const ResizeStep* step = table.steps; step != steps_end; ++step, shuffle += kBytes) {
      const V window = load(from + (step->offset - back));
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

constexpr ResizeKernels kResizeAvx512 = {kResizeLanesAvx512, shrink, enlarge, enlarge_forward};

}  // namespace tavo::process

TAVO_END
