// The encoder's stages for AVX2, two blocks a vector: one in each lane.
#include "base/vector_avx2.h"
#include "codec/jpeg/encoder_shuffle.h"

TAVO_FOR_AVX2

namespace tavo::jpeg {

namespace {

using namespace avx2;

#include "codec/jpeg/encoder_kernel.inl"
#include "codec/jpeg/encoder_shuffle.inl"

// Both blocks of the pair, a lane each; the parts of a block come together for wide stores.
inline void store_stream(const V (&r)[8], BlockPair& pair, size_t /*block*/) {
  V stream[4];
  to_stream(r, stream);
  const V left[2] = {low_lanes(stream[0], stream[1]), low_lanes(stream[2], stream[3])};
  const V right[2] = {high_lanes(stream[0], stream[1]), high_lanes(stream[2], stream[3])};
  for (size_t i = 0; i < 2; ++i) {
    store(pair.zigzag[0] + 32 * i, left[i]);
    store(pair.zigzag[1] + 32 * i, right[i]);
  }
  pair.nonzero[0] = nonzero_bits(left);
  pair.nonzero[1] = nonzero_bits(right);
}

}  // namespace

const Kernels kAvx2Kernels = {convert, halve, quarter, transform};

}  // namespace tavo::jpeg

TAVO_END
