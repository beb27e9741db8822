// Built-in palettes, grey levels, nearest colour, palette mapping.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <vector>

#include "color/gray.h"
#include "color/nearest.h"
#include "color/palette_map.h"
#include "color/palettes.h"
#include "platform/platform.h"

namespace tavo::color {
namespace {

using Palette = std::vector<T_PaletteEntry>;

T_PaletteEntry rgb(int red, int green, int blue) {
  return {static_cast<uint8_t>(blue), static_cast<uint8_t>(green), static_cast<uint8_t>(red), 0};
}

const T_PaletteEntry kBlack = rgb(0, 0, 0);
const T_PaletteEntry kWhite = rgb(255, 255, 255);

TEST(Palettes, BuiltInPalettesHaveTheirColours) {
  EXPECT_TRUE(builtin_palette(2).empty());
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

struct Choice {
  const char* why;
  Palette palette;
  T_PaletteEntry color;
  int32_t want;
};

TEST(Nearest, TakesTheRightOneOfEquals) {
  const Choice choices[] = {
      {"both ends black: the first", {kBlack, rgb(9, 9, 9), kBlack}, kBlack, 0},
      {"last black before an inner one", {rgb(1, 0, 0), kBlack, rgb(9, 9, 9), kBlack}, kBlack, 3},
      {"only an inner black", {rgb(1, 0, 0), kBlack, kBlack, rgb(9, 9, 9)}, kBlack, 1},
      {"both ends white: the last", {kWhite, rgb(9, 9, 9), kWhite}, kWhite, 2},
      {"first white before an inner one", {kWhite, kWhite, rgb(9, 9, 9)}, kWhite, 0},
      {"an exact match ends the search",
       {rgb(5, 6, 7), rgb(7, 7, 7), rgb(7, 7, 7)},
       rgb(7, 7, 7),
       1},
      {"equal, no hue fits: the first",
       {rgb(104, 100, 101), rgb(96, 100, 97)},
       rgb(100, 99, 99),
       0},
      {"equal, the later has the hue",
       {rgb(98, 100, 100), rgb(102, 100, 100)},
       rgb(100, 100, 100),
       1},
      {"equal, two have the hue: the last",
       {rgb(102, 98, 96), rgb(98, 98, 96), rgb(100, 96, 100), rgb(105, 98, 96)},
       rgb(100, 98, 96),
       1},
      {"equal, the earlier alone has it",
       {rgb(102, 100, 100), rgb(98, 100, 100)},
       rgb(100, 100, 100),
       0},
  };
  for (const Choice& c : choices) {
    EXPECT_EQ(nearest_color_plain(c.palette, c.color.Red, c.color.Green, c.color.Blue), c.want)
        << c.why;
    NearestColor nearest;
    nearest.start(c.palette);
    EXPECT_EQ(nearest.find(c.color.Red, c.color.Green, c.color.Blue), c.want) << c.why;
  }
  EXPECT_EQ(nearest_color_plain({}, 0, 0, 0), -1);
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
