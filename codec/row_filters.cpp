#include "codec/row_filters.h"

#include <algorithm>
#include <numeric>

#include "base/endian.h"
#include "base/variants.h"
#include "base/vector_sse2.h"

namespace tavo::filters {
namespace {

using namespace sse2;

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
  // No step reads or writes behind the row, as sum_pixels promises.
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

// Whole vectors: the last one changes what is behind the row, which slack allows.
void undo_up(std::span<uint8_t> row, const uint8_t* above) {
  for (size_t i = 0; i < row.size(); i += kBytes) {
    store(row.data() + i, add8(load(row.data() + i), load(above + i)));
  }
}

// The next pixel from what was left of it and the one above. Each waits for the one on its left, so
// what comes between the two is kept short, and all else is done beside it.
class AverageUndoer {
 public:
  V next(V filtered, V up) {
    complement_ = sub8(average8_up(complement_, ~up), filtered);  // average8(), see there
    return ~complement_;
  }

 private:
  V complement_ = ~V{};  // of the last pixel
};

// Paeth's choice (9.4) without distances. A corner above both left and up, or below, has the one
// on its far side nearest to left + up - corner. One between them is nearest itself unless it is at
// least twice as far from one of them as from the other, which then is. Twice as far from the least
// is 2 (greatest - corner) <= corner - least, or greatest <= limit; from the greatest, limit <=
// least. Both hold beyond the two as well. 16-bit elements.
class PaethUndoer {
 public:
  V next(V filtered, V up) {
    const V rest = unpack_low8(filtered, V{}), above = unpack_low8(up, V{});
    const V limit = sub16(sub16(add16(corner_, add16(corner_, corner_)), above), left_);
    const V least = min16(left_, above), greatest = max16(left_, above);
    const V is_corner = greater16(greatest, limit);
    const V near = select8(is_corner, add8(corner_, rest), add8(least, rest));
    left_ = select8(greater16(limit, least), near, add8(greatest, rest));
    corner_ = above;
    return pack16_unsigned(left_, left_);
  }

 private:
  V left_ = {}, corner_ = {};
};

// The next pixel is loaded before this one is stored, which overruns it.
template <class Undoer, size_t kPixel>
void undo_pixels(std::span<uint8_t> row, const uint8_t* above) {
  const auto load_pixel = [](const uint8_t* at) {
    return kPixel <= 4 ? single32(load_native<uint32_t>(at)) : load_low64(at);
  };
  // Left of the first pixel, and of the one above, there are zeros (9.2): what undoers begin with.
  Undoer undoer;
  V filtered = load_pixel(row.data());
  for (size_t i = 0; i < row.size(); i += kPixel) {
    const V next = load_pixel(row.data() + i + kPixel);
    const V pixel = undoer.next(filtered, load_pixel(above + i));
    kPixel <= 4 ? store_low32(row.data() + i, pixel) : store_low64(row.data() + i, pixel);
    filtered = next;
  }
}

// The same of a byte, which vectors are no gain for. Nothing wraps before the prediction is done
// (9.3: the sum has more than 8 bits).
struct AverageOfByte {
  static int32_t of(int32_t left, int32_t up, int32_t) { return (left + up) / 2; }
};
struct PaethOfByte {
  static int32_t of(int32_t left, int32_t up, int32_t corner) {
    const int32_t limit = 3 * corner - up - left;
    const int32_t least = std::min(left, up), greatest = std::max(left, up);
    const int32_t near = greatest > limit ? corner : least;
    return limit > least ? near : greatest;
  }
};

template <class Predictor, size_t kPixel>
void undo_bytes(std::span<uint8_t> row, const uint8_t* above) {
  int32_t left[kPixel] = {}, corner[kPixel] = {};
  for (size_t i = 0; i < row.size(); i += kPixel) {
    for (size_t k = 0; k < kPixel; ++k) {
      const int32_t up = above[i + k];
      left[k] = (row[i + k] + Predictor::of(left[k], up, corner[k])) & 255;
      corner[k] = up;
      row[i + k] = static_cast<uint8_t>(left[k]);
    }
  }
}

template <class OfPixel, class OfByte>
void undo_predicted(std::span<uint8_t> row, const uint8_t* above, size_t pixel_bytes) {
  switch (pixel_bytes) {
    case 1:
      return undo_bytes<OfByte, 1>(row, above);
    case 2:
      return undo_bytes<OfByte, 2>(row, above);
    case 3:
      return undo_pixels<OfPixel, 3>(row, above);
    case 4:
      return undo_pixels<OfPixel, 4>(row, above);
    case 6:
      return undo_pixels<OfPixel, 6>(row, above);
    default:
      return undo_pixels<OfPixel, 8>(row, above);
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
      return undo_predicted<AverageUndoer, AverageOfByte>(row, above, pixel_bytes);
    case Filter::kPaeth:
      return undo_predicted<PaethUndoer, PaethOfByte>(row, above, pixel_bytes);
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
    // Summed all the same: one pass over the row makes all five.
    if ((allowed >> f & 1) == 0) sums[f] = UINT32_MAX;
  }
  return static_cast<Filter>(std::ranges::min_element(sums) - sums.begin());
}

}  // namespace tavo::filters
