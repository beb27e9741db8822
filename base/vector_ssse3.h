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
  store(p, a | shift_left_bytes<12>(b));
  store(p + 16, shift_right_bytes<4>(b) | shift_left_bytes<8>(c));
  store(p + 32, shift_right_bytes<8>(c) | shift_left_bytes<4>(d));
}

}  // namespace tavo::ssse3

TAVO_END
