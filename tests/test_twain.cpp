// Scanned pictures in memory: whatever a source says, nothing is read or written outside.
#include <gtest/gtest.h>

#include <array>

#include "core/bitmap.h"
#include "process/twain/strips.h"
#include "process/twain/values.h"
#include "support.h"

namespace tavo::test {
namespace {

using namespace twain;

// One of the values that break arithmetic, or a small one.
uint32_t any(Random& random) {
  constexpr uint32_t kOdd[] = {0,  1,  2,          7,          8,          9,      31,
                               32, 33, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, kUntold};
  return random.below(3) == 0 ? kOdd[random.below(std::size(kOdd))] : random.below(40);
}

TEST(TwainStrips, AnyStripsGiveAPictureOrAFault) {
  const Leftovers before = leftovers();
  int good = 0;
  for (uint64_t seed = 0; seed < 6000; ++seed) {
    Random random(seed);
    ImageInfo info = {};
    constexpr int16_t kBits[] = {1, 1, 4, 8, 8, 16, 24, 24, 48, 5};
    info.width = static_cast<int32_t>(random.below(8) == 0 ? any(random) : 1 + random.below(40));
    info.length = random.below(4) == 0 ? -1 : static_cast<int32_t>(1 + random.below(40));
    info.bits_per_pixel = kBits[random.below(std::size(kBits))];
    info.pixel_type = static_cast<int16_t>(random.below(5));
    info.is_planar = random.below(4) == 0;
    Palette8 palette = {};
    palette.count = static_cast<uint16_t>(random.below(300));
    const PixelRules rules = {random.below(2) == 0, random.below(2) == 0, &palette};
    core::OwnedBitmap bitmap;
    Picture picture;
    Strips strips;
    if (!describe(info, random.below(6), picture).ok() || picture.width > 1000) continue;
    if (!strips.start(picture, rules, *bitmap).ok()) continue;
    Bytes buffer = random.bytes(64 + random.below(1000));  // of its very size
    bool is_good = true;
    for (uint32_t i = random.below(30); is_good && i > 0; --i) {
      MemoryTransfer strip = {kUntold16, 0, kUntold, 1 + random.below(3), 0, kUntold, kUntold, {}};
      strip.row_bytes = static_cast<uint32_t>(strips.row_bytes()) + random.below(4);
      if (random.below(3) == 0) strip.columns = any(random);
      if (random.below(3) == 0) strip.y_offset = any(random);
      if (random.below(6) == 0) strip.rows = any(random);
      if (random.below(6) == 0) strip.row_bytes = any(random);
      if (random.below(6) == 0) strip.x_offset = any(random);
      if (random.below(6) == 0) strip.written = any(random);
      is_good = strips.add(strip, buffer).ok();
    }
    if (!is_good || !strips.finish().ok()) continue;
    ++good;
    EXPECT_EQ(rgb(bitmap.get()).size(), size_t{3} * bitmap->Width * bitmap->Height);
  }
  EXPECT_GT(good, 150);
  EXPECT_EQ(leftovers(), before);
}

TEST(TwainStrips, PicturesWithHolesAreNone) {
  core::OwnedBitmap bitmap;
  const Picture picture = {.width = 9, .height = 4, .type = kGray, .pixel_bits = 8};
  Strips strips;
  ASSERT_EQ(strips.start(picture, {}, *bitmap), kOk);
  Bytes buffer(36, 200);
  const MemoryTransfer left = {0, 5, 5, 4, 0, 0, 20, {}}, right = {0, 4, 4, 4, 5, 0, 16, {}};
  ASSERT_EQ(strips.add(left, buffer), kOk);
  EXPECT_EQ(strips.finish(), kBadData);
  ASSERT_EQ(strips.add(right, buffer), kOk);
  EXPECT_EQ(strips.finish(), kOk);
  EXPECT_EQ(pixels(bitmap.get()), buffer);
}

TEST(TwainValues, NumbersAndNames) {
  const std::pair<int32_t, uint32_t> fixed[] = {
      {0, 0}, {1500, 0x80000001}, {-1, 0xFFBEFFFF}, {-1000, 0xFFFF}, {32767999, 0xFFBE7FFF}};
  for (const auto& [thousandths, item] : fixed)
    EXPECT_EQ(item_of(fixed_from_thousandths(thousandths)), item) << thousandths;
  EXPECT_EQ(dots_per_inch({299, 0x8000}, kInches), 300);
  EXPECT_EQ(dots_per_inch({118, 7208}, kCentimeters), 300);  // 118.11
  EXPECT_EQ(dots_per_inch({-1, 0}, kInches), 0);
  EXPECT_EQ(dots_per_inch({300, 0}, 5), 0);
  const std::pair<const char*, const char*> names[] = {
      {"a.tif", "a12.tif"},     {"a", "a12"},      {".a", ".a12"}, {"b.c\\a", "b.c\\a12"},
      {"b/a.b.c", "b/a.b12.c"}, {"c:.a", "c:.a12"}};
  std::array<char, 256> made;
  for (const auto& [name, want] : names) {
    EXPECT_EQ(numbered_name(name, 12, made), kOk);
    EXPECT_STREQ(made.data(), want);
  }
  EXPECT_EQ(numbered_name(std::string(253, 'x').c_str(), 12, made), kOk);
  EXPECT_EQ(numbered_name(std::string(254, 'x').c_str(), 12, made), kBadArgument);
}

}  // namespace
}  // namespace tavo::test
