// Optimised palettes beside a naive splitter written from the rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "core/bitmap.h"
#include "core/rows.h"
#include "dither/dither.h"
#include "platform/platform.h"
#include "tavo45.h"
#include "test_bitmaps.h"

namespace tavo::color {
namespace {

using test::TestBitmap;

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

// Red, green and blue 0 to 255 of every pixel in stored order.
std::vector<std::array<int, 3>> colors_of(TestBitmap& bitmap) {
  std::vector<std::array<int, 3>> colors;
  for (int y = 0; y < bitmap->Height; ++y) {
    for (int x = 0; x < bitmap->Width; ++x) colors.push_back(bitmap.color(x, y));
  }
  return colors;
}

void compare(int32_t depth, uint32_t colours, std::mt19937& random, uint32_t request) {
  const int width = 1 + static_cast<int>(random() % 90);
  const int height = 1 + static_cast<int>(random() % 140);
  TestBitmap source(width, height, depth, request);
  source->Order = depth > 8 ? random() % 2 : 0;
  source->ViewPerspective = random() % 3;
  source->XResolution = 300;
  source.fill(random);
  T_DefaultDithering(T_DITHER_NONE);
  TestBitmap reduced;
  ASSERT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, colours), T_OK);
  T_DefaultDithering(T_DITHER_ORDERED);

  EXPECT_EQ(reduced->BitsPerPixel, colours <= 2 ? 1 : colours <= 16 ? 4 : 8);
  EXPECT_EQ(reduced->ViewPerspective, source->ViewPerspective);
  EXPECT_EQ(reduced->Order, static_cast<uint32_t>(T_ORDER_BGR));
  EXPECT_EQ(reduced->XResolution, 300);
  const auto colors = colors_of(source);
  const NaivePalette want = naive_palette(colors, colours);
  for (size_t i = 0; i < 256; ++i) {
    const T_PaletteEntry e = reduced->Info.Palette[i];
    const std::array<int, 3> got = {e.Blue, e.Green, e.Red};
    const std::array<int, 3> expected =
        i < want.entries.size() ? want.entries[i] : std::array<int, 3>{};
    ASSERT_EQ(got, expected) << "entry " << i << " of " << want.entries.size();
  }
  for (int y = 0, i = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x, ++i) {
      const auto& c = colors[i];
      ASSERT_EQ(reduced.pixel(x, y), want.index.at({c[0] / 8, c[1] / 8, c[2] / 8}));
    }
  }
}

TEST(Optimize, PaletteAndIndicesFollowTheRules) {
  std::mt19937 random(11);
  for (const int32_t depth : {16, 24, 32}) {
    for (const uint32_t colours : {1u, 2u, 3u, 16u, 17u, 100u, 256u}) {
      compare(depth, colours, random, 1);
      compare(depth, colours, random, 0);
      if (HasFatalFailure()) return;
    }
  }
  for (const uint32_t colours : {1u, 2u, 9u, 100u, 255u}) compare(8, colours, random, 1);
  for (const uint32_t colours : {1u, 7u, 15u}) compare(4, colours, random, 1);
  compare(1, 1, random, 1);
}

// Diffusion fills the holes of the table with the nearest colours: what an open pass with the
// palette does, its own table being seeded by classes in the same way.
TEST(Optimize, DiffusesWithTheTable) {
  std::mt19937 random(3);
  TestBitmap source(150, 90, 24, 1);
  source.fill(random);
  for (const uint32_t method : {1u, 2u, 5u, 7u}) {
    T_DefaultDithering(method);
    TestBitmap memory;
    ASSERT_EQ(T_OptimizeBitmap(source.get(), memory.get(), 0, 200), T_OK);
    // The same by hand: palette and table from an undithered run, then row by row.
    T_DefaultDithering(T_DITHER_NONE);
    TestBitmap plain;
    ASSERT_EQ(T_OptimizeBitmap(source.get(), plain.get(), 0, 200), T_OK);
    std::vector<uint32_t> table(kColorClasses);
    for (int y = 0; y < 90; ++y) {
      for (int x = 0; x < 150; ++x) {
        const auto c = source.color(x, y);
        table[color_class(c[0], c[1], c[2])] = 1 + plain.pixel(x, y);
      }
    }
    BitmapHandle rows = *source;
    rows.DitherState = nullptr;
    rows.DitherMethod = method;
    ASSERT_TRUE(start_pass(rows, plain->Info.Palette, 200, table.data()).ok());
    for (int y = 0; y < 90; ++y) {
      const auto row = source.row(y);
      std::vector<uint8_t> out(150);
      ASSERT_TRUE(dither_rows(rows, row.data(), 0, out.data(), 0, 1).ok());
      for (int x = 0; x < 150; ++x) ASSERT_EQ(memory.pixel(x, y), out[x]) << method;
    }
    stop_pass(rows);
  }
  T_DefaultDithering(T_DITHER_ORDERED);
}

TEST(Optimize, OwnPaletteIsKeptSorted) {
  std::mt19937 random(4);
  TestBitmap source(40, 30, 8, 1);
  source->Colors = 100;
  source.fill(random, 100);
  TestBitmap reduced;
  ASSERT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, 256), T_OK);
  std::vector<std::array<int, 4>> want;
  for (int i = 0; i < 100; ++i) {
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
  TestBitmap source(20, 20, 24, 1);
  const std::vector<uint8_t> row(60, 77);
  for (int y = 0; y < 20; ++y) source.set_row(y, row);
  TestBitmap reduced;
  ASSERT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, 256), T_OK);
  EXPECT_EQ(reduced->Info.Palette[0].Red, 9 * 8 + 9 / 4);
  EXPECT_EQ(reduced->Info.Palette[1].Red, 0);
}

TEST(Optimize, BadArguments) {
  TestBitmap source(4, 4, 24, 1);
  TestBitmap reduced;
  EXPECT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, 257), T_ERR_FORMAT);
  EXPECT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, 0), T_ERR_ARGUMENT);
  EXPECT_EQ(T_OptimizeBitmap(source.get(), source.get(), 0, 16), T_ERR_ARGUMENT);
  EXPECT_EQ(T_OptimizeBitmap(nullptr, reduced.get(), 0, 16), T_ERR_ARGUMENT);
  BitmapHandle empty = {};
  T_InitBitmap(&empty, 4, 4, 24);
  EXPECT_EQ(T_OptimizeBitmap(&empty, reduced.get(), 0, 16), T_ERR_ARGUMENT);
  EXPECT_EQ(reduced->Flags & T_FLAG_ALLOCATED, 0u);
}

int32_t stop_at = 101;
std::vector<int32_t> told;

int32_t T_CALL record_progress(int32_t percent) {
  told.push_back(percent);
  return percent >= stop_at ? -77 : T_OK;
}

TEST(Optimize, ProgressAndStop) {
  std::mt19937 random(4);
  TestBitmap source(64, 1000, 24, 1);
  source.fill(random);
  const int64_t before = platform::blocks_in_use();
  T_SetStatusCallBack(record_progress);
  for (const int32_t stop : {101, 0, 20, 60, 100}) {
    told.clear();
    stop_at = stop;
    TestBitmap reduced;
    EXPECT_EQ(T_OptimizeBitmap(source.get(), reduced.get(), 0, 256), stop > 100 ? T_OK : -77);
    EXPECT_EQ(told.front(), 0);
    EXPECT_TRUE(std::ranges::is_sorted(told));
    EXPECT_EQ(told.back() >= 100, stop >= 100);
    EXPECT_EQ((reduced->Flags & T_FLAG_ALLOCATED) != 0, stop > 100);
  }
  T_SetStatusCallBack(nullptr);
  EXPECT_EQ(platform::blocks_in_use(), before);
}

TEST(Optimize, RefusedMemory) {
  std::mt19937 random(4);
  for (const uint32_t method : {0u, 1u, 5u}) {
    T_DefaultDithering(method);
    TestBitmap source(30, 30, 24, 1);
    source.fill(random);
    const int64_t before = platform::blocks_in_use();
    for (int64_t n = 0;; ++n) {
      ASSERT_LT(n, 30);
      for (const bool all_later : {false, true}) {
        TestBitmap reduced;
        platform::refuse_allocation(n, all_later);
        const int32_t status = T_OptimizeBitmap(source.get(), reduced.get(), 0, 256);
        const bool refused = platform::allocation_was_refused();
        platform::refuse_allocation(-1, false);
        if (!refused) {
          EXPECT_EQ(status, T_OK);
          T_DefaultDithering(T_DITHER_ORDERED);
        }
        if (status != T_OK) {
          EXPECT_EQ(status, T_ERR_NO_MEMORY);
          EXPECT_EQ(reduced->Flags & 0xFFFF, 0u);
          EXPECT_EQ(platform::blocks_in_use(), before);
        }
        EXPECT_EQ(source->DitherState, nullptr);
        if (!refused) n = 1000;
      }
      if (n >= 1000) break;
    }
  }
}

}  // namespace
}  // namespace tavo::color
