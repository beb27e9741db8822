// The dithering engine beside a naive one written from the rules: whole pictures, two-dimensional
// error sums, no tables but the palette.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <vector>

#include "color/nearest.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "dither/diffusion.h"
#include "dither/dither.h"
#include "dither_oracle.h"
#include "processor_levels.h"

namespace tavo::color {
namespace {

using oracle::Picture;

struct Case {
  int32_t depth_in = 24;
  uint32_t method = 1;
  uint32_t count = 256;
  enum { kBuiltin, kRandom, kGray, kTable } palette = kBuiltin;
  bool gray_rows = false;
};

std::vector<T_PaletteEntry> make_palette(const Case& c, std::mt19937& random) {
  std::vector<T_PaletteEntry> palette;
  if (c.palette == Case::kBuiltin) return palette;
  for (uint32_t i = 0; i < c.count; ++i) {
    const auto any = [&] { return static_cast<uint8_t>(random()); };
    T_PaletteEntry entry = {any(), any(), any(), 0};
    if (c.palette == Case::kGray) entry.Red = entry.Green = entry.Blue;
    palette.push_back(entry);
  }
  return palette;
}

// Whichever way the rows go in: all of them at once, one by one, or in batches of odd sizes.
std::vector<uint8_t> run_engine(Picture& picture, const Case& c,
                                const std::vector<T_PaletteEntry>& palette, uint32_t batch) {
  std::vector<uint32_t> table(c.palette == Case::kTable ? kColorClasses : 0);
  std::vector<uint8_t> out(picture.out_stride(c.count) * picture.height, 0xA5);
  const Status started = start_pass(picture.bitmap, palette.empty() ? nullptr : palette.data(),
                                    c.count, table.empty() ? nullptr : table.data());
  EXPECT_TRUE(started.ok());
  for (uint32_t y = 0, turn = 0; y < picture.height; ++turn) {
    const uint32_t rows = std::min(batch == 0 ? 1 + turn * 7 % 23 : batch, picture.height - y);
    EXPECT_TRUE(dither_rows(picture.bitmap, picture.row(y), picture.stride,
                            out.data() + y * picture.out_stride(c.count),
                            picture.out_stride(c.count), rows)
                    .ok());
    y += rows;
  }
  stop_pass(picture.bitmap);
  EXPECT_EQ(picture.bitmap.DitherState, nullptr);
  return out;
}

void compare(const Case& c, uint32_t width, uint32_t height, uint32_t seed) {
  std::mt19937 random(seed);
  Picture picture(width, height, c.depth_in, c.method, c.gray_rows, random);
  const auto palette = make_palette(c, random);
  const auto want = oracle::dither(picture, palette, c.count, c.palette == Case::kTable);
  // The processors that the engine tells apart.
  constexpr platform::Processor kProcessors[] = {
      platform::Processor::kAvx2, platform::Processor::kSsse3, platform::Processor::kSse2};
  for (size_t i = 0; i < 3 * std::size(kProcessors); ++i) {
    const uint32_t batch = i % 3 == 0 ? height : i % 3 == 1 ? 1 : 0;
    const test::LimitedProcessor limited(kProcessors[i / 3]);
    const auto got = run_engine(picture, c, palette, batch);
    ASSERT_TRUE(got == want) << "method " << c.method << ", " << c.depth_in << " bits to "
                             << c.count << " colours, palette " << c.palette << ", gray "
                             << c.gray_rows << ", " << width << " x " << height << ", batches of "
                             << batch << ", seed " << seed << ", processor " << i / 3;
  }
}

constexpr uint32_t kCounts[] = {1, 2, 5, 16, 100, 256};
constexpr int32_t kDepths[] = {1, 4, 8, 16, 24, 32};

TEST(Dither, EveryMethodDepthAndPalette) {
  uint32_t seed = 1;
  for (uint32_t method = 0; method <= 7; ++method) {
    for (const int32_t depth : kDepths) {
      for (const uint32_t count : kCounts) {
        for (const auto palette : {Case::kBuiltin, Case::kRandom, Case::kGray, Case::kTable}) {
          for (const bool gray_rows : {false, true}) {
            if (gray_rows && depth > 8 && palette != Case::kGray) continue;
            ++seed;
            compare({depth, method, count, palette, gray_rows}, 1 + seed % 61, 1 + seed % 37, seed);
            if (testing::Test::HasFatalFailure()) return;
          }
        }
      }
    }
  }
}

TEST(Dither, SmallSizes) {
  for (uint32_t method = 0; method <= 7; ++method) {
    for (uint32_t width = 1; width <= 9; ++width) {
      for (uint32_t height = 1; height <= 9; ++height) {
        const uint32_t count = kCounts[(width + height) % std::size(kCounts)];
        compare({24, method, count, Case::kRandom}, width, height, width * 10 + height);
        compare({8, method, count, Case::kGray, true}, width, height, width * 10 + height);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

TEST(Dither, LargePictures) {
  for (uint32_t method = 0; method <= 7; ++method) {
    compare({24, method, 256, Case::kBuiltin}, 523, 70, method);
    compare({32, method, 200, Case::kRandom}, 511, 35, method);
    compare({24, method, 16, Case::kBuiltin}, 130, 33, method);
    compare({24, method, 2, Case::kBuiltin}, 129, 50, method);
    compare({8, method, 2, Case::kBuiltin, true}, 700, 41, method);
    compare({24, method, 256, Case::kTable}, 65535, 2, method);
    compare({8, method, 2, Case::kBuiltin, true}, 65535, 4, method);
    if (testing::Test::HasFatalFailure()) return;
  }
}

// Every sum that can reach a pixel, against the division of the language.
TEST(Dither, DivisionByMultiplicationIsExact) {
  for (const Diffusion& d : kDiffusions) {
    int32_t weights = d.right1 + d.right2;
    for (uint32_t t = 0; t < d.tap_count; ++t) weights += d.taps[t].weight;
    EXPECT_EQ(weights, d.divisor);
    for (int32_t n = -255 * d.divisor; n <= 255 * d.divisor; ++n) {
      ASSERT_EQ(divide(n, d.reciprocal, d.shift), n / d.divisor) << n << " / " << d.divisor;
    }
  }
}

BitmapHandle described(int32_t width, int32_t depth, uint32_t method) {
  BitmapHandle bitmap = {};
  EXPECT_TRUE(core::init_bitmap(bitmap, width, 8, depth).ok());
  bitmap.DitherMethod = method;
  return bitmap;
}

std::vector<uint8_t> uniform_row(BitmapHandle& bitmap, uint8_t level, uint8_t b, uint8_t g,
                                 uint8_t r, uint32_t colours) {
  std::vector<uint8_t> row;
  for (int32_t x = 0; x < bitmap.Width; ++x) {
    row.insert(row.end(), {static_cast<uint8_t>(b + level), static_cast<uint8_t>(g + level),
                           static_cast<uint8_t>(r + level)});
  }
  std::vector<uint8_t> out(row.size());
  EXPECT_EQ(T_StartDithering(&bitmap, nullptr, colours), T_OK);
  EXPECT_EQ(T_DitherLine(&bitmap, row.data(), out.data()), T_OK);
  EXPECT_EQ(T_StopDithering(&bitmap), T_OK);
  return out;
}

TEST(Dither, KnownColours) {
  BitmapHandle bitmap = described(64, 24, T_DITHER_FLOYD_STEINBERG);
  int white = 0;
  for (const uint8_t byte : uniform_row(bitmap, 128, 0, 0, 0, 2)) white += std::popcount(byte);
  EXPECT_NEAR(white, 32, 2);

  bitmap.DitherMethod = T_DITHER_NONE;
  EXPECT_EQ(uniform_row(bitmap, 128, 0, 0, 0, 2)[7], 0xFF);
  EXPECT_EQ(uniform_row(bitmap, 127, 0, 0, 0, 2)[7], 0);
  EXPECT_EQ(uniform_row(bitmap, 0, 0, 0, 128, 16)[3], 0x99);  // dark red becomes bright red
  EXPECT_EQ(uniform_row(bitmap, 192, 0, 0, 0, 16)[3], 0xFF);  // light grey becomes white
}

TEST(Dither, BadArgumentsLeaveNoPass) {
  const int64_t before = platform::blocks_in_use();
  const T_PaletteEntry palette[256] = {};
  for (const int32_t depth : {2, 0, 12}) {
    BitmapHandle bitmap = described(8, 24, 0);
    bitmap.BitsPerPixel = depth;
    EXPECT_EQ(T_StartDithering(&bitmap, palette, 16), T_ERR_ARGUMENT) << depth;
    EXPECT_EQ(bitmap.DitherState, nullptr);
  }
  for (const uint32_t colours : {0u, 257u, 0x80000000u}) {
    BitmapHandle bitmap = described(8, 24, 0);
    EXPECT_EQ(T_StartDithering(&bitmap, palette, colours), T_ERR_ARGUMENT) << colours;
    EXPECT_EQ(bitmap.DitherState, nullptr);
  }
  BitmapHandle bitmap = described(8, 24, 8);
  EXPECT_EQ(T_StartDithering(&bitmap, palette, 16), T_ERR_ARGUMENT);
  EXPECT_EQ(bitmap.DitherState, nullptr);
  uint8_t row[32] = {};
  EXPECT_EQ(T_DitherLine(&bitmap, row, row + 24), T_ERR_ARGUMENT);
  EXPECT_EQ(T_StopDithering(&bitmap), T_OK);
  EXPECT_EQ(platform::blocks_in_use(), before);
}

TEST(Dither, RefusedMemoryLeavesNoPass) {
  std::mt19937 random(5);
  const int64_t before = platform::blocks_in_use();
  for (uint32_t method = 0; method <= 7; ++method) {
    const auto palette = make_palette({.count = 200, .palette = Case::kRandom}, random);
    for (int64_t n = 0;; ++n) {
      ASSERT_LT(n, 10);
      BitmapHandle bitmap = described(100, 24, method);
      platform::refuse_allocation(n, false);
      const int32_t status = T_StartDithering(&bitmap, palette.data(), 200);
      const bool refused = platform::allocation_was_refused();
      platform::refuse_allocation(-1, false);
      EXPECT_EQ(status, refused ? T_ERR_NO_MEMORY : T_OK);
      EXPECT_EQ(bitmap.DitherState == nullptr, refused);
      T_StopDithering(&bitmap);
      EXPECT_EQ(platform::blocks_in_use(), before);
      if (!refused) break;
    }
  }
}

// Indexed rows are read through the palette object when there is one; what it lacks is white.
TEST(Dither, PaintingPalette) {
  const T_PaletteEntry dark[] = {{0, 0, 0, 0}, {10, 10, 10, 0}};
  BitmapHandle bitmap = described(4, 8, T_DITHER_NONE);
  bitmap.Colors = 2;
  bitmap.Info.Palette[0] = bitmap.Info.Palette[1] = {250, 250, 250, 0};
  const uint8_t row[] = {0, 1, 2, 255};
  uint8_t out = 0;
  ASSERT_EQ(T_StartDithering(&bitmap, nullptr, 2), T_OK);
  T_DitherLine(&bitmap, row, &out);
  T_StopDithering(&bitmap);
  EXPECT_EQ(out, 0xF0);
  bitmap.GdiObjectA = platform::create_palette(dark);
  ASSERT_NE(bitmap.GdiObjectA, 0u);
  out = 0x05;
  ASSERT_EQ(T_StartDithering(&bitmap, nullptr, 2), T_OK);
  T_DitherLine(&bitmap, row, &out);
  T_StopDithering(&bitmap);
  EXPECT_EQ(out, 0x35);
  platform::delete_object(bitmap.GdiObjectA);
}

}  // namespace
}  // namespace tavo::color
