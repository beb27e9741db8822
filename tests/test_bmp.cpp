// BMP: headers, palettes, run-length data, bit fields, and what is written.
#include <gtest/gtest.h>

#include <cstring>

#include "format_cases.h"

namespace tavo::test {
namespace {

// What the reader itself answers, past identification.
int32_t read(const Bytes& file, int32_t bits = 24) {
  return read_directly(T_LoadBMPFile, file, bits);
}

const Bytes kRed24 = {0, 0, 255, 0};

Bytes os2_info(int32_t width, int32_t height, uint32_t bits, uint32_t compression) {
  Bytes header = bmp_info(width, height, bits, compression, 0);
  header.resize(64);
  header[0] = 64;
  return header;
}

TEST(Bmp, ReaderStatuses) {
  const Bytes good = bmp_file(bmp_info(1, 1, 24, 0, 0), {}, kRed24);
  EXPECT_EQ(read(good), T_OK);
  EXPECT_EQ(read(good, 2), T_ERR_ARGUMENT);
  EXPECT_EQ(read(good, 33), T_ERR_ARGUMENT);
  const auto bmp = [](int32_t width, int32_t height, uint32_t bits, uint32_t coding) {
    return bmp_file(bmp_info(width, height, bits, coding, 0), Bytes(bits == 1 ? 8 : 0), kRed24);
  };
  const struct {
    const char* why;
    Bytes file;
    int32_t want;
  } cases[] = {
      {"empty", {}, T_ERR_BAD_DATA},
      {"other magic", join({{'B', 'A'}, Bytes(good.begin() + 2, good.end())}), T_ERR_BAD_DATA},
      {"header cut", Bytes(good.begin(), good.begin() + 40), T_ERR_BAD_DATA},
      {"0 wide", bmp(0, 1, 24, 0), T_ERR_BAD_DATA},
      {"negative width", bmp(-1, 1, 24, 0), T_ERR_BAD_DATA},
      {"lowest height", bmp(1, INT32_MIN, 24, 0), T_ERR_BAD_DATA},
      {"7 bits", bmp(1, 1, 7, 0), T_ERR_BAD_DATA},
      {"64 bits", bmp(1, 1, 64, 0), T_ERR_SUBTYPE},
      {"JPEG inside", bmp(1, 1, 24, 4), T_ERR_SUBTYPE},
      {"PNG inside", bmp(1, 1, 24, 5), T_ERR_SUBTYPE},
      {"unknown coding", bmp(1, 1, 24, 9), T_ERR_BAD_DATA},
      {"Huffman coded", bmp_file(os2_info(1, 1, 1, 3), Bytes(8), {0}), T_ERR_SUBTYPE},
      {"run lengths at 1 bit", bmp(1, 1, 1, 1), T_ERR_BAD_DATA},
      {"bit fields at 24 bits", bmp(1, 1, 24, 3), T_ERR_BAD_DATA},
      {"run lengths at 24 bits", bmp(1, 1, 24, 1), T_ERR_BAD_DATA},
      {"row beyond 32 bits", bmp(INT32_MAX, 1, 32, 0), T_ERR_SIZE},
      {"pixels cut", bmp(1, 2, 24, 0), T_ERR_READ},
      {"a picture of gigabytes in 60 bytes",
       bmp_file(bmp_info(65000, 65000, 8, 1, 1), Bytes(4), {0, 1}), T_ERR_BAD_DATA},
  };
  for (const auto& c : cases) EXPECT_EQ(read(c.file), c.want) << c.why;

  Bytes short_palette = bmp_file(bmp_info(1, 1, 8, 0, 0), Bytes(1024), {});
  short_palette.resize(200);
  EXPECT_EQ(read(short_palette), T_ERR_READ);
}

TEST(Bmp, PalettesHaveAsManyEntriesAsTheHeaderSaysAndNeverReachIntoPixels) {
  const Bytes colors = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0};
  Bitmap three;
  ASSERT_EQ(load(bmp_file(bmp_info(1, 1, 8, 0, 3), colors, {2, 0, 0, 0}), three), T_OK);
  EXPECT_EQ(three->Info.Palette[2].Red, 9);
  EXPECT_EQ(three->Info.Palette[3].Red, 0);
  EXPECT_EQ(three->Colors, 256u);
  EXPECT_NE(three->Flags & T_FLAG_PALETTE, 0u);

  // Says 256 entries, but pixels begin behind three.
  Bitmap overlapping;
  ASSERT_EQ(load(bmp_file(bmp_info(1, 1, 8, 0, 0), colors, {1, 99, 99, 99}), overlapping), T_OK);
  EXPECT_EQ(overlapping->Info.Palette[2].Blue, 7);
  EXPECT_EQ(overlapping->Info.Palette[3].Blue, 0);
  EXPECT_EQ(rgb(overlapping.get()), (Bytes{6, 5, 4}));
}

TEST(Bmp, TopDownFilesAreUpright) {
  const Bytes two_rows = {1, 1, 1, 0, 2, 2, 2, 0};
  Bitmap down;
  ASSERT_EQ(load(bmp_file(bmp_info(1, -2, 24, 0, 0), {}, two_rows), down), T_OK);
  EXPECT_EQ(down->ViewPerspective, 0u);
  EXPECT_EQ(down->XResolution, 2835);  // by the metre, as they stand
  EXPECT_EQ(down->YResolution, 5669);
  EXPECT_EQ(rgb(down.get()), (Bytes{1, 1, 1, 2, 2, 2}));
  Bitmap up;
  ASSERT_EQ(load(bmp_file(bmp_info(1, 2, 24, 0, 0), {}, two_rows), up), T_OK);
  EXPECT_EQ(up->ViewPerspective, 2u);
  EXPECT_EQ(rgb(up.get()), (Bytes{2, 2, 2, 1, 1, 1}));
}

Bytes decode_rle(int32_t width, int32_t height, int32_t bits, const Bytes& data,
                 int32_t want = T_OK) {
  Bitmap bitmap;
  const Bytes file = bmp_file(bmp_info(width, height, bits, bits == 8 ? 1 : 2, 1), Bytes(4), data);
  EXPECT_EQ(load(file, bitmap), want);
  return pixels(bitmap.get());
}

TEST(Bmp, Rle8KnowsEveryEscape) {
  // Run; literal with pad; end of line; delta over one row and two pixels; end of bitmap.
  EXPECT_EQ(decode_rle(4, 4, 8, {2, 7, 0, 0, 0, 3, 1, 2, 3, 0, 0, 2, 0, 1, 1, 9, 0, 1}),
            (Bytes{7, 7, 0, 0, 1, 2, 3, 0, 0, 0, 0, 9, 0, 0, 0, 0}));
  // A delta that stays in its row, a run that passes the end of one, a line that is empty.
  EXPECT_EQ(decode_rle(4, 3, 8, {0, 2, 1, 0, 200, 5, 0, 0, 0, 0, 1, 6, 0, 0}),
            (Bytes{0, 5, 5, 5, 0, 0, 0, 0, 6, 0, 0, 0}));
  // The last row needs no mark.
  EXPECT_EQ(decode_rle(2, 1, 8, {2, 8}), (Bytes{8, 8}));
  // A literal that passes the end of it.
  EXPECT_EQ(decode_rle(2, 1, 8, join({{0, 255, 8, 9}, Bytes(254, 7), {0, 1}})), (Bytes{8, 9}));
  // What is there is kept when the data end, be it at the end of a row.
  EXPECT_EQ(decode_rle(2, 3, 8, {2, 8}, T_ERR_READ), (Bytes{8, 8, 0, 0, 0, 0}));
  EXPECT_EQ(decode_rle(3, 2, 8, {3, 4, 0, 0, 1, 5}, T_ERR_READ), (Bytes{4, 4, 4, 5, 0, 0}));
}

TEST(Bmp, Rle4AlternatesNibbles) {
  EXPECT_EQ(decode_rle(5, 2, 4, {5, 0x12, 0, 0, 0, 3, 0x34, 0x50, 2, 0x67, 0, 1}),
            (Bytes{0x12, 0x12, 0x10, 0x34, 0x56, 0x70}));
  // Odd starts: run, literal, and a delta by one.
  EXPECT_EQ(decode_rle(6, 2, 4, {1, 0xA0, 3, 0x12, 0, 0, 0, 2, 1, 0, 0, 3, 0x34, 0x50, 0, 0}),
            (Bytes{0xA1, 0x21, 0x00, 0x03, 0x45, 0x00}));
}

TEST(Bmp, AnyCompressionMeansRunLengthsAt4And8Bits) {
  for (const uint32_t compression : {1u, 2u, 3u, 4u, 5u, 6u, 11u, 0xFFFFFFFFu}) {
    for (const Bytes& header :
         {bmp_info(3, 1, 8, compression, 0), os2_info(3, 1, 8, compression)}) {
      SCOPED_TRACE(testing::Message() << compression << ", header of " << header.size());
      Bytes palette(1024);
      palette[4 * 7] = 99;  // blue of entry 7
      const Bytes file = bmp_file(header, palette, {3, 7, 0, 1});
      EXPECT_STREQ(info_of(file).Compression, "Run Length");
      Bitmap bytes;
      ASSERT_EQ(load(file, bytes), T_OK);
      EXPECT_EQ(rgb(bytes.get()), (Bytes{0, 0, 99, 0, 0, 99, 0, 0, 99}));
    }
    Bitmap nibbles;
    ASSERT_EQ(
        load(bmp_file(bmp_info(3, 1, 4, compression, 0), Bytes(64), {3, 0x12, 0, 1}), nibbles),
        T_OK);
    EXPECT_EQ(pixels(nibbles.get()), (Bytes{0x12, 0x10}));
  }
}

TEST(Bmp, BitFieldsWidenByTheirLargestValue) {
  // 4-4-4-4, 3 bits of blue alone, fields of 10 and 12 bits, one of all 32.
  const struct {
    uint32_t bits, red, green, blue, pixel;
    Bytes want;
    int32_t want_bits = 32;
  } cases[] = {
      {16, 0xF800, 0x07E0, 0x001F, 0xF81F, {255, 0, 255}, 24},
      {16, 0xF800, 0x07E0, 0x001F, 0x0020, {0, 4, 0}, 24},
      {16, 0x7C00, 0x03E0, 0x001F, 0x7C1F, {255, 0, 255}, 16},
      {32, 0xFF, 0xFF00, 0x03FF0000, 0x03FF140A, {10, 20, 255}},
      {16, 0x0F00, 0x00F0, 0x000F, 0x7A1F, {170, 17, 255}, 24},
      {16, 0, 0, 0x0007, 0xFFFB, {0, 0, 109}, 24},
      // 127, 128 and 1 of 1023: 31.66, 31.91 and 0.25
      {32, 0x3FF00000, 0x000FFC00, 0x000003FF, 127u << 20 | 128u << 10 | 1, {32, 32, 0}},
      // 2055 of 4095: 127.97; 65406 of 65535: 254.50 less a bit
      {32, 0x0FFF0000, 0x0000FFFF, 0, 2055u << 16 | 0xFF7E, {128, 254, 0}},
      {32, 0xFFFFFFFF, 0, 0, 0x80808080, {128, 0, 0}},
  };
  for (const auto& c : cases) {
    Bytes pixel = le32(c.pixel);
    if (c.bits == 16) pixel[2] = pixel[3] = 0;
    Bitmap bitmap;
    ASSERT_EQ(load(bmp_file(bmp_info(1, 1, c.bits, 3, 0),
                            join({le32(c.red), le32(c.green), le32(c.blue)}), pixel),
                   bitmap),
              T_OK);
    EXPECT_EQ(rgb(bitmap.get()), c.want) << std::hex << c.pixel;
    EXPECT_EQ(bitmap->BitsPerPixel, c.want_bits) << std::hex << c.pixel;
  }
}

TEST(Bmp, Os2RunLengthsOf24Bits) {
  Bitmap bitmap;
  ASSERT_EQ(load(bmp_file(os2_info(3, 1, 24, 4), {}, {2, 1, 2, 3, 1, 4, 5, 6, 0, 1}), bitmap),
            T_OK);
  EXPECT_EQ(rgb(bitmap.get()), (Bytes{3, 2, 1, 3, 2, 1, 6, 5, 4}));
}

TEST(Bmp, WritesTheHeadersByteForByte) {
  Disk disk;
  Bitmap bitmap;
  make_picture(bitmap, 3, 2, 4, 1, 0);
  T_SetTIFFXYResolution(300, 72);
  ASSERT_EQ(T_SaveBMPBitmap("windows", bitmap.get(), 0), T_OK);
  ASSERT_EQ(T_SaveBitmap("os2", bitmap.get(), T_FORMAT_BMP_OS2, 4, 0), T_OK);
  T_SetTIFFXYResolution(0, 0);
  const Bytes &windows = disk.files["windows"], &os2 = disk.files["os2"];
  EXPECT_EQ(part(windows, 0, 54),
            hex("424D 7E000000 00000000 76000000 28000000 03000000 02000000"
                "0100 0400 00000000 08000000 232E0000 130B0000 00000000 00000000"));
  EXPECT_EQ(part(os2, 0, 26), hex("424D 52000000 00000000 4A000000 0C000000 0300 0200 0100 0400"));
  // Entries of 4 and of 3 bytes, blue first; the bottom row first, padding zero.
  EXPECT_EQ(windows[54 + 4], 254);
  EXPECT_EQ(os2[26 + 3], 254);
  const Bytes rows = pixels(bitmap.get());
  EXPECT_EQ(part(windows, 118), (Bytes{rows[2], rows[3], 0, 0, rows[0], rows[1], 0, 0}));
  EXPECT_EQ(os2.size(), 82u);
}

TEST(Bmp, WriterStatuses) {
  Bitmap bitmap;
  make_picture(bitmap, 3, 2, 32);
  Disk disk;
  EXPECT_EQ(T_SaveBMPBitmap("x", bitmap.get(), 0), T_ERR_DEPTH);
  EXPECT_EQ(T_SaveBMPBitmap("x", bitmap.get(), 16), T_ERR_DEPTH);
  EXPECT_EQ(T_SaveBMPBitmap(nullptr, bitmap.get(), 24), T_ERR_NAME);
  disk.fail_at = 0;
  EXPECT_EQ(T_SaveBMPBitmap("x", bitmap.get(), 24), T_ERR_CREATE);
  Bitmap empty;
  T_InitBitmap(empty.get(), 3, 2, 24);
  EXPECT_EQ(T_SaveBMPBitmap("x", empty.get(), 24), T_ERR_NO_STORAGE);
  Bitmap wide;
  make_picture(wide, 70000, 1, 8);
  EXPECT_EQ(T_SaveBitmap("x", wide.get(), T_FORMAT_BMP_OS2, 8, 0), T_ERR_SIZE);
}

}  // namespace
}  // namespace tavo::test
