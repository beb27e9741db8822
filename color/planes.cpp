#include "color/planes.h"

#include "base/variants.h"
#include "base/vector_sse2.h"
#include "color/widen.h"

namespace tavo::color {

namespace {

using namespace sse2;

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
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t pixel = at[2 * i] | static_cast<uint32_t>(at[2 * i + 1]) << 8;
    low[i] = widen_5_bits(pixel);
    green[i] = widen_5_bits(pixel >> 5);
    high[i] = widen_5_bits(pixel >> 10);
  }
}

uint32_t split_24_sse2(const uint8_t* at, uint32_t count, uint8_t* const (&to)[3]) {
  uint32_t i = 0;
  for (; i + 16 <= count; i += 16, at += 48) {
    V planes[3];
    load_triples(at, planes);
    for (uint32_t k = 0; k < 3; ++k) store(to[k] + i, planes[k]);
  }
  return i;
}

// The byte above kShift of each of 16 pixels: packing words takes every second one.
template <int kShift>
V bytes_of(const V (&pixels)[4]) {
  V words[4];
  for (int i = 0; i < 4; ++i) words[i] = shift_right32<kShift>(pixels[i]) & splat32(255);
  return pack16_unsigned(pack32(words[0], words[1]), pack32(words[2], words[3]));
}

using Split = uint32_t (*)(const uint8_t* at, uint32_t count, uint8_t* const (&to)[3]);

uint32_t split_32(const uint8_t* at, uint32_t count, uint8_t* const (&to)[3]) {
  uint8_t* const one = to[0];
  uint8_t* const two = to[1];
  uint8_t* const three = to[2];
  uint32_t i = 0;
  for (; i + 16 <= count; i += 16, at += 64) {
    const V pixels[4] = {load(at), load(at + 16), load(at + 32), load(at + 48)};
    store(one + i, bytes_of<0>(pixels));
    store(two + i, bytes_of<8>(pixels));
    store(three + i, bytes_of<16>(pixels));
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
  } else {
    done = Variants<Split>{.any = split_24_sse2, .ssse3 = split_24_ssse3}.best()(pixels, count, to);
  }
  split_bytes(pixels, static_cast<uint32_t>(depth) / 8, done, count, to[0], to[1], to[2]);
}

void classes_of(const Planes& planes, uint32_t count, uint16_t (&classes)[kPlanePixels]) {
  const auto combine = [](V red, V green, V blue) {
    return shift_left16<7>(red) | shift_left16<2>(green) | shift_right16<3>(blue);
  };
  for (uint32_t i = 0; i < count; i += 16) {
    const V red = load(planes.red + i) & splat8(0xF8);
    const V green = load(planes.green + i) & splat8(0xF8);
    const V blue = load(planes.blue + i);
    store(classes + i,
          combine(unpack_low8(red, V{}), unpack_low8(green, V{}), unpack_low8(blue, V{})));
    store(classes + i + 8,
          combine(unpack_high8(red, V{}), unpack_high8(green, V{}), unpack_high8(blue, V{})));
  }
}

}  // namespace tavo::color
