#include "formats/pcx_planes.h"

#include <emmintrin.h>

#include <array>

#include "base/endian.h"

namespace tavo::pcx {

namespace {

constexpr uint32_t kStep = 16;

// A plane's byte with its bits in the lowest bit of eight pixels of 4 bits, as they lie in memory:
// the left pixel is the high half of the first byte.
constexpr std::array<uint32_t, 256> kSpread = [] {
  std::array<uint32_t, 256> table = {};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    for (uint32_t x = 0; x < 8; ++x) {
      const uint32_t bit = byte >> (7 - x) & 1;
      table[byte] |= bit << (x / 2 * 8 + (x % 2 == 0 ? 4 : 0));
    }
  }
  return table;
}();

inline __m128i load(const uint8_t* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

inline void store(uint8_t* to, __m128i value) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

// Four pixels of four bytes to 12 bytes; writes 14.
inline void store_pixels(uint8_t* to, __m128i wide) {
  const __m128i first = _mm_and_si128(wide, _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF));
  const __m128i second = _mm_srli_epi64(_mm_andnot_si128(_mm_set_epi32(0, -1, 0, -1), wide), 8);
  const __m128i both = _mm_or_si128(first, second);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), both);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to + 6), _mm_srli_si128(both, 8));
}

// Interleaves the two halves of 48 bytes.
inline void riffle(__m128i& a, __m128i& b, __m128i& c) {
  const __m128i first = _mm_unpacklo_epi8(a, _mm_unpackhi_epi64(b, b));
  const __m128i second = _mm_unpacklo_epi8(_mm_unpackhi_epi64(a, a), c);
  const __m128i third = _mm_unpacklo_epi8(b, _mm_unpackhi_epi64(c, c));
  a = first;
  b = second;
  c = third;
}

}  // namespace

void combine_bits(const uint8_t* planes, uint32_t stride, uint32_t width, uint8_t* pixels) {
  for (uint32_t i = 0; i < (width + 7) / 8; ++i) {
    const uint8_t* const at = planes + i;
    store_le32(pixels + size_t{4} * i, kSpread[at[0]] | kSpread[at[stride]] << 1 |
                                           kSpread[at[size_t{2} * stride]] << 2 |
                                           kSpread[at[size_t{3} * stride]] << 3);
  }
}

void interleave_bytes(const uint8_t* planes, uint32_t stride, uint32_t width, uint8_t* pixels) {
  const __m128i zero = _mm_setzero_si128();
  for (uint32_t x = 0; x < width; x += kStep, planes += kStep, pixels += 3 * kStep) {
    const __m128i red = load(planes);
    const __m128i green = load(planes + stride);
    const __m128i blue = load(planes + size_t{2} * stride);
    const __m128i two_low = _mm_unpacklo_epi8(red, green);
    const __m128i two_high = _mm_unpackhi_epi8(red, green);
    const __m128i one_low = _mm_unpacklo_epi8(blue, zero);
    const __m128i one_high = _mm_unpackhi_epi8(blue, zero);
    store_pixels(pixels, _mm_unpacklo_epi16(two_low, one_low));
    store_pixels(pixels + 12, _mm_unpackhi_epi16(two_low, one_low));
    store_pixels(pixels + 24, _mm_unpacklo_epi16(two_high, one_high));
    store_pixels(pixels + 36, _mm_unpackhi_epi16(two_high, one_high));
  }
}

// A riffle takes byte i of 48 to 2 i modulo 47; after four of them byte 3 k is byte k.
void split_bytes(const uint8_t* pixels, uint32_t width, uint8_t* planes, uint32_t stride) {
  for (uint32_t x = 0; x < width; x += kStep, pixels += 3 * kStep, planes += kStep) {
    __m128i red = load(pixels);
    __m128i green = load(pixels + kStep);
    __m128i blue = load(pixels + 2 * kStep);
    for (int i = 0; i < 4; ++i) riffle(red, green, blue);
    store(planes, red);
    store(planes + stride, green);
    store(planes + size_t{2} * stride, blue);
  }
}

}  // namespace tavo::pcx
