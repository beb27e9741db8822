// Rotation, filters and adjustments: what holds for all nineteen, and known results. What other
// programs make of the same pictures is compared in tests/interop/interop_process.py.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "core/bitmap.h"
#include "processor_levels.h"
#include "support.h"

namespace tavo::test {
namespace {

constexpr int32_t kLaplace[9] = {0, -1, 0, -1, 5, -1, 0, -1, 0};
constexpr int32_t kWide[25] = {3, -7, 11, 2, 5, 0, 9, -4, 1, 8, 6, 2, 30, -9, 1, 4, 4, 4, -3, 2, 1};

struct Operation {
  const char* name;
  std::function<int32_t(BitmapHandle*)> call;
};

// What is found goes where outcomes are compared.
template <class Find>
int32_t note(Find find, BitmapHandle* bitmap) {
  int32_t answer = 0;
  const int32_t status = find(bitmap, &answer);
  if (status == T_OK) bitmap->XResolution = answer;
  return status;
}
int32_t find_content(BitmapHandle* bitmap) {
  uint32_t area[4];
  const int32_t status = T_FindContent(bitmap, area, area + 1, area + 2, area + 3);
  if (status == T_OK) {
    bitmap->XResolution = static_cast<int32_t>(area[0] << 16 | area[1]);
    bitmap->YResolution = static_cast<int32_t>(area[2] << 16 | area[3]);
  }
  return status;
}

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = {
      {"rotate 90", [](BitmapHandle* b) { return T_RotateBitmap(b, -270); }},
      {"rotate 180", [](BitmapHandle* b) { return T_RotateBitmap(b, 180); }},
      {"rotate 270", [](BitmapHandle* b) { return T_RotateBitmap(b, -90); }},
      {"fine", [](BitmapHandle* b) { return T_RotateBitmapFine(b, 1234, 0, 0x00FF80); }},
      {"smooth", [](BitmapHandle* b) { return T_RotateBitmapFine(b, -70, 3, 0x00FF80); }},
      {"flip", [](BitmapHandle* b) { return T_FlipBitmap(b); }},
      {"reverse", [](BitmapHandle* b) { return T_ReverseBitmap(b); }},
      {"average 3", [](BitmapHandle* b) { return T_AverageFilterBitmap(b, 3); }},
      {"average 15", [](BitmapHandle* b) { return T_AverageFilterBitmap(b, 15); }},
      {"average 255", [](BitmapHandle* b) { return T_AverageFilterBitmap(b, 255); }},
      {"median 3", [](BitmapHandle* b) { return T_MedianFilterBitmap(b, 3); }},
      {"median 5", [](BitmapHandle* b) { return T_MedianFilterBitmap(b, 5); }},
      {"median 9", [](BitmapHandle* b) { return T_MedianFilterBitmap(b, 9); }},
      {"spatial 3", [](BitmapHandle* b) { return T_SpatialFilterBitmap(b, kLaplace, 3, 1, 0, 0); }},
      {"spatial 5", [](BitmapHandle* b) { return T_SpatialFilterBitmap(b, kWide, 5, 0, -9, 1); }},
      {"sharpen", [](BitmapHandle* b) { return T_SharpenBitmap(b, 700); }},
      {"soften", [](BitmapHandle* b) { return T_SharpenBitmap(b, -999); }},
      {"erode box", [](BitmapHandle* b) { return T_BinaryFilterBitmap(b, 0, 0, 3); }},
      {"open cross", [](BitmapHandle* b) { return T_BinaryFilterBitmap(b, 2, 1, 9); }},
      {"close row", [](BitmapHandle* b) { return T_BinaryFilterBitmap(b, 3, 2, 131); }},
      {"dilate column", [](BitmapHandle* b) { return T_BinaryFilterBitmap(b, 1, 3, 255); }},
      {"despeckle", [](BitmapHandle* b) { return T_DespeckleBitmap(b, 3); }},
      {"mosaic", [](BitmapHandle* b) { return T_MosaicBitmap(b, 8); }},
      {"intensity", [](BitmapHandle* b) { return T_ChangeBitmapIntensity(b, -333); }},
      {"contrast", [](BitmapHandle* b) { return T_ChangeBitmapContrast(b, 500); }},
      {"hue", [](BitmapHandle* b) { return T_ChangeBitmapHue(b, -100); }},
      {"saturation", [](BitmapHandle* b) { return T_ChangeBitmapSaturation(b, 777); }},
      {"invert", [](BitmapHandle* b) { return T_InvertBitmap(b); }},
      {"posterize", [](BitmapHandle* b) { return T_PosterizeBitmap(b, 5); }},
      {"equalize", [](BitmapHandle* b) { return T_HistoEqualizeBitmap(b); }},
      {"halftone", [](BitmapHandle* b) { return T_HalfToneBitmap(b, 6, 45); }},
      {"skew", [](BitmapHandle* b) { return note(T_FindSkew, b); }},
      {"blank",
       [](BitmapHandle* b) {
         return note([](BitmapHandle* of, int32_t* is) { return T_IsBlank(of, 300000, is); }, b);
       }},
      {"content", find_content},
  };
  return all;
}

// Told percentages; the answer to the `stop_at`-th is not T_OK.
std::vector<int32_t> told;
size_t stop_at = SIZE_MAX;
int32_t T_CALL tell(int32_t percent) {
  told.push_back(percent);
  return told.size() - 1 == stop_at ? -77 : T_OK;
}
struct Telling {
  explicit Telling(size_t stop = SIZE_MAX) {
    told.clear();
    stop_at = stop;
    T_SetStatusCallBack(tell);
  }
  ~Telling() { T_SetStatusCallBack(nullptr); }
};

void make_ramp(Bitmap& bitmap) {
  for (uint32_t i = 0; i < 256; ++i) {
    const auto level = static_cast<uint8_t>(i);
    bitmap->Info.Palette[i] = {level, level, level, 0};
  }
}

// Pixels and what describes them.
struct Outcome {
  explicit Outcome(Bitmap& b)
      : content(pixels(b.get())),
        words{b->Width,
              b->Height,
              b->BitsPerPixel,
              static_cast<int32_t>(b->Order),
              b->XResolution,
              b->YResolution,
              static_cast<int32_t>(b->Colors),
              static_cast<int32_t>(b->Flags & ~0x57u)} {
    const auto* palette = reinterpret_cast<const uint8_t*>(b->Info.Palette);
    if (b->BitsPerPixel <= 8) content.insert(content.end(), palette, palette + 1024);
  }
  bool operator==(const Outcome&) const = default;
  Bytes content;
  std::vector<int32_t> words;
};

TEST(Process, StorageProgressAndPerspectiveMakeNoDifference) {
  for (const Operation& operation : operations()) {
    for (const int32_t bits : {1, 2, 4, 8, 9, 16, 24, 32}) {
      SCOPED_TRACE(testing::Message() << operation.name << " at " << bits);
      const bool is_ramp = bits == 9;
      const auto prepare = [=](Bitmap& bitmap, uint32_t request) {
        make_picture(bitmap, 77, 40, is_ramp ? 8 : bits, request);
        bitmap->XResolution = 99;
        if (is_ramp) make_ramp(bitmap);
      };
      Bitmap in_place, told_of, on_disk, flipped;
      prepare(in_place, 1);
      ASSERT_EQ(operation.call(in_place.get()), T_OK);
      const Outcome want(in_place);
      prepare(told_of, 1);
      T_AccessBitmap(told_of.get());
      {
        const Telling telling;
        ASSERT_EQ(operation.call(told_of.get()), T_OK);
        ASSERT_GE(told.size(), 2u);
        EXPECT_EQ(told.front(), 0);
        EXPECT_EQ(told.back(), 100);
        EXPECT_EQ(std::adjacent_find(told.begin(), told.end(), std::greater_equal<>()), told.end());
      }
      EXPECT_NE(told_of->Flags & T_FLAG_LOCKED, 0u);
      EXPECT_TRUE(Outcome(told_of) == want);
      prepare(on_disk, 3);
      ASSERT_EQ(operation.call(on_disk.get()), T_OK);
      EXPECT_TRUE(Outcome(on_disk) == want);
      // The same picture, stored the other way up.
      prepare(flipped, 1);
      ASSERT_EQ(T_FlipBitmap(flipped.get()), T_OK);
      flipped->ViewPerspective = 0;
      ASSERT_EQ(operation.call(flipped.get()), T_OK);
      ASSERT_EQ(T_FlipBitmap(flipped.get()), T_OK);
      flipped->ViewPerspective = 2;
      EXPECT_TRUE(Outcome(flipped) == want);
    }
  }
}

TEST(Process, EverySpeedGivesTheSamePixels) {
  for (const Operation& operation : operations()) {
    for (const int32_t bits : {1, 9, 16, 24, 32}) {
      for (const int32_t width : {1, 3, 33, 150, 523}) {
        SCOPED_TRACE(testing::Message() << operation.name << " at " << bits << ", " << width);
        std::vector<Outcome> outcomes;
        for (const platform::Processor level : processor_levels()) {
          const LimitedProcessor limited(level);
          Bitmap bitmap;
          make_picture(bitmap, width, 140 - width / 5, bits == 9 ? 8 : bits);
          if (bits == 9) make_ramp(bitmap);
          ASSERT_EQ(operation.call(bitmap.get()), T_OK);
          outcomes.emplace_back(bitmap);
          ASSERT_TRUE(outcomes.back() == outcomes.front()) << static_cast<int>(level);
        }
      }
    }
  }
}

TEST(Process, FailuresAndRefusalsLeaveTheBitmap) {
  for (const Operation& operation : operations()) {
    for (const uint32_t request : {1u, 3u}) {
      for (const int32_t bits : {1, 8, 24}) {
        SCOPED_TRACE(testing::Message() << operation.name << " at " << bits << ", " << request);
        const auto prepare = [=](Bitmap& bitmap) { make_picture(bitmap, 21, 34, bits, request); };
        if (request == 1) refuse_each(operation.call, prepare);
        for (size_t stop = 0; stop < told.size() || stop == 0; stop += stop < 2 ? 1 : 17) {
          Bitmap bitmap;
          prepare(bitmap);
          const BitmapHandle record = *bitmap.get();
          const Bytes content = pixels(bitmap.get());
          const Telling telling(stop);
          if (operation.call(bitmap.get()) == T_OK) break;
          BitmapHandle now = *bitmap.get();
          now.RowOffset = record.RowOffset;
          now.CurrentRow = record.CurrentRow;
          EXPECT_EQ(std::memcmp(&record, &now, sizeof record), 0);
          EXPECT_EQ(pixels(bitmap.get()), content);
          EXPECT_EQ(told.size(), stop + 1);
        }
      }
    }
  }
}

TEST(Process, WhatIsWrongIsSaidInOrder) {
  Bitmap bare;
  T_InitBitmap(bare.get(), 5, 5, 24);
  for (const Operation& operation : operations()) {
    EXPECT_EQ(operation.call(nullptr), T_ERR_ARGUMENT) << operation.name;
    EXPECT_EQ(operation.call(bare.get()), T_ERR_NO_STORAGE) << operation.name;
    bare->Order = 2;
    EXPECT_EQ(operation.call(bare.get()), T_ERR_ARGUMENT) << operation.name;
    bare->Order = 1;
  }
  BitmapHandle* const b = bare.get();
  const int32_t odd[9] = {32768};
  for (const int32_t status : {T_RotateBitmap(b, 45),
                               T_RotateBitmapFine(b, 1, 4, 0),
                               T_RotateBitmapFine(b, 1, 0, 1 << 24),
                               T_AverageFilterBitmap(b, 4),
                               T_AverageFilterBitmap(b, 257),
                               T_MedianFilterBitmap(b, 1),
                               T_SpatialFilterBitmap(b, nullptr, 3, 1, 0, 0),
                               T_SpatialFilterBitmap(b, odd, 3, 1, 0, 0),
                               T_SpatialFilterBitmap(b, kLaplace, 3, -1, 0, 0),
                               T_SpatialFilterBitmap(b, kLaplace, 3, 8388608, 0, 0),
                               T_SpatialFilterBitmap(b, kLaplace, 3, 1, 256, 0),
                               T_SpatialFilterBitmap(b, kLaplace, 3, 1, 0, 2),
                               T_SharpenBitmap(b, 1001),
                               T_BinaryFilterBitmap(b, 4, 0, 3),
                               T_BinaryFilterBitmap(b, 0, 4, 3),
                               T_BinaryFilterBitmap(b, 0, 0, 2),
                               T_DespeckleBitmap(b, 17),
                               T_DespeckleBitmap(b, 0),
                               T_MosaicBitmap(b, 1),
                               T_MosaicBitmap(b, 32768),
                               T_ChangeBitmapIntensity(b, -1001),
                               T_ChangeBitmapContrast(b, 1001),
                               T_ChangeBitmapHue(b, 361),
                               T_ChangeBitmapSaturation(b, -1001),
                               T_PosterizeBitmap(b, 1),
                               T_PosterizeBitmap(b, 65),
                               T_HalfToneBitmap(b, 1, 0),
                               T_HalfToneBitmap(b, 2, 361),
                               T_FindSkew(b, nullptr),
                               T_IsBlank(b, 0, nullptr),
                               T_IsBlank(b, -1, &b->XResolution),
                               T_IsBlank(b, 1000001, &b->XResolution)}) {
    EXPECT_EQ(status, T_ERR_ARGUMENT);
  }
  // Nothing asked, nothing done.
  Bitmap bitmap;
  make_picture(bitmap, 5, 4, 4);
  const BitmapHandle record = *bitmap.get();
  EXPECT_EQ(T_RotateBitmapFine(bitmap.get(), -72000, 3, 0), T_OK);
  EXPECT_EQ(T_SharpenBitmap(bitmap.get(), 0), T_OK);
  EXPECT_EQ(T_ChangeBitmapHue(bitmap.get(), -360), T_OK);
  EXPECT_EQ(std::memcmp(&record, bitmap.get(), sizeof record), 0);
}

// A turned picture whose lines do not fit 32 bits, and the longest ones that are usual.
TEST(Process, Limits) {
  Bitmap line;
  make_picture(line, 30000000, 1, 1);
  EXPECT_EQ(T_RotateBitmapFine(line.get(), 4500, 0, 0), T_ERR_SIZE);
  for (const auto& [width, height] : {std::pair{65535, 1}, {1, 65535}}) {
    for (const Operation& operation : operations()) {
      Bitmap bitmap;
      make_picture(bitmap, width, height, 8);
      make_ramp(bitmap);
      if (std::strncmp(operation.name, "fine", 4) == 0) continue;
      EXPECT_EQ(operation.call(bitmap.get()), T_OK) << operation.name;
    }
  }
  Bitmap white;
  make_picture(white, 2, 2, 24);
  const Bytes full(8, 255);
  int32_t most[49];
  std::fill(most, most + 49, -32768);
  for (uint32_t y = 0; y < 2; ++y) {
    const core::AccessScope accessed(*white.get());
    T_PutBitmapRow(white.get(), full.data(), y, 8);
  }
  // 49 * 32768 * 255 / 8388607 is 48.8.
  ASSERT_EQ(T_SpatialFilterBitmap(white.get(), most, 7, 8388607, 60, 0), T_OK);
  EXPECT_EQ(rgb(white.get()), Bytes(12, 11));
}

TEST(Process, PalettesChangeWithTheirObjects) {
  Bitmap bitmap;
  make_picture(bitmap, 9, 9, 4);
  ASSERT_EQ(T_CreatePaintPalette(bitmap.get()), T_OK);
  bitmap->Info.Palette[3] = {1, 2, 3, 0};  // the object has another colour
  const Bytes before = rgb(bitmap.get());
  const Bytes content = pixels(bitmap.get());
  ASSERT_EQ(T_ReverseBitmap(bitmap.get()), T_OK);
  EXPECT_NE(bitmap->GdiObjectA, 0u);
  ASSERT_EQ(T_ReverseBitmap(bitmap.get()), T_OK);
  ASSERT_EQ(T_InvertBitmap(bitmap.get()), T_OK);
  EXPECT_EQ(bitmap->GdiObjectA, 0u);
  EXPECT_EQ(pixels(bitmap.get()), content);
  EXPECT_EQ(bitmap->Info.Palette[3].Green, 255 - 3 * 37);
  EXPECT_EQ(bitmap->Info.Palette[16].Red, 16);  // beyond Colors
}

}  // namespace
}  // namespace tavo::test
