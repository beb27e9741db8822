// Optimised palettes beside a naive splitter written from the rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "dither/dither.h"
#include "support.h"

namespace tavo::color {
namespace {

using test::Bitmap;
using test::Bytes;
using test::Random;

using Fields = std::array<int, 3>;  // 5-bit red, green, blue

struct NaiveBox {
  std::vector<Fields> classes;
  std::array<int64_t, 3> mean = {};
  std::array<int64_t, 3> variance = {};
};

struct NaivePalette {
  std::vector<std::array<int, 3>> entries;  // blue, green, red
  std::map<Fields, int> index;
};

void measure(NaiveBox& box, const std::map<Fields, int64_t>& counts) {
  int64_t pixels = 0;
  std::array<int64_t, 3> sum = {};
  for (const Fields& f : box.classes) {
    pixels += counts.at(f);
    for (int k = 0; k < 3; ++k) sum[k] += f[k] * counts.at(f);
  }
  for (int k = 0; k < 3; ++k) {
    box.mean[k] = sum[k] / pixels;
    int64_t deviation = 0;
    for (const Fields& f : box.classes) {
      deviation += (f[k] - box.mean[k]) * (f[k] - box.mean[k]) * counts.at(f);
    }
    box.variance[k] = deviation / pixels;
  }
}

int64_t total(const NaiveBox& box) { return box.variance[0] + box.variance[1] + box.variance[2]; }

NaivePalette naive_palette(const std::vector<std::array<int, 3>>& pixels, size_t wanted) {
  std::map<Fields, int64_t> counts;
  for (const auto& p : pixels) ++counts[{p[0] / 8, p[1] / 8, p[2] / 8}];
  std::vector<NaiveBox> boxes(1);
  for (const auto& [fields, count] : counts) boxes[0].classes.push_back(fields);
  measure(boxes[0], counts);
  while (boxes.size() < wanted) {
    size_t widest = 0;
    for (size_t i = 1; i < boxes.size(); ++i) {
      if (total(boxes[i]) > total(boxes[widest])) widest = i;
    }
    if (total(boxes[widest]) == 0) break;
    const auto& v = boxes[widest].variance;
    const int axis = v[0] >= v[1] && v[0] >= v[2] ? 0 : v[1] >= v[2] ? 1 : 2;
    NaiveBox low;
    NaiveBox high;
    for (const Fields& f : boxes[widest].classes) {
      (f[axis] <= boxes[widest].mean[axis] ? low : high).classes.push_back(f);
    }
    measure(low, counts);
    measure(high, counts);
    boxes[widest] = low;
    boxes.push_back(high);
  }
  NaivePalette palette;
  const auto entry = [](const NaiveBox& box) {
    const auto wide = [](int64_t m) { return static_cast<int>(m * 8 + m / 4); };
    return std::array<int, 3>{wide(box.mean[2]), wide(box.mean[1]), wide(box.mean[0])};
  };
  for (const NaiveBox& box : boxes) palette.entries.push_back(entry(box));
  std::sort(palette.entries.begin(), palette.entries.end());
  for (const NaiveBox& box : boxes) {
    const auto at = std::find(palette.entries.begin(), palette.entries.end(), entry(box));
    for (const Fields& f : box.classes) palette.index[f] = at - palette.entries.begin();
  }
  return palette;
}

void compare(int32_t depth, uint32_t colors, Random& random, uint32_t request) {
  Bitmap source, reduced;
  test::make_picture(source, 1 + random.below(90), 1 + random.below(140), depth, request,
                     2 * random.below(2));
  source->Order = depth > 8 ? random.below(2) : 0;
  source->XResolution = 300;
  T_DefaultDithering(T_DITHER_NONE);
  ASSERT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, colors), T_OK);
  T_DefaultDithering(T_DITHER_ORDERED);

  EXPECT_EQ(reduced->BitsPerPixel, colors <= 2 ? 1 : colors <= 16 ? 4 : 8);
  EXPECT_EQ(reduced->ViewPerspective, source->ViewPerspective);
  EXPECT_EQ(reduced->Order, static_cast<uint32_t>(T_ORDER_BGR));
  EXPECT_EQ(reduced->XResolution, 300);
  reduced->ViewPerspective = source->ViewPerspective = 0;
  const Bytes rgb = test::rgb(source.get()), indices = test::indices(reduced.get());
  std::vector<std::array<int, 3>> pixels;
  for (size_t i = 0; i < rgb.size(); i += 3) pixels.push_back({rgb[i], rgb[i + 1], rgb[i + 2]});
  const NaivePalette want = naive_palette(pixels, colors);
  for (size_t i = 0; i < 256; ++i) {
    const T_PaletteEntry e = reduced->Info.Palette[i];
    const std::array<int, 3> got = {e.Blue, e.Green, e.Red}, none = {};
    ASSERT_EQ(got, i < want.entries.size() ? want.entries[i] : none)
        << "entry " << i << " of " << want.entries.size();
  }
  for (size_t i = 0; i < pixels.size(); ++i) {
    const auto& c = pixels[i];
    ASSERT_EQ(indices[i], want.index.at({c[0] / 8, c[1] / 8, c[2] / 8}));
  }
}

TEST(Optimize, PaletteAndIndicesFollowTheRules) {
  Random random(11);
  for (const int32_t depth : {16, 24, 32}) {
    for (const uint32_t colors : {1u, 2u, 3u, 16u, 17u, 100u, 256u}) {
      compare(depth, colors, random, 1);
      compare(depth, colors, random, 0);
      if (HasFatalFailure()) return;
    }
  }
  for (const uint32_t colors : {1u, 2u, 9u, 100u, 255u}) compare(8, colors, random, 1);
  for (const uint32_t colors : {1u, 7u, 15u}) compare(4, colors, random, 1);
  compare(1, 1, random, 1);
}

// Diffusion fills the holes of the table with the nearest colours: what an open pass with the
// palette does, its own table being seeded by classes in the same way.
TEST(Optimize, DiffusesWithTheTable) {
  Bitmap source;
  test::make_picture(source, 150, 90, 24, 1, 0);
  const Bytes rgb = test::rgb(source.get()), rows = test::pixels(source.get());
  for (const uint32_t method : {1u, 2u, 5u, 7u}) {
    Bitmap memory, plain;
    T_DefaultDithering(method);
    ASSERT_EQ(T_OptimizeBitmap(source.get(), memory.get(), 0, 200), T_OK);
    // The same by hand: palette and table from an undithered run, then all rows.
    T_DefaultDithering(T_DITHER_NONE);
    ASSERT_EQ(T_OptimizeBitmap(source.get(), plain.get(), 0, 200), T_OK);
    std::vector<uint32_t> table(kColorClasses);
    const Bytes indices = test::indices(plain.get());
    for (size_t i = 0; i < indices.size(); ++i) {
      table[color_class(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2])] = 1 + indices[i];
    }
    source->DitherMethod = method;
    Bytes want(150 * 90);
    ASSERT_TRUE(start_pass(*source.get(), plain->Info.Palette, 200, table.data()).ok());
    ASSERT_TRUE(dither_rows(*source.get(), rows.data(), 450, want.data(), 150, 90).ok());
    stop_pass(*source.get());
    EXPECT_EQ(test::indices(memory.get()), want) << method;
  }
  T_DefaultDithering(T_DITHER_ORDERED);
}

TEST(Optimize, OwnPaletteIsKeptSorted) {
  Bitmap source, reduced;
  test::make_picture(source, 40, 30, 4);
  source->Colors = 16;
  ASSERT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, 256), T_OK);
  std::vector<std::array<int, 4>> want;
  for (int i = 0; i < 16; ++i) {
    const T_PaletteEntry e = source->Info.Palette[i];
    want.push_back({e.Blue, e.Green, e.Red, e.Reserved});
  }
  std::sort(want.begin(), want.end());
  want.resize(256);
  for (int i = 0; i < 256; ++i) {
    const T_PaletteEntry e = reduced->Info.Palette[i];
    ASSERT_EQ((std::array<int, 4>{e.Blue, e.Green, e.Red, e.Reserved}), want[i]);
  }
}

TEST(Optimize, OneColorGivesOneEntry) {
  Bitmap source, reduced;
  test::make_picture(source, 20, 20, 24);
  T_AccessBitmap(source.get());
  std::memset(source->Data, 77, source->Size);
  T_ReleaseBitmap(source.get());
  ASSERT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, 256), T_OK);
  EXPECT_EQ(reduced->Info.Palette[0].Red, 9 * 8 + 9 / 4);
  EXPECT_EQ(reduced->Info.Palette[1].Red, 0);
}

int32_t stop_at = 101;
std::vector<int32_t> told;

int32_t T_CALL record_progress(int32_t percent) {
  told.push_back(percent);
  return percent >= stop_at ? -77 : T_OK;
}

TEST(Optimize, ProgressAndStop) {
  Bitmap source;
  test::make_picture(source, 64, 1000, 24);
  T_SetStatusCallBack(record_progress);
  for (const int32_t stop : {101, 0, 20, 60, 100}) {
    told.clear();
    stop_at = stop;
    Bitmap reduced;
    EXPECT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, 256), stop > 100 ? T_OK : -77);
    EXPECT_EQ(told.front(), 0);
    EXPECT_TRUE(std::ranges::is_sorted(told));
    EXPECT_EQ(told.back() >= 100, stop >= 100);
    EXPECT_EQ((reduced->Flags & T_FLAG_ALLOCATED) != 0, stop > 100);
  }
  T_SetStatusCallBack(nullptr);
}

TEST(Optimize, RefusedMemory) {
  for (const uint32_t method : {0u, 1u, 5u}) {
    T_DefaultDithering(method);
    test::refuse_each(
        [](BitmapHandle* source) {
          Bitmap reduced;
          const int32_t status = T_OptimizeBitmap(source, reduced.get(), 0, 256);
          EXPECT_EQ((reduced->Flags & 0xFFFF) == 0, status != T_OK);
          return status;
        },
        [](Bitmap& source) { test::make_picture(source, 30, 30, 24); });
  }
  T_DefaultDithering(T_DITHER_ORDERED);
}

}  // namespace
}  // namespace tavo::color
