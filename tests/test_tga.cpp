// TGA: what is written byte for byte, colour maps, packets, origins, damaged headers.
#include <gtest/gtest.h>

#include "format_cases.h"

namespace tavo::test {
namespace {

// The colour map of a file.
struct Map {
  uint8_t type = 0;
  uint16_t first = 0;
  uint16_t entries = 0;
  uint8_t bits = 0;
  Bytes bytes = {};
};

// A file with its origin at 7, 9.
Bytes tga_file(uint8_t type, uint32_t width, uint32_t height, uint8_t bits, const Bytes& data,
               uint8_t descriptor = 0, const Map& map = {}, const Bytes& id = {}) {
  return join({{static_cast<uint8_t>(id.size()), map.type, type},
               le16(map.first),
               le16(map.entries),
               {map.bits},
               le16(7),
               le16(9),
               le16(width),
               le16(height),
               {bits, descriptor},
               id,
               map.bytes,
               data});
}

Bytes rgb_of(const Bytes& file) {
  Bitmap bitmap;
  EXPECT_EQ(load(file, bitmap), T_OK);
  return rgb(bitmap.get());
}

TEST(Tga, WritesExactlyThis) {
  Disk disk;
  for (const uint32_t perspective : {0u, 2u}) {
    Bitmap picture;
    make_picture(picture, 2, 2, 24, 1, perspective);
    T_AccessBitmap(picture.get());
    T_PutBitmapRow(picture.get(), hex("0102030405060000 0708090A0B0C0000").data(), 0, 16);
    T_ReleaseBitmap(picture.get());
    ASSERT_EQ(T_SaveTGABitmap("a", picture.get(), 24), T_OK);
    EXPECT_EQ(disk.files["a"],
              join({hex("000002 0000000000 00000000 02000200 18"),
                    hex(perspective == 0 ? "20" : "00"), hex("0102030405060708090A0B0C")}));
    picture->Order = T_ORDER_RGB;
    ASSERT_EQ(T_SaveTGABitmap("a", picture.get(), 24), T_OK);
    EXPECT_EQ(part(disk.files["a"], 18, 6), (Bytes{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(T_SaveFile("a", picture.get(), T_FORMAT_TGA, 4, 0, 0, 1, 0), T_ERR_DEPTH);
  }
}

TEST(Tga, ColorMapsOfEveryEntrySizeBeginAtTheirFirstIndex) {
  const struct {
    uint8_t bits;
    Bytes entry;
    Bytes want;
  } cases[] = {{8, {99}, {99, 99, 99}},
               {15, {0x1F, 0x7C}, {255, 0, 255}},
               {16, {0xE0, 0x83}, {0, 255, 0}},
               {24, {1, 2, 3}, {3, 2, 1}},
               {32, {1, 2, 3, 4}, {3, 2, 1}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.bits));
    const Map map = {9, 40, 2, c.bits, join({Bytes(c.entry.size(), 0), c.entry})};
    Bitmap bitmap;
    ASSERT_EQ(load(tga_file(1, 2, 1, 8, {41, 40}, 0, map, {'i', 'd'}), bitmap), T_OK);
    EXPECT_EQ(bitmap->Colors, 2u);
    EXPECT_EQ(bitmap->Order, T_ORDER_RGB);
    EXPECT_EQ(rgb(bitmap.get()), join({c.want, {0, 0, 0}}));
  }
  // A map that reaches beyond index 255, and one beside a true-colour picture.
  const Map edge = {1, 255, 3, 24, Bytes(9, 77)};
  EXPECT_EQ(rgb_of(tga_file(1, 1, 1, 8, {255}, 0, edge)), (Bytes{77, 77, 77}));
  EXPECT_EQ(rgb_of(tga_file(2, 1, 1, 24, {1, 2, 3}, 0, edge)), (Bytes{3, 2, 1}));
}

// Every pixel size, packets of every length, rows that cut them anywhere; against a decoder that
// takes one pixel at a time.
TEST(Tga, LongRunsAndLiteralsDecodeAsOnePixelAtATime) {
  for (const uint8_t bits : {8, 16, 24, 32}) {
    for (const uint16_t width : {1, 2, 5, 63, 130, 257}) {
      SCOPED_TRACE(testing::Message() << int{bits} << " bits, width " << width);
      const size_t size = bits / 8;
      Random random(bits * 1000u + width);
      Bytes data, want;
      while (want.size() < size * width * 300) {
        const uint32_t count = 1 + random.below(random.below(2) == 0 ? 4 : 128);
        const bool is_run = random.below(2) == 0;
        data.push_back(static_cast<uint8_t>((count - 1) | (is_run ? 0x80 : 0)));
        Bytes pixel(size);
        for (uint32_t i = 0; i < count; ++i) {
          if (i == 0 || !is_run) {
            pixel = random.bytes(size);
            if (bits == 16) pixel[1] &= 0x7F;
            data.insert(data.end(), pixel.begin(), pixel.end());
          }
          want.insert(want.end(), pixel.begin(), pixel.end());
        }
      }
      want.resize(size * width * 300);
      Bitmap bitmap;
      ASSERT_EQ(load(tga_file(bits == 8 ? 11 : 10, width, 300, bits, data, 0x20), bitmap), T_OK);
      ASSERT_EQ(pixels(bitmap.get()), want);
    }
  }
}

TEST(Tga, OriginsRampsAndOrdersAreReported) {
  Bitmap gray;
  ASSERT_EQ(load(tga_file(3, 2, 2, 8, {1, 2, 3, 4}), gray), T_OK);
  EXPECT_EQ(gray->Colors, 256u);
  EXPECT_NE(gray->Flags & T_FLAG_GRAY, 0u);
  EXPECT_EQ(gray->XOrigin, 7);
  EXPECT_EQ(gray->YOrigin, 9);
  EXPECT_EQ(rgb(gray.get()), (Bytes{3, 3, 3, 4, 4, 4, 1, 1, 1, 2, 2, 2}));
  for (const uint8_t type : {3, 2}) {  // one byte per pixel of true colour: grey, too
    EXPECT_EQ(rgb_of(tga_file(type, 2, 2, 8, {1, 2, 3, 4}, 0x20)),
              (Bytes{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4}));
  }
  const struct {
    uint8_t corner;
    uint32_t view_perspective;
    uint32_t orientation;
  } cases[] = {{0x00, 2, 1}, {0x10, 2, 2}, {0x20, 0, 1}, {0x30, 2, 3}};
  for (const auto& c : cases) {
    const FILEINFO info = info_of(tga_file(3, 1, 1, 8, {1}, c.corner));
    EXPECT_EQ(info.Orientation, c.orientation) << int{c.corner};
    EXPECT_EQ(info.ViewPerspective, c.view_perspective) << int{c.corner};
  }
}

TEST(Tga, HeadersThatDoNotGoTogetherAreNoTga) {
  const Bytes good = tga_file(1, 1, 1, 8, {1}, 0, {1, 0, 2, 24, Bytes(6, 1)});
  EXPECT_EQ(read_directly(T_LoadTGAFile, good), T_OK);
  const std::initializer_list<ByteChange> changes = {
      {"colour-map type", 1, 2, T_ERR_BAD_DATA},  {"a map without its mark", 1, 0, T_ERR_BAD_DATA},
      {"no map", 5, 0, T_ERR_BAD_DATA},           {"entry size", 7, 12, T_ERR_BAD_DATA},
      {"no width", 12, 0, T_ERR_BAD_DATA},        {"no height", 14, 0, T_ERR_BAD_DATA},
      {"mapped words", 16, 16, T_ERR_BAD_DATA},   {"7 bits", 16, 7, T_ERR_BAD_DATA},
      {"interleaving", 17, 0x40, T_ERR_BAD_DATA}, {"attribute bits", 17, 9, T_ERR_BAD_DATA},
      {"image type 0", 2, 0, T_ERR_SUBTYPE},      {"image type 32", 2, 32, T_ERR_SUBTYPE},
  };
  expect_answers(T_LoadTGAFile, good, changes);
  for (const ByteChange& c : changes) {
    Bytes file = good;
    file[c.at] = c.value;
    FILEINFO info;
    EXPECT_EQ(T_FileInfoMemory(file.data(), &info, file.size()), T_ERR_BAD_DATA) << c.why;
  }
  for (size_t length = 0; length < good.size(); ++length) {
    EXPECT_EQ(read_directly(T_LoadTGAFile, part(good, 0, length)), T_ERR_READ) << length;
  }
}

}  // namespace

FormatCase tga_case() {
  FormatCase tga{"TGA", {}, T_FORMAT_TGA, {8, 16, 24, 32}};
  tga.samples = {
      {"8 bits", tga_file(1, 3, 2, 8, hex("010001000001"), 0, {1, 0, 2, 16, hex("11223344")})},
      {"mapped runs", tga_file(9, 5, 3, 8, hex("86 01 020302 01 84 02"), 0x20,
                               {1, 1, 3, 32, Bytes(12, 5)}, {1, 2, 3})},
      {"24 bits", saved_sample(T_FORMAT_TGA, 24, 3, 2)},
      {"32-bit runs", tga_file(10, 4, 2, 32, hex("84 01020300 02 04050600 07080900 01010100"), 8)},
      {"16 bits", saved_sample(T_FORMAT_TGA, 16, 3, 2)},
      {"15 bits", tga_file(2, 1, 2, 15, {1, 2, 3, 4})},
      {"grey runs", tga_file(11, 6, 2, 8, hex("88 09 02 010203"))},
  };
  return tga;
}

}  // namespace tavo::test
