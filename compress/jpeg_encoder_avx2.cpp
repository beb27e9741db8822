// The encoder's per-sample stages for AVX2: two blocks side by side, one in each half of a vector.
#if defined(__i386__) || defined(__x86_64__)

#include <immintrin.h>

#include "compress/jpeg_encoder_shuffle.h"

#define TAVO_TARGET __attribute__((target("avx2")))
#define TAVO_KERNEL inline __attribute__((always_inline, target("avx2")))

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
TAVO_KERNEL V splat16(int v) { return _mm256_set1_epi16(static_cast<int16_t>(v)); }
TAVO_KERNEL V splat32(int v) { return _mm256_set1_epi32(v); }
TAVO_KERNEL V splat_pair(int16_t even, int16_t odd) {
  return _mm256_set1_epi32(static_cast<int>(static_cast<uint32_t>(odd) << 16 | (even & 0xFFFF)));
}
TAVO_KERNEL V add16(V a, V b) { return _mm256_add_epi16(a, b); }
TAVO_KERNEL V sub16(V a, V b) { return _mm256_sub_epi16(a, b); }
TAVO_KERNEL V add32(V a, V b) { return _mm256_add_epi32(a, b); }
TAVO_KERNEL V multiply_add(V a, V b) { return _mm256_madd_epi16(a, b); }
TAVO_KERNEL V multiply_high(V a, V b) { return _mm256_mulhi_epu16(a, b); }
TAVO_KERNEL V pack32(V a, V b) { return _mm256_packs_epi32(a, b); }
template <int kBits>
TAVO_KERNEL V shift_left16(V a) {
  return _mm256_slli_epi16(a, kBits);
}
template <int kBits>
TAVO_KERNEL V shift_right16(V a) {
  return _mm256_srai_epi16(a, kBits);
}
template <int kBits>
TAVO_KERNEL V shift_right32(V a) {
  return _mm256_srai_epi32(a, kBits);
}
TAVO_KERNEL V unpack_low16(V a, V b) { return _mm256_unpacklo_epi16(a, b); }
TAVO_KERNEL V unpack_high16(V a, V b) { return _mm256_unpackhi_epi16(a, b); }
TAVO_KERNEL V unpack_low32(V a, V b) { return _mm256_unpacklo_epi32(a, b); }
TAVO_KERNEL V unpack_high32(V a, V b) { return _mm256_unpackhi_epi32(a, b); }
TAVO_KERNEL V unpack_low64(V a, V b) { return _mm256_unpacklo_epi64(a, b); }
TAVO_KERNEL V unpack_high64(V a, V b) { return _mm256_unpackhi_epi64(a, b); }
TAVO_KERNEL V magnitude16(V a) { return _mm256_abs_epi16(a); }
TAVO_KERNEL V with_sign16(V value, V sign) { return _mm256_sign_epi16(value, sign); }

#include "compress/jpeg_encoder_vector.inc"

struct Planes {
  V y, cb, cr;
};

// Pixels 0 to 7 from `low`, as many from `high`; reads 28 bytes of each.
TAVO_KERNEL Planes convert_sixteen(const uint8_t* low, const uint8_t* high) {
  using C = ColorConstants;
  const V blue_green = load_repeated(kSpreadBlueGreen.data());
  const V first = load_two(low, high), second = load_two(low + 12, high + 12);
  const V bg0 = _mm256_shuffle_epi8(first, blue_green);
  const V bg1 = _mm256_shuffle_epi8(second, blue_green);
  const V b = unpack_low64(bg0, bg1), g = unpack_high64(bg0, bg1);
  const V r = _mm256_or_si256(_mm256_shuffle_epi8(first, load_repeated(kSpreadRedLow.data())),
                              _mm256_shuffle_epi8(second, load_repeated(kSpreadRedHigh.data())));

  const V luma =
      add16(add16(multiply_high(r, splat16(C::kYRed)), multiply_high(g, splat16(C::kYGreen))),
            add16(multiply_high(b, splat16(C::kYBlue)), splat16(C::kYBias)));
  const V bias = splat16(C::kChromaBias);
  const V blue =
      sub16(add16(_mm256_srli_epi16(b, 1), bias),
            add16(multiply_high(r, splat16(C::kCbRed)), multiply_high(g, splat16(C::kCbGreen))));
  const V red =
      sub16(add16(_mm256_srli_epi16(r, 1), bias),
            add16(multiply_high(g, splat16(C::kCrGreen)), multiply_high(b, splat16(C::kCrBlue))));
  return {_mm256_srli_epi16(luma, 8), _mm256_srli_epi16(blue, 8), _mm256_srli_epi16(red, 8)};
}

TAVO_TARGET void convert(const uint8_t* bgr, size_t pixels, uint8_t* y, uint8_t* cb, uint8_t* cr) {
  for (size_t i = 0; i < pixels; i += 32) {
    const uint8_t* in = bgr + 3 * i;
    const Planes a = convert_sixteen(in, in + 48);       // pixels 0-7 and 16-23, so that packing to
    const Planes b = convert_sixteen(in + 24, in + 72);  // bytes puts all 32 in order
    store(y + i, _mm256_packus_epi16(a.y, b.y));
    store(cb + i, _mm256_packus_epi16(a.cb, b.cb));
    store(cr + i, _mm256_packus_epi16(a.cr, b.cr));
  }
}

TAVO_KERNEL V pair_sums(V bytes) { return _mm256_maddubs_epi16(bytes, _mm256_set1_epi8(1)); }

// 32 words in two vectors, each at most 255, to 32 bytes in order.
TAVO_KERNEL __m128i pack_half(V words) {
  return _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
}

TAVO_TARGET void halve(const uint8_t* samples, size_t count, uint8_t* out) {
  const V bias = splat32(0x00010000);
  for (size_t i = 0; i < count; i += 32) {
    const V means = _mm256_srli_epi16(add16(pair_sums(load(samples + i)), bias), 1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i / 2), pack_half(means));
  }
}

TAVO_TARGET void quarter(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* out) {
  const V bias = splat32(0x00020001);
  for (size_t i = 0; i < count; i += 32) {
    const V sums = add16(pair_sums(load(upper + i)), pair_sums(load(lower + i)));
    const V means = _mm256_srli_epi16(add16(sums, bias), 2);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i / 2), pack_half(means));
  }
}

template <int kOut, int kSource>
TAVO_KERNEL V take(V part, V source) {
  if constexpr (!kZigzagShuffle.is_used[kOut][kSource]) return part;
  const V mask = load_repeated(kZigzagShuffle.place[kOut][kSource].data());
  return _mm256_or_si256(part, _mm256_shuffle_epi8(source, mask));
}

template <int kOut>
TAVO_KERNEL V stream_part(const V (&columns)[4]) {
  V part = _mm256_setzero_si256();
  part = take<kOut, 0>(part, columns[0]);
  part = take<kOut, 1>(part, columns[1]);
  part = take<kOut, 2>(part, columns[2]);
  return take<kOut, 3>(part, columns[3]);
}

TAVO_KERNEL uint64_t nonzero_mask(V low, V high) {
  const V zero = _mm256_setzero_si256();
  const auto first = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, zero)));
  const auto second = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(high, zero)));
  return ~(uint64_t{second} << 32 | first);
}

TAVO_KERNEL void finish_pair(const V (&r)[8], BlockPair& out) {
  V columns[4];
  for (size_t u = 0; u < 8; ++u) store(out.coefficients[u], r[u]);
  for (size_t u = 0; u < 4; ++u) columns[u] = _mm256_packs_epi16(r[2 * u], r[2 * u + 1]);
  const V z0 = stream_part<0>(columns), z1 = stream_part<1>(columns);
  const V z2 = stream_part<2>(columns), z3 = stream_part<3>(columns);
  const V left0 = _mm256_permute2x128_si256(z0, z1, 0x20);
  const V left1 = _mm256_permute2x128_si256(z2, z3, 0x20);
  const V right0 = _mm256_permute2x128_si256(z0, z1, 0x31);
  const V right1 = _mm256_permute2x128_si256(z2, z3, 0x31);
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

#endif
