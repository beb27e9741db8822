// Vectors of 16 bytes, for every processor; and what all widths have in common.
//
// A kernel that gains from what only some processors have is written once, X_kernel.inl, and
// compiled by X_sse2.cpp, X_ssse3.cpp and X_avx2.cpp. Each of them includes the header of its
// instruction set, says `using namespace` of it in an unnamed namespace and includes the kernel
// there. Variants (base/variants.h) chooses between them, and tests compare each with a plain loop.
// What stays with SSE2 uses the verbs in place.
//
// TAVO_FOR_SSSE3, TAVO_FOR_AVX2 and TAVO_FOR_AVX512 begin what is compiled for such processors,
// TAVO_END ends it. Includes stand before: an inline function of a shared header, compiled for one
// processor, could become the one that the linker keeps for all.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#define TAVO_PRAGMA(text) _Pragma(#text)
#if defined(__clang__)
#define TAVO_FOR(features) \
  TAVO_PRAGMA(clang attribute push(__attribute__((target(features))), apply_to = function))
#define TAVO_END _Pragma("clang attribute pop")
#else
#define TAVO_FOR(features) _Pragma("GCC push_options") TAVO_PRAGMA(GCC target(features))
#define TAVO_END _Pragma("GCC pop_options")
#endif
#define TAVO_FOR_SSSE3 TAVO_FOR("ssse3")
#define TAVO_FOR_AVX2 TAVO_FOR("avx2,bmi,bmi2")
#define TAVO_FOR_AVX512 TAVO_FOR("avx512f,avx512bw,avx512vbmi")

#define TAVO_INLINE inline __attribute__((always_inline))
#define TAVO_BINARY(name, operation) \
  TAVO_INLINE V name(V a, V b) { return TAVO_MM(operation)(a, b); }
#define TAVO_SHIFT(name, operation)       \
  template <int kCount>                   \
  TAVO_INLINE V name(V a) {               \
    return TAVO_MM(operation)(a, kCount); \
  }

namespace tavo::sse2 {

using V = __m128i;

#define TAVO_MM(operation) _mm_##operation
#include "base/vector_verbs.inl"
TAVO_SHIFT(shift_left_bytes, slli_si128)
TAVO_SHIFT(shift_right_bytes, srli_si128)
#undef TAVO_MM

TAVO_INLINE V load(const void* p) { return _mm_loadu_si128(static_cast<const V*>(p)); }
TAVO_INLINE void store(void* p, V v) { _mm_storeu_si128(static_cast<V*>(p), v); }
// Past the caches, to a multiple of 16.
TAVO_INLINE void stream(void* p, V v) { _mm_stream_si128(static_cast<V*>(p), v); }
TAVO_INLINE void store_low32(void* p, V v) { _mm_storeu_si32(p, v); }
TAVO_INLINE void store_low64(void* p, V v) { _mm_storel_epi64(static_cast<V*>(p), v); }
TAVO_INLINE void store_high64(void* p, V v) {
  _mm_storeh_pi(static_cast<__m64*>(p), _mm_castsi128_ps(v));
}

// Fetches what lies `distance` behind `p`, where the processor would not by itself. That may be
// anywhere: it has no effect that shows.
TAVO_INLINE void fetch_ahead(const uint8_t* p, size_t distance) {
  __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(p) + distance));
}

// ---- Lanes: there is one ----

TAVO_INLINE V load_repeated(const void* p) { return load(p); }
// The first lane from `first`, the second from `second`; or from `p` and kStride behind it.
TAVO_INLINE V load_lanes(const void* first, const void* /*second*/) { return load(first); }
template <ptrdiff_t kStride>
TAVO_INLINE V load_lanes(const uint8_t* p) {
  return load(p);
}
template <int kLane>
TAVO_INLINE V lane(V v) {
  return v;
}

// What has been brought in order unpacks to vectors whose elements follow each other, and what has
// been packed from such vectors is brought in order: packed once by 64 bits, packed twice by 32.
TAVO_INLINE V in_order64(V v) { return v; }
TAVO_INLINE V in_order32(V v) { return v; }

// ---- Elements to wider and narrower ones ----

// Bytes, half as many as a vector has, as unsigned 16-bit elements.
TAVO_INLINE V load_widened8(const void* p) {
  return _mm_unpacklo_epi8(_mm_loadl_epi64(static_cast<const V*>(p)), V{});
}
// Sixteen 16-bit elements as bytes, clamped.
TAVO_INLINE void store_narrowed16(void* p, const V (&v)[2]) {
  store(p, pack16_unsigned(v[0], v[1]));
}

// ---- Single elements ----

// `value` in the first element, zeros behind it.
TAVO_INLINE V single32(uint32_t value) { return _mm_cvtsi32_si128(static_cast<int>(value)); }
TAVO_INLINE uint32_t first32(V v) { return static_cast<uint32_t>(_mm_cvtsi128_si32(v)); }
// table[keys[0]] to table[keys[3]], in the next lane from keys[8] on.
TAVO_INLINE V look_up32(const uint32_t* table, const uint16_t* keys) {
  const auto value = [=](size_t i) { return static_cast<int>(table[keys[i]]); };
  return _mm_set_epi32(value(3), value(2), value(1), value(0));
}
// Bit k is the top bit of element k.
TAVO_INLINE uint32_t top_bits32(V v) {
  return static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(v)));
}

// ---- What single instructions of later sets do ----

TAVO_INLINE V magnitude16(V v) { return max16(v, sub16(V{}, v)); }
// v, or -v where `sign` is negative. Where that is 0, v must be, too.
TAVO_INLINE V with_sign16(V v, V sign) {
  const V negative = shift_right16_signed<15>(sign);
  return sub16(v ^ negative, negative);
}
TAVO_INLINE V min32(V a, V b) {
  const V is_less = greater32(b, a);
  return (is_less & a) | (~is_less & b);
}
TAVO_INLINE int32_t least32(V v) {
  v = min32(v, _mm_shuffle_epi32(v, 0x4E));
  return _mm_cvtsi128_si32(min32(v, _mm_shuffle_epi32(v, 0xB1)));
}

// ---- Of 16 bytes alone ----

TAVO_INLINE V splat_fours16(int a, int b, int c, int d) {
  const V four = unpack_low32(splat_pairs16(a, b), splat_pairs16(c, d));
  return unpack_low64(four, four);
}
TAVO_INLINE V load_low64(const void* p) { return _mm_loadl_epi64(static_cast<const V*>(p)); }
TAVO_INLINE V load_low64_twice(const void* p) {
  const V low = _mm_loadl_epi64(static_cast<const V*>(p));
  return unpack_low64(low, low);
}
TAVO_INLINE V swap_halves(V v) { return _mm_shuffle_epi32(v, 0x4E); }
TAVO_INLINE V reverse32(V v) { return _mm_shuffle_epi32(v, 0x1B); }
TAVO_INLINE V repeat_last32(V v) { return _mm_shuffle_epi32(v, 0xFF); }
TAVO_INLINE V swap_pairs32(V v) { return _mm_shuffle_epi32(v, 0xB1); }

// 16 pixels of three bytes to a vector for each of the three. A step interleaves the two halves of
// the 48 bytes, which moves byte i to 2 i mod 47; after four of them byte 3 k is at
// 48 k mod 47 = k.
TAVO_INLINE void load_triples(const uint8_t* p, V (&v)[3]) {
  v[0] = load(p), v[1] = load(p + 16), v[2] = load(p + 32);
  for (int step = 0; step < 4; ++step) {
    const V first = unpack_low8(v[0], unpack_high64(v[1], v[1]));
    const V second = unpack_low8(unpack_high64(v[0], v[0]), v[2]);
    const V third = unpack_low8(v[1], unpack_high64(v[2], v[2]));
    v[0] = first, v[1] = second, v[2] = third;
  }
}
// The inverse; writes two bytes more.
TAVO_INLINE void store_triples(uint8_t* p, V a, V b, V c) {
  const auto store_four = [](uint8_t* to, V pixels) {  // of 32 bits, the top eight zero
    const V even = pixels & _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF);
    const V joined = even | shift_left64<24>(shift_right64<32>(pixels));
    store_low64(to, joined);
    store_low64(to + 6, unpack_high64(joined, joined));
  };
  const V ab_low = unpack_low8(a, b), ab_high = unpack_high8(a, b);
  const V c_low = unpack_low8(c, V{}), c_high = unpack_high8(c, V{});
  store_four(p, unpack_low16(ab_low, c_low));
  store_four(p + 12, unpack_high16(ab_low, c_low));
  store_four(p + 24, unpack_low16(ab_high, c_high));
  store_four(p + 36, unpack_high16(ab_high, c_high));
}

}  // namespace tavo::sse2
