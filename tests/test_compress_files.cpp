// Files to compressed files, stamps, and the 1-bit compressed format.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "format_cases.h"
#include "formats/cmp_bilevel.h"
#include "platform/platform.h"
#include "support.h"

namespace tavo::test {
namespace {

bool contains(const Bytes& file, const Bytes& part) {
  return std::search(file.begin(), file.end(), part.begin(), part.end()) != file.end();
}

// From the frame header on: size, sampling, scan.
Bytes coded_part(const Bytes& file) {
  const Bytes sof = {0xFF, 0xC0, 0};
  const Bytes eoi = {0xFF, 0xD9};
  const auto begin = std::search(file.begin(), file.end(), sof.begin(), sof.end());
  return {begin, std::find_end(begin, file.end(), eoi.begin(), eoi.end())};
}

Bytes compress(BitmapHandle* bitmap, int32_t type, int32_t quality) {
  Disk disk;
  EXPECT_EQ(T_CompressBitmap(bitmap, "out", type, quality, 0), T_OK);
  return disk.files["out"];
}

// ---- Files to files ----

TEST(CompressFiles, StreamedRowsKeepTheFilesOrder) {
  for (const int32_t bits : {1, 4, 24}) {
    Bitmap picture;
    make_picture(picture, 45, 37, bits);
    Disk disk;
    ASSERT_EQ(T_SaveBitmap("in", picture.get(), T_FORMAT_BMP, bits, 0), T_OK);
    // A BMP file begins with its bottom row: what it gives is its picture upside down.
    picture->ViewPerspective = 0;
    for (const int32_t type : {0, 5}) {
      ASSERT_EQ(T_CompressBMP("in", "got", type, 20, 0), T_OK);
      ASSERT_EQ(T_CompressBitmap(picture.get(), "want", type, 20, 0), T_OK);
      const Bytes& got = disk.files["got"];
      EXPECT_TRUE(coded_part(got) == coded_part(disk.files["want"])) << bits;
      EXPECT_TRUE(contains(got, text("TAVO Technologies Inc. V1.00")));
      if (type == 0) {
        EXPECT_EQ(got[21], 0);
      }
    }
    EXPECT_EQ(disk.open_count, 0);
  }
}

TEST(CompressFiles, EightBitSources) {
  Bitmap picture;
  make_picture(picture, 45, 37, 8);
  const Bytes want = coded_part(compress(picture.get(), 5, 20));
  Disk disk;
  disk.files["bmp"] = saved_sample(T_FORMAT_BMP, 8, 45, 37);  // loaded whole: top first
  disk.files["gif"] = saved_sample(T_FORMAT_GIF, 8, 45, 37);
  ASSERT_EQ(T_CompressBMP("bmp", "got", 5, 20, 0), T_OK);
  EXPECT_TRUE(coded_part(disk.files["got"]) == want);
  EXPECT_TRUE(contains(disk.files["got"], text("TAVO Technologies Inc. V1.01")));
  ASSERT_EQ(T_CompressGIF("gif", "got", 5, 20, 0), T_OK);
  EXPECT_TRUE(coded_part(disk.files["got"]) == want);
  EXPECT_EQ(T_CompressBMP("gif", "no", 1, 20, 0), T_ERR_BAD_DATA) << "not a BMP file";
  EXPECT_EQ(T_CompressGIF("none", "no", 1, 20, 0), T_ERR_OPEN);
  EXPECT_EQ(T_CompressGIF("gif", "no", 1, 256, 0), T_ERR_QUALITY);
  EXPECT_EQ(disk.files.count("no"), 0u) << "no file before there is something to write";
}

int32_t T_CALL compress_tga(const char* source, const char* destination, int32_t type,
                            int32_t quality, uint32_t flag) {
  return T_CompressTGA(source, destination, type, quality, flag, 0);
}

// All blocks that are ever taken make up less than half of the picture.
TEST(CompressFiles, LongFilesAreNeverHeld) {
  constexpr int32_t kHigh = 20000;
  using Compress = int32_t(T_CALL*)(const char*, const char*, int32_t, int32_t, uint32_t);
  const struct {
    int32_t format;
    int32_t bits;
    Compress compress;
  } rows[] = {{T_FORMAT_BMP, 24, T_CompressBMP},       {T_FORMAT_BMP, 4, T_CompressBMP},
              {T_FORMAT_GIF, 8, T_CompressGIF},        {T_FORMAT_PCX, 24, T_CompressPCX},
              {T_FORMAT_TGA, 24, compress_tga},        {T_FORMAT_TIFF_LZW, 24, T_CompressTIF},
              {T_FORMAT_TIFF_GROUP4, 1, T_CompressTIF}};
  for (const auto& row : rows) {
    const int32_t width = row.bits < 8 ? 1000 / row.bits : 130;
    SCOPED_TRACE(testing::Message() << row.format << " at " << row.bits << " bits");
    Disk disk;
    disk.files["in"] = saved_sample(row.format, row.bits, width, kHigh);
    const uint64_t before = platform::bytes_taken();
    ASSERT_EQ(row.compress("in", "out", 0, 40, 0), T_OK);
    const int64_t picture = kHigh * ((width * row.bits + 31) / 32 * 4);
    EXPECT_LT(platform::bytes_taken() - before, picture / 2);
    EXPECT_EQ(info_of(disk.files["out"]).Height, kHigh);
  }
}

TEST(CompressFiles, AnyFile) {
  for (const int32_t bits : {1, 4, 8, 24}) {
    Bitmap picture;
    make_picture(picture, 30, 30, bits);
    Disk disk;
    ASSERT_EQ(T_SaveBitmap("in", picture.get(), T_FORMAT_BMP, bits, 0), T_OK);
    ASSERT_EQ(T_CompressALL("in", "got", 3, 20, 0), T_OK);
    EXPECT_TRUE(coded_part(disk.files["got"]) == coded_part(compress(picture.get(), 3, 20)));
    ASSERT_EQ(T_CompressALL("in", "got", 0, 20, 0), T_OK);
    EXPECT_EQ(disk.files["got"][4], bits == 1 ? 1 : 0) << "the 1-bit compressed format";
  }
  EXPECT_EQ(T_CompressALL("none", "no", 0, 20, 0), T_ERR_OPEN);
}

// Nothing that a grey file of few bits leaves on its bitmap keeps it from being compressed.
TEST(CompressFiles, GreyFilesOfFewBits) {
  Disk disk;
  for (const uint32_t bits : {2, 4}) {
    disk.files["in"] =
        tiff_file(tiff_tags(16, 16, bits, 1, 1, 1, 32 * bits), Bytes(32 * bits, 0x5A));
    EXPECT_EQ(T_CompressALL("in", "out", 3, 20, 0), T_OK) << bits;
    Bitmap loaded, whole;
    ASSERT_EQ(T_LoadBitmap("in", loaded.get(), 0, -1), T_OK);
    EXPECT_EQ(loaded->BitsPerPixel, 4);
    EXPECT_EQ(T_CompressBitmap(loaded.get(), "out", 0, 20, 0), T_OK);
    EXPECT_EQ(T_CompressBitmapWithStamp(loaded.get(), "out", 1, 20, 8, 8, 24, 0), T_OK);
    ASSERT_EQ(T_LoadTIFBitmap("in", whole.get()), T_OK);
    EXPECT_EQ(T_CompressBitmap(whole.get(), "out", 0, 20, 0), T_OK);
    loaded->Flags |= T_FLAG_GRAY;
    EXPECT_EQ(T_CompressBitmap(loaded.get(), "out", 0, 20, 0), T_ERR_FORMAT) << "the caller's mark";
  }
}

// ---- Stamps ----

// Upper half red, lower half blue, a green column at the left.
void make_flag(Bitmap& bitmap, int32_t bits) {
  make_picture(bitmap, 100, 60, 8, 1, 0);
  bitmap->Info.Palette[1] = {0, 0, 250, 0};
  bitmap->Info.Palette[2] = {240, 0, 0, 0};
  bitmap->Info.Palette[3] = {0, 230, 0, 0};
  T_AccessBitmap(bitmap.get());
  for (uint32_t y = 0; y < 60; ++y) {
    T_PutBitmapRow(bitmap.get(), join({Bytes(10, 3), Bytes(90, y < 30 ? 1 : 2)}).data(), y, 100);
  }
  T_ReleaseBitmap(bitmap.get());
  if (bits == 24) T_ColorResolution(bitmap.get(), 24, T_PALETTE_NONE, nullptr, 0);
}

TEST(CompressStamp, IndexedStampInBothPlaces) {
  Bitmap bitmap;
  make_flag(bitmap, 8);
  Disk disk;
  ASSERT_EQ(T_CompressBitmapWithStamp(bitmap.get(), "out", 0, 20, 64, 48, 8, 0), T_OK);
  const Bytes& file = disk.files["out"];
  EXPECT_EQ(file[5], 0x10);
  EXPECT_EQ(Bytes(&file[24], &file[27]), (Bytes{64, 48, 8}));
  EXPECT_EQ(Bytes(&file[27 + 3], &file[27 + 12]), (Bytes{250, 0, 0, 0, 0, 240, 0, 230, 0}));
  const uint8_t* pixels = &file[27 + 768];
  EXPECT_EQ(pixels[0], 3);
  EXPECT_EQ(pixels[63], 1);
  EXPECT_EQ(pixels[23 * 64 + 63], 1);
  EXPECT_EQ(pixels[24 * 64 + 63], 2);
  // The stream begins behind the block; its second segment repeats the stamp.
  ASSERT_EQ(Bytes(&file[3867], &file[3869]), (Bytes{0xFF, 0xD8}));
  const uint8_t* extension = &file[3867 + 20];
  constexpr uint32_t kLength = 10 + 768 + 64 * 48;
  EXPECT_EQ(Bytes(extension, extension + 12),
            join({{0xFF, 0xE0, kLength >> 8, kLength & 255}, text("JFXX"), {0, 0x11, 64, 48}}));
  EXPECT_TRUE(std::equal(extension + 12, extension + 2 + kLength, &file[27]));
  // Without its stamp the file is what T_CompressBitmap writes.
  const Bytes plain = compress(bitmap.get(), 0, 20);
  EXPECT_TRUE(Bytes(extension + 2 + kLength, file.data() + file.size()) ==
              Bytes(plain.begin() + 24 + 20, plain.end()));
}

TEST(CompressStamp, ColorStamp) {
  for (const int32_t bits : {8, 24}) {
    Bitmap bitmap;
    make_flag(bitmap, bits);
    Disk disk;
    ASSERT_EQ(T_CompressBitmapWithStamp(bitmap.get(), "out", 1, 20, 10, 4, 24, 0), T_OK);
    const Bytes& file = disk.files["out"];
    EXPECT_EQ(part(file, 20, 18),
              join({hex("FFE00082"), text("JFXX"), hex("00130A04 00E600 0000FA")}));
    EXPECT_EQ(part(file, 149, 3), hex("F00000")) << "blue, green, red";
  }
}

TEST(CompressStamp, ColorsAreReducedForIndexedStamps) {
  Bitmap bitmap;
  make_flag(bitmap, 24);
  Disk disk;
  ASSERT_EQ(T_CompressBitmapWithStamp(bitmap.get(), "out", 0, 20, 10, 4, 8, 0), T_OK);
  const Bytes& file = disk.files["out"];
  const auto color = [&](size_t pixel) {
    const size_t index = file[27 + 768 + pixel];
    return Bytes(&file[27 + 3 * index], &file[27 + 3 * index] + 3);
  };
  const auto is_near = [](const Bytes& a, const Bytes& b) {
    return std::equal(a.begin(), a.end(), b.begin(),
                      [](int x, int y) { return std::abs(x - y) < 8; });
  };
  EXPECT_TRUE(is_near(color(0), {0, 230, 0}));
  EXPECT_TRUE(is_near(color(9), {250, 0, 0}));
  EXPECT_TRUE(is_near(color(39), {0, 0, 240}));
  EXPECT_EQ(T_CompressBitmapWithStamp(bitmap.get(), "out", 0, 20, 10, 4, 8, 1), T_OK);
}

TEST(CompressStamp, Statuses) {
  Bitmap bitmap;
  make_flag(bitmap, 24);
  Disk disk;
  const auto stamp = [&](int32_t width, int32_t height, int32_t bits) {
    return T_CompressBitmapWithStamp(bitmap.get(), "out", 0, 20, width, height, bits, 0);
  };
  for (const auto& [width, height] : {std::pair{3, 9}, {256, 9}, {9, 0}, {9, 256}}) {
    EXPECT_EQ(stamp(width, height, 8), T_ERR_SIZE) << width << " x " << height;
  }
  EXPECT_EQ(stamp(9, 9, 4), T_ERR_ARGUMENT);
  EXPECT_EQ(stamp(255, 255, 24), T_ERR_SIZE) << "longer than a segment";
  EXPECT_TRUE(disk.files.empty());
  EXPECT_EQ(stamp(255, 253, 8), T_OK) << "10 + 768 + 64515 bytes";
  EXPECT_EQ(stamp(255, 255, 8), T_ERR_SIZE);
}

// ---- The 1-bit compressed format ----

void fix_checksum(Bytes& file) {
  uint32_t sum = 0;
  for (uint32_t i = 0; i < 30; ++i) sum += file[i] * (i + 1);
  file[30] = static_cast<uint8_t>(sum);
  file[31] = static_cast<uint8_t>(sum >> 8);
}

TEST(Bilevel, FileByteForByte) {
  // 16 x 2, colours red and black: the brighter red is the background, so index 1 pixels count as
  // black. Row 1: 4 background, 4 set, 8 background; row 2 the same.
  Bitmap bitmap;
  T_InitBitmap(bitmap.get(), 16, 2, 1);
  ASSERT_EQ(T_AllocateBitmap(bitmap.get(), 1), T_OK);
  bitmap->Info.Palette[0] = {0, 0, 200, 0};
  bitmap->Info.Palette[1] = {1, 2, 3, 0};
  bitmap->XResolution = 300;
  bitmap->YResolution = 200;
  T_AccessBitmap(bitmap.get());
  for (uint32_t y = 0; y < 2; ++y) T_PutBitmapRow(bitmap.get(), Bytes{0x0F, 0, 0, 0}.data(), y, 4);
  T_ReleaseBitmap(bitmap.get());
  Disk disk;
  ASSERT_EQ(T_CompressBitmap1Bit(bitmap.get(), "out", 1), T_OK);
  // Horizontal 001, white 4 1011, black 4 011, vertical 1 (to the end); three times vertical 1; end
  // of block 000000000001 twice.
  Bytes want = join({text("TAVO"),
                     hex("01000000 10000000 02000000 2C010000 C8000000"),
                     {200, 0, 0, 3, 2, 1, 0, 0},
                     hex("36FC004004")});
  fix_checksum(want);
  EXPECT_EQ(disk.files["out"], want);

  for (const bool inverted : {false, true}) {
    Bytes file = want;
    file[6] = inverted;
    fix_checksum(file);
    disk.files["in"] = file;
    Bitmap loaded;
    ASSERT_EQ(T_DecompressBitmap1Bit("in", loaded.get()), T_OK);
    EXPECT_EQ(loaded->BitsPerPixel, 1);
    EXPECT_EQ(loaded->XResolution, 300);
    EXPECT_EQ(loaded->YResolution, 200);
    EXPECT_EQ(loaded->Info.Palette[0].Red, 200);
    EXPECT_EQ(pixels(loaded.get()),
              inverted ? (Bytes{0xF0, 0xFF, 0xF0, 0xFF}) : (Bytes{0x0F, 0x00, 0x0F, 0x00}));
  }
}

TEST(Bilevel, RejectsBadHeaders) {
  const Bytes good = saved_sample(T_FORMAT_CMP_1BIT, 1, 20, 10);
  const struct {
    const char* why;
    size_t at;
    uint8_t value;
  } cases[] = {
      {"other magic", 0, 'X'},
      {"another kind", 4, 2},
      {"unknown flag", 6, 2},
      {"width above INT32_MAX", 11, 0x80},
      {"no height", 12, 0},
      {"checksum", 30, static_cast<uint8_t>(good[30] + 1)},
      {"more rows than the data have bits", 14, 1},
  };
  for (const auto& c : cases) {
    Disk disk;
    disk.files["in"] = good;
    disk.files["in"][c.at] = c.value;
    if (c.at < 30) fix_checksum(disk.files["in"]);
    Bitmap loaded;
    EXPECT_EQ(T_DecompressBitmap1Bit("in", loaded.get()), T_ERR_BAD_DATA) << c.why;
  }
  EXPECT_EQ(info_of(good).Format, T_FORMAT_CMP_1BIT);
}

TEST(Bilevel, OtherFormatsAreSavedWith1Bit) {
  Bitmap picture;
  make_picture(picture, 30, 20, 24);
  Disk disk;
  ASSERT_EQ(T_CompressBitmap1Bit(picture.get(), "out", T_FORMAT_BMP), T_OK);
  const FILEINFO info = info_of(disk.files["out"]);
  EXPECT_EQ(info.Format, T_FORMAT_BMP);
  EXPECT_EQ(info.BitsPerPixel, 1);
}

}  // namespace
}  // namespace tavo::test
