#include <immintrin.h>

#include "base/vector_sse2.h"
#include "process/resize_kernels.h"

TAVO_FOR_AVX512

namespace tavo::process {

void shrink_avx512(ResizeTable table, const uint8_t* from, uint8_t* to) {
  const ResizeStep* step = table.steps;
  const uint8_t* shuffle = table.shuffles;
  for (uint32_t steps = table.count; steps > 0; --steps, ++step, shuffle += kResizeLanesAvx512) {
    const uint8_t* const window = from + step->offset;
    const __m512i result =
        _mm512_permutex2var_epi8(_mm512_loadu_si512(window), _mm512_loadu_si512(shuffle),
                                 _mm512_loadu_si512(window + kResizeLanesAvx512));
    if (steps > table.last) {
      _mm512_storeu_si512(to, result);
    } else {
      _mm512_mask_storeu_epi8(to, (uint64_t{1} << step->count) - 1, result);
    }
    to += step->count;
  }
}

}  // namespace tavo::process

TAVO_END
