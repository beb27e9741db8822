// The encoder's per-sample stages for AVX2: two blocks side by side, one in each half of a vector.
#include <immintrin.h>

#include "compress/jpeg_encoder_shuffle.h"

#define TAVO_TARGET __attribute__((target("avx2")))
#define TAVO_KERNEL inline __attribute__((always_inline, target("avx2")))
#define TAVO_MM(operation) _mm256_##operation

namespace tavo::jpeg {
namespace {
namespace avx2 {

using V = __m256i;

TAVO_KERNEL __m128i load_half(const void* p) {
  return _mm_loadu_si128(static_cast<const __m128i*>(p));
}
TAVO_KERNEL V load(const void* p) { return _mm256_loadu_si256(static_cast<const V*>(p)); }
TAVO_KERNEL void store(void* p, V v) { _mm256_storeu_si256(static_cast<V*>(p), v); }
TAVO_KERNEL V load_repeated(const void* p) { return _mm256_broadcastsi128_si256(load_half(p)); }
TAVO_KERNEL V load_two(const uint8_t* low, const uint8_t* high) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(load_half(low)), load_half(high), 1);
}

#include "compress/jpeg_vector_ops.inc"

TAVO_KERNEL V magnitude16(V a) { return _mm256_abs_epi16(a); }
TAVO_KERNEL V with_sign16(V value, V sign) { return _mm256_sign_epi16(value, sign); }

#include "compress/jpeg_encoder_vector.inc"

TAVO_KERNEL V shuffle8(V a, V order) { return _mm256_shuffle_epi8(a, order); }
TAVO_KERNEL V either(V a, V b) { return _mm256_or_si256(a, b); }
TAVO_KERNEL V zero() { return _mm256_setzero_si256(); }

#include "compress/jpeg_encoder_shuffle.inc"

// Pixels 0 to 7 from `low`, as many from `high`; reads 28 bytes of each.
TAVO_KERNEL Planes convert_sixteen(const uint8_t* low, const uint8_t* high) {
  return convert_halves(load_two(low, high), load_two(low + 12, high + 12));
}

TAVO_TARGET void convert(const uint8_t* bgr, size_t pixels, uint8_t* y, uint8_t* cb, uint8_t* cr) {
  for (size_t i = 0; i < pixels; i += 32) {
    const uint8_t* in = bgr + 3 * i;
    const Planes a = convert_sixteen(in, in + 48);       // pixels 0-7 and 16-23, so that packing to
    const Planes b = convert_sixteen(in + 24, in + 72);  // bytes puts all 32 in order
    store_planes(a, b, y + i, cb + i, cr + i);
  }
}

TAVO_KERNEL V pair_sums(V bytes) { return _mm256_maddubs_epi16(bytes, splat8(1)); }

// 32 words in two vectors, each at most 255, to 32 bytes in order.
TAVO_KERNEL __m128i pack_half(V words) {
  return _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
}

TAVO_TARGET void halve(const uint8_t* samples, size_t count, uint8_t* out) {
  const V bias = splat32(0x00010000);
  for (size_t i = 0; i < count; i += 32) {
    const V means = shift_down16<1>(add16(pair_sums(load(samples + i)), bias));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i / 2), pack_half(means));
  }
}

TAVO_TARGET void quarter(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* out) {
  const V bias = splat32(0x00020001);
  for (size_t i = 0; i < count; i += 32) {
    const V sums = add16(pair_sums(load(upper + i)), pair_sums(load(lower + i)));
    const V means = shift_down16<2>(add16(sums, bias));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i / 2), pack_half(means));
  }
}

TAVO_KERNEL uint64_t nonzero_mask(V low, V high) {
  const auto first = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, zero())));
  const auto second = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(high, zero())));
  return ~(uint64_t{second} << 32 | first);
}

TAVO_KERNEL void finish_pair(const V (&r)[8], BlockPair& out) {
  V z[4];
  for (size_t u = 0; u < 8; ++u) store(out.coefficients[u], r[u]);
  to_stream(r, z);
  const V left0 = _mm256_permute2x128_si256(z[0], z[1], 0x20);
  const V left1 = _mm256_permute2x128_si256(z[2], z[3], 0x20);
  const V right0 = _mm256_permute2x128_si256(z[0], z[1], 0x31);
  const V right1 = _mm256_permute2x128_si256(z[2], z[3], 0x31);
  store(out.zigzag[0], left0);
  store(out.zigzag[0] + 32, left1);
  store(out.zigzag[1], right0);
  store(out.zigzag[1] + 32, right1);
  out.nonzero[0] = nonzero_mask(left0, left1);
  out.nonzero[1] = nonzero_mask(right0, right1);
}

TAVO_TARGET void transform(const uint8_t* samples, size_t stride, size_t pairs,
                           const Divisors& divisors, BlockPair* out) {
  for (size_t i = 0; i < pairs; ++i) {
    V r[8];
    for (size_t row = 0; row < 8; ++row) {
      r[row] = _mm256_cvtepu8_epi16(load_half(samples + 16 * i + row * stride));
    }
    transform_block(r);
    quantise(r, divisors);
    finish_pair(r, out[i]);
  }
}

}  // namespace avx2
}  // namespace

const Kernels kAvx2Kernels = {avx2::convert, avx2::halve, avx2::quarter, avx2::transform};

}  // namespace tavo::jpeg
