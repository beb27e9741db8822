// Nearest-neighbour resampling of rows and bitmaps.
#include <gtest/gtest.h>

#include <cmath>

#include "core/bitmap.h"
#include "platform/platform.h"
#include "process/resize_row.h"
#include "processor_levels.h"
#include "support.h"

namespace tavo::test {
namespace {

std::vector<int> resize_indices(int32_t old_width, int32_t new_width) {
  T_ResizeBlock* block = nullptr;
  EXPECT_EQ(T_StartResize(old_width, 1, new_width, 1, &block), T_OK);
  std::vector<uint16_t> row(std::max(old_width, new_width), 0x7FFF);
  for (int32_t i = 0; i < old_width; ++i) row[i] = static_cast<uint16_t>(i);
  int32_t width = 0, rows = 0;
  EXPECT_EQ(T_Resize(row.data(), 0, 16, &width, &rows, block), T_OK);
  T_StopResize(block);
  EXPECT_EQ(width, new_width);
  EXPECT_EQ(rows, 1);
  return std::vector<int>(row.begin(), row.begin() + new_width);
}

TEST(Resize, WorkedExamples) {
  EXPECT_EQ(resize_indices(3, 4), (std::vector<int>{0, 0, 1, 2}));
  const std::vector<int> doubled = resize_indices(100, 200);
  for (int i = 1; i < 200; ++i) ASSERT_EQ(doubled[i], i / 2) << i;
  // Half again as many: every other pixel twice, from the first on.
  const std::vector<int> half_more = resize_indices(100, 150);
  for (int i = 3; i < 150; ++i) ASSERT_EQ(half_more[i], i / 3 * 2 + (i % 3 == 2)) << i;
  const std::vector<int> tripled = resize_indices(100, 300);
  EXPECT_EQ(tripled[0], 0);
  EXPECT_EQ(tripled[1], 1);  // not reached: the source as it stood
  for (int i = 2; i < 300; ++i) ASSERT_EQ(tripled[i], i / 3) << i;
  const std::vector<int> halved = resize_indices(100, 50);
  for (int i = 0; i < 50; ++i) ASSERT_EQ(halved[i], 2 * i) << i;
  // Two more than 256: the second extra pixel lies at 127 1/2, which rounds up.
  const std::vector<int> two_more = resize_indices(256, 258);
  for (int i = 0; i < 258; ++i) ASSERT_EQ(two_more[i], i - (i > 0) - (i > 129)) << i;
}

TEST(Resize, FourBitPixelsTakeTheirNibbleFromTheCounter) {
  T_ResizeBlock* block = nullptr;
  ASSERT_EQ(T_StartResize(3, 1, 6, 1, &block), T_OK);
  Bytes row = {0x12, 0x30, 0x00};
  int32_t width = 0, rows = 0;
  T_Resize(row.data(), 0, 4, &width, &rows, block);
  T_StopResize(block);
  EXPECT_EQ(row, (Bytes{0x12, 0x22, 0x33}));
}

TEST(Resize, RowsAreDroppedAndRepeatedByThePattern) {
  for (const auto& [old_height, new_height] :
       {std::pair{100, 50}, {100, 250}, {7, 7}, {256, 100}}) {
    T_ResizeBlock* block = nullptr;
    ASSERT_EQ(T_StartResize(4, old_height, 5, new_height, &block), T_OK);
    int total = 0;
    for (int y = 0; y < old_height; ++y) {
      Bytes row(8, 9);
      int32_t width = 0, rows = 0;
      T_Resize(row.data(), y, 8, &width, &rows, block);
      total += rows;
      if (old_height == 100 && new_height == 50) {
        ASSERT_EQ(rows, y % 2 == 0) << y;
      }
    }
    EXPECT_NEAR(total, new_height, 1) << old_height;
    T_StopResize(block);
  }
}

TEST(Resize, EverySpeedGivesTheSameRow) {
  Random random(6);
  for (int round = 0; round < 4000; ++round) {
    const int32_t limit = round % 10 == 0 ? 3000 : 80;
    const int32_t old_width = 1 + random.below(limit);
    const int32_t new_width = 1 + random.below(limit);
    const int32_t bits = (int32_t[]){1, 2, 4, 8, 16, 24, 32}[round % 7];
    // What lies behind a row of less than 8 bits may show, and is as it was.
    const int32_t longer = std::max(old_width, new_width);
    Bytes source = random.bytes(((bits < 8 ? longer : old_width) * bits + 7) / 8);
    source.resize((longer * bits + 7) / 8);
    const Bytes guard(16, 0xEE);
    Bytes want = source;
    {
      const LimitedProcessor plain(platform::Processor::kPlain);
      process::Resizer resizer;
      ASSERT_TRUE(resizer.start(old_width, 1, new_width, 1).ok());
      resizer.resize_row(want.data(), bits);
    }
    const size_t bytes = (new_width * bits + 7) / 8;
    want.resize(bytes);
    for (const platform::Processor level : processor_levels()) {
      const LimitedProcessor limited(level);
      process::Resizer resizer;
      ASSERT_TRUE(resizer.start(old_width, 1, new_width, 1).ok());
      Bytes got = join({source, guard});
      resizer.resize_row(got.data(), bits);
      ASSERT_EQ(Bytes(got.begin(), got.begin() + bytes), want)
          << old_width << " to " << new_width << " at " << bits;
      ASSERT_EQ(Bytes(got.end() - 16, got.end()), guard);
      // From one buffer to another, which has no room for more than the result.
      if (bits < 8) continue;
      Bytes apart = join({Bytes(bytes, 0x11), guard});
      resizer.resize_row(source.data(), apart.data(), bits);
      ASSERT_EQ(apart, join({want, guard}));
      Bytes pieces, scratch = join({Bytes(bytes, 0x11), guard});
      resizer.resize_row(source.data(), scratch.data(), bits, [&](std::span<const uint8_t> piece) {
        pieces.insert(pieces.end(), piece.begin(), piece.end());
      });
      ASSERT_EQ(pieces, want);
      ASSERT_EQ(Bytes(scratch.end() - 16, scratch.end()), guard);
    }
  }
}

// The picture at another size, by the rule that says how often a position is repeated.
Bytes resized_rgb(BitmapHandle* bitmap, int32_t width, int32_t height) {
  const Bytes from = rgb(bitmap);
  process::ResizeRule across, down;
  across.set(bitmap->Width, width);
  down.set(bitmap->Height, height);
  Bytes to;
  for (int32_t y = 0; y < bitmap->Height; ++y) {
    for (uint32_t n = bitmap->Height == height && bitmap->Width == width ? 1 : down.count(y); n > 0;
         --n) {
      for (int32_t x = 0; x < bitmap->Width; ++x) {
        for (uint32_t m = across.count(x); m > 0; --m) {
          to.insert(to.end(), from.begin() + (y * bitmap->Width + x) * 3,
                    from.begin() + (y * bitmap->Width + x) * 3 + 3);
        }
      }
    }
  }
  return to;
}

TEST(Resize, BitmapsInMemoryAndOnDiskKeepTheirDescription) {
  for (const int32_t bits : {1, 4, 8, 16, 24, 32}) {
    for (const uint32_t request : {1u, 3u}) {
      Bitmap bitmap;
      make_picture(bitmap, 64, 32, bits, request, 0);
      bitmap->XResolution = 311;
      bitmap->Flags |= T_FLAG_GRAY | 0x5A5A0000u;
      bitmap->ReleaseData = 4711;
      bitmap->WriterDefaults[1] = 12;
      bitmap->Info.Header.biClrUsed = 3;
      const Bytes want = resized_rgb(bitmap.get(), 32, 16);
      ASSERT_EQ(T_SizeBitmap(bitmap.get(), 32, 16), T_OK);
      EXPECT_EQ(bitmap->Width, 32);
      EXPECT_EQ(bitmap->XResolution, 311);
      EXPECT_EQ(bitmap->Flags & 0xFFFFFF80u, T_FLAG_GRAY | 0x5A5A0000u);
      EXPECT_EQ(bitmap->ReleaseData, 4711u);
      EXPECT_EQ(bitmap->WriterDefaults[1], 12u);
      EXPECT_EQ(bitmap->Info.Header.biClrUsed, 3u);
      EXPECT_EQ(bitmap->Info.Header.biWidth, 32);
      EXPECT_EQ(rgb(bitmap.get()), want) << bits;
    }
  }
}

TEST(Resize, PicturesBeyondTheCachesAreTheSame) {
  Bitmap small, wide, large;
  make_picture(small, 3301, 3, 8);
  T_InitBitmap(wide.get(), 9001, 3, 8);
  T_InitBitmap(large.get(), 9001, 7900, 8);
  ASSERT_EQ(T_AllocateBitmap(wide.get(), 1), T_OK);
  ASSERT_EQ(T_AllocateBitmap(large.get(), 1), T_OK);
  ASSERT_EQ(T_ResizeBitmap(small.get(), wide.get()), T_OK);
  const Bytes want = pixels(wide.get());
  process::ResizeRule down;
  down.set(3, 7900);
  for (const platform::Processor level : processor_levels()) {
    const LimitedProcessor limited(level);
    ASSERT_EQ(T_ResizeBitmap(small.get(), large.get()), T_OK);
    core::AccessScope accessed(*large.get());
    const auto* row = static_cast<const uint8_t*>(large->Data);
    for (int32_t y = 0; y < 3; ++y) {
      for (uint32_t n = down.count(y); n > 0; --n, row += large->BytesPerLine) {
        ASSERT_TRUE(std::equal(row, row + 9001, want.begin() + y * 9001)) << n;
        ASSERT_TRUE(
            std::all_of(row + 9001, row + large->BytesPerLine, [](int b) { return b == 0; }));
      }
    }
  }
}

TEST(Resize, RowsThatNothingReachesAreZero) {
  Bitmap from, to;
  make_picture(from, 3, 3, 8);
  T_InitBitmap(to.get(), 3, 4, 8);
  T_AllocateBitmap(to.get(), 3);
  ASSERT_EQ(T_ResizeBitmap(from.get(), to.get()), T_OK);
  const Bytes source = pixels(from.get());
  EXPECT_EQ(pixels(to.get()), join({source, Bytes(3, 0)}));
}

TEST(Resize, RefusedMemoryLeavesTheBitmap) {
  refuse_each([](BitmapHandle* b) { return T_SizeBitmap(b, 30, 11); },
              [](Bitmap& bitmap) { make_picture(bitmap, 20, 20, 24); });
}

}  // namespace
}  // namespace tavo::test
