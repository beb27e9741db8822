// Colour reduction and widening of whole bitmaps, grey conversion, palette objects.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <vector>

#include "color/palettes.h"
#include "core/bitmap.h"
#include "platform/platform.h"
#include "tavo45.h"
#include "test_bitmaps.h"

namespace tavo::color {
namespace {

using test::TestBitmap;
using Color = std::array<int, 3>;

int gray_of(const Color& c) { return (2 * c[0] + 5 * c[1] + c[2] + 4) / 8; }

std::vector<Color> colors_of(TestBitmap& bitmap) {
  std::vector<Color> colors;
  for (int y = 0; y < bitmap->Height; ++y) {
    for (int x = 0; x < bitmap->Width; ++x) colors.push_back(bitmap.color(x, y));
  }
  return colors;
}

std::set<Color> distinct(TestBitmap& bitmap) {
  const auto colors = colors_of(bitmap);
  return {colors.begin(), colors.end()};
}

constexpr int32_t kDepths[] = {1, 4, 8, 16, 24, 32};

TEST(Reduce, DiskPicturesGiveTheBytesOfThoseInMemory) {
  for (const int32_t from : {1, 2, 4, 8, 16, 24, 32}) {
    for (const int32_t to : kDepths) {
      for (const int32_t type : {1, 2, 3}) {
        std::vector<uint8_t> first;
        for (const uint32_t request : {1u, 3u}) {
          std::mt19937 random(from * 100 + to);
          TestBitmap bitmap(101, 70, from, request);
          bitmap.fill(random);
          bitmap->DitherMethod = 1 + from % 7;
          T_PaletteEntry given[2] = {{10, 20, 30, 0}, {200, 250, 180, 0}};
          ASSERT_EQ(T_ColorResolution(bitmap.get(), to, type, given, type == 3 ? 2 : 0), T_OK);
          EXPECT_EQ(bitmap->BitsPerPixel, to);
          EXPECT_EQ(bitmap->DitherState, nullptr);
          if (request == 1) {
            first = bitmap.bytes();
          } else {
            EXPECT_TRUE(bitmap.bytes() == first) << from << " to " << to << " type " << type;
          }
        }
      }
    }
  }
}

TEST(Reduce, WideningKeepsEveryColor) {
  std::mt19937 random(1);
  for (const int32_t from : {1, 4, 8, 16, 24, 32}) {
    for (const int32_t to : {24, 32}) {
      TestBitmap bitmap(37, 9, from, 1);
      bitmap.fill(random);
      if (from > 8) bitmap->Order = T_ORDER_RGB;
      bitmap->XResolution = 72;
      bitmap->ViewPerspective = 0;
      const auto before = colors_of(bitmap);
      ASSERT_EQ(T_ColorResolution(bitmap.get(), to, T_PALETTE_NONE, nullptr, 0), T_OK);
      EXPECT_TRUE(colors_of(bitmap) == before) << from << " to " << to;
      EXPECT_EQ(bitmap->Order, from > 8 ? 0u : 1u);
      EXPECT_EQ(bitmap->XResolution, 72);
      EXPECT_EQ(bitmap->ViewPerspective, 0u);
    }
  }
}

TEST(Reduce, IndexedPicturesKeepColorsThatThePaletteHas) {
  std::mt19937 random(2);
  for (const auto& [from, to] : {std::pair{1, 4}, {1, 8}, {4, 8}, {4, 4}, {8, 8}, {1, 1}}) {
    TestBitmap bitmap(50, 20, from, 1);
    bitmap.fill(random);
    const auto before = colors_of(bitmap);
    ASSERT_EQ(T_ColorResolution(bitmap.get(), to, T_PALETTE_OPTIMIZED, nullptr, 0), T_OK);
    EXPECT_TRUE(colors_of(bitmap) == before) << from << " to " << to;
  }
}

TEST(Reduce, FixedPalettes) {
  std::mt19937 random(3);
  for (const int32_t depth : {1, 4, 8}) {
    for (const bool gray_flag : {false, true}) {
      TestBitmap bitmap(40, 40, 24, 1);
      bitmap.fill(random);
      T_SetGrayFixedPalette(gray_flag);
      ASSERT_EQ(T_ColorResolution(bitmap.get(), depth, T_PALETTE_FIXED, nullptr, 0), T_OK);
      T_SetGrayFixedPalette(0);
      T_PaletteEntry want[256] = {};
      fixed_palette(depth, gray_flag, want);
      EXPECT_EQ(std::memcmp(want, bitmap->Info.Palette, (1u << depth) * 4), 0);
    }
  }
}

TEST(Reduce, GrayStaysGray) {
  for (const int32_t depth : {1, 4, 8}) {
    for (const int32_t type : {T_PALETTE_OPTIMIZED, T_PALETTE_FIXED}) {
      std::mt19937 random(depth);
      TestBitmap bitmap(60, 40, 24, 1);
      bitmap.fill(random);
      ASSERT_EQ(T_GrayScaleBitmap(bitmap.get()), T_OK);
      const auto levels = colors_of(bitmap);
      ASSERT_EQ(T_ColorResolution(bitmap.get(), 24, T_PALETTE_NONE, nullptr, 0), T_OK);
      EXPECT_NE(bitmap->Flags & T_FLAG_GRAY, 0u);
      ASSERT_EQ(T_ColorResolution(bitmap.get(), depth, type, nullptr, 0), T_OK);
      for (const Color& c : distinct(bitmap)) EXPECT_TRUE(c[0] == c[1] && c[1] == c[2]);
      EXPECT_EQ((bitmap->Flags & T_FLAG_GRAY) != 0, depth == 8);
      EXPECT_TRUE(depth != 8 || colors_of(bitmap) == levels);
    }
  }
}

TEST(Reduce, OneBitIsBlackAndWhiteUnlessThereAreTwoColors) {
  std::mt19937 random(5);
  for (const int32_t depth : {8, 16, 24, 32}) {
    TestBitmap many(64, 64, depth, 1);
    many.fill(random);
    ASSERT_EQ(T_ColorResolution(many.get(), 1, T_PALETTE_OPTIMIZED, nullptr, 0), T_OK);
    EXPECT_EQ(distinct(many), (std::set<Color>{{0, 0, 0}, {255, 255, 255}}));
    EXPECT_EQ(many->Info.Palette[0].Green, 0);
  }
  // Two colours of one class, the greater one first.
  TestBitmap two(30, 5, 24, 1);
  std::vector<uint8_t> row(two->BytesPerLine, 40);
  for (int x = 0; x < 30; x += 3) row[3 * x] = 41;
  for (int y = 0; y < 5; ++y) two.set_row(y, row);
  const auto before = colors_of(two);
  ASSERT_EQ(T_ColorResolution(two.get(), 1, T_PALETTE_OPTIMIZED, nullptr, 0), T_OK);
  EXPECT_TRUE(colors_of(two) == before);
  EXPECT_EQ(two->Info.Palette[0].Blue, 40);
  EXPECT_EQ(two->Info.Palette[1].Blue, 41);
}

TEST(Reduce, GrayScale) {
  std::mt19937 random(6);
  for (const int32_t depth : {1, 2, 4, 8, 16, 24, 32}) {
    for (const uint32_t request : {1u, 3u}) {
      TestBitmap bitmap(33, 12, depth, request);
      bitmap.fill(random);
      if (depth <= 8) T_CreatePaintPalette(bitmap.get());
      const auto before = colors_of(bitmap);
      ASSERT_EQ(T_GrayScaleBitmap(bitmap.get()), T_OK);
      EXPECT_EQ(bitmap->BitsPerPixel, 8);
      EXPECT_EQ(bitmap->Colors, 256u);
      EXPECT_EQ(bitmap->GdiObjectA, 0u);
      EXPECT_NE(bitmap->Flags & T_FLAG_GRAY, 0u);
      const auto after = colors_of(bitmap);
      for (size_t i = 0; i < before.size(); ++i) {
        const int g = gray_of(before[i]);
        ASSERT_EQ(after[i], (Color{g, g, g}));
        ASSERT_EQ(bitmap.pixel(i % 33, i / 33), g);
      }
    }
  }
}

TEST(Reduce, AnAccessedBitmapStaysAccessed) {
  std::mt19937 random(6);
  TestBitmap bitmap(33, 12, 24, 1);
  bitmap.fill(random);
  T_AccessBitmap(bitmap.get());
  ASSERT_EQ(T_ColorResolution(bitmap.get(), 8, T_PALETTE_OPTIMIZED, nullptr, 17), T_OK);
  EXPECT_NE(bitmap->Flags & T_FLAG_LOCKED, 0u);
  EXPECT_NE(bitmap->Data, nullptr);
  T_ReleaseBitmap(bitmap.get());
  EXPECT_LE(distinct(bitmap).size(), 17u);
}

// All that is taken in the course of it, whether freed before the end or not.
TEST(Reduce, TakesTheResultAndAMebibyteAtMost) {
  std::mt19937 random(7);
  for (const auto& [width, method] :
       {std::pair{4096, T_DITHER_STEVENSON_ARCE}, {65535, T_DITHER_FLOYD_STEINBERG}}) {
    for (const int32_t bits : {8, 16, 24}) {
      TestBitmap picture(width, 20, bits, 1);
      picture.fill(random);
      picture->DitherMethod = method;
      BitmapHandle optimized;
      T_DefaultDithering(method);
      uint64_t before = platform::bytes_taken();
      ASSERT_EQ(T_OptimizeBitmap(picture.get(), &optimized, 0, 200), T_OK);
      EXPECT_LE(platform::bytes_taken() - before, optimized.Size + (1u << 20)) << width;
      T_FreeBitmap(&optimized);
      before = platform::bytes_taken();
      ASSERT_EQ(T_ColorResolution(picture.get(), 4, T_PALETTE_OPTIMIZED, nullptr, 0), T_OK);
      EXPECT_LE(platform::bytes_taken() - before, picture->Size + (1u << 20)) << width;
    }
  }
  T_DefaultDithering(T_DITHER_ORDERED);
}

TEST(Reduce, BadArguments) {
  TestBitmap bitmap(4, 4, 24, 1);
  const T_PaletteEntry palette[256] = {};
  const struct {
    int32_t depth, type;
    const T_PaletteEntry* palette;
    uint32_t colors;
  } cases[] = {{2, 1, nullptr, 0},  {0, 4, nullptr, 0},   {12, 4, nullptr, 0},
               {8, 0, nullptr, 0},  {8, 5, nullptr, 0},   {8, 4, nullptr, 0},
               {8, 3, nullptr, 2},  {8, 3, palette, 0},   {8, 3, palette, 257},
               {4, 3, palette, 17}, {1, 3, palette, 3},   {8, 1, nullptr, 257},
               {24, 0, nullptr, 0}, {24, -1, nullptr, 0}, {-8, 1, nullptr, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(T_ColorResolution(bitmap.get(), c.depth, c.type, c.palette, c.colors), T_ERR_ARGUMENT)
        << c.depth << ' ' << c.type << ' ' << c.colors;
  }
  EXPECT_EQ(bitmap->BitsPerPixel, 24);
  bitmap->DitherMethod = 8;
  EXPECT_EQ(T_ColorResolution(bitmap.get(), 8, 1, nullptr, 0), T_ERR_ARGUMENT);
  TestBitmap empty;
  EXPECT_EQ(T_ColorResolution(empty.get(), 8, 1, nullptr, 0), T_ERR_NO_STORAGE);
  EXPECT_EQ(T_GrayScaleBitmap(empty.get()), T_ERR_NO_STORAGE);
}

// Refuses every request in turn: the bitmap is as it was, or reduced.
template <class Operation>
void refuse_all(int32_t depth, const Operation& operation) {
  for (const bool all_later : {false, true}) {
    for (int64_t n = 0;; ++n) {
      ASSERT_LT(n, 40);
      std::mt19937 random(9);
      TestBitmap bitmap(40, 30, depth, 1);
      bitmap.fill(random);
      const auto before = bitmap.bytes();
      const BitmapHandle record = *bitmap;
      const int64_t blocks = platform::blocks_in_use();
      platform::refuse_allocation(n, all_later);
      const int32_t status = operation(bitmap.get());
      const bool refused = platform::allocation_was_refused();
      platform::refuse_allocation(-1, false);
      if (status != T_OK) {
        EXPECT_EQ(status, T_ERR_NO_MEMORY);
        EXPECT_EQ(std::memcmp(&record, bitmap.get(), sizeof record), 0);
        EXPECT_TRUE(bitmap.bytes() == before);
        EXPECT_EQ(platform::blocks_in_use(), blocks);
      }
      if (!refused) {
        EXPECT_EQ(status, T_OK);
        break;
      }
    }
  }
}

TEST(Reduce, RefusedMemoryLeavesTheBitmap) {
  for (const int32_t depth : {8, 24}) {
    for (const int32_t to : {1, 4, 8, 32}) {
      refuse_all(depth, [&](BitmapHandle* b) { return T_ColorResolution(b, to, 1, nullptr, 0); });
    }
    refuse_all(depth, [](BitmapHandle* b) { return T_GrayScaleBitmap(b); });
  }
}

int32_t T_CALL stop_in_the_middle(int32_t percent) { return percent >= 50 ? 42 : T_OK; }

TEST(Reduce, AStopLeavesTheBitmap) {
  std::mt19937 random(9);
  TestBitmap bitmap(40, 300, 24, 1);
  bitmap.fill(random);
  const auto before = bitmap.bytes();
  T_SetStatusCallBack(stop_in_the_middle);
  for (const int32_t depth : {1, 4, 8, 32}) {
    EXPECT_EQ(T_ColorResolution(bitmap.get(), depth, 1, nullptr, 0), 42);
  }
  EXPECT_EQ(T_GrayScaleBitmap(bitmap.get()), 42);
  T_SetStatusCallBack(nullptr);
  EXPECT_EQ(bitmap->BitsPerPixel, 24);
  EXPECT_TRUE(bitmap.bytes() == before);
}

TEST(PaletteObjects, CreateDuplicateReplace) {
  std::mt19937 random(9);
  const int64_t before = platform::blocks_in_use();
  {
    TestBitmap bitmap(8, 8, 4, 1);
    bitmap.fill(random);
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(T_CreatePaintPalette(bitmap.get()), T_OK);
      ASSERT_EQ(T_CreateScreenPalette(bitmap.get()), T_OK);
    }
    EXPECT_EQ(platform::palette_size(bitmap->GdiObjectA), 16u);
    EXPECT_EQ(platform::palette_size(bitmap->GdiObjectB), 256u);
    const uintptr_t twin = T_DupPalette(bitmap->GdiObjectA);
    T_PaletteEntry entries[16] = {};
    ASSERT_EQ(platform::palette_entries(twin, 0, entries), 16u);
    for (int i = 0; i < 16; ++i) {
      EXPECT_EQ(entries[i].Red, bitmap->Info.Palette[i].Red);
      EXPECT_EQ(entries[i].Blue, bitmap->Info.Palette[i].Blue);
    }
    platform::delete_object(twin);
    TestBitmap deep(8, 8, 24, 1);
    EXPECT_EQ(T_CreatePaintPalette(deep.get()), T_ERR_ARGUMENT);
    EXPECT_EQ(T_DupPalette(0), 0u);
  }
  EXPECT_EQ(platform::blocks_in_use(), before);
}

}  // namespace
}  // namespace tavo::color
