#include <cstring>

#include "base/buffer.h"
#include "base/trigonometry.h"
#include "color/index_rows.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "process/adjust/adjust.h"
#include "process/adjust/gray_rows.h"
#include "process/rounding.h"
#include "process/whole_picture.h"
#include "reduce/reduce.h"

namespace tavo::process {

namespace {

// A place along an axis of the screen, 2^32 to a period, as a way there and back of 0 to 255.
uint32_t fold(uint32_t place) {
  const uint32_t way = place >> 23;
  return way > 255 ? 511 - way : way;
}

// The level from which on a pixel is white, by the sum of its two places (0 to 510): as much of a
// period's area as is below the sum.
struct Thresholds {
  constexpr Thresholds() {
    for (int32_t sum = 0; sum <= 510; ++sum) {
      const int32_t area = sum <= 255 ? (sum + 1) * (sum + 1) : 131072 - (511 - sum) * (511 - sum);
      of_sum[sum] = static_cast<uint8_t>(255 - 255 * area / 131072);
    }
  }
  uint8_t of_sum[511] = {};
};
constexpr Thresholds kThresholds;

class Screen {
 public:
  Screen(int32_t cell, int32_t angle) {
    const auto [sine, cosine] = sine_cosine(within_turn(angle, 360) * 100);
    along_ = static_cast<uint32_t>(divide_rounded<int64_t>(cosine, 4 * cell));
    across_ = static_cast<uint32_t>(divide_rounded<int64_t>(sine, 4 * cell));
  }

  // Levels to indices: 0 black, 1 white.
  void screen_row(uint32_t y, std::span<const uint8_t> levels, uint8_t* indices) const {
    uint32_t u = along_ * 6 + across_ * (8 * y + 5);
    uint32_t v = along_ * (8 * y + 5) - across_ * 6;
    for (const uint8_t level : levels) {
      *indices++ = level < kThresholds.of_sum[fold(u) + fold(v)] ? 0 : 1;
      u += 8 * along_;
      v -= 8 * across_;
    }
  }

 private:
  uint32_t along_;  // an eighth of a pixel's steps on the axes
  uint32_t across_;
};

Status screen_rows(BitmapHandle& bitmap, BitmapHandle& made, const Screen& screen,
                   core::Progress& progress) {
  GrayRows rows(bitmap);
  RowWindow out(made, RowNumbers::kFromTop);
  Buffer indices;
  TRY(rows.start());
  TRY(out.start(1, 0));
  TRY(indices.allocate(static_cast<uint64_t>(bitmap.Width)));
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0; y < height; ++y) {
    std::span<const uint8_t> levels;
    TRY(rows.read(y, levels));
    screen.screen_row(y, levels, indices.data());
    out.open(y);
    color::pack_indices(1, indices.bytes(), out.row(y));
    TRY(out.store(y, 1));
    TRY(progress.at(y + uint64_t{1}, height));
  }
  return progress.finish();
}

}  // namespace

Status halftone_bitmap(BitmapHandle& bitmap, int32_t cell, int32_t angle) {
  if (cell < 2 || cell > 64 || angle < -360 || angle > 360) return kBadArgument;
  TRY(check_bitmap(bitmap));
  core::Progress progress;
  TRY(progress.start());
  core::OwnedBitmap made;
  TRY(color::describe_like(*made, bitmap, 1));
  std::memcpy(made->Info.Palette, color::builtin_palette(1).data(), 2 * sizeof(T_PaletteEntry));
  made->ViewPerspective = bitmap.ViewPerspective;
  TRY(core::allocate_quietly(*made));
  TRY(screen_rows(bitmap, *made, Screen(cell, angle), progress));
  core::take_place(bitmap, *made);
  return kOk;
}

}  // namespace tavo::process
