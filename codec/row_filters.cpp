#include "codec/row_filters.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/endian.h"
#include "base/vector_sse2.h"

namespace tavo::filters {
namespace {

using namespace sse2;

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

// (9.2) rounded down: in vectors the average is rounded up.
struct Average {
  static uint32_t of(uint32_t left, uint32_t up, uint32_t) { return (left + up) / 2; }
  static V of(V left, V up, V) { return sub8(_mm_avg_epu8(left, up), (left ^ up) & splat8(1)); }
};

V difference8(V a, V b) { return sub8_clamped(a, b) | sub8_clamped(b, a); }
V select(V mask, V a, V b) { return (mask & a) | (~mask & b); }

// Whichever of the three is nearest to left + up - corner, in this order (9.4). With
// d(left) = |up - corner| and d(up) = |left - corner| the distance of the corner is their sum where
// both are on one side of it, where it never wins, and their difference elsewhere.
struct Paeth {
  static uint32_t of(uint32_t left, uint32_t up, uint32_t corner) {
    const auto value = [](uint32_t v) { return static_cast<int32_t>(v); };
    const int32_t of_left = value(up) - value(corner), of_up = value(left) - value(corner);
    const int32_t d_left = std::abs(of_left), d_up = std::abs(of_up);
    const int32_t d_corner = std::abs(of_left + of_up);
    const uint32_t nearer = d_left <= d_up ? left : up;
    return d_corner < std::min(d_left, d_up) ? corner : nearer;
  }
  static V of(V left, V up, V corner) {
    const V d_left = difference8(up, corner), d_up = difference8(left, corner);
    const V is_up_above = equal8(max8_unsigned(up, corner), up);
    const V is_left_above = equal8(max8_unsigned(left, corner), left);
    const V is_one_side = equal8(is_up_above, is_left_above);
    const V d_corner = difference8(d_left, d_up) | is_one_side;
    const V least = min8_unsigned(min8_unsigned(d_left, d_up), d_corner);
    return select(equal8(d_left, least), left, select(equal8(d_up, least), up, corner));
  }
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

}  // namespace tavo::filters
