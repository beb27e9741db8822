// MSP: rows of version 2, what they end with, and what is written.
#include <gtest/gtest.h>

#include "format_cases.h"

namespace tavo::test {
namespace {

Bytes header(std::string_view key, uint32_t width, uint32_t height) {
  return join({text(key), le16(width), le16(height), Bytes(24)});
}

TEST(Msp, RowsOfVersion2) {
  const struct {
    const char* what;
    const char* coded;
    const char* row;  // of 5 bytes
  } cases[] = {{"nothing", "", "FFFFFFFFFF"},
               {"a run", "00 05 A5", "A5A5A5A5A5"},
               {"literals and a run", "02 1234 00 03 00", "1234000000"},
               {"too short", "01 77", "77FFFFFFFF"},
               {"literals beyond the row", "07 01020304050607", "0102030405"},
               {"a run beyond it", "00 FF 11", "1111111111"},
               {"literals that are not there", "05 0102", "0102FFFFFF"},
               {"a run without its value", "01 44 00 04", "44FFFFFFFF"}};
  for (const auto& c : cases) {
    const Bytes coded = hex(c.coded), last = hex("00 05 00");
    const Bytes file = join({header("LinS", 40, 2), le16(coded.size()), le16(3), coded, last});
    Bitmap bitmap;
    ASSERT_EQ(load(file, bitmap), T_OK) << c.what;
    EXPECT_EQ(pixels(bitmap.get()), join({hex(c.row), Bytes(5)})) << c.what;
    EXPECT_EQ(rgb(bitmap.get()).back(), 0) << "0 is black";
  }
}

TEST(Msp, WritesExactlyThis) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 72, 1, 1, 1, 0);
  picture->Info.Palette[0] = {0, 0, 200, 0};
  picture->Info.Palette[1] = {0, 100, 0, 0};  // brighter: 1 is white, as in the file
  T_AccessBitmap(picture.get());
  T_PutBitmapRow(picture.get(), hex("AAAAAA BBBBBBBB CC CC").data(), 0, 9);
  ASSERT_EQ(T_SaveMSPBitmap("a", picture.get(), 1), T_OK);
  EXPECT_EQ(disk.files["a"],
            hex("4C696E53 4800 0100 0100 0100 0100 0100 4800 0100 00000000 223A 000000000000"
                "0A00 03AAAAAA 0004BB 0002CC"));
  EXPECT_EQ(T_SaveMSPBitmap("a", picture.get(), 8), T_ERR_DEPTH);
  Bitmap wide;
  make_picture(wide, 65536, 1, 1);
  EXPECT_EQ(T_SaveMSPBitmap("b", wide.get(), 1), T_ERR_SIZE);
}

TEST(Msp, ReaderStatuses) {
  const Bytes good = join({header("DanM", 8, 1), {0x0F}});
  expect_answers(T_LoadMSPFile, good,
                 {{"unknown key", 0, 'L', T_ERR_BAD_DATA},
                  {"no width", 4, 0, T_ERR_BAD_DATA},
                  {"no height", 6, 0, T_ERR_BAD_DATA},
                  {"rows that are not there", 6, 2, T_ERR_READ},
                  {"a wrong checksum", 24, 1, T_OK}});
  EXPECT_EQ(read_directly(T_LoadMSPFile, header("LinS", 65535, 65535)), T_ERR_READ);
}

}  // namespace

FormatCase msp_case() {
  FormatCase msp{"MSP", {}, T_FORMAT_MSP, {1}, kLossy};  // always black and white
  msp.samples = {{"version 1", join({header("DanM", 11, 2), hex("A5E0 0FC0")})},
                 {"version 2", saved_sample(T_FORMAT_MSP, 1, 70, 9)}};
  return msp;
}

}  // namespace tavo::test
