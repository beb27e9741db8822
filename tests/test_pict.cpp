// PICT: records, packings, regions, what is shown of several bitmaps, and what is written.
#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"
#include "jpeg_streams.h"

namespace tavo::test {
namespace {

Bytes words(std::initializer_list<int> values) {
  Bytes all;
  for (const int value : values) {
    all.push_back(static_cast<uint8_t>(value >> 8));
    all.push_back(static_cast<uint8_t>(value));
  }
  return all;
}

// Version 2 behind the 512 bytes; the records have even lengths.
Bytes pict_file(int height, int width, std::initializer_list<Bytes> records) {
  return join({Bytes(512), words({0,  0, 0,  height, width, 0x0011, 0x02FF, 0x0C00, 0xFFFE, 0,
                                  72, 0, 72, 0,      0,     0,      height, width,  0,      0}),
               join(records), words({0x00FF})});
}

struct Place {
  int top, left, bottom, right;
};
Bytes rect(const Place& p) { return words({p.top, p.left, p.bottom, p.right}); }

// The fields of a pixel map behind its bounds, at 72 dots per inch.
Bytes map_fields(int packing, int bits, int components) {
  return words({0, packing, 0, 0, 72, 0, 72, 0, bits > 8 ? 16 : 0, bits, components,
                bits == 16 ? 5 : 8, 0, 0, 0, 0, 0, 0});
}

// 8 bits, entry i being i * 0x11 in all channels, of `height` rows in the words' order of bytes.
Bytes gray_map(int opcode, int row_bytes, int height, int width, const Place& to, const Bytes& data,
               const Bytes& region = {}, int bits = 8) {
  Bytes table = words({0, 0, 0, 15});
  for (int i = 0; i < 16; ++i)
    table = join({table, words({i, i * 0x1111, i * 0x1111, i * 0x1111})});
  const Bytes all = join({words({opcode, 0x8000 | row_bytes}), rect({0, 0, height, width}),
                          map_fields(0, bits, 1), table, rect({0, 0, height, width}), rect(to),
                          words({0}), region, data});
  return join({all, Bytes(all.size() % 2)});
}

Bytes direct_map(int bits, int packing, int components, int row_bytes, int width,
                 const Bytes& data) {
  const Bytes all = join({words({0x9A, 0, 0xFF, 0x8000 | row_bytes}), rect({0, 0, 1, width}),
                          map_fields(packing, bits, components), rect({0, 0, 1, width}),
                          rect({0, 0, 1, width}), words({0}), data});
  return join({all, Bytes(all.size() % 2)});
}

TEST(Pict, EveryPackingOfDirectPixels) {
  const struct {
    const char* what;
    int bits, packing, components, row_bytes, width;
    const char* data;
    const char* want;
  } cases[] = {
      {"16 bits, short rows", 16, 0, 3, 6, 3, "7C00 83E0 001F", "FF0000 00FF00 0000FF"},
      {"16 bits, plain", 16, 1, 3, 8, 3, "7C00 03E0 001F 1234", "FF0000 00FF00 0000FF"},
      {"16 bits, packed", 16, 3, 3, 8, 4, "08 FF7C00 01 03E0 001F", "FF0000 FF0000 00FF00 0000FF"},
      {"16 bits, too short a row", 16, 0, 3, 8, 4, "03 FF7C00", "FF0000 FF0000 FFFFFF FFFFFF"},
      {"32 bits, short rows", 32, 4, 3, 4, 1, "99010203", "010203"},
      {"32 bits, plain", 32, 1, 3, 8, 2, "99010203 98040506", "010203 040506"},
      {"32 bits, no padding", 32, 2, 3, 8, 2, "010203 040506", "010203 040506"},
      {"planes", 32, 4, 3, 8, 2, "07 03 01040205 FF00", "010200 040500"},
      {"planes by default", 32, 0, 3, 8, 2, "04 FF07 FD08", "070808 070808"},
      {"four planes", 32, 4, 4, 8, 2, "09 07 9998 0104 0205 0306", "010203 040506"},
      {"planes, too short", 32, 4, 3, 8, 2, "03 01 0104", "01FFFF 04FFFF"},
      {"planes, too long", 32, 4, 3, 8, 2, "02 8107", "070707 070707"}};
  for (const auto& c : cases) {
    const Bytes file =
        pict_file(1, c.width,
                  {direct_map(c.bits, c.packing, c.components, c.row_bytes, c.width, hex(c.data))});
    Bitmap bitmap;
    ASSERT_EQ(load(file, bitmap), T_OK) << c.what;
    EXPECT_EQ(bitmap->BitsPerPixel, c.bits == 16 ? 16 : 24) << c.what;
    EXPECT_EQ(rgb(bitmap.get()), hex(c.want)) << c.what;
  }
}

// Lengths of the documents' table, in front of a bitmap of 2 pixels.
TEST(Pict, RecordsArePassedByTheirLengths) {
  const char* const records[] = {
      "0000",
      "0002 0102030405060708",
      "0003 0001",
      "0004 0100",
      "0006 00010001",
      "0010 0102030405060708",
      "0015 8000",
      "001A 111122223333",
      "001E",
      "0024 0002 ABCD",
      "0028 00010001 03 414243",
      "0029 05 03 414243 00",
      "002B 0102 03 414243",
      "002C 0004 00010203",
      "0030 0000000000010001",
      "0038",
      "0060 0000000000010001 0000005A",
      "0068 0000005A",
      "0070 000A 0000000000010001",
      "0078",
      "0080 000A 0000000000010001",
      "0092 0002 0000",
      "00A0 0064",
      "00A1 0064 0003 01020300",
      "00B5",
      "00D1 00000002 0000",
      "0100 0001",
      "0201 00010002",
      "8001",
      "8100 00000003 01020300",
      "0012 0001 0102030405060708 8002 0000000000010001 00000000 00000000 00480000 00480000 "
      "0000 0008 0001 0008 000000000000000000000000 000000000000 0000 0000 0102030405060000",
      "0013 0002 0102030405060708 111122223333"};
  const Bytes bitmap = gray_map(0x98, 2, 1, 2, {0, 0, 1, 2}, hex("0305"));
  for (const char* record : records) {
    Bitmap loaded;
    const Bytes bytes = hex(record);
    ASSERT_EQ(bytes.size() % 2, 0u) << record;
    ASSERT_EQ(load(pict_file(1, 2, {bytes, bitmap}), loaded), T_OK) << record;
    EXPECT_EQ(pixels(loaded.get()), hex("0305")) << record;
  }
}

TEST(Pict, DrawingsBehindABitmapMakeAPage) {
  const Bytes bitmap = gray_map(0x98, 2, 1, 2, {0, 0, 1, 2}, hex("0305"));
  const Bytes drawn = pict_file(1, 2, {bitmap, hex("0031 0000000000010001")});
  EXPECT_EQ(info_of(drawn).BitsPerPixel, 24);
  Bytes before = pict_file(1, 2, {hex("0031 0000000000010001"), bitmap});
  EXPECT_EQ(info_of(before).BitsPerPixel, 8);
  before[before.size() - 5] = 1;  // a mode that lets it shine through
  EXPECT_EQ(info_of(before).BitsPerPixel, 24);
}

// A letter for each pixel: what most are, '.' is white.
std::string seen(const Bytes& file, int32_t scale = 1) {
  Bitmap bitmap;
  T_SetDrawScale(scale);
  const int32_t status = load(file, bitmap, 24);
  T_SetDrawScale(1);
  if (status != T_OK) return "status " + std::to_string(status);
  std::string letters;
  const Bytes colors = rgb(bitmap.get());
  for (size_t i = 0; i < colors.size(); i += 3) {
    if (i != 0 && i / 3 % static_cast<size_t>(bitmap->Width) == 0) letters += ' ';
    const std::string hue = {colors[i] >= 128 ? '1' : '0', colors[i + 1] >= 128 ? '1' : '0',
                             colors[i + 2] >= 128 ? '1' : '0'};
    letters += "#bgcrmy."[std::stoi(hue, nullptr, 2)];
  }
  return letters;
}

// By the rules of "Imaging With QuickDraw", chapters 2 and 3, on pages of 4 x 5 pixels.
TEST(Pict, WhatRecordsDraw) {
  const std::string red = "001A FFFF 0000 0000 ";
  const std::string painted = "0031 0000 0000 0004 0005 ";  // all of the page
  const std::string bits = "0090 0002 0000 0000 0002 0002 0000 0000 0002 0002 0001 0001 0003 0003 ";
  const struct {
    const char* what;
    std::string records;
    const char* want;
  } cases[] = {
      {"painted", "0031 0001 0001 0003 0004", "..... .###. .###. ....."},
      {"framed", "0030 0000 0000 0004 0005", "##### #...# #...# #####"},
      {"framed by a pen of 2 x 1", "0007 0001 0002 0030 0000 0000 0004 0005",
       "##### ##.## ##.## #####"},
      {"erased, inverted as before", "0031 0000 0000 0004 0004 0032 0001 0001 0003 0005 003B",
       "####. ##### ##### ####."},
      {"erased again", painted + "0032 0001 0001 0003 0003 003A 0033 0000 0000 0001 0002",
       "..### #..## #..## #####"},
      {"filled", "000A AA55 AA55 AA55 AA55 0034 0000 0000 0002 0005", "#.#.# .#.#. ..... ....."},
      {"a pattern of two colours",
       red + "001B 0000 FFFF 0000 0009 F0F0 F0F0 F0F0 F0F0 0031 0000 0000 0002 0005",
       "rrrrg rrrrg ..... ....."},
      {"one over it", "0009 F0F0 F0F0 F0F0 F0F0 0008 0009 0031 0000 0000 0002 0005",
       "####. ####. ..... ....."},
      {"exclusive", red + "0008 000A " + painted + "0031 0001 0001 0003 0003",
       "##### #..## #..## #####"},
      {"all but a pattern", "0009 F0F0 F0F0 F0F0 F0F0 0008 000C 0031 0000 0000 0002 0005",
       "....# ....# ..... ....."},
      {"in nobody's mode", "0008 0017 " + painted, "..... ..... ..... ....."},
      {"old colours",
       "000E 000000CD 000F 00000199 0031 0000 0000 0001 0005 0032 0002 0001 0003 0004",
       "rrrrr ..... .bbb. ....."},
      {"lines", "0020 0000 0000 0000 0003 0021 0002 0003 0022 0003 0000 0200 0023 01FF",
       "####. ...#. ...#. ###.."},
      {"a pen hangs", "0007 0002 0002 0020 0000 0000 0000 0002", "####. ####. ..... ....."},
      {"no pen", "0007 0000 0002 0020 0000 0000 0000 0002", "..... ..... ..... ....."},
      {"an oval", "0051 0000 0000 0004 0004", ".##.. ####. ####. .##.."},
      {"an oval where the rectangle was", "0031 0000 0000 0004 0004 0033 0000 0000 0004 0004 0059",
       ".##.. ####. ####. .##.."},
      {"a round rectangle", "000B 0004 0004 0041 0000 0000 0004 0005", ".###. ##### ##### .###."},
      {"an arc", "0061 0000 0000 0004 0004 0000 005A", "..#.. ..##. ..... ....."},
      {"and one more", "0061 0000 0000 0004 0004 0000 005A 0069 005A 005A",
       "..#.. ..##. ..##. ..#.."},
      {"backward", "0061 0000 0000 0004 0004 0000 FFA6", ".#... ##... ..... ....."},
      {"a polygon", "0071 001A 0000 0000 0004 0004 0000 0000 0000 0004 0004 0004 0000 0000",
       "####. .###. ..##. ...#."},
      {"its lines", "0070 0016 0000 0000 0003 0003 0000 0000 0000 0003 0003 0003",
       "####. ...#. ...#. ...#."},
      {"a region",
       "0081 001E 0000 0000 0003 0004 0000 0000 0004 7FFF 0001 0001 0002 7FFF 7FFF 0000",
       "####. #.##. #.##. ....."},
      {"its frame", "0080 000A 0000 0000 0004 0004 0088", "####. #..#. #..#. ####."},
      {"moved", "000C 0001 0002 0031 0002 0001 0004 0003", "##... ##... ..... ....."},
      {"clipped", "0001 000A 0001 0001 0003 0003 " + painted, "..... .##.. .##.. ....."},
      {"a colour for a pattern",
       "0014 0002 FFFFFFFFFFFFFFFF FFFF FFFF 0000 0034 0000 0000 0001 0005",
       "yyyyy ..... ..... ....."},
      {"a bitmap", bits + "0000 4000 8000 0030 0000 0000 0004 0005", "##### #.#.# ##..# #####"},
      {"a bitmap's ones alone",
       red + painted + bits + "0000 4000 8000 001A 0000 0000 FFFF " + bits + "0001 4000 8000",
       "rrrrr r.brr rb.rr rrrrr"},
      {"one of colours", red + "001B 0000 0000 FFFF " + bits + "0000 4000 8000 0038",
       "..... .br.. .rb.. ....."},
      {"its paper",
       red + "0031 0000 0000 0001 0005 001A 0000 0000 FFFF " + painted + bits + "0003 4000 8000",
       "bbbbb bb.bb b.bbb bbbbb"},
      {"transparent", painted + "001A 0000 FFFF 0000 " + bits + "0024 4000 8000",
       "##### ##g## #g### #####"}};
  for (const auto& c : cases) {
    EXPECT_EQ(seen(pict_file(4, 5, {hex(c.records.c_str())})), c.want) << c.what;
  }
  EXPECT_EQ(seen(pict_file(2, 2, {hex("0020 0000 0000 0001 0001")}), 2), "##.. ###. #### .###");
}

TEST(Pict, WhatIsDrawnBeforeAFaultIsDelivered) {
  const Bytes drawn = hex("0031 0000 0000 0004 0005");
  const Bytes odd = gray_map(0x98, 2, 1, 2, {0, 0, 1, 2}, hex("0305"), {}, 3);
  const Bytes endless = join({drawn, Bytes(20000)});  // no operation, and no end
  for (const auto& [file, want] :
       {std::pair{pict_file(4, 5, {drawn, odd}), T_ERR_SUBTYPE},
        std::pair{part(pict_file(4, 5, {endless}), 0, 600), T_ERR_READ}}) {
    BitmapHandle bitmap = {};
    Rows rows;
    EXPECT_EQ(T_LoadMemory(file.data(), &bitmap, 24, -1, 0, Rows::sink, &rows,
                           static_cast<uint32_t>(file.size())),
              want);
    EXPECT_EQ(rows.count, 4);
    T_FreeBitmap(&bitmap);
  }
  // The page painted more often than drawings do.
  Bytes again = hex("0039");
  for (int i = 0; i < 14; ++i) again = join({again, again});
  const Bytes all = hex("0031 0000 0000 0080 0080");
  EXPECT_EQ(read_directly(T_LoadPCTFile, pict_file(128, 128, {all, again})), T_ERR_BAD_DATA);
}

TEST(Pict, TextStandsWhereItIsPut) {
  const auto ink = [](const char* records) {  // rows and columns of 40 x 60 that have any
    const std::string all = seen(pict_file(40, 60, {hex(records)}));
    Place box = {99, 99, -1, -1};
    for (int y = 0; y < 40; ++y) {
      for (int x = 0; x < 60; ++x) {
        if (all[static_cast<size_t>(y * 61 + x)] == '.') continue;
        box = {std::min(box.top, y), std::min(box.left, x), std::max(box.bottom, y),
               std::max(box.right, x)};
      }
    }
    return box;
  };
  const Place one = ink("000D 000C 0028 0014 0005 03 494949");  // "III", 12 units, row 20
  EXPECT_TRUE(one.top >= 10 && one.top <= 13 && one.bottom >= 18 && one.bottom <= 20);
  EXPECT_TRUE(one.left >= 5 && one.left <= 7 && one.right < 5 + 3 * 12);
  const Place moved = ink("0028 0014 0005 00 00 002B 0A05 03 494949");
  EXPECT_EQ(moved.left, one.left + 10);
  EXPECT_EQ(moved.bottom, one.bottom + 5);
  const Place twice = ink("0010 0002 0002 0001 0001 0028 0014 0005 03 494949");
  EXPECT_NEAR(twice.bottom - twice.top, 2 * (one.bottom - one.top), 2);
  const Place inverse = ink("0031 0000 0000 0028 003C 0005 0003 0028 0014 0005 03 494949");
  EXPECT_EQ(inverse.left, 0);
}

// A hole of one pixel in rows 1 and 2 of three, by points where it begins and ends.
TEST(Pict, MasksAndClipsHide) {
  const Bytes hole = words({30, 0, 0, 3, 4, 0, 0, 4, 0x7FFF, 1, 1, 2, 0x7FFF, 0x7FFF, 0});
  const Bytes black = hex("00000000 00000000 00000000");
  const Place whole = {0, 0, 3, 4};
  const Bytes masked = gray_map(0x99, 4, 3, 4, whole, black, hole);
  const Bytes plain = gray_map(0x98, 4, 3, 4, whole, black);
  const Bytes clip = join({words({1}), hole});
  const Bytes small = words({1, 10, 0, 0, 2, 3});
  const struct {
    const char* what;
    Bytes file;
    const char* black;  // a digit for each pixel
  } cases[] = {{"mask", pict_file(3, 4, {masked}), "1111 1011 1011"},
               {"clip", pict_file(3, 4, {clip, plain}), "1111 1011 1011"},
               {"both", pict_file(3, 4, {small, masked}), "1110 1010 0000"},
               {"a clip taken back", pict_file(3, 4, {clip, words({1, 10, -9, -9, 99, 99}), plain}),
                "1111 1111 1111"}};
  for (const auto& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(c.file, bitmap, 24), T_OK) << c.what;
    std::string seen;
    const Bytes colors = rgb(bitmap.get());
    for (size_t i = 0; i < colors.size(); i += 3) {
      if (i != 0 && i % 12 == 0) seen += ' ';
      seen += colors[i] == 0 ? '1' : '0';
    }
    EXPECT_EQ(seen, c.black) << c.what;
  }
  EXPECT_EQ(info_of(cases[3].file).BitsPerPixel, 8);
}

TEST(Pict, WhatSeveralBitmapsShow) {
  const auto row = [](int top, int left, int bottom, int right, const char* data) {
    return gray_map(0x98, 2, 1, 2, {top, left, bottom, right}, hex(data));
  };
  const struct {
    const char* what;
    Bytes file;
    int32_t bits, width;
    int32_t dots;
    const char* want;  // indices, or reds
  } cases[] = {
      {"strips", pict_file(2, 2, {row(0, 0, 1, 2, "0102"), row(1, 0, 2, 2, "0304")}), 8, 2, 72,
       "01020304"},
      {"bands", pict_file(1, 4, {row(0, 0, 1, 2, "0102"), row(0, 2, 1, 4, "0304")}), 8, 4, 72,
       "01020304"},
      {"half the size", pict_file(2, 4, {row(0, 0, 2, 4, "0102")}), 8, 2, 36, "0102"},
      {"joined at half the size",
       pict_file(4, 4, {row(0, 0, 2, 4, "0102"), row(2, 0, 4, 4, "0304")}), 8, 2, 36, "01020304"},
      {"from below", pict_file(2, 2, {row(1, 0, 2, 2, "0304"), row(0, 0, 1, 2, "0102")}), 24, 2, 72,
       "11223344"},
      {"one over the other", pict_file(1, 2, {row(0, 0, 1, 2, "0102"), row(0, 1, 1, 3, "0405")}),
       24, 2, 72, "1144"},
      {"a gap", pict_file(1, 4, {row(0, 1, 1, 3, "0102")}), 24, 4, 72, "FF1122FF"},
      {"two sizes", pict_file(1, 2, {row(0, 0, 1, 1, "0102"), row(0, 1, 1, 2, "0304")}), 8, 4, 144,
       "01020304"},
      {"two scales", pict_file(1, 3, {row(0, 0, 1, 1, "0102"), row(0, 1, 1, 3, "0304")}), 24, 6,
       144, "112233334444 112233334444"}};
  for (const auto& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(c.file, bitmap), T_OK) << c.what;
    EXPECT_EQ(bitmap->BitsPerPixel, c.bits) << c.what;
    EXPECT_EQ(bitmap->Width, c.width) << c.what;
    EXPECT_EQ(bitmap->XResolution, c.dots) << c.what;
    Bytes seen = c.bits == 24 ? rgb(bitmap.get()) : pixels(bitmap.get());
    if (c.bits == 24) {
      for (size_t i = 0; i < seen.size() / 3; ++i) seen[i] = seen[3 * i];
      seen.resize(seen.size() / 3);
    }
    EXPECT_EQ(seen, hex(c.want)) << c.what;
  }
}

Bytes quicktime(const char* codec, int depth, const Place& at, const Bytes& data) {
  const Bytes description =
      join({be32(86), text(codec), Bytes(24), words({at.right - at.left, at.bottom - at.top}),
            words({72, 0, 72, 0}), be32(data.size()), Bytes(34), words({depth, -1})});
  const Bytes record =
      join({words({0}), be32(0x10000), Bytes(12), be32(0x10000), Bytes(4),
            words({at.left, 0, at.top, 0}), be32(0x40000000), Bytes(12), words({0}),
            words({0, 0, at.bottom - at.top, at.right - at.left}), Bytes(8), description, data});
  return join({words({0x8200}), be32(record.size()), record, Bytes(record.size() % 2)});
}

Bytes with_jpeg() {
  JpegPicture picture(20, 12, ycc(1, 1), 5);
  return pict_file(
      12, 20,
      {quicktime("jpeg", 24, {0, 0, 12, 20}, jpeg_stream(picture, {})),
       gray_map(0x98, 2, 1, 2, {0, 0, 12, 20}, hex("0102")), hex("0028 00010001 03 414243")});
}

TEST(Pict, CompressedPicturesHideWhatStandsInForThem) {
  JpegPicture picture(20, 12, ycc(1, 1), 5);
  Bitmap bitmap, jpeg;
  ASSERT_EQ(load(with_jpeg(), bitmap), T_OK);
  ASSERT_EQ(load(jpeg_stream(picture, {}), jpeg), T_OK);
  EXPECT_EQ(rgb(bitmap.get()), rgb(jpeg.get()));
  EXPECT_STREQ(info_of(with_jpeg()).Compression, "JPEG");

  const Bytes raw = quicktime("raw ", 32, {0, 1, 1, 3}, hex("99010203 99040506"));
  Bitmap beside;
  ASSERT_EQ(
      load(pict_file(1, 3, {raw, gray_map(0x98, 2, 1, 1, {0, 0, 1, 1}, hex("0100"))}), beside),
      T_OK);
  EXPECT_EQ(rgb(beside.get()), hex("111111 010203 040506"));

  const Bytes other = quicktime("cvid", 24, {0, 0, 1, 2}, hex("0102"));
  EXPECT_EQ(read_directly(T_LoadPCTFile, pict_file(1, 2, {other})), T_ERR_SUBTYPE);
  EXPECT_EQ(info_of(pict_file(1, 2, {other})).Width, 2);
  EXPECT_EQ(
      read_directly(T_LoadPCTFile,
                    pict_file(1, 2, {other, gray_map(0x98, 2, 1, 2, {0, 0, 1, 2}, hex("0102"))})),
      T_OK);
  Bytes masked = raw;
  masked[6 + 67] = 9;  // too short for a region
  EXPECT_EQ(read_directly(T_LoadPCTFile,
                          pict_file(1, 3, {masked, gray_map(0x98, 2, 1, 1, {0, 0, 1, 1}, {1, 0})})),
            T_OK);
}

// Documents count the packed bytes of a row by a byte up to 250, some programs up to 200.
TEST(Pict, CountsOfPackedRowsAreFoundOut) {
  for (const auto& [row_bytes, data] :
       {std::pair{210, "0004 8107 AF07 0004 8108 AF08"},
        std::pair{210, "04 8107 AF07 04 8108 AF08"},
        std::pair{260, "0006 8107 8107 FD07 0006 8108 8108 FD08"}}) {
    Bitmap bitmap;
    const Bytes map = gray_map(0x98, row_bytes, 2, row_bytes, {0, 0, 2, row_bytes}, hex(data));
    ASSERT_EQ(load(pict_file(2, row_bytes, {map}), bitmap), T_OK) << data;
    EXPECT_EQ(pixels(bitmap.get()), join({Bytes(row_bytes, 7), Bytes(row_bytes, 8)})) << data;
  }
  Bitmap plain;  // and one does not pack at all
  const Bytes rows = hex("00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F");
  ASSERT_EQ(load(pict_file(2, 8, {gray_map(0x90, 8, 2, 8, {0, 0, 2, 8}, rows)}), plain), T_OK);
  EXPECT_EQ(pixels(plain.get()), rows);
}

TEST(Pict, WhatIsNotReadIsTold) {
  const Bytes good = pict_file(1, 2, {gray_map(0x98, 2, 1, 2, {0, 0, 1, 2}, hex("0305"))});
  constexpr size_t kMap = 552;
  ASSERT_EQ(part(good, kMap, 2), hex("0098"));
  expect_answers(T_LoadPCTFile, good,
                 {{"version", 523, 0x12, T_ERR_BAD_DATA},
                  {"no height", 519, 0, T_ERR_BAD_DATA},
                  {"rows without pixels", kMap + 3, 1, T_ERR_BAD_DATA},
                  {"an empty bitmap", kMap + 9, 0, T_ERR_BAD_DATA},
                  {"3 bits", kMap + 31, 3, T_ERR_SUBTYPE},
                  {"more rows than there are", kMap + 9, 2, T_ERR_READ},
                  {"no end", good.size() - 1, 0, T_ERR_READ}});
  EXPECT_EQ(read_directly(T_LoadPCTFile, pict_file(9, 9, {hex("0009 0102030405060708")})),
            T_ERR_SUBTYPE);
  // A page of 16384 pixels a side is too much for few bytes.
  const Bytes huge =
      pict_file(30000, 30000, {direct_map(16, 0, 3, 6, 3, Bytes(6)), hex("0031 0000000000010001")});
  EXPECT_EQ(read_directly(T_LoadPCTFile, part(huge, 512)), T_ERR_READ);
}

// Widths at which bitmaps are cut: rows of 201 to 250 bytes, and more than a row may have.
TEST(Pict, BitmapsOfAWrittenPicture) {
  const struct {
    int32_t bits, width;
    std::vector<int> columns;
  } cases[] = {{8, 200, {200}},       {8, 201, {96, 105}},       {8, 250, {128, 122}},
               {8, 251, {251}},       {1, 1601, {800, 801}},     {4, 402, {208, 194}},
               {24, 62, {62}},        {24, 63, {32, 31}},        {24, 67, {67}},
               {24, 4081, {4080, 1}}, {24, 4143, {4080, 32, 31}}};
  for (const auto& c : cases) {
    Disk disk;
    Bitmap picture, loaded;
    make_picture(picture, c.width, 3, c.bits);
    ASSERT_EQ(T_SavePCTBitmap("a", picture.get(), c.bits), T_OK);
    ASSERT_EQ(T_LoadBitmap("a", loaded.get(), 0, -1), T_OK);
    EXPECT_EQ(rgb(loaded.get()), rgb(picture.get())) << c.bits << " x " << c.width;
    std::vector<int> columns;
    const Bytes& file = disk.files["a"];
    const Bytes opcode = c.bits == 24 ? hex("009A 000000FF") : hex("0098");
    for (auto at = file.begin();;) {
      at = std::search(at, file.end(), opcode.begin(), opcode.end());
      if (at == file.end()) break;
      at += static_cast<ptrdiff_t>(opcode.size());
      const bool is_map = at[0] >= 0x80 && std::equal(at + 2, at + 8, hex("000000000003").begin());
      if (is_map) columns.push_back(at[8] << 8 | at[9]);
    }
    EXPECT_EQ(columns, c.columns) << c.bits << " x " << c.width;
  }
  Disk disk;
  Bitmap large;
  make_picture(large, 32768, 1, 1);
  EXPECT_EQ(T_SavePCTBitmap("a", large.get(), 1), T_ERR_SIZE);
  EXPECT_TRUE(disk.files.empty());
}

}  // namespace

FormatCase pict_case() {
  FormatCase pict{"PICT", {}, T_FORMAT_PCT, {1, 4, 8, 24}};
  const Bytes hole = words({30, 0, 0, 3, 4, 0, 0, 4, 0x7FFF, 1, 1, 2, 0x7FFF, 0x7FFF, 0});
  pict.samples = {
      {"1 bit", saved_sample(T_FORMAT_PCT, 1, 90, 3)},
      {"8 bits", saved_sample(T_FORMAT_PCT, 8, 9, 3)},
      {"bands of 24 bits", saved_sample(T_FORMAT_PCT, 24, 64, 2)},
      {"version 1", hex("0000 0000 0000 0002 0009 1101 01 000A 0000000000020009 90 0002 "
                        "0000000000020009 0000000000020009 0000000000020009 0000 A580 5A00 FF")},
      {"16 bits", pict_file(1, 4, {direct_map(16, 3, 3, 8, 4, hex("08 FF7C00 01 03E0 001F"))})},
      {"2 bits", pict_file(1, 9, {gray_map(0x90, 4, 1, 9, {0, 0, 1, 9}, hex("1B1B4000"), {}, 2)})},
      {"strips", pict_file(2, 2,
                           {gray_map(0x98, 2, 1, 2, {0, 0, 1, 2}, hex("0102")),
                            gray_map(0x98, 2, 1, 2, {1, 0, 2, 2}, hex("0304"))})},
      {"page", pict_file(3, 6,
                         {gray_map(0x99, 4, 3, 4, {0, 0, 3, 4}, Bytes(12), hole),
                          gray_map(0x98, 2, 1, 2, {0, 3, 3, 6}, hex("0304"))})},
      {"drawing", pict_file(3, 6,
                            {hex("0081 001E 0000 0000 0003 0004 0000 0000 0004 7FFF 0001 0001 "
                                 "0002 7FFF 7FFF 0000 0028 00030000 03 494949"),
                             gray_map(0x98, 2, 1, 2, {0, 3, 3, 6}, hex("0304"))})},
      {"JPEG", with_jpeg()}};
  return pict;
}

}  // namespace tavo::test
