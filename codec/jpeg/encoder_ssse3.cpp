// The encoder's stages for SSSE3, one block a vector.
#include "base/vector_ssse3.h"
#include "codec/jpeg/encoder_shuffle.h"

TAVO_FOR_SSSE3

namespace tavo::jpeg {

namespace {

using namespace ssse3;

#include "codec/jpeg/encoder_kernel.inl"
#include "codec/jpeg/encoder_shuffle.inl"

inline void store_stream(const V (&r)[8], BlockPair& pair, size_t block) {
  V stream[4];
  to_stream(r, stream);
  for (size_t i = 0; i < 4; ++i) store(pair.zigzag[block] + 16 * i, stream[i]);
  pair.nonzero[block] = nonzero_bits(stream);
}

}  // namespace

const Kernels kSsse3Kernels = {convert, halve, quarter, transform};

}  // namespace tavo::jpeg

TAVO_END
