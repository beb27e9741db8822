// WMF: which bitmaps are delivered as they are, what records draw, and what is written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "format_cases.h"

namespace tavo::test {
namespace {

Bytes words(std::initializer_list<int32_t> values) {
  Bytes all;
  for (const int32_t value : values) all = join({all, le16(static_cast<uint16_t>(value))});
  return all;
}

Bytes record(uint32_t function, const Bytes& parameters) {
  return join({le32(static_cast<uint32_t>(3 + parameters.size() / 2)), le16(function), parameters});
}

// A page of as many pixels as the box says.
Bytes wmf(int32_t width, int32_t height, std::initializer_list<Bytes> records) {
  return join({hex("D7CDC69A 0000 0000 0000"), words({width, height, 96, 0, 0, 0}),
               hex("0100 0900 0003 00000000 0400 00000000 0000"), join(records),
               hex("03000000 0000")});
}

Bytes pen(int32_t style, int32_t width, const char* color) {
  return join(
      {record(0x02FA, join({words({style, width, 0}), hex(color)})), record(0x012D, words({0}))});
}
Bytes brush(int32_t style, const char* color, int32_t hatch = 0) {
  return join({record(0x02FC, join({words({style}), hex(color), words({hatch})})),
               record(0x012D, words({1}))});
}
const Bytes kNoPen = pen(5, 0, "00000000");
const Bytes kRed = brush(0, "FF000000");

Bytes dib4x2() {  // 8 bits, black and white and colours; the lower row first
  return join({bmp_info(4, 2, 8, 0, 4), hex("00000000 FFFFFF00 0000FF00 FF000000"),
               hex("00010203 03020100")});
}
Bytes stretch(std::initializer_list<int32_t> places, const char* operation = "2000CC00",
              const Bytes& dib = dib4x2()) {
  return record(0x0F43, join({hex(operation), words({0}), words(places), dib}));
}

// The page: `w` white, `r` red, `k` black, `b` blue, `g` green; anything else `?`.
std::string picture(const Bytes& file) {
  Bitmap bitmap;
  if (load(file, bitmap, 24, T_ORDER_RGB) != T_OK) return "status";
  const Bytes all = rgb(bitmap.get());
  std::string text;
  for (size_t i = 0; i < all.size(); i += 3) {
    if (i != 0 && i / 3 % static_cast<size_t>(bitmap->Width) == 0) text += ' ';
    const uint32_t color = uint32_t{all[i]} << 16 | uint32_t{all[i + 1]} << 8 | all[i + 2];
    text += color == 0xFFFFFF   ? 'w'
            : color == 0xFF0000 ? 'r'
            : color == 0        ? 'k'
            : color == 0xFF     ? 'b'
            : color == 0xFF00   ? 'g'
                                : '?';
  }
  return text;
}

TEST(Wmf, WholeBitmapsAreDeliveredAsTheyAre) {
  const struct {
    const char* what;
    Bytes file;
    const char* rows;
    int32_t bits;
  } cases[] = {
      {"whole", wmf(4, 2, {stretch({2, 4, 0, 0, 2, 4, 0, 0})}), "03020100 00010203", 8},
      {"stretched", wmf(40, 20, {stretch({2, 4, 0, 0, 20, 40, 0, 0})}), "03020100 00010203", 8},
      {"the lower right part", wmf(2, 1, {stretch({1, 2, 0, 2, 1, 2, 0, 0})}), "0203", 8},
      {"mirrored", wmf(4, 2, {stretch({2, 4, 0, 0, 2, -4, 0, 3})}), "00010203 03020100", 8},
      {"over a drawing",
       wmf(4, 2, {kRed, record(0x041B, words({2, 4, 0, 0})), stretch({2, 4, 0, 0, 2, 4, 0, 0})}),
       "03020100 00010203", 8},
      {"old and monochrome",
       wmf(8, 2,
           {record(0x0922, join({hex("2000CC00"), words({0, 0, 2, 8, 0, 0}), words({0, 8, 2, 2}),
                                 hex("0101 AA00 5500")}))}),
       "AA 55", 1},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(c.file, bitmap), T_OK) << c.what;
    EXPECT_EQ(bitmap->BitsPerPixel, c.bits) << c.what;
    EXPECT_EQ(pixels(bitmap.get()), hex(c.rows)) << c.what;
  }
}

TEST(Wmf, RecordsDraw) {
  // Of a top-down bitmap, which counts its rows from below all the same.
  const auto band = [](int32_t first, const char* rows) {
    const Bytes head = join({words({0, 1, first}), words({0, 0, 2, 2, 0, 0})});
    const Bytes info = join({bmp_info(2, -2, 8, 0, 2), hex("0000FF00 00FF0000")});
    return record(0x0D33, join({head, info, hex(rows)}));
  };
  const Bytes green = stretch({2, 4, 0, 0, 1, 2, 0, 0});  // scaled to two pixels
  const struct {
    const char* what;
    Bytes file;
    const char* page;
  } cases[] = {
      {"a rectangle without a pen", wmf(4, 3, {kNoPen, kRed, record(0x041B, words({3, 4, 1, 1}))}),
       "wwww wrrw wwww"},
      {"with a pen", wmf(4, 3, {pen(0, 0, "00000000"), kRed, record(0x041B, words({3, 4, 0, 0}))}),
       "kkkk krrk kkkk"},
      {"a polygon", wmf(4, 3, {kNoPen, kRed, record(0x0324, words({4, 1, 0, 4, 0, 4, 2, 1, 2}))}),
       "wrrr wrrr wwww"},
      {"two, one in the other",
       wmf(4, 4,
           {kNoPen, kRed,
            record(0x0538, words({2, 4, 4, 0, 0, 4, 0, 4, 4, 0, 4, 1, 1, 3, 1, 3, 3, 1, 3}))}),
       "rrrr rwwr rwwr rrrr"},
      {"a line, without its last pixel",
       wmf(4, 2, {record(0x0214, words({0, 0})), record(0x0213, words({0, 3}))}), "kkkw wwww"},
      {"a wide one", wmf(4, 4, {pen(0, 2, "00000000"), record(0x0325, words({2, -2, 2, 8, 2}))}),
       "wwww kkkk kkkk wwww"},
      {"saved and restored",
       wmf(3, 1,
           {kNoPen, record(0x001E, {}), kRed, record(0x0127, words({-1})),
            record(0x02FC, join({words({0}), hex("0000FF00"), words({0})})),
            record(0x012D, words({2})),
            record(0x061D, join({hex("2100F000"), words({1, 2, 0, 1})}))}),
       "wbb"},
      {"inverted", wmf(3, 1, {kRed, record(0x061D, join({hex("09005500"), words({1, 2, 0, 1})}))}),
       "wkk"},
      {"exclusive or",
       wmf(2, 1,
           {record(0x0104, words({7})), kNoPen, brush(0, "00FFFF00"),
            record(0x0324, words({4, 0, 0, 1, 0, 1, 1, 0, 1}))}),
       "rw"},
      {"clipped",
       wmf(4, 2,
           {kNoPen, kRed, record(0x0416, words({2, 3, 0, 1})), record(0x0415, words({1, 2, 0, 1})),
            record(0x061D, join({hex("2100F000"), words({2, 4, 0, 0})}))}),
       "wwrw wrrw"},
      {"in a window",
       wmf(4, 2,
           {record(0x020B, words({2, 0})), record(0x020C, words({-2, 2})), kNoPen, kRed,
            record(0x0324, words({4, 1, 1, 2, 1, 2, 2, 1, 2}))}),
       "wwrr wwww"},
      {"hatched",
       wmf(8, 2,
           {record(0x0102, words({1})), kNoPen, brush(2, "FF000000", 1),
            record(0x061D, join({hex("2100F000"), words({2, 8, 0, 0})}))}),
       "wwwwrwww wwwwrwww"},
      {"a region",
       wmf(4, 2,
           {record(0x06FF,
                   words({0, 6, 0, 0, 0, 2, 0, 0, 0, 0, 0, 2, 0, 1, 1, 2, 2, 2, 1, 2, 3, 4, 2})),
            record(0x02FC, join({words({0}), hex("FF000000"), words({0})})),
            record(0x0228, words({0, 1}))}),
       "wrww wwwr"},
      {"a bitmap among others",
       wmf(4, 1,
           {green, kNoPen, kRed, record(0x061D, join({hex("2100F000"), words({1, 1, 0, 3})}))}),
       "bwwr"},
      {"a pattern that counts in a palette",
       wmf(4, 1,
           {record(0x0142,
                   join({words({5, 1}), bmp_info(2, 1, 1, 0, 2), hex("00000100 40000000")})),
            record(0x012D, words({0})),
            record(0x061D, join({hex("2100F000"), words({1, 4, 0, 0})}))}),
       "kwkw"},
      {"bands", wmf(2, 2, {band(0, "00000000"), band(1, "01010000")}), "gg rr"},
      {"colours that no pixel needs",
       wmf(2, 1,
           {stretch({1, 2, 0, 0, 1, 2, 0, 0}, "2000CC00",
                    join({bmp_info(2, 1, 24, 0, 1), hex("11223344 0000FFFF0000 0000")}))}),
       "rb"},
      {"a source that is painted", wmf(4, 2, {stretch({2, 4, 0, 0, 2, 4, 0, 0}, "8600EE00")}),
       "wwww wwww"},
  };
  for (const auto& c : cases) EXPECT_EQ(picture(c.file), c.page) << c.what;
}

TEST(Wmf, DrawingsBecomeLargerAndSmooth) {
  const Bytes file = wmf(2, 1,
                         {kNoPen, kRed, record(0x020C, words({2, 4})),
                          record(0x0324, words({4, 0, 0, 1, 0, 1, 2, 0, 2}))});
  EXPECT_EQ(picture(file), "ww");  // less than half a pixel at the left
  ASSERT_EQ(T_SetDrawScale(2), T_OK);
  EXPECT_EQ(picture(file), "rwww rwww");
  EXPECT_EQ(info_of(file).Width, 4);
  T_SetDrawScale(1);
  T_SetDrawSmooth(1);
  Bitmap bitmap;
  EXPECT_EQ(load(file, bitmap, 24, T_ORDER_RGB), T_OK);
  EXPECT_EQ(rgb(bitmap.get()), hex("FF8080 FFFFFF"));
  T_SetDrawSmooth(0);
  EXPECT_EQ(T_SetDrawScale(0), T_ERR_ARGUMENT);
  EXPECT_EQ(T_SetDrawScale(T_MAX_DRAW_SCALE + 1), T_ERR_ARGUMENT);
}

TEST(Wmf, TextsAreSetByTheirWidths) {
  const Bytes font = record(0x02FB, join({words({-16, 0, 0, 0, 400}), Bytes(40)}));
  const auto drawn_at = [&](const Bytes& text) {
    Bitmap bitmap;
    EXPECT_EQ(
        load(wmf(64, 24, {font, record(0x012D, words({0})), record(0x0102, words({1})), text}),
             bitmap, 8),
        T_OK);
    const Bytes all = indices(bitmap.get());
    std::string columns;
    for (size_t x = 0; x < 64; ++x) {
      bool is_drawn = false;
      for (size_t y = 0; y < 24; ++y) is_drawn |= all[64 * y + x] != all[0];
      if (is_drawn && (columns.empty() || columns.back() + 1 != static_cast<char>(x))) {
        columns += static_cast<char>(x);
      }
      if (is_drawn) columns.back() = static_cast<char>(x);
    }
    return columns;
  };
  // Stems of two letters, 30 pixels apart; of the font's own width, 3 or 4.
  const Bytes set = record(0x0A32, words({2, 4, 2, 0, 0x6C6C, 30, 30}));
  const Bytes unset = record(0x0521, words({2, 0x6C6C, 2, 4}));
  EXPECT_EQ(drawn_at(set), (std::string{5, 35}));
  EXPECT_EQ(drawn_at(unset), (std::string{5, 9}));
}

TEST(Wmf, FontsOfSymbolsAreGreek) {
  const auto drawn = [](const char* face, char letter) {
    Bytes name(40);
    std::copy_n(face, std::strlen(face), name.begin() + 8);
    Bitmap bitmap;
    const Bytes text = record(0x0521, words({1, letter, 2, 4}));
    const Bytes font = record(0x02FB, join({words({-16, 0, 0, 0, 400}), name}));
    EXPECT_EQ(load(wmf(32, 24, {font, record(0x012D, words({0})), text}), bitmap, 8), T_OK);
    return indices(bitmap.get());
  };
  EXPECT_EQ(drawn("Symbol", 'A'), drawn("Arial", 'A'));
  EXPECT_EQ(drawn("Symbol", 'C'), drawn("Arial", 'X'));
  EXPECT_NE(drawn("Symbol", 'D'), drawn("Arial", 'D'));
}

TEST(Wmf, WhatIsNotShownIsToldSo) {
  const auto status = [](const Bytes& file) { return read_directly(T_LoadWMFFile, file); };
  EXPECT_EQ(status(wmf(4, 2, {})), T_ERR_SUBTYPE);
  EXPECT_EQ(info_of(wmf(96, 2, {})).Width, 96);
  EXPECT_EQ(status(wmf(0, 2, {})), T_ERR_BAD_DATA);
  // Of a record that ends early what was drawn before is there.
  Bytes cut = wmf(4, 3, {kNoPen, kRed, record(0x041B, words({3, 4, 0, 0}))});
  cut.resize(cut.size() - 3);
  Bitmap bitmap;
  EXPECT_EQ(load(cut, bitmap, 24), T_ERR_READ);
  // Polygons as large as the largest page, again and again.
  Bytes many;
  for (int i = 0; i < 12; ++i)
    many = join({many, many, record(0x0324, words({4, 0, 0, 9, 0, 9, 9, 0, 9}))});
  EXPECT_EQ(status(wmf(9, 9, {many})), T_OK);
}

// A header and a table of 256 colours are longer than the least block of a file.
TEST(Wmf, LittleMemoryEndsTheLoad) {
  const Bytes dib = join({bmp_info(4, 2, 8, 0, 0), Bytes(1032)});
  const Bytes file = wmf(4, 2, {stretch({2, 4, 0, 0, 2, 4, 0, 0}, "2000CC00", dib)});
  for (uint64_t allowed = 60 << 10; allowed < 72 << 10; allowed += 256) {
    T_SetLimit(T_LIMIT_MEMORY, allowed);
    const int32_t status = read_directly(T_LoadWMFFile, file);
    EXPECT_TRUE(status == T_OK || status == T_ERR_LIMIT) << status << " at " << allowed;
  }
  T_SetLimit(T_LIMIT_MEMORY, 0);
}

TEST(Wmf, PensHaveDashes) {
  const auto line = [](int32_t style, const Bytes& mode) {
    const Bytes drawn = join({record(0x0214, words({0, 0})), record(0x0213, words({0, 9})),
                              record(0x0213, words({0, 14}))});
    return picture(wmf(16, 1, {mode, pen(style, 0, "FF000000"), drawn}));
  };
  const Bytes clear = record(0x0102, words({1}));
  const Bytes on_blue = record(0x0201, hex("0000FF00"));
  EXPECT_EQ(line(2, clear), "rrrwwwrrrrrrwwww");
  EXPECT_EQ(line(3, on_blue), "rrrrrrrrrrrrrrww");
  // Along one line, and from far outside.
  const auto polyline = [&](int32_t from) {
    return picture(wmf(
        16, 1, {clear, pen(2, 0, "FF000000"), record(0x0325, words({3, from, 0, 8, 0, 14, 0}))}));
  };
  EXPECT_EQ(polyline(0), "rrrwwwrrrwwwrrww");
  EXPECT_EQ(polyline(-18000), "rrrwwwrrrwwwrrww");
}

TEST(Wmf, FilesWithoutAWindowShowWhatIsDrawn) {
  const auto plain = [](const Bytes& records) { return part(wmf(1, 1, {records}), 22); };
  const Bytes box = record(0x041B, words({9, 2, 7, -3}));
  EXPECT_EQ(picture(plain(join({kNoPen, kRed, box}))), "rrrr");
  EXPECT_EQ(picture(plain(join({kNoPen, kRed, box, record(0x020B, words({0, 2})), box}))),
            "rrrrrr");
  EXPECT_EQ(info_of(plain(stretch({2, 4, 0, 0, 4, 8, 3, 3}))).Width, 8);
  T_SetDrawScale(2);
  EXPECT_EQ(info_of(plain(join({kNoPen, kRed, box}))).Height, 2);
  EXPECT_EQ(picture(plain(join({kNoPen, kRed, box}))), "rrrrrrrr rrrrrrrr");
  T_SetDrawScale(1);
  EXPECT_EQ(read_directly(T_LoadWMFFile, plain(record(0x041B, words({1, 2, 1, 2})))),
            T_ERR_SUBTYPE);
}

TEST(Wmf, WritesExactlyThis) {
  Disk disk;
  Bitmap bitmap;
  make_picture(bitmap, 2, 1, 24);
  ASSERT_EQ(T_SaveWMFBitmap("a", bitmap.get(), 24), T_OK);
  const Bytes& file = disk.files["a"];
  EXPECT_EQ(part(file, 0, 40), hex("D7CDC69A 0000 0000 0000 0200 0100 9600 00000000 8457"
                                   "0100 0900 0003 44000000 0000 26000000 0000"));
  EXPECT_EQ(part(file, 40, 64),
            hex("04000000 0301 0800 05000000 0B02 0000 0000 05000000 0C02 0100 0200"
                "04000000 0701 0300 26000000 430F 2000CC00 0000 0100 0200 0000 0000 0100 0200"
                "0000 0000"));
  EXPECT_EQ(part(file, file.size() - 6), hex("03000000 0000"));
  EXPECT_EQ(info_of(file).XResolution, 150);
}

}  // namespace

FormatCase wmf_case() {
  FormatCase wmf_files{"WMF", {}, T_FORMAT_WMF, {1, 4, 8, 24}};
  wmf_files.samples = {
      {"a bitmap", saved_sample(T_FORMAT_WMF, 4, 9, 2)},
      {"mirrored", wmf(4, 2, {stretch({2, 4, 0, 0, 2, -4, 0, 3})})},
      {"drawn", wmf(9, 9,
                    {kNoPen, kRed, record(0x0418, words({8, 8, 1, 1})),
                     record(0x0521, words({1, 0x41, 2, 1})), stretch({2, 4, 0, 0, 4, 4, 3, 3})})}};
  return wmf_files;
}

}  // namespace tavo::test
