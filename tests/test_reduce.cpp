// Colour reduction and widening of whole bitmaps, grey conversion, palette objects.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <set>

#include "color/gray.h"
#include "color/palettes.h"
#include "platform/platform.h"
#include "support.h"

namespace tavo::color {
namespace {

using test::Bitmap;
using test::Bytes;
using test::make_picture;
using test::pixels;
using test::rgb;

std::set<std::array<int, 3>> distinct(Bitmap& bitmap) {
  const Bytes all = rgb(bitmap.get());
  std::set<std::array<int, 3>> found;
  for (size_t i = 0; i < all.size(); i += 3) found.insert({all[i], all[i + 1], all[i + 2]});
  return found;
}

int32_t reduce(BitmapHandle* bitmap, int32_t bits, int32_t type = T_PALETTE_OPTIMIZED) {
  return T_ColorResolution(bitmap, bits, type, nullptr, 0);
}

TEST(Reduce, DiskPicturesGiveTheBytesOfThoseInMemory) {
  for (const int32_t from : {1, 2, 4, 8, 16, 24, 32}) {
    for (const int32_t to : {1, 4, 8, 16, 24, 32}) {
      for (const int32_t type : {1, 2, 3, 5}) {
        Bytes first;
        for (const uint32_t request : {1u, 3u}) {
          Bitmap bitmap;
          make_picture(bitmap, 101, 70, from, request);
          bitmap->DitherMethod = 1 + from % 7;
          T_PaletteEntry given[2] = {{10, 20, 30, 0}, {200, 250, 180, 0}};
          ASSERT_EQ(T_ColorResolution(bitmap.get(), to, type, given, type == 3 ? 2 : 0), T_OK);
          EXPECT_EQ(bitmap->BitsPerPixel, to);
          EXPECT_EQ(bitmap->DitherState, nullptr);
          const Bytes got = pixels(bitmap.get());
          EXPECT_TRUE(request == 1 || got == first) << from << " to " << to << " type " << type;
          first = got;
        }
      }
    }
  }
}

TEST(Reduce, WideningKeepsEveryColor) {
  for (const int32_t from : {1, 4, 8, 16, 24, 32}) {
    for (const int32_t to : {24, 32}) {
      Bitmap bitmap;
      make_picture(bitmap, 37, 9, from, 1, 0);
      if (from > 8) bitmap->Order = T_ORDER_RGB;
      bitmap->XResolution = 72;
      const Bytes before = rgb(bitmap.get());
      ASSERT_EQ(reduce(bitmap.get(), to, T_PALETTE_NONE), T_OK);
      EXPECT_TRUE(rgb(bitmap.get()) == before) << from << " to " << to;
      EXPECT_EQ(bitmap->Order, from > 8 ? 0u : 1u);
      EXPECT_EQ(bitmap->XResolution, 72);
      EXPECT_EQ(bitmap->ViewPerspective, 0u);
    }
  }
  // Indices keep colours that the palette has.
  for (const auto& [from, to] : {std::pair{1, 4}, {1, 8}, {4, 8}, {4, 4}, {8, 8}, {1, 1}}) {
    Bitmap bitmap;
    make_picture(bitmap, 50, 20, from);
    const Bytes before = rgb(bitmap.get());
    ASSERT_EQ(reduce(bitmap.get(), to), T_OK);
    EXPECT_TRUE(rgb(bitmap.get()) == before) << from << " to " << to;
  }
}

TEST(Reduce, FixedPalettesAndGrayThatStaysGray) {
  for (const int32_t depth : {1, 4, 8}) {
    for (const bool gray_flag : {false, true}) {
      Bitmap bitmap;
      make_picture(bitmap, 40, 40, 24);
      T_SetGrayFixedPalette(gray_flag);
      ASSERT_EQ(reduce(bitmap.get(), depth, T_PALETTE_FIXED), T_OK);
      T_SetGrayFixedPalette(0);
      T_PaletteEntry want[256] = {};
      fixed_palette(depth, gray_flag, want);
      EXPECT_EQ(std::memcmp(want, bitmap->Info.Palette, (1u << depth) * 4), 0);
    }
    for (const int32_t type : {T_PALETTE_OPTIMIZED, T_PALETTE_FIXED}) {
      Bitmap bitmap;
      make_picture(bitmap, 60, 40, 24);
      ASSERT_EQ(T_GrayScaleBitmap(bitmap.get()), T_OK);
      const Bytes levels = rgb(bitmap.get());
      ASSERT_EQ(reduce(bitmap.get(), 24, T_PALETTE_NONE), T_OK);
      EXPECT_NE(bitmap->Flags & T_FLAG_GRAY, 0u);
      ASSERT_EQ(reduce(bitmap.get(), depth, type), T_OK);
      for (const auto& c : distinct(bitmap)) EXPECT_TRUE(c[0] == c[1] && c[1] == c[2]);
      EXPECT_EQ((bitmap->Flags & T_FLAG_GRAY) != 0, depth == 8);
      EXPECT_TRUE(depth != 8 || rgb(bitmap.get()) == levels);
    }
  }
}

TEST(Reduce, OneBitIsBlackAndWhiteUnlessThereAreTwoColors) {
  for (const int32_t depth : {8, 16, 24, 32}) {
    Bitmap many;
    make_picture(many, 64, 64, depth);
    ASSERT_EQ(reduce(many.get(), 1), T_OK);
    EXPECT_EQ(distinct(many), (std::set<std::array<int, 3>>{{0, 0, 0}, {255, 255, 255}}));
    EXPECT_EQ(many->Info.Palette[0].Green, 0);
  }
  // Two colours of one class, the greater one first.
  Bitmap two;
  make_picture(two, 30, 5, 24);
  Bytes row(two->BytesPerLine, 40);
  for (int x = 0; x < 30; x += 3) row[3 * x] = 41;
  T_AccessBitmap(two.get());
  for (int y = 0; y < 5; ++y) T_PutBitmapRow(two.get(), row.data(), y, row.size());
  T_ReleaseBitmap(two.get());
  const Bytes before = rgb(two.get());
  ASSERT_EQ(reduce(two.get(), 1), T_OK);
  EXPECT_TRUE(rgb(two.get()) == before);
  EXPECT_EQ(two->Info.Palette[0].Blue, 40);
  EXPECT_EQ(two->Info.Palette[1].Blue, 41);
}

TEST(Reduce, GrayScale) {
  for (const int32_t depth : {1, 2, 4, 8, 16, 24, 32}) {
    for (const uint32_t request : {1u, 3u}) {
      Bitmap bitmap;
      make_picture(bitmap, 33, 12, depth, request, 0);
      if (depth <= 8) T_CreatePaintPalette(bitmap.get());
      const Bytes before = rgb(bitmap.get());
      ASSERT_EQ(T_GrayScaleBitmap(bitmap.get()), T_OK);
      EXPECT_EQ(bitmap->BitsPerPixel, 8);
      EXPECT_EQ(bitmap->Colors, 256u);
      EXPECT_EQ(bitmap->GdiObjectA, 0u);
      EXPECT_NE(bitmap->Flags & T_FLAG_GRAY, 0u);
      const Bytes after = rgb(bitmap.get()), indices = test::indices(bitmap.get());
      for (size_t i = 0; i < indices.size(); ++i) {
        const int g = (2 * before[3 * i] + 5 * before[3 * i + 1] + before[3 * i + 2] + 4) / 8;
        ASSERT_EQ(indices[i], g);
        for (int k = 0; k < 3; ++k) ASSERT_EQ(after[3 * i + k], g);
      }
    }
  }
}

TEST(Reduce, AnAccessedBitmapStaysAccessed) {
  Bitmap bitmap;
  make_picture(bitmap, 33, 12, 24);
  T_AccessBitmap(bitmap.get());
  ASSERT_EQ(T_ColorResolution(bitmap.get(), 8, T_PALETTE_OPTIMIZED, nullptr, 17), T_OK);
  EXPECT_NE(bitmap->Flags & T_FLAG_LOCKED, 0u);
  EXPECT_NE(bitmap->Data, nullptr);
  T_ReleaseBitmap(bitmap.get());
  EXPECT_LE(distinct(bitmap).size(), 17u);
}

// Colours that are no more than asked come out as they are, at any dithering, darkest first; greys
// stay grey; never more than asked are used, not even black behind a short palette.
TEST(Reduce, FinePalettesKeepFewColors) {
  for (const int32_t depth : {4, 8, 16, 24, 32}) {
    for (const uint32_t method : {T_DITHER_NONE, T_DITHER_FLOYD_STEINBERG, T_DITHER_ORDERED}) {
      Bitmap few;
      make_picture(few, 61, 33, depth);
      ASSERT_EQ(T_ColorResolution(few.get(), 4, T_PALETTE_OPTIMIZED, nullptr, 11), T_OK);
      ASSERT_EQ(reduce(few.get(), depth), T_OK);
      const Bytes before = rgb(few.get());
      few->DitherMethod = method;
      ASSERT_EQ(T_ColorResolution(few.get(), 8, T_PALETTE_FINE, nullptr, 16), T_OK);
      EXPECT_TRUE(rgb(few.get()) == before) << depth << ' ' << method;

      Bitmap gray;
      make_picture(gray, 61, 33, depth);
      ASSERT_EQ(T_GrayScaleBitmap(gray.get()), T_OK);
      gray->DitherMethod = method;
      ASSERT_EQ(T_ColorResolution(gray.get(), 8, T_PALETTE_FINE, nullptr, 10), T_OK);
      for (const auto& c : distinct(gray)) EXPECT_TRUE(c[0] == c[1] && c[1] == c[2]);
      for (const uint8_t index : test::indices(gray.get())) ASSERT_LT(index, 10);
    }
  }
}

// All that is taken in the course of it, whether freed before the end or not.
TEST(Reduce, TakesTheResultAndAMebibyteAtMost) {
  for (const auto& [width, method] :
       {std::pair{4096, T_DITHER_STEVENSON_ARCE}, {65535, T_DITHER_FLOYD_STEINBERG}}) {
    for (const int32_t bits : {8, 16, 24}) {
      Bitmap picture, optimized;
      make_picture(picture, width, 20, bits);
      picture->DitherMethod = method;
      T_DefaultDithering(method);
      uint64_t before = platform::bytes_taken();
      ASSERT_EQ(T_OptimizeBitmap(picture.get(), optimized.get(), 0, 200), T_OK);
      EXPECT_LE(platform::bytes_taken() - before, optimized->Size + (1u << 20)) << width;
      before = platform::bytes_taken();
      ASSERT_EQ(reduce(picture.get(), 4), T_OK);
      EXPECT_LE(platform::bytes_taken() - before, picture->Size + (1u << 20)) << width;
    }
  }
  T_DefaultDithering(T_DITHER_ORDERED);
}

TEST(Reduce, BadArguments) {
  Bitmap bitmap;
  make_picture(bitmap, 4, 4, 24);
  const T_PaletteEntry palette[256] = {};
  const struct {
    int32_t depth, type;
    const T_PaletteEntry* palette;
    uint32_t colors;
  } cases[] = {{2, 1, nullptr, 0},  {0, 4, nullptr, 0},   {12, 4, nullptr, 0},
               {8, 0, nullptr, 0},  {8, 6, nullptr, 0},   {8, 4, nullptr, 0},
               {8, 3, nullptr, 2},  {8, 3, palette, 0},   {8, 3, palette, 257},
               {4, 3, palette, 17}, {1, 3, palette, 3},   {8, 1, nullptr, 257},
               {24, 0, nullptr, 0}, {24, -1, nullptr, 0}, {-8, 1, nullptr, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(T_ColorResolution(bitmap.get(), c.depth, c.type, c.palette, c.colors), T_ERR_ARGUMENT)
        << c.depth << ' ' << c.type << ' ' << c.colors;
  }
  EXPECT_EQ(bitmap->BitsPerPixel, 24);
  bitmap->DitherMethod = 8;
  EXPECT_EQ(reduce(bitmap.get(), 8), T_ERR_ARGUMENT);
}

TEST(Reduce, RefusedMemoryOrAStopLeavesTheBitmap) {
  for (const int32_t depth : {8, 24}) {
    const auto prepare = [&](Bitmap& b) { make_picture(b, 40, 30, depth); };
    for (const int32_t to : {1, 4, 8, 32}) {
      for (const int32_t type : {T_PALETTE_OPTIMIZED, T_PALETTE_FINE}) {
        test::refuse_each([&](BitmapHandle* b) { return reduce(b, to, type); }, prepare);
      }
    }
    test::refuse_each([](BitmapHandle* b) { return T_GrayScaleBitmap(b); }, prepare);
  }
  Bitmap bitmap;
  make_picture(bitmap, 40, 300, 24);
  const Bytes before = pixels(bitmap.get());
  T_SetStatusCallBack([](int32_t percent) -> int32_t T_CALL { return percent >= 50 ? 42 : T_OK; });
  for (const int32_t depth : {1, 4, 8, 32}) {
    EXPECT_EQ(reduce(bitmap.get(), depth), 42);
    EXPECT_EQ(reduce(bitmap.get(), depth, T_PALETTE_FINE), 42);
  }
  EXPECT_EQ(T_GrayScaleBitmap(bitmap.get()), 42);
  T_SetStatusCallBack(nullptr);
  EXPECT_EQ(bitmap->BitsPerPixel, 24);
  EXPECT_TRUE(pixels(bitmap.get()) == before);
}

TEST(PaletteObjects, CreateDuplicateReplace) {
  Bitmap bitmap, deep;
  make_picture(bitmap, 8, 8, 4);
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
  make_picture(deep, 8, 8, 24);
  EXPECT_EQ(T_CreatePaintPalette(deep.get()), T_ERR_ARGUMENT);
  EXPECT_EQ(T_DupPalette(0), 0u);
}

}  // namespace
}  // namespace tavo::color
