// 16 pixels a step. A step reads all of its input before it writes, so that steps may work in
// place: forwards where pixels shrink, from the end where they grow.
#include <tmmintrin.h>

#include <cstring>
#include <utility>

#include "color/pixel_kernels.h"

#define KERNEL __attribute__((target("ssse3")))
#define KERNEL_INLINE __attribute__((target("ssse3"), always_inline)) static inline

namespace tavo::color {

namespace {

constexpr size_t kStep = 16;

// Four pixels a vector, a 32-bit word each: first component in the low byte.
struct Pixels {
  __m128i v[4];
};

KERNEL_INLINE __m128i load(const uint8_t* in) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
}
KERNEL_INLINE void store(uint8_t* out, __m128i v) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), v);
}

template <bool kExchange>
struct From24 {
  static constexpr size_t kBytes = 3;
  KERNEL_INLINE Pixels read(const uint8_t* in) {
    constexpr char f = kExchange ? 2 : 0, t = kExchange ? 0 : 2;
    const __m128i spread =
        _mm_setr_epi8(f, 1, t, -1, f + 3, 4, t + 3, -1, f + 6, 7, t + 6, -1, f + 9, 10, t + 9, -1);
    const __m128i a = load(in), b = load(in + 16), c = load(in + 32);
    return {{_mm_shuffle_epi8(a, spread), _mm_shuffle_epi8(_mm_alignr_epi8(b, a, 12), spread),
             _mm_shuffle_epi8(_mm_alignr_epi8(c, b, 8), spread),
             _mm_shuffle_epi8(_mm_srli_si128(c, 4), spread)}};
  }
};

// Leaves the spare byte in the words: what writes them does not look at it.
struct From32 {
  static constexpr size_t kBytes = 4;
  KERNEL_INLINE Pixels read(const uint8_t* in) {
    return {{load(in), load(in + 16), load(in + 32), load(in + 48)}};
  }
};

template <bool kExchange>
struct From16 {
  static constexpr size_t kBytes = 2;
  // v << 3 | v >> 2 is v * 33 >> 2, and the high half of a product takes the shift along.
  KERNEL_INLINE void read_half(const uint8_t* in, __m128i& low, __m128i& high) {
    const __m128i word = load(in);
    __m128i first = _mm_mulhi_epu16(_mm_slli_epi16(word, 11), _mm_set1_epi16(33 << 3));
    const __m128i second =
        _mm_mulhi_epu16(_mm_and_si128(word, _mm_set1_epi16(31 << 5)), _mm_set1_epi16(33 << 9));
    __m128i third =
        _mm_mulhi_epu16(_mm_and_si128(word, _mm_set1_epi16(31 << 10)), _mm_set1_epi16(33 << 4));
    if constexpr (kExchange) std::swap(first, third);
    const __m128i pair = _mm_or_si128(first, _mm_slli_epi16(second, 8));
    low = _mm_unpacklo_epi16(pair, third);
    high = _mm_unpackhi_epi16(pair, third);
  }
  KERNEL_INLINE Pixels read(const uint8_t* in) {
    Pixels p;
    read_half(in, p.v[0], p.v[1]);
    read_half(in + 16, p.v[2], p.v[3]);
    return p;
  }
};

struct To32 {
  static constexpr size_t kBytes = 4;
  KERNEL_INLINE void write(uint8_t* out, const Pixels& p) {
    for (int i = 0; i < 4; ++i) store(out + 16 * i, p.v[i]);
  }
};

template <bool kExchange>
struct To24 {
  static constexpr size_t kBytes = 3;
  KERNEL_INLINE void write(uint8_t* out, const Pixels& p) {
    constexpr char f = kExchange ? 2 : 0, t = kExchange ? 0 : 2;
    const __m128i join = _mm_setr_epi8(f, 1, t, f + 4, 5, t + 4, f + 8, 9, t + 8, f + 12, 13,
                                       t + 12, -1, -1, -1, -1);
    const __m128i a = _mm_shuffle_epi8(p.v[0], join), b = _mm_shuffle_epi8(p.v[1], join);
    const __m128i c = _mm_shuffle_epi8(p.v[2], join), d = _mm_shuffle_epi8(p.v[3], join);
    store(out, _mm_or_si128(a, _mm_slli_si128(b, 12)));
    store(out + 16, _mm_or_si128(_mm_srli_si128(b, 4), _mm_slli_si128(c, 8)));
    store(out + 32, _mm_or_si128(_mm_srli_si128(c, 8), _mm_slli_si128(d, 4)));
  }
};

template <bool kExchange>
struct To16 {
  static constexpr size_t kBytes = 2;
  // (first + 32 second + 1024 third) >> 3 of the upper five bits, the sum made in two steps.
  KERNEL_INLINE __m128i words(__m128i v) {
    const __m128i upper = _mm_and_si128(v, _mm_set1_epi32(0x00F8F8F8));
    const __m128i pairs =
        _mm_maddubs_epi16(upper, _mm_set1_epi32(kExchange ? 0x00010120 : 0x00012001));
    const __m128i sums = _mm_madd_epi16(pairs, _mm_set1_epi32(kExchange ? 0x00010020 : 0x04000001));
    return _mm_srli_epi32(sums, 3);
  }
  KERNEL_INLINE void write(uint8_t* out, const Pixels& p) {
    store(out, _mm_packs_epi32(words(p.v[0]), words(p.v[1])));
    store(out + 16, _mm_packs_epi32(words(p.v[2]), words(p.v[3])));
  }
};

template <bool kRedFirst>
struct ToGray {
  static constexpr size_t kBytes = 1;
  KERNEL_INLINE __m128i levels(__m128i a, __m128i b) {
    const __m128i weights = _mm_set1_epi32(kRedFirst ? 0x00010502 : 0x00020501);
    const __m128i sums =
        _mm_hadd_epi16(_mm_maddubs_epi16(a, weights), _mm_maddubs_epi16(b, weights));
    return _mm_srli_epi16(_mm_add_epi16(sums, _mm_set1_epi16(4)), 3);
  }
  KERNEL_INLINE void write(uint8_t* out, const Pixels& p) {
    store(out, _mm_packus_epi16(levels(p.v[0], p.v[1]), levels(p.v[2], p.v[3])));
  }
};

struct GrayTo16 {
  static constexpr size_t kIn = 1;
  static constexpr size_t kOut = 2;
  KERNEL_INLINE __m128i words(__m128i level) {
    return _mm_mullo_epi16(_mm_srli_epi16(level, 3), _mm_set1_epi16(0x0421));
  }
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) {
    const __m128i levels = load(in);
    store(out, words(_mm_unpacklo_epi8(levels, _mm_setzero_si128())));
    store(out + 16, words(_mm_unpackhi_epi8(levels, _mm_setzero_si128())));
  }
};

struct GrayTo24 {
  static constexpr size_t kIn = 1;
  static constexpr size_t kOut = 3;
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) {
    const __m128i a = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i b = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i c = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    const __m128i levels = load(in);
    store(out, _mm_shuffle_epi8(levels, a));
    store(out + 16, _mm_shuffle_epi8(levels, b));
    store(out + 32, _mm_shuffle_epi8(levels, c));
  }
};

struct GrayTo32 {
  static constexpr size_t kIn = 1;
  static constexpr size_t kOut = 4;
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) {
    const __m128i levels = load(in);
    const __m128i order = _mm_setr_epi8(0, 0, 0, -1, 1, 1, 1, -1, 2, 2, 2, -1, 3, 3, 3, -1);
    for (int i = 0; i < 4; ++i) {
      const __m128i quarter = _mm_or_si128(order, _mm_set1_epi32(0x00040404 * i));
      store(out + 16 * i, _mm_shuffle_epi8(levels, quarter));
    }
  }
};

struct Exchange32 {
  static constexpr size_t kIn = 4;
  static constexpr size_t kOut = 4;
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15);
    for (size_t i = 0; i < 64; i += 16) store(out + i, _mm_shuffle_epi8(load(in + i), order));
  }
};

#include "color/pixel_kernel_loops.inl"

}  // namespace

PixelKernel ssse3_kernel(int32_t bits_in, int32_t bits_out, bool exchange) {
  return choose(bits_in, bits_out, exchange);
}

}  // namespace tavo::color
