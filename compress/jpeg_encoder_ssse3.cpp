// The encoder's per-sample stages for SSSE3, where its byte shuffle helps.
#include <tmmintrin.h>

#include "compress/jpeg_encoder_shuffle.h"
#include "compress/jpeg_encoder_sse.h"

#define TAVO_TARGET __attribute__((target("ssse3")))
#define TAVO_KERNEL inline __attribute__((always_inline, target("ssse3")))

namespace tavo::jpeg {
namespace {
namespace ssse3 {

using namespace sse;

#include "compress/jpeg_encoder_vector.inc"

TAVO_KERNEL V shuffle8(V a, V order) { return _mm_shuffle_epi8(a, order); }
TAVO_KERNEL V either(V a, V b) { return _mm_or_si128(a, b); }
TAVO_KERNEL V zero() { return _mm_setzero_si128(); }

#include "compress/jpeg_encoder_shuffle.inc"

// Reads 28 bytes.
TAVO_KERNEL Planes convert_eight(const uint8_t* bgr) {
  return convert_halves(load(bgr), load(bgr + 12));
}

TAVO_TARGET void convert(const uint8_t* bgr, size_t pixels, uint8_t* y, uint8_t* cb, uint8_t* cr) {
  for (size_t i = 0; i < pixels; i += 16) {
    store_planes(convert_eight(bgr + 3 * i), convert_eight(bgr + 3 * i + 24), y + i, cb + i,
                 cr + i);
  }
}

TAVO_KERNEL void finish_block(const V (&r)[8], int lane, BlockPair& out) {
  V z[4];
  for (size_t u = 0; u < 8; ++u) store(out.coefficients[u][lane], r[u]);
  to_stream(r, z);
  for (size_t i = 0; i < 4; ++i) store(out.zigzag[lane] + 16 * i, z[i]);
  out.nonzero[lane] = nonzero_mask(z[0], z[1], z[2], z[3]);
}

TAVO_TARGET void transform(const uint8_t* samples, size_t stride, size_t pairs,
                           const Divisors& divisors, BlockPair* out) {
  for (size_t i = 0; i < 2 * pairs; ++i) {
    V r[8];
    for (size_t row = 0; row < 8; ++row) r[row] = load_samples(samples + 8 * i + row * stride);
    transform_block(r);
    quantise(r, divisors);
    finish_block(r, static_cast<int>(i & 1), out[i / 2]);
  }
}

}  // namespace ssse3
}  // namespace

const Kernels kSsse3Kernels = {ssse3::convert, sse::halve, sse::quarter, ssse3::transform};

}  // namespace tavo::jpeg
