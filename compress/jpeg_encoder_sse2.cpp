// The encoder's per-sample stages for SSE2.
#include "compress/jpeg_encoder_sse.h"

#define TAVO_KERNEL inline __attribute__((always_inline))

namespace tavo::jpeg {
namespace {
namespace sse2 {

using namespace sse;

#include "compress/jpeg_encoder_vector.inc"

// 16 pixels to three planes. Each step interleaves the two halves of the 48 bytes, which moves
// byte i to 2 i mod 47; after four steps byte 3 k is at 48 k mod 47 = k.
void split_planes(const uint8_t* bgr, V (&v)[3]) {
  v[0] = load(bgr), v[1] = load(bgr + 16), v[2] = load(bgr + 32);
  for (int step = 0; step < 4; ++step) {
    const V first = _mm_unpacklo_epi8(v[0], _mm_unpackhi_epi64(v[1], v[1]));
    const V second = _mm_unpacklo_epi8(_mm_unpackhi_epi64(v[0], v[0]), v[2]);
    const V third = _mm_unpacklo_epi8(v[1], _mm_unpackhi_epi64(v[2], v[2]));
    v[0] = first, v[1] = second, v[2] = third;
  }
}

void convert(const uint8_t* bgr, size_t pixels, uint8_t* y, uint8_t* cb, uint8_t* cr) {
  const V zero = _mm_setzero_si128();
  for (size_t i = 0; i < pixels; i += 16) {
    V v[3];
    split_planes(bgr + 3 * i, v);
    const Planes low = convert_lanes(_mm_unpacklo_epi8(zero, v[0]), _mm_unpacklo_epi8(zero, v[1]),
                                     _mm_unpacklo_epi8(zero, v[2]));
    const Planes high = convert_lanes(_mm_unpackhi_epi8(zero, v[0]), _mm_unpackhi_epi8(zero, v[1]),
                                      _mm_unpackhi_epi8(zero, v[2]));
    store_planes(low, high, y + i, cb + i, cr + i);
  }
}

void finish_block(V (&r)[8], int lane, BlockPair& out) {
  alignas(16) int8_t columns[kBlockSize];
  for (size_t u = 0; u < 8; ++u) store(out.coefficients[u][lane], r[u]);
  for (size_t u = 0; u < 8; u += 2) store(columns + 8 * u, _mm_packs_epi16(r[u], r[u + 1]));
  int8_t* zigzag = out.zigzag[lane];
  for (size_t k = 0; k < kBlockSize; ++k) zigzag[k] = columns[kColumnZigzag[k]];
  out.nonzero[lane] =
      nonzero_mask(load(zigzag), load(zigzag + 16), load(zigzag + 32), load(zigzag + 48));
}

void transform(const uint8_t* samples, size_t stride, size_t pairs, const Divisors& divisors,
               BlockPair* out) {
  for (size_t i = 0; i < 2 * pairs; ++i) {
    V r[8];
    for (size_t row = 0; row < 8; ++row) r[row] = load_samples(samples + 8 * i + row * stride);
    transform_block(r);
    quantise(r, divisors);
    finish_block(r, static_cast<int>(i & 1), out[i / 2]);
  }
}

}  // namespace sse2
}  // namespace

const Kernels kSse2Kernels = {sse2::convert, sse::halve, sse::quarter, sse2::transform};

}  // namespace tavo::jpeg
