// Vectors of 16 bytes for processors that shuffle them.
#pragma once

#include <tmmintrin.h>

#include "base/vector_sse2.h"

TAVO_FOR_SSSE3

namespace tavo::ssse3 {

using namespace sse2;

#define TAVO_MM(operation) _mm_##operation
#include "base/vector_shuffles.inl"
#undef TAVO_MM

// The first 12 bytes of each lane, one after another. The others are zero.
TAVO_INLINE void store_twelves(uint8_t* p, V a, V b, V c, V d) {
  store(p, a | _mm_slli_si128(b, 12));
  store(p + 16, _mm_srli_si128(b, 4) | _mm_slli_si128(c, 8));
  store(p + 32, _mm_srli_si128(c, 8) | _mm_slli_si128(d, 4));
}

}  // namespace tavo::ssse3

TAVO_END
