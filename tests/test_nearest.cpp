// Built-in palettes, grey levels, nearest colour, palette mapping.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "color/gray.h"
#include "color/nearest.h"
#include "color/palette_map.h"
#include "color/palettes.h"
#include "processor_levels.h"
#include "support.h"

namespace tavo::color {
namespace {

using Palette = std::vector<T_PaletteEntry>;

T_PaletteEntry rgb(int red, int green, int blue) {
  return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

const T_PaletteEntry kWhite = rgb(255, 255, 255);

TEST(Palettes, BuiltInPalettesHaveTheirColours) {
  EXPECT_TRUE(builtin_palette(3).empty());
  EXPECT_EQ(builtin_palette(1).size(), 2u);
  const auto standard = builtin_palette(4);
  ASSERT_EQ(standard.size(), 16u);
  for (const auto& [at, want] : {std::pair{1, rgb(128, 0, 0)},
                                 {3, rgb(128, 128, 0)},
                                 {7, rgb(128, 128, 128)},
                                 {8, rgb(192, 192, 192)},
                                 {9, rgb(255, 0, 0)},
                                 {12, rgb(0, 0, 255)},
                                 {15, kWhite}}) {
    EXPECT_EQ(std::memcmp(&standard[at], &want, 4), 0) << at;
  }
  const auto cube = builtin_palette(8);
  ASSERT_EQ(cube.size(), 256u);
  const int levels[] = {0, 36, 73, 109, 146, 182, 219, 255};  // 255 k / 7, rounded
  for (int i = 0; i < 256; ++i) {
    const auto want = rgb(levels[i >> 5], levels[i >> 2 & 7], (i & 3) * 85);
    EXPECT_EQ(std::memcmp(&cube[i], &want, 4), 0) << i;
  }
}

TEST(Palettes, GrayLevelsAreRounded) {
  EXPECT_EQ(gray_level(255, 255, 255), 255);
  EXPECT_EQ(gray_level(2, 0, 0), 1);
  EXPECT_EQ(gray_level(0, 0, 3), 0);
  EXPECT_EQ(gray_level(0, 100, 0), 63);
}

// Entries of red, green, blue in hexadecimal digits.
Palette palette_of(const char* digits) {
  const test::Bytes bytes = test::hex(digits);
  Palette palette;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    palette.push_back(rgb(bytes[i], bytes[i + 1], bytes[i + 2]));
  }
  return palette;
}

TEST(Nearest, TakesTheRightOneOfEquals) {
  const struct {
    const char* why;
    const char* palette;
    const char* color;
    int32_t want;
  } choices[] = {
      {"both ends black: the first", "000000 090909 000000", "000000", 0},
      {"last black before an inner one", "010000 000000 090909 000000", "000000", 3},
      {"only an inner black", "010000 000000 000000 090909", "000000", 1},
      {"both ends white: the last", "FFFFFF 090909 FFFFFF", "FFFFFF", 2},
      {"first white before an inner one", "FFFFFF FFFFFF 090909", "FFFFFF", 0},
      {"an exact match ends the search", "050607 070707 070707", "070707", 1},
      {"equal, no hue fits: the first", "686465 606461", "646363", 0},
      {"equal, the later has the hue", "626464 666464", "646464", 1},
      {"equal, two have the hue: the last", "666260 626260 646064 696260", "646260", 1},
      {"equal, the earlier alone has it", "666464 626464", "646464", 0},
  };
  for (const auto& c : choices) {
    const Palette palette = palette_of(c.palette);
    const T_PaletteEntry color = palette_of(c.color)[0];
    EXPECT_EQ(nearest_color_plain(palette, color.Red, color.Green, color.Blue), c.want) << c.why;
    NearestColor nearest;
    nearest.start(palette);
    EXPECT_EQ(nearest.find(color.Red, color.Green, color.Blue), c.want) << c.why;
  }
  EXPECT_EQ(nearest_color_plain({}, 0, 0, 0), -1);
}

// Small spreads make equal distances and duplicates frequent, large ones the lists short.
Palette random_palette(test::Random& random, size_t count, uint32_t spread, uint32_t scale) {
  Palette palette(count);
  for (T_PaletteEntry& e : palette) {
    const auto part = [&] { return static_cast<int>(random.below(spread) * scale % 256); };
    e = rgb(part(), part(), part());
  }
  return palette;
}

TEST(Nearest, FindsWhatTheWholeScanFinds) {
  test::Random random(4);
  for (const auto& level : test::processor_levels()) {
    const test::LimitedProcessor limit(level);
    NearestColor nearest;
    for (const size_t count : {1, 2, 7, 16, 17, 100, 255, 256}) {
      for (const auto& [spread, scale] : {std::pair{256u, 1u}, {2u, 255u}, {6u, 51u}, {9u, 16u}}) {
        const Palette palette = random_palette(random, count, spread, scale);
        nearest.start(palette);
        std::vector<uint32_t> colors = {0, 0xFFFFFF, 0xFF000000};
        while (colors.size() < 3000) colors.push_back(random.next());
        for (const T_PaletteEntry& e : palette) {
          const uint32_t color = e.Red | e.Green << 8 | e.Blue << 16;
          colors.insert(colors.end(), {color, color ^ 1, color ^ 0x100, color ^ 0x010100});
        }
        std::vector<uint8_t> found(colors.size());
        nearest.find_all(colors, found);
        for (size_t i = 0; i < colors.size(); ++i) {
          const uint32_t c = colors[i];
          ASSERT_EQ(found[i], nearest_color_plain(palette, c & 255, c >> 8 & 255, c >> 16 & 255))
              << std::hex << c << " among " << std::dec << count << " of spread " << spread;
        }
      }
    }
  }
}

TEST(Nearest, KeepsFindingWhenItsListsFillUp) {
  // Entries near a plane have long lists in every cell.
  Palette palette;
  for (int i = 0; i < 256; ++i) palette.push_back(rgb(128 + i % 3, 120 + i % 16, 120 + i / 16));
  NearestColor nearest;
  nearest.start(palette);
  std::vector<uint32_t> colors;
  for (uint32_t cell = 0; cell < 4096; ++cell) {
    colors.push_back((cell & 15) * 17 | (cell >> 4 & 15) * 17 << 8 | (cell >> 8) * 17 << 16);
  }
  std::vector<uint8_t> found(colors.size());
  for (int pass = 0; pass < 3; ++pass) {
    nearest.find_all(colors, found);
    for (size_t i = 0; i < colors.size(); ++i) {
      const uint32_t c = colors[i];
      ASSERT_EQ(found[i], nearest_color_plain(palette, c & 255, c >> 8 & 255, c >> 16)) << i;
    }
  }
}

TEST(PaletteMap, KnowsAnIdentityAndMapsTheRest) {
  std::array<uint8_t, 256> table;
  NearestColor nearest;
  EXPECT_TRUE(map_palette(nullptr, 16, nullptr, 16, table, nearest));
  Palette longer(builtin_palette(4).begin(), builtin_palette(4).end());
  longer.push_back(rgb(1, 2, 3));
  EXPECT_TRUE(map_palette(nullptr, 16, longer.data(), 17, table, nearest));
  EXPECT_EQ(table[255], 255);
  EXPECT_FALSE(map_palette(nullptr, 2, nullptr, 16, table, nearest));
  EXPECT_EQ(table[0], 0);
  EXPECT_EQ(table[1], 15);
  EXPECT_EQ(table[2], 0);
  // Equal duplicates keep their indices only where no search is made.
  const Palette twice = {rgb(7, 8, 9), rgb(7, 8, 9)};
  EXPECT_TRUE(map_palette(twice.data(), 2, twice.data(), 2, table, nearest));
  EXPECT_EQ(table[1], 1);
  EXPECT_FALSE(map_palette(twice.data(), 2, twice.data(), 1, table, nearest));
  EXPECT_EQ(table[1], 0);
  EXPECT_FALSE(map_palette(nullptr, 256, twice.data(), 0, table, nearest));
}

}  // namespace
}  // namespace tavo::color
