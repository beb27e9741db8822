// The encoder's stages for SSE2, which every processor has: without byte shuffles pixels come apart
// by unpacking, and the zigzag order is made byte by byte.
#include "base/vector_sse2.h"
#include "codec/jpeg/encoder_kernels.h"

namespace tavo::jpeg {

namespace {

using namespace sse2;

#include "codec/jpeg/encoder_kernel.inl"

inline void load_components(const uint8_t* bgr, V (&first)[3], V (&second)[3]) {
  V planes[3];
  load_triples(bgr, planes);
  for (size_t c = 0; c < 3; ++c) {
    first[c] = unpack_low8(V{}, planes[c]);
    second[c] = unpack_high8(V{}, planes[c]);
  }
}

inline V pair_sums(V bytes) { return add16(bytes & splat16(0x00FF), shift_right16<8>(bytes)); }

// From column order; a shuffle of single bytes does not exist, so they go one by one.
inline void store_stream(const V (&r)[8], BlockPair& pair, size_t block) {
  int8_t columns[kBlockSize];
  for (size_t u = 0; u < 8; u += 2) store(columns + 8 * u, pack16(r[u], r[u + 1]));
  int8_t* zigzag = pair.zigzag[block];
  for (size_t k = 0; k < kBlockSize; ++k) zigzag[k] = columns[kColumnZigzag[k]];
  pair.nonzero[block] =
      nonzero_bits({load(zigzag), load(zigzag + 16), load(zigzag + 32), load(zigzag + 48)});
}

}  // namespace

const Kernels kSse2Kernels = {convert, halve, quarter, transform};

}  // namespace tavo::jpeg
