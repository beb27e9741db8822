// What painting does before a device is asked: rows at another size, dithered, in bands; the steps
// of effects.
#include <gtest/gtest.h>

#include "color/paint_palette.h"
#include "core/bitmap.h"
#include "paint_model.h"
#include "process/paint/effect_steps.h"
#include "process/paint/painted_rows.h"
#include "process/paint/placement.h"
#include "support.h"

namespace tavo::test {
namespace {

using process::Axis;
using process::PaintPlan;

// The device's rows as red, green, blue triples; of columns from view.left to view.right.
Status painted(BitmapHandle& bitmap, const PaintPlan& plan, Bytes& all) {
  process::PictureRows rows(bitmap);
  process::PaintedRows painted(rows);
  TRY(rows.start(false));
  TRY(painted.start(plan, color::PaintPalette(bitmap)));
  Bytes row(painted.stride());
  for (int32_t y = 0; y < plan.view.down.results; ++y) {
    TRY(painted.row(y, row.data()));
    const T_PaletteEntry* colors = plan.table != nullptr ? plan.table->entries : nullptr;
    const Bytes triples = row_rgb(row.data(), painted.width(), painted.bits(), T_ORDER_BGR, colors);
    all.insert(all.end(), triples.begin(), triples.end());
  }
  return kOk;
}

TEST(Paint, RowsOfEveryKind) {
  Random random(7);
  const int32_t sizes[][2] = {{40, 40}, {40, 20}, {40, 17}, {40, 1}, {40, 71}, {5, 40}};
  for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
    for (int round = 0; round < 36; ++round) {
      Bitmap bitmap;
      make_picture(bitmap, 59, 47, bits, round % 2 == 0 ? 1 : 3, round % 3);
      if (bits > 8) bitmap->Order = random.below(2);
      const auto axis = [&](const int32_t(&size)[2]) {
        const bool means = size[1] < size[0] && random.below(4) != 0;
        return Axis{static_cast<int32_t>(random.below(7)), size[0], size[1], random.below(2) == 0,
                    means};
      };
      const process::ScaledView view = {axis(sizes[round % 6]), axis(sizes[round / 6])};
      PaintPlan plan = {view};
      plan.view.right = view.across.results;
      Bytes got;
      ASSERT_TRUE(painted(*bitmap.get(), plan, got).ok());
      SCOPED_TRACE(testing::Message() << bits << " bits, " << round);
      expect_shown(shown(rgb(bitmap.get()), bitmap->Width, view.across, view.down), got);
      // A part of the columns is the same.
      plan.view.left = view.across.results / 3;
      Bytes some;
      ASSERT_TRUE(painted(*bitmap.get(), plan, some).ok());
      EXPECT_EQ(part(got, plan.view.left * 3, some.size() / view.down.results),
                part(some, 0, some.size() / view.down.results));
    }
  }
}

// Sums that do not fit the words of the usual loops.
TEST(Paint, LongMeans) {
  for (const auto& [width, height] : {std::pair{70001, 3}, {3, 70001}, {300, 300}, {100, 90}}) {
    Bitmap bitmap;
    make_picture(bitmap, width, height, 24);
    const Axis across = {0, width, 1, false, true}, down = {0, height, 1, false, true};
    Bytes got;
    ASSERT_TRUE(painted(*bitmap.get(), {{across, down, 0, 1}}, got).ok());
    expect_shown(shown(rgb(bitmap.get()), width, across, down), got);
  }
}

TEST(Paint, PlacesOnPages) {
  using process::Placement;
  const struct {
    process::PagePlan plan;
    process::PixelRect want;
  } cases[] = {
      // A fax of 204 x 98 dots per inch is upright on paper.
      {{{1728, 204}, {1078, 98}, {0, 0, 2400, 3300}, 300, 300, Placement::kFit, false},
       {0, 0, 2400, 3117}},
      {{{1728, 204}, {1078, 98}, {0, 0, 2400, 3300}, 300, 300, Placement::kFit, true},
       {0, 91, 2400, 3208}},
      {{{300, 150}, {75, 150}, {100, 50, 2400, 3300}, 600, 300, Placement::kActual, false},
       {100, 50, 1300, 200}},
      {{{3000, 150}, {750, 150}, {0, 0, 2400, 600}, 300, 300, Placement::kActual, false},
       {0, 0, 2400, 600}},  // too large by itself
      {{{INT32_MAX, 1}, {1, INT32_MAX}, {0, 0, 9, 9}, 65535, 1, Placement::kActual, false},
       {0, 0, 9, 1}},
      {{{5, 1}, {9, 1}, {1, 2, 8, 4}, 1, 1, Placement::kStretch, true}, {1, 2, 8, 4}},
  };
  for (const auto& c : cases) EXPECT_EQ(process::place_on_page(c.plan), c.want);
}

TEST(Paint, EveryEffectCoversEveryPixelOnce) {
  const int32_t sizes[][3] = {{1, 1, 1},   {17, 9, 4}, {9, 17, 4},   {16, 8, 4},
                              {13, 13, 1}, {5, 40, 3}, {40, 5, 100}, {2, 3, 2}};
  for (int32_t effect = 1; effect <= static_cast<int32_t>(process::Effect::kSpiral); ++effect) {
    for (const auto& [width, height, block] : sizes) {
      const process::EffectSteps steps(static_cast<process::Effect>(effect), width, height, block);
      Bytes drawn(width * height);
      for (int64_t number = 0; number < steps.count(); ++number) {
        const Status status = steps.step(number, [&](const process::PixelRect& rect) {
          EXPECT_FALSE(rect.is_empty());
          for (int32_t y = rect.top; y < rect.bottom; ++y) {
            for (int32_t x = rect.left; x < rect.right; ++x) ++drawn.at(y * width + x);
          }
          return kOk;
        });
        ASSERT_TRUE(status.ok());
      }
      EXPECT_EQ(drawn, Bytes(drawn.size(), 1)) << effect << ": " << width << " x " << height;
    }
  }
}

}  // namespace
}  // namespace tavo::test
