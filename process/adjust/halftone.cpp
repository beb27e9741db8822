#include <cstring>

#include "base/buffer.h"
#include "base/trigonometry.h"
#include "base/variants.h"
#include "base/vector_sse2.h"
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

// Where a row begins on the axes, and how far a pixel goes.
struct ScreenRow {
  uint32_t u, v;
  uint32_t step_u, step_v;
};

// Levels to indices: 0 black, 1 white.
void screen_plain(ScreenRow row, std::span<const uint8_t> levels, uint8_t* indices) {
  for (const uint8_t level : levels) {
    *indices++ = level < kThresholds.of_sum[fold(row.u) + fold(row.v)] ? 0 : 1;
    row.u += row.step_u;
    row.v += row.step_v;
  }
}

using sse2::V;

// Eight places, of which `low` and `high` are the first and the last four.
V fold(V low, V high) {
  const V way = sse2::pack32(sse2::shift_right32<23>(low), sse2::shift_right32<23>(high));
  return sse2::min16(way, sse2::sub16(sse2::splat16(511), way));
}

// With q = min(sum + 1, 511 - sum), 255 q^2 / 131072 is taken from 255, or, above the middle, added
// to 0 and rounded up, which is one more: no such square can be divided.
V thresholds(V sums) {
  using namespace sse2;
  const V q = min16(add16(sums, splat16(1)), sub16(splat16(511), sums));
  const V product = multiply_high16_unsigned(shift_left16<7>(q), multiply16(q, splat16(255)));
  const V part = shift_right16<8>(product);
  const V is_above = greater16(sums, splat16(255));
  return (is_above & add16(part, splat16(1))) | (~is_above & sub16(splat16(255), part));
}

// A place and the three after it.
V four_places(uint32_t place, uint32_t step) {
  using namespace sse2;
  return unpack_low64(unpack_low32(single32(place), single32(place + step)),
                      unpack_low32(single32(place + 2 * step), single32(place + 3 * step)));
}

void screen_sse2(ScreenRow row, std::span<const uint8_t> levels, uint8_t* indices) {
  using namespace sse2;
  const size_t whole = levels.size() / 8 * 8;
  V u = four_places(row.u, row.step_u), v = four_places(row.v, row.step_v);
  const V four_u = splat32(4 * row.step_u), four_v = splat32(4 * row.step_v);
  for (size_t x = 0; x < whole; x += 8) {
    const V next_u = add32(u, four_u), next_v = add32(v, four_v);
    const V least = thresholds(add16(fold(u, next_u), fold(v, next_v)));
    const V is_black = greater16(least, load_widened8(levels.data() + x));
    store_low64(indices + x, add8(pack16(is_black, is_black), splat8(1)));
    u = add32(next_u, four_u), v = add32(next_v, four_v);
  }
  row.u += static_cast<uint32_t>(whole) * row.step_u;
  row.v += static_cast<uint32_t>(whole) * row.step_v;
  screen_plain(row, levels.subspan(whole), indices + whole);
}

class Screen {
 public:
  Screen(int32_t cell, int32_t angle) {
    const auto [sine, cosine] = sine_cosine(within_turn(angle, 360) * 100);
    along_ = static_cast<uint32_t>(divide_rounded<int64_t>(cosine, 4 * cell));
    across_ = static_cast<uint32_t>(divide_rounded<int64_t>(sine, 4 * cell));
  }

  ScreenRow row(uint32_t y) const {
    return {along_ * 6 + across_ * (8 * y + 5), along_ * (8 * y + 5) - across_ * 6, 8 * along_,
            0 - 8 * across_};
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
  const auto run =
      Variants<decltype(&screen_plain)>{.any = screen_plain, .sse2 = screen_sse2}.best();
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0; y < height; ++y) {
    std::span<const uint8_t> levels;
    TRY(rows.read(y, levels));
    run(screen.row(y), levels, indices.data());
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
