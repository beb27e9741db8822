// Filtered resampling: the weights, bitmaps and files of every kind, what can go wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "format_cases.h"
#include "process/smooth/weights.h"
#include "processor_levels.h"
#include "support.h"

namespace tavo::test {
namespace {

using process::SmoothFilter;
using process::SmoothSide;

std::vector<int> parts_of(SmoothFilter filter, const SmoothSide& side, uint32_t result,
                          uint32_t* first = nullptr) {
  process::SmoothWeights weights;
  EXPECT_TRUE(weights.start(filter, side).ok());
  const process::SmoothWindow window = weights.window(result);
  if (first != nullptr) *first = window.first;
  return {window.parts.begin(), window.parts.end()};
}

TEST(Smooth, WorkedWeights) {
  using enum SmoothFilter;
  const std::vector<int> half = {8, 64, 124, 84, -126, -433, -605, -349, 496, 1798, 3139, 3992};
  uint32_t first = 0;
  std::vector<int> lanczos = parts_of(kLanczos, SmoothSide::of(4096, 1024), 10, &first);
  EXPECT_EQ(first, 30u);
  EXPECT_EQ(std::vector<int>(lanczos.begin(), lanczos.begin() + 12), half);
  std::ranges::reverse(lanczos);
  EXPECT_EQ(std::vector<int>(lanczos.begin(), lanczos.begin() + 12), half);
  SmoothSide side = SmoothSide::of(3, 4);
  EXPECT_EQ(parts_of(kBox, side, 1, &first), (std::vector<int>{5461, 10923}));
  EXPECT_EQ(first, 0u);
  side.is_mirrored = true;
  EXPECT_EQ(parts_of(kBox, side, 2, &first), (std::vector<int>{10923, 5461}));
  EXPECT_EQ(first, 1u);
  // Beside the edge a pixel counts for those that are missing: 0.3 and 0.7 in the middle.
  EXPECT_EQ(parts_of(kTriangle, SmoothSide::of(2, 5), 0), std::vector<int>{16384});
  EXPECT_EQ(parts_of(kTriangle, SmoothSide::of(2, 5), 1), (std::vector<int>{14746, 1638}));
  EXPECT_EQ(parts_of(kMitchell, SmoothSide::of(9, 9), 4), (std::vector<int>{910, 14564, 910}));
}

TEST(Smooth, WeightsAlwaysAddUp) {
  Random random(3);
  for (int round = 0; round < 300; ++round) {
    const auto draw = [&] {
      return 1 + static_cast<int32_t>(random.below(round % 9 == 0 ? 65535 : 60));
    };
    SmoothSide side = SmoothSide::of(draw(), draw());
    process::SmoothWeights weights;
    ASSERT_TRUE(weights.start(static_cast<SmoothFilter>(1 + round % 5), side).ok());
    for (const uint32_t x : {0u, side.results / 2u, side.results - 1u}) {
      const process::SmoothWindow window = weights.window(x);
      ASSERT_EQ(std::accumulate(window.parts.begin(), window.parts.end(), 0), 16384);
      ASSERT_LE(window.end(), static_cast<uint32_t>(side.samples));
    }
  }
}

// The samples of all channels, one after the other, weighed in both directions.
Bytes weighed(const Bytes& from, int32_t width, int32_t height, const SmoothSide& across,
              const SmoothSide& down, SmoothFilter filter) {
  process::SmoothWeights weights;
  const auto channels = static_cast<uint32_t>(from.size()) / width / height;
  std::vector<int32_t> rows(size_t{channels} * across.results * height);
  EXPECT_TRUE(weights.start(filter, across).ok());
  for (uint32_t i = 0; i < rows.size(); ++i) {
    const uint32_t channel = i % channels, x = i / channels % across.results;
    const process::SmoothWindow window = weights.window(x);
    int32_t sum = 128;
    for (uint32_t k = window.first; k < window.end(); ++k) {
      const size_t row = size_t{i / channels / across.results} * width;
      sum += window.parts[k - window.first] * from[(row + k) * channels + channel];
    }
    rows[i] = sum >> 8;
  }
  EXPECT_TRUE(weights.start(filter, down).ok());
  const size_t line = size_t{channels} * across.results;
  Bytes to;
  for (int32_t y = 0; y < down.results; ++y) {
    const process::SmoothWindow window = weights.window(y);
    for (size_t x = 0; x < line; ++x) {
      int32_t sum = 1 << 19;
      for (uint32_t k = window.first; k < window.end(); ++k) {
        sum += window.parts[k - window.first] * rows[k * line + x];
      }
      to.push_back(static_cast<uint8_t>(std::clamp(sum >> 20, 0, 255)));
    }
  }
  return to;
}

TEST(Smooth, EveryDepthStorageAndSpeed) {
  Random random(8);
  constexpr int32_t kBits[] = {1, 2, 4, 8, 16, 24, 32};
  for (int round = 0; round < 280; ++round) {
    const int32_t bits = kBits[round % 7];
    const auto draw = [&] {
      return 1 + static_cast<int32_t>(random.below(round % 3 == 0 ? 9 : 75));
    };
    int32_t width = draw(), height = draw(), new_width = draw(), new_height = draw() + height;
    auto filter = static_cast<SmoothFilter>(1 + random.below(5));
    if (round % 4 == 0) {  // means of squares
      const uint32_t halvings = 1 + random.below(4);
      filter = SmoothFilter::kBox;
      new_width = width, width <<= halvings;
      new_height = height, height <<= halvings;
    }
    const uint32_t perspective = random.below(4);
    const auto levels = processor_levels();
    const LimitedProcessor limited(levels[random.below(static_cast<uint32_t>(levels.size()))]);
    Bitmap bitmap;
    make_picture(bitmap, width, height, bits, round % 5 == 0 ? 3 : 1, perspective);
    if (bits == 8 && round % 2 == 0) T_GrayScaleBitmap(bitmap.get());
    if (bits > 8) bitmap->Order = random.below(2);
    const bool is_gray = bitmap->Flags & T_FLAG_GRAY;
    if (is_gray && round % 8 < 4) std::reverse(bitmap->Info.Palette, bitmap->Info.Palette + 256);
    const Bytes before = rgb(bitmap.get());
    SCOPED_TRACE(testing::Message() << bits << " bits, " << width << " x " << height << " to "
                                    << new_width << " x " << new_height);
    ASSERT_EQ(T_SizeBitmapFine(bitmap.get(), new_width, new_height, static_cast<uint32_t>(filter)),
              T_OK);
    ASSERT_EQ(bitmap->BitsPerPixel, bits > 8 ? bits : is_gray ? 8 : 24);
    ASSERT_EQ(bitmap->ViewPerspective, perspective);
    // Stored upside down or not, the picture is weighed from its top.
    Bytes want = weighed(before, width, height, SmoothSide::of(width, new_width),
                         SmoothSide::of(height, new_height), filter);
    if (bits == 16) {
      for (uint8_t& b : want) b = static_cast<uint8_t>((b & 0xF8) | b >> 5);
    }
    ASSERT_EQ(rgb(bitmap.get()), want);
  }
}

TEST(Smooth, FourthBytesAndBit15AreTheNearestPixels) {
  for (const int32_t bits : {16, 32}) {
    Bitmap bitmap;
    make_picture(bitmap, 40, 30, bits);
    const Bytes before = pixels(bitmap.get());
    ASSERT_EQ(T_SizeBitmapFine(bitmap.get(), 17, 90, T_SIZE_LANCZOS), T_OK);
    const Bytes after = pixels(bitmap.get());
    const int32_t bytes = bits / 8, mask = bits == 16 ? 0x80 : 0xFF;
    for (int32_t y = 0; y < 90; ++y) {
      for (int32_t x = 0; x < 17; ++x) {
        const int32_t from = (2 * y + 1) * 30 / 180 * 40 + (2 * x + 1) * 40 / 34;
        ASSERT_EQ(after[(y * 17 + x + 1) * bytes - 1] & mask,
                  before[(from + 1) * bytes - 1] & mask);
      }
    }
  }
}

TEST(Smooth, Statuses) {
  Bitmap bitmap, empty;
  make_picture(bitmap, 9, 9, 24);
  BitmapHandle* const b = bitmap.get();
  for (const auto& [width, height, method] :
       {std::tuple{0, 5, 1u}, {5, 0, 1u}, {5, -1, 5u}, {5, 5, 6u}, {5, 5, T_SIZE_DRAFT}}) {
    EXPECT_EQ(T_SizeBitmapFine(b, width, height, method), T_ERR_ARGUMENT);
  }
  EXPECT_EQ(T_SizeBitmapFine(nullptr, 5, 5, 1), T_ERR_ARGUMENT);
  EXPECT_EQ(T_SizeBitmapFine(b, INT32_MAX, 9, T_SIZE_BOX), T_ERR_SIZE);
  b->Order = 2;
  EXPECT_EQ(T_SizeBitmapFine(b, 5, 5, T_SIZE_BOX), T_ERR_ARGUMENT);
  T_InitBitmap(empty.get(), 9, 9, 8);
  EXPECT_EQ(T_SizeBitmapFine(empty.get(), 5, 5, T_SIZE_BOX), T_ERR_NO_STORAGE);
  refuse_each([](BitmapHandle* some) { return T_SizeBitmapFine(some, 21, 5, T_SIZE_CUBIC); },
              [](Bitmap& some) { make_picture(some, 30, 40, 4); });
}

TEST(Smooth, LoadsGiveWhatTheStepsOneByOneGive) {
  for (const int32_t format : {T_FORMAT_BMP, T_FORMAT_GIF, T_FORMAT_TIFF, T_FORMAT_CMP_SAVE}) {
    for (const int32_t bits : {0, 8, 16, 24, 32}) {
      Disk disk;
      disk.files["x"] = saved_sample(format, format == T_FORMAT_CMP_SAVE ? 24 : 8, 61, 43);
      Bitmap steps, once;
      const auto method = static_cast<uint32_t>(bits / 8 + 1);
      ASSERT_EQ(T_LoadBitmap("x", steps.get(), 0, T_ORDER_BGR), T_OK);
      ASSERT_EQ(T_SizeBitmapFine(steps.get(), 30, 21, method), T_OK);
      if (bits == 8) T_GrayScaleBitmap(steps.get());
      if (bits > 8) T_ColorResolution(steps.get(), bits, T_PALETTE_NONE, nullptr, 0);
      ASSERT_EQ(T_LoadBitmapFine("x", once.get(), bits, T_ORDER_RGB, 30, 0, method), T_OK);
      EXPECT_EQ(once->Height, 21) << "43 * 30 / 61";
      EXPECT_TRUE(once->BitsPerPixel <= 8 || bits == 0 || once->Order == T_ORDER_RGB);
      EXPECT_EQ(once->XResolution, steps->XResolution);
      EXPECT_EQ(rgb(once.get()), rgb(steps.get())) << format << " at " << bits;
      Bitmap draft;
      const uint32_t smaller = T_SIZE_BOX | T_SIZE_DRAFT;
      EXPECT_EQ(T_LoadBitmapFine("x", draft.get(), 0, -1, 5, 0, smaller), T_OK);
      EXPECT_EQ(T_GetRowsRead(), 43) << "rows of the file, not of the draft";
    }
  }
  Bitmap none;
  EXPECT_EQ(T_LoadBitmapFine("x", none.get(), 4, 0, 5, 5, 1), T_ERR_ARGUMENT);
  EXPECT_EQ(T_LoadBitmapFine("x", none.get(), 0, 0, 0, 0, 1), T_ERR_ARGUMENT);
  EXPECT_EQ(T_LoadBitmapFine("no such file", none.get(), 0, 0, 5, 5, 1), T_ERR_OPEN);
  EXPECT_EQ(T_FreeBitmap(none.get()), 0);
}

}  // namespace
}  // namespace tavo::test
