#include "color/color_classes.h"

#include "color/dither.h"
#include "tavo45.h"

namespace tavo::color {

namespace {

template <uint32_t kStep>
void classes_of_bytes(const uint8_t* pixels, uint32_t red, std::span<uint16_t> classes) {
  for (uint16_t& each : classes) {
    each = static_cast<uint16_t>(color_class(pixels[red], pixels[1], pixels[2 - red]));
    pixels += kStep;
  }
}

void classes_of_words(const uint8_t* pixels, uint32_t order, std::span<uint16_t> classes) {
  for (uint16_t& each : classes) {
    const uint32_t word = pixels[0] | static_cast<uint32_t>(pixels[1]) << 8;
    const uint32_t low = word & 31;
    const uint32_t high = word >> 10 & 31;
    const uint32_t outer = order == T_ORDER_RGB ? low << 10 | high : high << 10 | low;
    each = static_cast<uint16_t>(outer | (word & 0x3E0));
    pixels += 2;
  }
}

}  // namespace

void classes_of(const uint8_t* pixels, int32_t depth, uint32_t order, std::span<uint16_t> classes) {
  const uint32_t red = order == T_ORDER_RGB ? 0 : 2;
  if (depth == 16) {
    classes_of_words(pixels, order, classes);
  } else if (depth == 24) {
    classes_of_bytes<3>(pixels, red, classes);
  } else {
    classes_of_bytes<4>(pixels, red, classes);
  }
}

}  // namespace tavo::color
