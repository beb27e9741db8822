// From component rows to pixels of 3 bytes.
//
// The YCbCr conversion is the one of JFIF 1.02 (ITU-R BT.601, full range) with 16-bit constants,
// each output rounded once:
//   R = Y + (91881 Cr + 32768 >> 16), B = Y + (116130 Cb + 32768 >> 16),
//   G = Y + (-22554 Cb - 46802 Cr + 32768 >> 16), with 128 taken from Cb and Cr first.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::jpeg {

// Input rows have kRowSlack readable bytes behind their samples; nothing is written behind the
// 3 * width bytes of `out`.
struct ColorConversion {
  // YCbCr to pixels, red or blue byte first.
  void (*to_rgb)(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                 uint8_t* out);
  void (*to_bgr)(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width,
                 uint8_t* out);
  // Three rows to pixels of their bytes in turn.
  void (*interleave)(const uint8_t* first, const uint8_t* second, const uint8_t* third,
                     size_t width, uint8_t* out);
};

extern const ColorConversion kColorPlain;
extern const ColorConversion kColorSse2;
extern const ColorConversion kColorAvx2;

// The fastest for this processor.
const ColorConversion& choose_color_conversion();

// Ink to light: each row becomes row * k / 255, rounded, where 255 means no ink.
void apply_black(const uint8_t* k, size_t width, uint8_t* row);
// 255 - sample.
void invert(const uint8_t* in, size_t width, uint8_t* out);
// YCbCr to rows of red, green and blue.
void to_planes(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, size_t width, uint8_t* red,
               uint8_t* green, uint8_t* blue);

}  // namespace tavo::jpeg
