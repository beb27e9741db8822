// 32 pixels a step. A step reads all of its input before it writes, so that steps may work in
// place: forwards where pixels shrink, from the end where they grow.
#include <immintrin.h>

#include <cstring>
#include <utility>

#include "color/pixel_kernels.h"

#define KERNEL __attribute__((target("avx2")))
#define KERNEL_INLINE __attribute__((target("avx2"), always_inline)) static inline

namespace tavo::color {

namespace {

constexpr size_t kStep = 32;

// Eight pixels a vector, a 32-bit word each: first component in the low byte.
struct Pixels {
  __m256i v[4];
};

KERNEL_INLINE __m256i load(const uint8_t* in) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
}
KERNEL_INLINE __m256i load_halves(const uint8_t* low, const uint8_t* high) {
  return _mm256_inserti128_si256(
      _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}
KERNEL_INLINE __m256i load_twice(const uint8_t* in) {
  return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in)));
}
KERNEL_INLINE void store(uint8_t* out, __m256i v) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), v);
}
KERNEL_INLINE __m256i twice(__m128i v) { return _mm256_broadcastsi128_si256(v); }

template <bool kExchange>
struct From24 {
  static constexpr size_t kBytes = 3;
  KERNEL_INLINE Pixels read(const uint8_t* in) {
    constexpr char f = kExchange ? 2 : 0, t = kExchange ? 0 : 2;
    const __m128i spread =
        _mm_setr_epi8(f, 1, t, -1, f + 3, 4, t + 3, -1, f + 6, 7, t + 6, -1, f + 9, 10, t + 9, -1);
    // The last four pixels are read from four bytes before, to stay inside the step.
    const __m128i spread_last = _mm_setr_epi8(f + 4, 5, t + 4, -1, f + 7, 8, t + 7, -1, f + 10, 11,
                                              t + 10, -1, f + 13, 14, t + 13, -1);
    const __m256i both = twice(spread);
    return {{_mm256_shuffle_epi8(load_halves(in, in + 12), both),
             _mm256_shuffle_epi8(load_halves(in + 24, in + 36), both),
             _mm256_shuffle_epi8(load_halves(in + 48, in + 60), both),
             _mm256_shuffle_epi8(load_halves(in + 72, in + 80),
                                 _mm256_inserti128_si256(both, spread_last, 1))}};
  }
};

// Leaves the spare byte in the words: what writes them does not look at it.
struct From32 {
  static constexpr size_t kBytes = 4;
  KERNEL_INLINE Pixels read(const uint8_t* in) {
    return {{load(in), load(in + 32), load(in + 64), load(in + 96)}};
  }
};

template <bool kExchange>
struct From16 {
  static constexpr size_t kBytes = 2;
  // v << 3 | v >> 2 is v * 33 >> 2, and the high half of a product takes the shift along.
  KERNEL_INLINE void read_half(const uint8_t* in, __m256i& low, __m256i& high) {
    const __m256i word = _mm256_permute4x64_epi64(load(in), 0xD8);
    __m256i first = _mm256_mulhi_epu16(_mm256_slli_epi16(word, 11), _mm256_set1_epi16(33 << 3));
    const __m256i second = _mm256_mulhi_epu16(_mm256_and_si256(word, _mm256_set1_epi16(31 << 5)),
                                              _mm256_set1_epi16(33 << 9));
    __m256i third = _mm256_mulhi_epu16(_mm256_and_si256(word, _mm256_set1_epi16(31 << 10)),
                                       _mm256_set1_epi16(33 << 4));
    if constexpr (kExchange) std::swap(first, third);
    const __m256i pair = _mm256_or_si256(first, _mm256_slli_epi16(second, 8));
    low = _mm256_unpacklo_epi16(pair, third);
    high = _mm256_unpackhi_epi16(pair, third);
  }
  KERNEL_INLINE Pixels read(const uint8_t* in) {
    Pixels p;
    read_half(in, p.v[0], p.v[1]);
    read_half(in + 32, p.v[2], p.v[3]);
    return p;
  }
};

struct To32 {
  static constexpr size_t kBytes = 4;
  KERNEL_INLINE void write(uint8_t* out, const Pixels& p) {
    for (int i = 0; i < 4; ++i) store(out + 32 * i, p.v[i]);
  }
};

template <bool kExchange>
struct To24 {
  static constexpr size_t kBytes = 3;
  KERNEL_INLINE void write(uint8_t* out, const Pixels& p) {
    constexpr char f = kExchange ? 2 : 0, t = kExchange ? 0 : 2;
    const __m256i join = twice(_mm_setr_epi8(f, 1, t, f + 4, 5, t + 4, f + 8, 9, t + 8, f + 12, 13,
                                             t + 12, -1, -1, -1, -1));
    // Six words of each vector count; they are turned so that whole vectors can be blended.
    const __m256i a = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(p.v[0], join),
                                                  _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
    const __m256i b = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(p.v[1], join),
                                                  _mm256_setr_epi32(2, 4, 5, 6, 7, 7, 0, 1));
    const __m256i c = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(p.v[2], join),
                                                  _mm256_setr_epi32(5, 6, 7, 7, 0, 1, 2, 4));
    const __m256i d = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(p.v[3], join),
                                                  _mm256_setr_epi32(7, 7, 0, 1, 2, 4, 5, 6));
    store(out, _mm256_blend_epi32(a, b, 0xC0));
    store(out + 32, _mm256_blend_epi32(b, c, 0xF0));
    store(out + 64, _mm256_blend_epi32(c, d, 0xFC));
  }
};

template <bool kExchange>
struct To16 {
  static constexpr size_t kBytes = 2;
  // (first + 32 second + 1024 third) >> 3 of the upper five bits, the sum made in two steps.
  KERNEL_INLINE __m256i words(__m256i v) {
    const __m256i upper = _mm256_and_si256(v, _mm256_set1_epi32(0x00F8F8F8));
    const __m256i pairs =
        _mm256_maddubs_epi16(upper, _mm256_set1_epi32(kExchange ? 0x00010120 : 0x00012001));
    const __m256i sums =
        _mm256_madd_epi16(pairs, _mm256_set1_epi32(kExchange ? 0x00010020 : 0x04000001));
    return _mm256_srli_epi32(sums, 3);
  }
  KERNEL_INLINE void write(uint8_t* out, const Pixels& p) {
    for (int i = 0; i < 2; ++i) {
      const __m256i packed = _mm256_packs_epi32(words(p.v[2 * i]), words(p.v[2 * i + 1]));
      store(out + 32 * i, _mm256_permute4x64_epi64(packed, 0xD8));
    }
  }
};

template <bool kRedFirst>
struct ToGray {
  static constexpr size_t kBytes = 1;
  KERNEL_INLINE __m256i levels(__m256i a, __m256i b) {
    const __m256i weights = _mm256_set1_epi32(kRedFirst ? 0x00010502 : 0x00020501);
    const __m256i sums =
        _mm256_hadd_epi16(_mm256_maddubs_epi16(a, weights), _mm256_maddubs_epi16(b, weights));
    return _mm256_srli_epi16(_mm256_add_epi16(sums, _mm256_set1_epi16(4)), 3);
  }
  KERNEL_INLINE void write(uint8_t* out, const Pixels& p) {
    const __m256i packed = _mm256_packus_epi16(levels(p.v[0], p.v[1]), levels(p.v[2], p.v[3]));
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    store(out, _mm256_permutevar8x32_epi32(packed, order));
  }
};

struct GrayTo16 {
  static constexpr size_t kIn = 1;
  static constexpr size_t kOut = 2;
  KERNEL_INLINE __m256i words(__m256i level) {
    return _mm256_mullo_epi16(_mm256_srli_epi16(level, 3), _mm256_set1_epi16(0x0421));
  }
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) {
    const __m256i levels = _mm256_permute4x64_epi64(load(in), 0xD8);
    const __m256i zero = _mm256_setzero_si256();
    store(out, words(_mm256_unpacklo_epi8(levels, zero)));
    store(out + 32, words(_mm256_unpackhi_epi8(levels, zero)));
  }
};

struct GrayTo24 {
  static constexpr size_t kIn = 1;
  static constexpr size_t kOut = 3;
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) {
    const __m128i a = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i b = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i c = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    const __m256i low = load_twice(in);
    const __m256i middle = load(in);
    const __m256i high = load_twice(in + 16);
    store(out, _mm256_shuffle_epi8(low, _mm256_set_m128i(b, a)));
    store(out + 32, _mm256_shuffle_epi8(middle, _mm256_set_m128i(a, c)));
    store(out + 64, _mm256_shuffle_epi8(high, _mm256_set_m128i(c, b)));
  }
};

struct GrayTo32 {
  static constexpr size_t kIn = 1;
  static constexpr size_t kOut = 4;
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) {
    const __m256i low = load_twice(in);
    const __m256i high = load_twice(in + 16);
    const __m256i first = _mm256_setr_epi8(0, 0, 0, -1, 1, 1, 1, -1, 2, 2, 2, -1, 3, 3, 3, -1, 4, 4,
                                           4, -1, 5, 5, 5, -1, 6, 6, 6, -1, 7, 7, 7, -1);
    const __m256i second = _mm256_or_si256(first, _mm256_set1_epi32(0x00080808));
    store(out, _mm256_shuffle_epi8(low, first));
    store(out + 32, _mm256_shuffle_epi8(low, second));
    store(out + 64, _mm256_shuffle_epi8(high, first));
    store(out + 96, _mm256_shuffle_epi8(high, second));
  }
};

struct Exchange32 {
  static constexpr size_t kIn = 4;
  static constexpr size_t kOut = 4;
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) {
    const __m256i order =
        twice(_mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15));
    for (size_t i = 0; i < 128; i += 32) store(out + i, _mm256_shuffle_epi8(load(in + i), order));
  }
};

#include "color/pixel_kernel_loops.inl"

}  // namespace

PixelKernel avx2_kernel(int32_t bits_in, int32_t bits_out, bool exchange) {
  return choose(bits_in, bits_out, exchange);
}

}  // namespace tavo::color
