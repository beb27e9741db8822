#include "color/planes.h"

#include <tmmintrin.h>

#include <array>

#include "platform/platform.h"

namespace tavo::color {

namespace {

__m128i load(const uint8_t* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

template <class T>
void store(T* to, __m128i value) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

void split_bytes(const uint8_t* at, uint32_t step, uint32_t first, uint32_t count, uint8_t* one,
                 uint8_t* two, uint8_t* three) {
  for (uint32_t i = first; i < count; ++i) {
    const uint8_t* pixel = at + size_t{i} * step;
    one[i] = pixel[0];
    two[i] = pixel[1];
    three[i] = pixel[2];
  }
}

void split_words(const uint8_t* at, uint32_t count, uint8_t* low, uint8_t* green, uint8_t* high) {
  const auto widen = [](uint32_t field) {
    return static_cast<uint8_t>((field & 31) << 3 | (field & 31) >> 2);
  };
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t pixel = at[2 * i] | static_cast<uint32_t>(at[2 * i + 1]) << 8;
    low[i] = widen(pixel);
    green[i] = widen(pixel >> 5);
    high[i] = widen(pixel >> 10);
  }
}

// Which bytes of 16 at `from` belong to channel `c` of 3-byte pixels, where the others of the
// channel leave room: 0x80 gives a zero.
constexpr std::array<uint8_t, 16> third_of(int c, int block) {
  std::array<uint8_t, 16> mask = {};
  for (int i = 0; i < 16; ++i) {
    const int at = 3 * i + c - 16 * block;
    mask[static_cast<size_t>(i)] = at >= 0 && at < 16 ? static_cast<uint8_t>(at) : 0x80;
  }
  return mask;
}
alignas(16) constexpr std::array<uint8_t, 16> kThirds[3][3] = {
    {third_of(0, 0), third_of(0, 1), third_of(0, 2)},
    {third_of(1, 0), third_of(1, 1), third_of(1, 2)},
    {third_of(2, 0), third_of(2, 1), third_of(2, 2)}};

__attribute__((target("ssse3"))) uint32_t split_24_ssse3(const uint8_t* at, uint32_t count,
                                                         uint8_t* const (&to)[3]) {
  uint32_t i = 0;
  for (; i + 16 <= count; i += 16, at += 48) {
    const __m128i a = load(at);
    const __m128i b = load(at + 16);
    const __m128i c = load(at + 32);
    for (uint32_t k = 0; k < 3; ++k) {
      const __m128i from_a = _mm_shuffle_epi8(a, load(kThirds[k][0].data()));
      const __m128i from_b = _mm_shuffle_epi8(b, load(kThirds[k][1].data()));
      const __m128i from_c = _mm_shuffle_epi8(c, load(kThirds[k][2].data()));
      store(to[k] + i, _mm_or_si128(_mm_or_si128(from_a, from_b), from_c));
    }
  }
  return i;
}

// 4-byte pixels: packing words takes every second byte.
uint32_t split_32(const uint8_t* at, uint32_t count, uint8_t* const (&to)[3]) {
  const __m128i low = _mm_set1_epi32(255);
  uint32_t i = 0;
  for (; i + 16 <= count; i += 16, at += 64) {
    const __m128i p[4] = {load(at), load(at + 16), load(at + 32), load(at + 48)};
    const auto byte = [&](int shift) {
      __m128i words[2];
      for (int k = 0; k < 2; ++k) {
        words[k] = _mm_packs_epi32(_mm_and_si128(_mm_srli_epi32(p[2 * k], shift), low),
                                   _mm_and_si128(_mm_srli_epi32(p[2 * k + 1], shift), low));
      }
      return _mm_packus_epi16(words[0], words[1]);
    };
    store(to[0] + i, byte(0));
    store(to[1] + i, byte(8));
    store(to[2] + i, byte(16));
  }
  return i;
}

}  // namespace

void split_pixels(const uint8_t* pixels, int32_t depth, uint32_t order, uint32_t count,
                  Planes& planes) {
  const bool is_rgb = order == T_ORDER_RGB;
  uint8_t* const to[3] = {is_rgb ? planes.red : planes.blue, planes.green,
                          is_rgb ? planes.blue : planes.red};
  if (depth == 16) {
    split_words(pixels, count, to[0], to[1], to[2]);
    return;
  }
  uint32_t done = 0;
  if (depth == 32) {
    done = split_32(pixels, count, to);
  } else if (platform::processor() >= platform::Processor::kSsse3) {
    done = split_24_ssse3(pixels, count, to);
  }
  split_bytes(pixels, static_cast<uint32_t>(depth) / 8, done, count, to[0], to[1], to[2]);
}

void classes_of(const Planes& planes, uint32_t count, uint16_t (&classes)[kPlanePixels]) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i top = _mm_set1_epi8(static_cast<char>(0xF8));
  const auto combine = [](__m128i red, __m128i green, __m128i blue) {
    return _mm_or_si128(_mm_or_si128(_mm_slli_epi16(red, 7), _mm_slli_epi16(green, 2)),
                        _mm_srli_epi16(blue, 3));
  };
  for (uint32_t i = 0; i < count; i += 16) {
    const __m128i red = _mm_and_si128(load(planes.red + i), top);
    const __m128i green = _mm_and_si128(load(planes.green + i), top);
    const __m128i blue = load(planes.blue + i);
    store(classes + i, combine(_mm_unpacklo_epi8(red, zero), _mm_unpacklo_epi8(green, zero),
                               _mm_unpacklo_epi8(blue, zero)));
    store(classes + i + 8, combine(_mm_unpackhi_epi8(red, zero), _mm_unpackhi_epi8(green, zero),
                                   _mm_unpackhi_epi8(blue, zero)));
  }
}

}  // namespace tavo::color
