#include "codec/jpeg/upsample.h"

#include <cstring>

#include "base/variants.h"

namespace tavo::jpeg {
namespace {

// The plain loops, the judge of the vector code. The roundings of neighbours go up and down in
// turn, so that the mean level stays.

uint8_t to_byte(int value) { return static_cast<uint8_t>(value); }

void double_width(const uint8_t* in, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) {
    const int left = i == 0 ? in[i] : in[i - 1];
    const int right = i + 1 == count ? in[i] : in[i + 1];
    out[2 * i] = to_byte((3 * in[i] + left + 1) >> 2);
    out[2 * i + 1] = to_byte((3 * in[i] + right + 2) >> 2);
  }
}

// Weights of 9, 3, 3 and 1 sixteenths, in two steps.
void double_both(const uint8_t* near, const uint8_t* far, size_t count, uint8_t* out) {
  const auto column = [&](size_t i) { return 3 * near[i] + far[i]; };
  for (size_t i = 0; i < count; ++i) {
    const int here = column(i);
    const int left = i == 0 ? here : column(i - 1);
    const int right = i + 1 == count ? here : column(i + 1);
    out[2 * i] = to_byte((3 * here + left + 8) >> 4);
    out[2 * i + 1] = to_byte((3 * here + right + 7) >> 4);
  }
}

void double_height(const uint8_t* near, const uint8_t* far, int bias, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) out[i] = to_byte((3 * near[i] + far[i] + bias) >> 2);
}

}  // namespace

const Upsampling kUpsamplingPlain = {double_width, double_both, double_height};

const Upsampling& choose_upsampling() {
  return *Variants<const Upsampling*>{.any = &kUpsamplingSse2, .avx2 = &kUpsamplingAvx2}.best();
}

// By whole numbers, so that no ratio drifts: `phase` counts how far x has come on the way to the
// next sample.
void repeat_samples(const uint8_t* in, size_t numerator, size_t denominator, size_t count,
                    uint8_t* out) {
  if (numerator == denominator) {
    std::memcpy(out, in, count);
    return;
  }
  size_t phase = 0;
  for (size_t x = 0; x < count; ++x) {
    out[x] = *in;
    for (phase += numerator; phase >= denominator; phase -= denominator) ++in;
  }
}

}  // namespace tavo::jpeg
