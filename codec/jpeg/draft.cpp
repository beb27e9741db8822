#include "codec/jpeg/draft.h"

#include <algorithm>
#include <bit>

namespace tavo::jpeg {
namespace {

// Four points: sqrt(2) cos(pi / 8) and sqrt(2) sin(pi / 8), 13 bits of fraction.
constexpr int32_t kOne = 1 << 13;
constexpr int32_t kCosine = 10703;
constexpr int32_t kSine = 4433;

constexpr int32_t rounded(int32_t value, int shift) {
  return (value + (1 << (shift - 1))) >> shift;
}

uint8_t to_sample(int32_t level) { return static_cast<uint8_t>(std::clamp(level + 128, 0, 255)); }

// As the transform of eight points takes them, damaged ones too.
int32_t dequantised(const int16_t* block, const uint16_t* quantisers, size_t i) {
  return static_cast<int16_t>(block[i] * static_cast<int16_t>(quantisers[i]));
}

// A.3.3 with four points, in place, over values `step` apart. The factors are such that the level
// is that of eight points.
void pass_of_four(int32_t* v, size_t step, int shift) {
  const int32_t c0 = v[0], c1 = v[step], c2 = v[2 * step], c3 = v[3 * step];
  const int32_t e = (c0 + c2) * kOne, f = (c0 - c2) * kOne;
  const int32_t g = kCosine * c1 + kSine * c3, h = kSine * c1 - kCosine * c3;
  v[0] = rounded(e + g, shift), v[step] = rounded(f + h, shift);
  v[2 * step] = rounded(f - h, shift), v[3 * step] = rounded(e - g, shift);
}

void four_points(const int16_t* block, const uint16_t* quantisers, uint8_t* out, size_t stride) {
  std::array<int32_t, 16> v;
  for (size_t i = 0; i < 16; ++i) v[i] = dequantised(block, quantisers, i / 4 * 8 + i % 4);
  // Columns first; two bits of the fraction are kept between the passes, as eight points do.
  for (size_t x = 0; x < 4; ++x) pass_of_four(&v[x], 4, 11);
  // Sound streams never reach this. The sums of a pass stay within 32 bits: its factors add up to
  // 31520, times 32768.
  for (int32_t& value : v) value = std::clamp(value, -32768, 32767);
  for (size_t y = 0; y < 4; ++y) {
    pass_of_four(&v[4 * y], 1, 18);
    for (size_t x = 0; x < 4; ++x) out[y * stride + x] = to_sample(v[4 * y + x]);
  }
}

// Here both factors are 1, sqrt(2) cos(pi / 4): sums and differences do.
void two_points(const int16_t* block, const uint16_t* quantisers, uint8_t* out, size_t stride) {
  const auto c = [=](size_t i) { return dequantised(block, quantisers, i); };
  const int32_t left = c(0) + c(8), left_below = c(0) - c(8);
  const int32_t right = c(1) + c(9), right_below = c(1) - c(9);
  out[0] = to_sample(rounded(left + right, 3)), out[1] = to_sample(rounded(left - right, 3));
  out += stride;
  out[0] = to_sample(rounded(left_below + right_below, 3));
  out[1] = to_sample(rounded(left_below - right_below, 3));
}

// A.3.3 makes the DC coefficient 8 times the mean.
void one_point(const int16_t* block, const uint16_t* quantisers, uint8_t* out, size_t /*stride*/) {
  *out = to_sample(rounded(dequantised(block, quantisers, 0), 3));
}

// Pairs and extents serve the vectors of eight points; here blocks come one after the other.
template <auto kTransform>
void of_pairs(const int16_t* a, const int16_t* b, const uint16_t* quantisers, Extent /*extent*/,
              uint8_t* out_a, uint8_t* out_b, size_t stride) {
  kTransform(a, quantisers, out_a, stride);
  kTransform(b, quantisers, out_b, stride);
}

// Rounded up, as A.1.1 has it for the sizes of components.
uint32_t share(uint32_t size, uint32_t numerator, uint32_t denominator) {
  return static_cast<uint32_t>((uint64_t{size} * numerator + denominator - 1) / denominator);
}

}  // namespace

SampleFrame sample_frame(const Frame& frame, uint32_t eighths) {
  SampleFrame samples = {.frame = frame, .eighths = eighths};
  Frame& f = samples.frame;
  f.width = share(frame.width, eighths, 8);
  f.height = share(frame.height, eighths, 8);
  for (size_t i = 0; i < f.count; ++i) {
    Component& c = f.components[i];
    // More points than `eighths` for components of lower factors, until they have as many samples
    // as the others: chroma of 2 x 2 comes at its own size then.
    const uint32_t most = std::min({8u, eighths * f.h_max / c.h, eighths * f.v_max / c.v});
    const uint32_t points = std::bit_floor(most);
    samples.points[i] = static_cast<uint8_t>(points);
    c.h = static_cast<uint8_t>(c.h * points / eighths);
    c.v = static_cast<uint8_t>(c.v * points / eighths);
    c.width = share(f.width, c.h, f.h_max);
    c.height = share(f.height, c.v, f.v_max);
  }
  return samples;
}

InverseTransform choose_inverse_transform(uint32_t points) {
  switch (points) {
    case 1:
      return of_pairs<one_point>;
    case 2:
      return of_pairs<two_points>;
    case 4:
      return of_pairs<four_points>;
    default:
      return choose_inverse_transform();
  }
}

}  // namespace tavo::jpeg
