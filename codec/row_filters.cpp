#include "codec/row_filters.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

#include "base/endian.h"
#include "base/variants.h"
#include "base/vector_sse2.h"

namespace tavo::filters {
namespace {

using namespace sse2;

TAVO_INLINE V sums_of_8(V v) { return sum8_unsigned(v); }

#include "codec/row_filter_kernel.inl"

constexpr Kernels kSse2Kernels = {apply_kernel, sums_kernel};
constexpr Variants<const Kernels*> kVariants = {.any = &kSse2Kernels, .avx2 = &kAvx2Kernels};

// Sums of bytes `kStep` apart, in place: all within a vector in steps of doubled distance, then the
// last pixel's carried on. A vector holds whole pixels only; the bytes behind them are put back.
template <size_t kStep>
void sum_steps(std::span<uint8_t> row) {
  constexpr int kUsed = static_cast<int>(16 / kStep * kStep);
  const auto shift_sum = [](V v) {
    v = add8(v, shift_left_bytes<kStep>(v));
    if constexpr (2 * kStep < 16) v = add8(v, shift_left_bytes<2 * kStep>(v));
    if constexpr (4 * kStep < 16) v = add8(v, shift_left_bytes<4 * kStep>(v));
    if constexpr (8 * kStep < 16) v = add8(v, shift_left_bytes<8 * kStep>(v));
    return v;
  };
  // The last pixel first, zeros behind it; then its sums with nothing are its copies.
  const auto last_pixel = [&shift_sum](V v) {
    return shift_sum(shift_right_bytes<16 - kStep>(shift_left_bytes<16 - kUsed>(v)));
  };
  uint8_t* at = row.data();
  uint8_t* const end = at + row.size();
  V carry = {};
  for (; end - at >= kUsed + 16; at += kUsed) {
    const V next = load(at + kUsed);
    const V sums = add8(carry, shift_sum(load(at)));
    store(at, sums);
    store(at + kUsed, next);
    carry = last_pixel(sums);
  }
  for (at = std::max(at, row.data() + std::min(kStep, row.size())); at < end; ++at) {
    *at = static_cast<uint8_t>(*at + at[-static_cast<ptrdiff_t>(kStep)]);
  }
}

void undo_up(std::span<uint8_t> row, const uint8_t* above) {
  for (size_t i = 0; i < row.size(); i += kBytes) {
    store(row.data() + i, add8(load(row.data() + i), load(above + i)));
  }
}

struct Average {
  static uint32_t of(uint32_t left, uint32_t up, uint32_t) { return (left + up) / 2; }
  static V of(V left, V up, V) { return average8(left, up); }
};

struct Paeth {
  static uint32_t of(uint32_t left, uint32_t up, uint32_t corner) {
    const auto value = [](uint32_t v) { return static_cast<int32_t>(v); };
    const int32_t of_left = value(up) - value(corner), of_up = value(left) - value(corner);
    const int32_t d_left = std::abs(of_left), d_up = std::abs(of_up);
    const int32_t d_corner = std::abs(of_left + of_up);
    const uint32_t nearer = d_left <= d_up ? left : up;
    return d_corner < std::min(d_left, d_up) ? corner : nearer;
  }
  static V of(V left, V up, V corner) { return paeth8(left, up, corner); }
};

// A pixel after the other in a vector each. The next one is loaded before this one is stored, which
// overruns it.
template <class Predictor, size_t kPixel>
void undo_pixels(std::span<uint8_t> row, const uint8_t* above) {
  const auto load_pixel = [](const uint8_t* at) {
    return kPixel <= 4 ? _mm_cvtsi32_si128(load_native<int32_t>(at))
                       : _mm_loadl_epi64(reinterpret_cast<const V*>(at));
  };
  V left = {}, corner = {};
  V filtered = load_pixel(row.data());
  for (size_t i = 0; i < row.size(); i += kPixel) {
    const V up = load_pixel(above + i);
    const V next = load_pixel(row.data() + i + kPixel);
    left = add8(filtered, Predictor::of(left, up, corner));
    kPixel <= 4 ? store_low32(row.data() + i, left) : store_low64(row.data() + i, left);
    corner = up;
    filtered = next;
  }
}

template <class Predictor, size_t kPixel>
void undo_bytes(std::span<uint8_t> row, const uint8_t* above) {
  uint32_t left[kPixel] = {}, corner[kPixel] = {};
  for (size_t i = 0; i < row.size(); i += kPixel) {
    for (size_t k = 0; k < kPixel; ++k) {
      const uint32_t up = above[i + k];
      left[k] = (row[i + k] + Predictor::of(left[k], up, corner[k])) & 255;
      corner[k] = up;
      row[i + k] = static_cast<uint8_t>(left[k]);
    }
  }
}

template <class Predictor>
void undo_predicted(std::span<uint8_t> row, const uint8_t* above, size_t pixel_bytes) {
  switch (pixel_bytes) {
    case 1:
      return undo_bytes<Predictor, 1>(row, above);
    case 2:
      return undo_bytes<Predictor, 2>(row, above);
    case 3:
      return undo_pixels<Predictor, 3>(row, above);
    case 4:
      return undo_pixels<Predictor, 4>(row, above);
    case 6:
      return undo_pixels<Predictor, 6>(row, above);
    default:
      return undo_pixels<Predictor, 8>(row, above);
  }
}

}  // namespace

void sum_pixels(std::span<uint8_t> row, size_t pixel_bytes) {
  switch (pixel_bytes) {
    case 1:
      return sum_steps<1>(row);
    case 2:
      return sum_steps<2>(row);
    case 3:
      return sum_steps<3>(row);
    case 4:
      return sum_steps<4>(row);
    case 6:
      return sum_steps<6>(row);
    case 8:
      return sum_steps<8>(row);
    default:
      for (size_t i = pixel_bytes; i < row.size(); ++i) {
        row[i] = static_cast<uint8_t>(row[i] + row[i - pixel_bytes]);
      }
  }
}

void undo(Filter filter, std::span<uint8_t> row, const uint8_t* above, size_t pixel_bytes) {
  switch (filter) {
    case Filter::kNone:
      return;
    case Filter::kSub:
      return sum_pixels(row, pixel_bytes);
    case Filter::kUp:
      return undo_up(row, above);
    case Filter::kAverage:
      return undo_predicted<Average>(row, above, pixel_bytes);
    case Filter::kPaeth:
      return undo_predicted<Paeth>(row, above, pixel_bytes);
  }
}

void apply(Filter filter, std::span<const uint8_t> row, const uint8_t* above, size_t pixel_bytes,
           uint8_t* out) {
  kVariants.best()->apply(filter, row, above, pixel_bytes, out);
}

Filter choose(std::span<const uint8_t> row, const uint8_t* above, size_t pixel_bytes,
              uint32_t allowed) {
  std::array<uint32_t, kFilterCount> sums;
  kVariants.best()->sums(row, above, pixel_bytes, sums.data());
  for (uint32_t f = 0; f < kFilterCount; ++f) {
    if ((allowed >> f & 1) == 0) sums[f] = UINT32_MAX;
  }
  return static_cast<Filter>(std::ranges::min_element(sums) - sums.begin());
}

}  // namespace tavo::filters
