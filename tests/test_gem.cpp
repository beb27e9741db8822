// GEM images: codes, planes and whole pixels, palettes, headers, and what is written.
#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"

namespace tavo::test {
namespace {

Bytes be16(uint32_t value) { return part(be32(value), 2); }

// `more`: what stands behind the eight words of the header.
Bytes gem_file(uint32_t planes, uint32_t width, uint32_t height, const Bytes& data,
               const Bytes& more = {}, uint32_t pattern = 2) {
  return join({be16(1), be16(8 + static_cast<uint32_t>(more.size()) / 2), be16(planes),
               be16(pattern), be16(85), be16(85), be16(width), be16(height), more, data});
}

TEST(Gem, CodesOfARow) {
  const struct {
    const char* what;
    const char* data;
    const char* rows;  // of 5 bytes
  } cases[] = {
      {"solid runs", "05 82 03 85", "0000000000 FFFF000000 FFFFFFFFFF"},
      {"patterns", "00 03 A55A 00 02 1234 81 05", "A55AA55AA5 12341234FF 0000000000"},
      {"literals", "80 05 0102030405 80 07 0102030405AABB 05", "0102030405 0102030405 0000000000"},
      {"nothing", "80 00 05 85 05", "0000000000 FFFFFFFFFF 0000000000"},
      {"rows twice", "0000FF 02 85 05", "FFFFFFFFFF FFFFFFFFFF 0000000000"},
      {"rows beyond the last", "05 0000FF FF 85", "0000000000 FFFFFFFFFF FFFFFFFFFF"},
      {"no times", "0000FF 00 85 0000FF 02 05", "FFFFFFFFFF 0000000000 0000000000"},
      {"counts within a row", "82 0000FF 09 03 05 85", "FFFF000000 0000000000 FFFFFFFFFF"},
      {"beyond the row", "FF 7F 00 FF 1122", "FFFFFFFFFF 0000000000 1122112211"}};
  for (const auto& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(gem_file(1, 40, 3, hex(c.data)), bitmap), T_OK) << c.what;
    EXPECT_EQ(pixels(bitmap.get()), hex(c.rows)) << c.what;
    EXPECT_EQ(bitmap->XResolution, 299);
  }
}

// Plane 0 is the lowest bit.
TEST(Gem, PlanesBecomeIndicesOfTheirPalette) {
  const Bytes planes = hex("8001 0F 8001 33 8001 55 8001 0F 8001 F0 8001 33 8001 55 8001 AA");
  for (uint32_t count = 2; count <= 8; ++count) {
    const Bytes gray_tag = count > 4 ? join({text("XIMG"), be16(0)}) : be16(1);
    Bitmap bitmap;
    ASSERT_EQ(load(gem_file(count, 8, 1, part(planes, 0, 3 * count), gray_tag), bitmap), T_OK);
    EXPECT_EQ(bitmap->BitsPerPixel, count > 4 ? 8 : 4);
    EXPECT_EQ(bitmap->Colors, 1u << count);
    const Bytes got = indices(bitmap.get());
    const Bytes shown = rgb(bitmap.get());
    for (uint32_t x = 0; x < 8; ++x) {
      uint32_t want = 0;
      for (uint32_t k = 0; k < count; ++k) want |= (planes[3 * k + 2] >> (7 - x) & 1u) << k;
      EXPECT_EQ(got[x], want) << count << " planes, pixel " << x;
      const uint32_t last = (1u << count) - 1;
      EXPECT_EQ(shown[3 * x], ((last - want) * 255 + last / 2) / last);
    }
  }
}

// Rows of 24 bits have 16 pixels or a multiple of that.
TEST(Gem, WholePixels) {
  const Bytes tag = join({text("XIMG"), be16(0)});
  const struct {
    uint32_t planes;
    const char* pixels;
    const char* want;
  } cases[] = {{15, "7C1F 03E0", "1F7C E003"},
               {16, "F83F 07C0", "1F7C E003"},
               {24, "010203 040506", "010203 040506"},
               {32, "99010203 99040506", "010203 040506"}};
  for (const auto& c : cases) {
    const Bytes row = hex(c.pixels);
    const auto size = static_cast<uint8_t>(row.size());
    Bitmap bitmap;
    ASSERT_EQ(load(gem_file(c.planes, 2, 1, join({{0x80, size}, row, {42}}), tag), bitmap, 0, -1),
              T_OK);
    EXPECT_EQ(bitmap->Order, c.planes <= 16 ? T_ORDER_BGR : T_ORDER_RGB);
    EXPECT_EQ(pixels(bitmap.get()), hex(c.want)) << c.planes;
  }
}

TEST(Gem, Palettes) {
  const Bytes row = hex("8001 80 8001 00");  // 1, 0, 0 ...
  const auto first_two = [&](const Bytes& more) {
    Bitmap bitmap;
    EXPECT_EQ(load(gem_file(2, 8, 1, row, more), bitmap), T_OK);
    return join({part(rgb(bitmap.get()), 3, 3), part(rgb(bitmap.get()), 0, 3)});
  };
  const Bytes ximg = hex("03E8 01F4 0000 0001 07D0 0002 000000000000 000000000000");
  const Bytes rest(28);
  EXPECT_EQ(first_two({}), hex("FFFFFF FF0000"));
  EXPECT_EQ(first_two(be16(0)), hex("FFFFFF FF0000"));
  EXPECT_EQ(first_two(join({text("XIMG"), be16(0), ximg})), hex("FF8000 00FF01"));
  EXPECT_EQ(first_two(join({text("TIMG"), be16(1), ximg})), hex("0080FF FF00FE"));
  EXPECT_EQ(first_two(join({text("XIMG"), be16(0)})), hex("FFFFFF FF0000"));
  EXPECT_EQ(first_two(join({text("STTT"), be16(2), hex("0770 0123")})), hex("FFFF00 24496D"));
  EXPECT_EQ(first_two(join({text("STTT"), be16(16), hex("0F80 0123")})), hex("FF1100 224466"));
  EXPECT_EQ(first_two(join({be16(0x80), hex("0777 0007"), rest})), hex("FFFFFF 0000FF"));
  const Bytes hls = gem_file(2, 8, 1, row, join({text("XIMG"), be16(2), ximg}));
  EXPECT_EQ(info_of(hls).Width, 8);
  EXPECT_EQ(read_directly(T_LoadIMGFile, hls), T_ERR_SUBTYPE);
}

TEST(Gem, HeadersThatAreIdentifiedAndThoseThatAreRead) {
  const Bytes good = gem_file(1, 8, 1, {0x81});
  const struct {
    size_t at;
    uint8_t value;
    int32_t known, read;
  } cases[] = {{1, 2, T_OK, T_OK},
               {1, 3, T_ERR_BAD_DATA, T_ERR_BAD_DATA},
               {3, 7, T_ERR_BAD_DATA, T_ERR_BAD_DATA},
               {3, 9, T_ERR_BAD_DATA, T_ERR_BAD_DATA},  // outside the file
               {5, 0, T_ERR_BAD_DATA, T_ERR_BAD_DATA},
               {5, 9, T_ERR_BAD_DATA, T_ERR_BAD_DATA},
               {5, 5, T_ERR_BAD_DATA, T_ERR_READ},  // five planes without a tag
               {7, 0, T_ERR_BAD_DATA, T_OK},
               {7, 9, T_ERR_BAD_DATA, T_ERR_BAD_DATA},
               {13, 0, T_ERR_BAD_DATA, T_ERR_BAD_DATA},
               {15, 0, T_ERR_BAD_DATA, T_ERR_BAD_DATA},
               {15, 2, T_OK, T_ERR_READ}};
  for (const auto& c : cases) {
    Bytes file = good;
    file[c.at] = c.value;
    FILEINFO info;
    EXPECT_EQ(T_FileInfoMemory(file.data(), &info, file.size()), c.known) << c.at << "," << c.value;
    EXPECT_EQ(read_directly(T_LoadIMGFile, file), c.read) << c.at << "," << c.value;
  }
  EXPECT_EQ(read_directly(T_LoadIMGFile, gem_file(1, 65535, 65535, {})), T_ERR_READ);
}

TEST(Gem, WritesExactlyThis) {
  Disk disk;
  Bitmap lines, colors;
  make_picture(lines, 72, 3, 1, 1, 0);
  lines->Info.Palette[0] = {255, 255, 255, 0};
  lines->Info.Palette[1] = {0, 0, 0, 0};
  lines->XResolution = 300;
  T_AccessBitmap(lines.get());
  const Bytes row = hex("01 02 02 FFFFFF 000000");
  for (const uint32_t y : {0, 1, 2}) T_PutBitmapRow(lines.get(), row.data(), y, 9);
  ASSERT_EQ(T_SaveFile("a", lines.get(), T_FORMAT_IMG, 1, 0, 0, 1, 0), T_OK);
  const Bytes& saved = disk.files["a"];
  EXPECT_EQ(part(saved, 0, 10), hex("0001 0008 0001 0001 0055"));
  EXPECT_EQ(part(saved, 12), hex("0048 0003 0000FF03 8003 010202 83 03"));

  make_picture(colors, 8, 1, 4, 1, 0);
  colors->Colors = 2;
  colors->Info.Palette[1] = {1, 128, 255, 0};
  T_AccessBitmap(colors.get());
  T_PutBitmapRow(colors.get(), hex("10000000").data(), 0, 4);
  ASSERT_EQ(T_SaveIMGBitmap("b", colors.get(), 4), T_OK);
  const Bytes& file = disk.files["b"];
  EXPECT_EQ(part(file, 0, 8), hex("0001 003B 0004 0001"));
  EXPECT_EQ(part(file, 16, 6), join({text("XIMG"), be16(0)}));
  EXPECT_EQ(part(file, 28, 6), hex("03E8 01F6 0004"));
  EXPECT_EQ(part(file, 34, 84), Bytes(84));
  EXPECT_EQ(part(file, 118), hex("8001 80 01 01 01"));
}

}  // namespace

FormatCase gem_case() {
  FormatCase gem{"GEM", {}, T_FORMAT_IMG, {1, 4, 8}, 2};  // 1 bit is white and black
  gem.samples = {{"1 plane", gem_file(1, 11, 3, hex("0000FF02 8002A5E0 82"))},
                 {"3 planes", gem_file(3, 5, 2, hex("81 0001A55A 01 81 01 81"))},
                 {"4 planes", saved_sample(T_FORMAT_IMG, 4, 9, 2)},
                 {"5 planes", gem_file(5, 5, 1, hex("81 01 81 800177 01"), text("XIMG\1\1"))},
                 {"16 bits", gem_file(16, 3, 1, hex("8006 123456789ABC"), text("XIMG\1\1"))},
                 {"24 bits", gem_file(24, 3, 1, hex("0010 123456"), text("XIMG\1\1"), 3)},
                 {"32 bits", gem_file(32, 2, 1, hex("88"), text("TIMG\1\1"), 4)}};
  return gem;
}

}  // namespace tavo::test
