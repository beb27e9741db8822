// WPG: codes of both versions, records, pages, turned bitmaps, and what is written.
#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"

namespace tavo::test {
namespace {

Bytes record(uint8_t type, const Bytes& data) {
  return join({{type, static_cast<uint8_t>(data.size())}, data});
}

Bytes wpg_file(uint8_t version, std::initializer_list<Bytes> records) {
  return join({hex("FF575043 10000000 0116"), {version, 0, 0, 0, 0, 0}, join(records)});
}

Bytes bitmap1(uint32_t width, uint32_t height, uint32_t bits, const Bytes& data) {
  return join({le16(width), le16(height), le16(bits), le16(72), le16(96), data});
}

Bytes version1(uint32_t width, uint32_t height, uint32_t bits, const Bytes& data) {
  return wpg_file(1, {record(0x0F, hex("0100 B0046009")),
                      record(0x0B, bitmap1(width, height, bits, data)), hex("1000")});
}

Bytes version2(uint32_t width, uint32_t height, uint8_t depth_code, uint8_t coding,
               const Bytes& data) {
  const Bytes head = join({le16(width), le16(height), {depth_code, coding}});
  return wpg_file(2, {hex("01010016 B004B00400 0000000060096009 000000000000000000"),
                      hex("011B000A 0000 64006400 2C015401"),
                      hex("020E00"),
                      {static_cast<uint8_t>(head.size() + data.size())},
                      head,
                      data});
}

struct Coded {
  const char* what;
  const char* data;
  const char* rows;  // three of 4 bytes
};

void expect_rows(Bytes (*file)(const Bytes&), std::initializer_list<Coded> cases) {
  for (const Coded& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(file(hex(c.data)), bitmap), T_OK) << c.what;
    EXPECT_EQ(pixels(bitmap.get()), hex(c.rows)) << c.what;
  }
}

TEST(Wpg, CodesOfVersion1) {
  const auto file = [](const Bytes& data) { return version1(4, 3, 8, data); };
  expect_rows(file,
              {{"runs", "84 07 80 04 03 010203 81 09", "07070707 FFFFFFFF 01020309"},
               {"over the ends of rows", "86 05 06 010203040506", "05050505 05050102 03040506"},
               {"a row twice more", "04 01020304 00 02", "01020304 01020304 01020304"},
               {"more rows than there are", "84 01 00 FF", "01010101 01010101 01010101"},
               {"a row from nothing is white", "00 01 84 00 84 01", "0F0F0F0F 00000000 01010101"},
               {"a repeat ends its row", "82 03 00 01 84 00", "03030F0F 03030F0F 00000000"},
               {"no rows, no bytes", "00 00 80 00 84 02 00 02", "02020202 02020202 02020202"}});
}

TEST(Wpg, CodesOfVersion2) {
  const auto file = [](const Bytes& data) { return version2(4, 3, 4, 1, data); };
  expect_rows(file,
              {{"bytes", "83 07 FF 03 03 01020304", "07070707 FFFFFFFF 01020304"},
               {"units", "7D 02 81 A1B2 00 0102 7F 00 FD 01", "A1B2A1B2 01020000 00000000"},
               {"units over rows", "7D 03 83 010203", "01020301 02030102 03010203"},
               {"one unit again", "80 05 FD 02 FE 02", "05050505 05050505 05050505"},
               {"a row twice more", "03 01020304 FE 02", "01020304 01020304 01020304"},
               {"differences", "7E 83 0F 83 F0 7E 83 11", "0F0F0F0F FFFFFFFF 11111111"},
               {"from within a row", "81 0F 7E 81 F0 83 FF FE 01", "0F0FF0F0 F0F00F0F F0F00F0F"}});
  EXPECT_EQ(read_directly(T_LoadWPGFile, file(hex("7D 00 83 01"))), T_ERR_BAD_DATA);
  EXPECT_EQ(read_directly(T_LoadWPGFile, file(hex("7D 09 83 01"))), T_ERR_BAD_DATA);
  // Plain rows, with and without what WordPerfect puts in front.
  const Bytes rows = hex("010203 040506");
  for (const Bytes& front : {Bytes{}, Bytes{0x7D, 1}}) {
    Bitmap bitmap;
    ASSERT_EQ(load(version2(1, 2, 8, 0, join({front, rows})), bitmap), T_OK);
    EXPECT_EQ(rgb(bitmap.get()), rows);
    EXPECT_EQ(bitmap->XResolution, 6);  // 200 units for a pixel
    EXPECT_EQ(bitmap->YResolution, 10);
  }
  Bytes coarse = version2(1, 2, 8, 0, rows);
  coarse[20] = coarse[21] = 2;  // 514 units per inch across
  EXPECT_EQ(info_of(coarse).XResolution, 3);
}

TEST(Wpg, ColourMapsStandOnTheVgas) {
  const Bytes row = hex("05 00010F10FF");
  const auto shown = [&](std::initializer_list<Bytes> maps) {
    Bitmap bitmap;
    EXPECT_EQ(load(wpg_file(1, {join(maps), record(0x0B, bitmap1(5, 1, 8, row))}), bitmap), T_OK);
    return rgb(bitmap.get());
  };
  EXPECT_EQ(shown({}), hex("000000 0000AA FFFFFF 000000 000000"));
  EXPECT_EQ(shown({record(0x0E, join({le16(1), le16(1), hex("010203")})),
                   record(0x0E, join({le16(255), le16(9), hex("040506 070809")}))}),
            hex("000000 010203 FFFFFF 000000 040506"));
  Bitmap two;
  ASSERT_EQ(load(version1(4, 1, 2, hex("01 1B")), two), T_OK);
  EXPECT_EQ(two->Colors, 4u);
  EXPECT_EQ(pixels(two.get()), hex("0123"));
  EXPECT_EQ(rgb(two.get()), hex("000000 0000AA 00AA00 00AAAA"));
}

TEST(Wpg, BitmapsArePages) {
  const Bytes file = wpg_file(1, {hex("0FFF0600"), hex("0100 B0046009"), hex("11 03 252150"),
                                  record(0x0B, bitmap1(8, 1, 1, hex("01 AA"))),
                                  record(0x0E, join({le16(0), le16(1), hex("112233")})),
                                  hex("14 FF 0080 1600"), Bytes(10), bitmap1(1, 1, 8, {1, 0})});
  const int32_t widths[] = {8, 1, 1};
  for (int32_t page = 1; page <= 3; ++page) {
    T_SetPageNumber(page);
    const FILEINFO info = info_of(file);
    EXPECT_EQ(info.PageCount, 2);
    EXPECT_EQ(info.Page, std::min(page, 2));
    EXPECT_EQ(info.Width, widths[page - 1]);
    EXPECT_EQ(info.XResolution, 72);
    Bitmap bitmap;
    ASSERT_EQ(load(file, bitmap), T_OK);
    EXPECT_EQ(rgb(bitmap.get())[0], page == 1 ? 255 : 0x11);
  }
  T_SetPageNumber(1);
}

// 12 over 34, mirrored, flipped, then turned clockwise.
TEST(Wpg, BitmapsOfType2AreTurned) {
  const struct {
    uint32_t rotation;
    const char* want;
  } cases[] = {{0, "010203 040506"},      {90, "0401 0502 0603"},         {180, "060504 030201"},
               {270, "0306 0205 0104"},   {45, "010203 040506"},          {0x8000, "030201 060504"},
               {0x2000, "040506 010203"}, {0x8000 + 90, "0603 0502 0401"}};
  for (const auto& c : cases) {
    const Bytes file = wpg_file(
        1, {record(0x14,
                   join({le16(c.rotation), Bytes(8), bitmap1(3, 2, 8, hex("06 010203040506"))}))});
    Bitmap bitmap;
    ASSERT_EQ(load(file, bitmap), T_OK);
    EXPECT_EQ(indices(bitmap.get()), hex(c.want)) << c.rotation;
    const bool is_quarter = (c.rotation & 0xFFF) % 180 == 90;
    EXPECT_EQ(bitmap->XResolution, is_quarter ? 96 : 72);
    EXPECT_EQ(info_of(file).Width, is_quarter ? 2 : 3);
    Rows rows;
    Bitmap cut;
    EXPECT_EQ(T_LoadMemory(file.data(), cut.get(), 0, -1, 0, Rows::sink, &rows, file.size() - 2),
              T_ERR_READ);
    EXPECT_EQ(rows.count, c.rotation == 0 || c.rotation == 45 ? 1 : bitmap->Height);
  }
}

TEST(Wpg, WhatIsNotReadIsIdentified) {
  Bytes encrypted = version1(8, 1, 1, {1, 0});
  encrypted[12] = 1;
  const struct {
    const char* what;
    Bytes file;
    int32_t width, height;
  } cases[] = {{"no bitmap", wpg_file(1, {record(0x0F, hex("0100 B0046009"))}), 96, 192},
               {"nothing", wpg_file(2, {}), 1, 1},
               {"3 bits", version1(8, 1, 3, {1, 0}), 8, 1},
               {"another coding", version2(8, 1, 1, 2, {0, 0}), 8, 1},
               {"encrypted", encrypted, 1, 1}};
  for (const auto& c : cases) {
    EXPECT_EQ(info_of(c.file).Width, c.width) << c.what;
    EXPECT_EQ(info_of(c.file).Height, c.height) << c.what;
    EXPECT_EQ(read_directly(T_LoadWPGFile, c.file), T_ERR_SUBTYPE) << c.what;
  }
  const Bytes good = version1(8, 1, 1, {1, 0xAA});
  expect_answers(T_LoadWPGFile, good,
                 {{"magic", 0, 'W', T_ERR_BAD_DATA},
                  {"product", 8, 2, T_ERR_BAD_DATA},
                  {"type", 9, 0x0A, T_ERR_BAD_DATA},
                  {"version 3", 10, 3, T_ERR_BAD_DATA},
                  {"records in the header", 4, 15, T_ERR_BAD_DATA},
                  {"records outside the file", 6, 1, T_ERR_SUBTYPE},
                  {"empty", 26, 0, T_ERR_BAD_DATA},
                  {"rows that are not there", 28, 2, T_ERR_READ},
                  {"a record beyond the file", 25, 254, T_OK}});
  EXPECT_EQ(read_directly(T_LoadWPGFile, version1(65535, 65535, 8, {})), T_ERR_READ);
}

TEST(Wpg, DrawingsWithoutABitmapAreDrawn) {
  const Bytes page = hex("0F06 0100 3200 1900"), no_line = hex("0204 0000 0000");
  const struct {
    const char* what;
    const char* records;
    const char* rows;
  } cases[] = {
      {"a rectangle, from below", "0102 0104 0708 0000 0000 1900 0D00",
       "FFFFFF FFFFFF FFFFFF FFFFFF AA0000 AA0000 FFFFFF FFFFFF"},
      {"a polygon", "0102 0101 080E 0300 0000 0000 0000 1900 1900 0000 0204 0000 0000",
       "FFFFFF FFFFFF FFFFFF FFFFFF 0000AA FFFFFF FFFFFF FFFFFF"},
      {"a line as wide as a pixel", "0204 0102 0D00 0508 0600 0600 2C00 0600",
       "FFFFFF FFFFFF FFFFFF FFFFFF 00AA00 00AA00 00AA00 00AA00"},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    const Bytes file = wpg_file(1, {page, no_line, hex(c.records), hex("1000")});
    ASSERT_EQ(load(file, bitmap, 24, T_ORDER_RGB), T_OK) << c.what;
    EXPECT_EQ(info_of(file).XResolution, 96);
    EXPECT_EQ(rgb(bitmap.get()), hex(c.rows)) << c.what;
    EXPECT_EQ(read_directly(T_LoadWPGFile, wpg_file(1, {page, hex(c.records)})), T_ERR_READ);
  }
}

Bytes record2(uint8_t type, const char* data, uint8_t extension = 0) {
  const Bytes bytes = hex(data);
  return join({{0, type, extension, static_cast<uint8_t>(bytes.size())}, bytes});
}

// Pages of 4 x 2 pixels, whose lower left corner is (100, -25).
Bytes drawing2(std::initializer_list<Bytes> records) {
  return wpg_file(2, {record2(1, "B004B004 00 0000000000000000 6400E7FF96000000"), join(records),
                      record2(2, "")});
}

TEST(Wpg, DrawingsOfVersion2AreDrawn) {
  const Bytes green = record2(0x31, "00 00AA0000"),
              left_half = record2(0x18, "0020 6400E7FF 7D000000 00000000");
  const char* const left = "00AA00 00AA00 FFFFFF FFFFFF 00AA00 00AA00 FFFFFF FFFFFF";
  const char* const right = "FFFFFF FFFFFF 00AA00 00AA00 FFFFFF FFFFFF 00AA00 00AA00";
  const char* const all = "00AA00 00AA00 00AA00 00AA00 00AA00 00AA00 00AA00 00AA00";
  const struct {
    const char* what;
    std::initializer_list<Bytes> records;
    const char* rows;
  } cases[] = {
      {"a rectangle", {green, left_half}, left},
      {"long colours", {record2(0x32, "00 FF00 00AA 0100 0000"), left_half}, left},
      {"a gradient: its middle",
       {record2(0x31, "01 0200 00AA0000 00AA0000 0080"), left_half},
       left},
      {"clear by half",
       {record2(0x31, "00 01550180"), record2(0x15, "0020 0300 6400E7FF C800E7FF 64004B00")},
       "80AA80 80AA80 80AA80 80AA80 80AA80 80AA80 80AA80 80AA80"},
      {"moved, with a lock and a number",
       {green,
        record2(0x18,
                "A220 00000000 05800600 000019000000 000000000000 6400E7FF 7D000000 00000000")},
       right},
      {"scaled", {green, record2(0x18, "0820 00000200 00000200 3200F3FF 4B000C00 00000000")}, all},
      {"turned",
       {green,
        record2(0x18,
                "1020 00005A00 00000000 00000000 00000100 0000FFFF 00007D00 19009600 00000000")},
       right},
      {"two contours, moved together",
       {green, record2(0x1A, "0220 0000E7FFFFFF 000000000000", 2),
        record2(0x15, "0000 0400 7D00E7FF E100E7FF E1001900 7D001900"),
        record2(0x18, "0000 9600E7FF C8001900 00000000"), record2(0x31, "00 00000000")},
       left},
      {"an ellipse", {green, record2(0x19, "0020 7D00F3FF 64006400 00000000 00000000")}, all},
      {"a wide line",
       {record2(0x26, "00AA0000"), record2(0x2B, "32003200"),
        record2(0x16, "0080 0200 6400E7FF FA00E7FF")},
       all},
      {"a thin curve",
       {record2(0x25, "00AA0000"),
        record2(0x17, "0080 0200 0000F9FF 0000F9FF 0000F9FF 2C01F9FF 2C01F9FF 2C01F9FF")},
       "00AA00 00AA00 00AA00 00AA00 FFFFFF FFFFFF FFFFFF FFFFFF"},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(drawing2(c.records), bitmap, 24, T_ORDER_RGB), T_OK) << c.what;
    EXPECT_EQ(rgb(bitmap.get()), hex(c.rows)) << c.what;
  }
  // Positions of 32 bits; dashes of twelve points.
  const char* const box =
      "B004B004 01 00000000 00000000 00009001 0000C800 00000000 00000000 00009001 0000C800";
  const auto blacks = [&](const char* text) {
    const Bytes file =
        wpg_file(2, {record2(1, box), record2(0x1C, "0000 0000 00001400 00001400 0003 00000000", 1),
                     record2(0x0F, text), record2(2, "")});
    Bitmap bitmap;
    EXPECT_EQ(load(file, bitmap, 24, T_ORDER_RGB), T_OK);
    EXPECT_EQ(bitmap->Width, 32);
    return std::ranges::count(rgb(bitmap.get()), 0);
  };
  EXPECT_GT(blacks("D41B0C00000200 5802 0C00D4 2D 84 2D"), 3 * 4);
  EXPECT_EQ(blacks("D41B0100 2D 84 2D"), 0);  // shorter than its own head
}

TEST(Wpg, WritesExactlyThis) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 8, 3, 4, 1, 0);
  T_SetTIFFXYResolution(300, 100);
  T_AccessBitmap(picture.get());
  for (const uint32_t y : {0, 1, 2}) T_PutBitmapRow(picture.get(), hex("12FFFFFF").data(), y, 4);
  ASSERT_EQ(T_SaveWPGBitmap("a", picture.get(), 4), T_OK);
  T_SetTIFFXYResolution(0, 0);
  const Bytes& file = disk.files["a"];
  EXPECT_EQ(part(file, 0, 24), hex("FF575043 10000000 01160100 00000000 0F06 0100 2000 2400"));
  EXPECT_EQ(part(file, 24, 8), hex("0E FF 3400 0000 1000"));
  EXPECT_EQ(part(file, 80), hex("0B FF 0080 1000 0800 0300 0400 2C01 6400 0112 8003 0002 1000"));
  EXPECT_EQ(T_SaveFile("a", picture.get(), T_FORMAT_WPG, 24, 0, 0, 1, 0), T_ERR_DEPTH);
}

}  // namespace

FormatCase wpg_case() {
  FormatCase wpg{"WPG", {}, T_FORMAT_WPG, {1, 4, 8}, 2};  // 1 bit is black and white
  wpg.samples = {
      {"1 bit", version1(11, 4, 1, hex("02A5E0 02FF00 0001 820F"))},
      {"2 bits", version1(5, 2, 2, hex("021B40 82E4"))},
      {"4 bits", saved_sample(T_FORMAT_WPG, 4, 9, 2)},
      {"turned", wpg_file(1, {record(0x14, join({le16(90), Bytes(8),
                                                 bitmap1(3, 2, 8, hex("06 010203040506"))}))})},
      {"version 2", version2(5, 3, 4, 1, hex("7D01 04 0102030405 7E 84 01 FE 01"))},
      {"plain 24 bits", version2(2, 2, 8, 0, hex("7D01 010203040506 0708090A0B0C"))},
      {"24 bits", version2(3, 2, 8, 1, hex("7D03 82 010203 FD 02"))},
      {"drawn", drawing2({record2(0x31, "00 FF800000"),
                          record2(0x19, "00F0 7D00F3FF 19000A00 00000000 00000000")})}};
  return wpg;
}

}  // namespace tavo::test
