// The dithering engine beside a naive one written from the rules: whole pictures, two-dimensional
// error sums, no tables but the palette.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "color/gray.h"
#include "color/nearest.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "dither/diffusion.h"
#include "dither/dither.h"
#include "platform/platform.h"
#include "processor_levels.h"
#include "support.h"

namespace tavo::color {
namespace {

using test::Bytes;
using test::Random;
using Palette = std::vector<T_PaletteEntry>;

struct Case {
  int32_t depth_in = 24;
  uint32_t method = 1;
  uint32_t count = 256;
  enum { kBuiltin, kRandom, kGray, kTable } palette = kBuiltin;
  bool gray_rows = false;

  uint32_t out_stride(uint32_t width) const {
    return (width * static_cast<uint32_t>(index_depth(count)) + 7) / 8;
  }
};

// A picture of random smooth and noisy parts without storage of its own in the record.
struct Picture {
  Picture(uint32_t w, uint32_t h, const Case& c, Random& random)
      : width(w), height(h), stride((w * static_cast<uint32_t>(c.depth_in) + 7) / 8) {
    bitmap.Width = static_cast<int32_t>(w);
    bitmap.Height = static_cast<int32_t>(h);
    bitmap.BitsPerPixel = c.depth_in;
    bitmap.Order = random.below(2);
    bitmap.DitherMethod = c.method;
    bitmap.Colors = c.depth_in <= 8 ? (1u << c.depth_in) - (random.below(4) == 0 ? 1 : 0) : 0;
    for (T_PaletteEntry& e : bitmap.Info.Palette) {
      const bool is_ramp = c.gray_rows && h % 2 == 1;
      const uint8_t v = is_ramp ? static_cast<uint8_t>(&e - bitmap.Info.Palette) : random.byte();
      e = {v, v, v, 0};
      if (!c.gray_rows) e.Red = random.byte(), e.Green = random.byte();
    }
    bytes = random.bytes(size_t{stride} * h);
    if (random.below(3) != 0) return;
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = i * 5 / 16 + bytes[i] % 8;
  }

  uint32_t width;
  uint32_t height;
  uint32_t stride;
  BitmapHandle bitmap = {};
  Bytes bytes;
};

// ---- The naive engine ----

using Color = std::array<int, 3>;  // red, green, blue

// The weights of the pixels from 3 to the left to 3 to the right, in this row and the next three.
struct Filter {
  int divisor;
  int weights[4][7];
};

const Filter kFilters[] = {
    {1, {}},
    {16, {{0, 0, 0, 0, 7}, {0, 0, 3, 5, 1}}},
    {42, {{0, 0, 0, 0, 8, 4}, {0, 2, 4, 8, 4, 2}, {0, 1, 2, 4, 2, 1}}},
    {32, {{0, 0, 0, 0, 8, 4}, {0, 2, 4, 8, 4, 2}}},
    {32, {{0, 0, 0, 0, 5, 3}, {0, 2, 4, 5, 4, 2}, {0, 0, 2, 3, 2}}},
    {200,
     {{0, 0, 0, 0, 0, 32},
      {12, 0, 26, 0, 30, 0, 16},
      {0, 12, 0, 26, 0, 12},
      {5, 0, 12, 0, 12, 0, 5}}},
    {48, {{0, 0, 0, 0, 7, 5}, {0, 3, 5, 7, 5, 3}, {0, 1, 3, 5, 3, 1}}},
};

const int kMatrix[64] = {0,  128, 32, 160, 8,  136, 40, 168, 192, 64,  224, 96,  200, 72,  232, 104,
                         48, 176, 16, 144, 56, 184, 24, 152, 236, 112, 208, 80,  244, 120, 216, 88,
                         12, 140, 44, 172, 4,  132, 36, 164, 204, 76,  232, 108, 196, 68,  228, 100,
                         60, 188, 28, 156, 52, 180, 20, 148, 248, 124, 220, 92,  240, 116, 212, 84};

struct Mapper {
  Mapper(const Case& c, const Palette& given) : depth(index_depth(c.count)) {
    const auto standard = builtin_palette(depth);
    palette = given;
    if (given.empty()) palette.assign(standard.begin(), standard.begin() + c.count);
    const auto equal = [](const T_PaletteEntry& a, const T_PaletteEntry& b) {
      return a.Red == b.Red && a.Green == b.Green && a.Blue == b.Blue && b.Reserved == 0;
    };
    fixed = c.palette != Case::kTable &&
            std::equal(palette.begin(), palette.end(), standard.begin(), equal);
    for (uint32_t i = c.count; i-- > 0;) {
      table[color_class(palette[i].Red, palette[i].Green, palette[i].Blue)] = 1 + i;
    }
  }

  int operator()(const Color& c) {
    if (!fixed) {
      uint32_t& slot = table[color_class(c[0], c[1], c[2])];
      if (slot == 0) slot = 1 + nearest_color_plain(palette, c[0] & 0xF8, c[1] & 0xF8, c[2] & 0xF8);
      return slot - 1;
    }
    if (depth == 1) return gray_level(c[0], c[1], c[2]) >= 128;
    if (depth == 8) return (c[0] & 0xE0) | c[1] / 32 * 4 | c[2] / 64;
    const int bits = c[0] / 128 + c[1] / 128 * 2 + c[2] / 128 * 4;
    return bits ? bits + 8 : 0;
  }

  int ordered(Color c, int m) {
    if (fixed && depth == 1) return m < gray_level(c[0], c[1], c[2]);
    if (fixed && depth == 4) {
      const int bits = (m < c[0]) + 2 * (m < c[1]) + 4 * (m < c[2]);
      return bits ? bits + 8 : 0;
    }
    const int d = depth == 1 ? m - 128 : depth == 4 ? m / 4 - 32 : m / 8 - 16;
    for (int& v : c) v = std::clamp(v + d, 0, 255);
    return (*this)(c);
  }

  Color entry(int index) const {  // beyond the palette everything is black
    const T_PaletteEntry e =
        index < static_cast<int>(palette.size()) ? palette[index] : T_PaletteEntry{};
    return {e.Red, e.Green, e.Blue};
  }

  Palette palette;
  std::vector<uint32_t> table = std::vector<uint32_t>(kColorClasses);  // by class, 1 + index
  int32_t depth;
  bool fixed;
};

// The packed rows, every byte 0xA5 before.
Bytes naive(Picture& picture, const Case& c, const Palette& palette) {
  Mapper mapper(c, palette);
  const int width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
  const uint32_t stride = c.out_stride(picture.width);
  T_PaletteEntry colors[256];  // what the picture's palette lacks is white
  std::fill_n(std::copy_n(picture.bitmap.Info.Palette, picture.bitmap.Colors, colors),
              256 - picture.bitmap.Colors, T_PaletteEntry{255, 255, 255, 0});
  Bytes out(size_t{stride} * picture.height, 0xA5);
  std::vector<Color> sums(size_t{picture.width} * picture.height);  // numerators
  const Filter& filter = kFilters[c.method % 7];
  for (int y = 0; y < height; ++y) {
    const Bytes rgb = test::row_rgb(&picture.bytes[size_t{picture.stride} * y], width, c.depth_in,
                                    picture.bitmap.Order, colors);
    for (int x = 0; x < width; ++x) {
      Color color = {rgb[3 * x], rgb[3 * x + 1], rgb[3 * x + 2]};
      for (int k = 0; k < 3; ++k) {
        color[k] =
            std::clamp(color[k] + sums[size_t{picture.width} * y + x][k] / filter.divisor, 0, 255);
      }
      const int index =
          c.method == 7 ? mapper.ordered(color, kMatrix[y % 8 * 8 + x % 8]) : mapper(color);
      test::put_index(&out[size_t{stride} * y], mapper.depth, x, index);
      const Color entry = mapper.entry(index);
      for (int i = 0; i < 28; ++i) {
        const int to_x = x + i % 7 - 3, to_y = y + i / 7;
        const int weight = filter.weights[i / 7][i % 7];
        if (weight == 0 || to_x < 0 || to_x >= width || to_y >= height) continue;
        Color& sum = sums[size_t{picture.width} * to_y + to_x];
        for (int k = 0; k < 3; ++k) sum[k] += weight * (color[k] - entry[k]);
      }
    }
  }
  return out;
}

// ---- The engine beside it ----

Palette make_palette(const Case& c, Random& random) {
  Palette palette(c.palette == Case::kBuiltin ? 0 : c.count);
  for (T_PaletteEntry& e : palette) {
    e = {random.byte(), random.byte(), random.byte(), 0};
    if (c.palette == Case::kGray) e.Red = e.Green = e.Blue;
  }
  return palette;
}

// Whichever way the rows go in: all of them at once, one by one, or in batches of odd sizes.
Bytes run_engine(Picture& picture, const Case& c, const Palette& palette, uint32_t batch) {
  std::vector<uint32_t> table(c.palette == Case::kTable ? kColorClasses : 0);
  const uint32_t stride = c.out_stride(picture.width);
  Bytes out(stride * picture.height, 0xA5);
  const Status started = start_pass(picture.bitmap, palette.empty() ? nullptr : palette.data(),
                                    c.count, table.empty() ? nullptr : table.data());
  EXPECT_TRUE(started.ok());
  for (uint32_t y = 0, turn = 0; y < picture.height; ++turn) {
    const uint32_t rows = std::min(batch == 0 ? 1 + turn * 7 % 23 : batch, picture.height - y);
    EXPECT_TRUE(dither_rows(picture.bitmap, &picture.bytes[picture.stride * y], picture.stride,
                            &out[y * stride], stride, rows)
                    .ok());
    y += rows;
  }
  stop_pass(picture.bitmap);
  EXPECT_EQ(picture.bitmap.DitherState, nullptr);
  return out;
}

void compare(const Case& c, uint32_t width, uint32_t height, uint32_t seed) {
  Random random(seed);
  Picture picture(width, height, c, random);
  const Palette palette = make_palette(c, random);
  const Bytes want = naive(picture, c, palette);
  // The processors that the engine tells apart.
  constexpr platform::Processor kProcessors[] = {
      platform::Processor::kAvx2, platform::Processor::kSsse3, platform::Processor::kSse2};
  for (size_t i = 0; i < 3 * std::size(kProcessors); ++i) {
    const uint32_t batch = i % 3 == 0 ? height : i % 3 == 1 ? 1 : 0;
    const test::LimitedProcessor limited(kProcessors[i / 3]);
    ASSERT_TRUE(run_engine(picture, c, palette, batch) == want)
        << "method " << c.method << ", " << c.depth_in << " bits to " << c.count
        << " colors, palette " << c.palette << ", gray " << c.gray_rows << ", " << width << " x "
        << height << ", batches of " << batch << ", seed " << seed << ", processor " << i / 3;
  }
}

constexpr uint32_t kCounts[] = {1, 2, 5, 16, 100, 256};

TEST(Dither, EveryMethodDepthAndPalette) {
  uint32_t seed = 1;
  for (uint32_t method = 0; method <= 7; ++method) {
    for (const int32_t depth : {1, 4, 8, 16, 24, 32}) {
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

TEST(Dither, SmallSizesAndLargePictures) {
  for (uint32_t method = 0; method <= 7; ++method) {
    for (uint32_t width = 1; width <= 9; ++width) {
      for (uint32_t height = 1; height <= 9; ++height) {
        const uint32_t count = kCounts[(width + height) % std::size(kCounts)];
        compare({24, method, count, Case::kRandom}, width, height, width * 10 + height);
        compare({8, method, count, Case::kGray, true}, width, height, width * 10 + height);
      }
    }
    compare({24, method, 256, Case::kBuiltin}, 523, 70, method);
    compare({32, method, 200, Case::kRandom}, 511, 35, method);
    compare({24, method, 16, Case::kBuiltin}, 130, 33, method);
    compare({24, method, 2, Case::kBuiltin}, 1129, 9, method);
    compare({32, method, 2, Case::kBuiltin}, 129, 50, method);
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

// The first row of a pass through the exports.
Bytes dithered(BitmapHandle& bitmap, const Bytes& row, uint32_t colors, uint8_t before = 0) {
  Bytes out(row.size(), before);
  EXPECT_EQ(T_StartDithering(&bitmap, nullptr, colors), T_OK);
  EXPECT_EQ(T_DitherLine(&bitmap, row.data(), out.data()), T_OK);
  EXPECT_EQ(T_StopDithering(&bitmap), T_OK);
  return out;
}

TEST(Dither, KnownColors) {
  BitmapHandle bitmap = described(64, 24, T_DITHER_FLOYD_STEINBERG);
  int white = 0;
  for (const uint8_t byte : dithered(bitmap, Bytes(192, 128), 2)) white += std::popcount(byte);
  EXPECT_NEAR(white, 32, 2);
  bitmap.DitherMethod = T_DITHER_NONE;
  EXPECT_EQ(dithered(bitmap, Bytes(192, 128), 2)[7], 0xFF);
  EXPECT_EQ(dithered(bitmap, Bytes(192, 127), 2)[7], 0);
  EXPECT_EQ(dithered(bitmap, Bytes(192, 192), 16)[3], 0xFF);  // light grey becomes white
  bitmap = described(1, 24, T_DITHER_NONE);
  EXPECT_EQ(dithered(bitmap, {0, 0, 128}, 16)[0], 0x90);  // dark red becomes bright red
}

TEST(Dither, WithoutMemoryThereIsNoPass) {
  Random random(5);
  const Palette palette = make_palette({.count = 200, .palette = Case::kRandom}, random);
  for (uint32_t method = 0; method <= 7; ++method) {
    test::refuse_each([&](BitmapHandle*) {
      BitmapHandle bitmap = described(100, 24, method);
      const int32_t status = T_StartDithering(&bitmap, palette.data(), 200);
      EXPECT_EQ(bitmap.DitherState == nullptr, status != T_OK);
      T_StopDithering(&bitmap);
      return status;
    });
  }
}

// Indexed rows are read through the palette object when there is one; what it lacks is white.
TEST(Dither, PaintingPalette) {
  const T_PaletteEntry dark[] = {{0, 0, 0, 0}, {10, 10, 10, 0}};
  BitmapHandle bitmap = described(4, 8, T_DITHER_NONE);
  bitmap.Colors = 2;
  bitmap.Info.Palette[0] = bitmap.Info.Palette[1] = {250, 250, 250, 0};
  const Bytes row = {0, 1, 2, 255};
  EXPECT_EQ(dithered(bitmap, row, 2)[0], 0xF0);
  bitmap.GdiObjectA = platform::create_palette(dark);
  ASSERT_NE(bitmap.GdiObjectA, 0u);
  EXPECT_EQ(dithered(bitmap, row, 2, 0x05)[0], 0x35);
  platform::delete_object(bitmap.GdiObjectA);
}

}  // namespace
}  // namespace tavo::color
