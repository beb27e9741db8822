#include "codec/jpeg/color.h"

#include <algorithm>

#include "base/variants.h"

namespace tavo::jpeg {
namespace {

// The plain loops, the judge of the vector code; no processor gets kColorPlain.

struct Rgb {
  uint8_t red;
  uint8_t green;
  uint8_t blue;
};

// YCbCr has colours that RGB has not: values go from -227 to 480.
uint8_t clamp_byte(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

// JFIF 1.02: R = Y + 1.402 Cr, G = Y - 0.34414 Cb - 0.71414 Cr, B = Y + 1.772 Cb; factors in
// 65536ths. The shift rounds down, negative sums as well, so half of one is added first.
Rgb convert(int y, int cb, int cr) {
  cb -= 128;
  cr -= 128;
  return {clamp_byte(y + ((91881 * cr + 32768) >> 16)),
          clamp_byte(y + ((-22554 * cb - 46802 * cr + 32768) >> 16)),
          clamp_byte(y + ((116130 * cb + 32768) >> 16))};
}

void to_rgb(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width, uint8_t* out) {
  for (size_t x = 0; x < width; ++x) {
    const Rgb pixel = convert(y[x], cb[x], cr[x]);
    out[3 * x] = pixel.red;
    out[3 * x + 1] = pixel.green;
    out[3 * x + 2] = pixel.blue;
  }
}

void to_bgr(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width, uint8_t* out) {
  for (size_t x = 0; x < width; ++x) {
    const Rgb pixel = convert(y[x], cb[x], cr[x]);
    out[3 * x] = pixel.blue;
    out[3 * x + 1] = pixel.green;
    out[3 * x + 2] = pixel.red;
  }
}

// Streams that hold red, green and blue; and grey ones, whose row is given three times.
void interleave(const uint8_t* first, const uint8_t* second, const uint8_t* third, size_t width,
                uint8_t* out) {
  for (size_t x = 0; x < width; ++x) {
    out[3 * x] = first[x];
    out[3 * x + 1] = second[x];
    out[3 * x + 2] = third[x];
  }
}

}  // namespace

const ColorConversion kColorPlain = {to_rgb, to_bgr, interleave};

const ColorConversion& choose_color_conversion() {
  return *Variants<const ColorConversion*>{.any = &kColorSse2, .avx2 = &kColorAvx2}.best();
}

// Inks lie over one another: what one lets through, times what the other does. (p + p / 256 + 128)
// / 256 is p / 255, rounded, for all products of two bytes.
void apply_black(const uint8_t* k, size_t width, uint8_t* row) {
  for (size_t x = 0; x < width; ++x) {
    const int product = row[x] * k[x] + 128;
    row[x] = static_cast<uint8_t>((product + (product >> 8)) >> 8);
  }
}

// apply_black wants 255 for no ink, as Adobe's programs store it; others store 255 for full ink.
void invert(const uint8_t* in, size_t width, uint8_t* out) {
  for (size_t x = 0; x < width; ++x) out[x] = static_cast<uint8_t>(~in[x]);
}

// For YCCK: three of its four components become inks, or what those leave, before black is applied.
void to_planes(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width, uint8_t* red,
               uint8_t* green, uint8_t* blue) {
  for (size_t x = 0; x < width; ++x) {
    const Rgb pixel = convert(y[x], cb[x], cr[x]);
    red[x] = pixel.red;
    green[x] = pixel.green;
    blue[x] = pixel.blue;
  }
}

}  // namespace tavo::jpeg
