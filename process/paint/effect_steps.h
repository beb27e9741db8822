// The steps in which a picture appears: rectangles that together cover it once.
#pragma once

#include <cstdint>

#include "base/function_ref.h"
#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// Right and bottom are exclusive.
struct PixelRect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;

  bool is_empty() const { return left >= right || top >= bottom; }
  bool operator==(const PixelRect&) const = default;
};

constexpr PixelRect common_part(const PixelRect& a, const PixelRect& b) {
  return {a.left > b.left ? a.left : b.left, a.top > b.top ? a.top : b.top,
          a.right < b.right ? a.right : b.right, a.bottom < b.bottom ? a.bottom : b.bottom};
}

// As T_EFFECT_ values number them.
enum class Effect : int32_t {
  kNone,
  kWipeRight,
  kWipeLeft,
  kWipeDown,
  kWipeUp,
  kBoxOut,
  kBoxIn,
  kBlindsVertical,
  kBlindsHorizontal,
  kCheckerboard,
  kDissolve,
  kSplitVertical,
  kSplitHorizontal,
  kDiagonal,
  kSpiral,
};

class EffectSteps {
 public:
  using Draw = FunctionRef<Status(const PixelRect& rect)>;

  // `width`, `height` and `block` are 1 or more.
  EffectSteps(Effect effect, int32_t width, int32_t height, int32_t block);

  int64_t count() const { return count_; }

  // The rectangles of a step, none of which is empty. The first answer that is not kOk.
  Status step(int64_t number, Draw draw) const;

 private:
  int64_t steps() const;
  Status columns(int64_t first, int64_t end, Draw draw) const;
  Status rows(int64_t first, int64_t end, Draw draw) const;
  Status square(int64_t column, int64_t row, Draw draw) const;
  Status frame(int64_t inset, Draw draw) const;
  Status blinds(int64_t number, bool is_vertical, Draw draw) const;
  Status split(int64_t number, bool is_vertical, Draw draw) const;
  Status checkerboard(int64_t parity, Draw draw) const;
  Status dissolve(int64_t number, Draw draw) const;
  Status diagonal(int64_t number, Draw draw) const;
  Status spiral(int64_t number, Draw draw) const;
  Status put(int64_t left, int64_t top, int64_t right, int64_t bottom, Draw draw) const;
  int64_t squares_across() const { return (width_ + block_ - 1) / block_; }
  int64_t squares_down() const { return (height_ + block_ - 1) / block_; }
  int64_t squares() const { return squares_across() * squares_down(); }

  Effect effect_;
  int64_t width_;
  int64_t height_;
  int64_t block_;
  int64_t count_;
};

}  // namespace tavo::process
